#!/bin/bash
# Makes the archive of the sources of the last commit, and beside it the PKGBUILD that builds from it and SHA256SUMS.
#
#   scripts/source.sh [FOLDER]     build/source without it
set -eu
here=$(cd "$(dirname "$0")/.." && pwd)
folder=${1:-$here/build/source}
version=$(git -C "$here" show HEAD:CMakeLists.txt | sed -n 's/^project(jumplark VERSION \([0-9.]*\).*/\1/p')
[ -n "$version" ] || { echo "The last commit of $here names no version" >&2; exit 1; }
archive=jumplark-$version.tar.gz
mkdir -p "$folder"
# Without the time in it: one commit gives one archive.
git -C "$here" archive --prefix="jumplark-$version/" HEAD | gzip -9n >"$folder/$archive"
cd "$folder"
sha256sum "$archive" >SHA256SUMS
sed "s/^pkgver=.*/pkgver=$version/; s/^sha256sums=.*/sha256sums=($(cut -d' ' -f1 SHA256SUMS))/" \
  "$here/packaging/arch/PKGBUILD" >PKGBUILD
echo "Made $archive, PKGBUILD and SHA256SUMS in $folder"
