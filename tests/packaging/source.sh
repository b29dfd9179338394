#!/bin/bash
# The archive of the sources is that of the last commit, and the PKGBUILD beside it takes it and lays out what
# cmake --install does.
#
#   source.sh BUILD SOURCES
set -eu
build=$1 sources=$2
fail() { echo "$*" >&2; exit 1; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$sources/scripts/source.sh" "$work" >/dev/null
(cd "$work" && sha256sum --check --strict --quiet SHA256SUMS)
source "$work/PKGBUILD"
[ "$pkgver" = "$("$build/jumplark" --version | cut -d' ' -f2)" ] || fail "the PKGBUILD is of version $pkgver"
[ "$(sha256sum "$work/${source[0]}" | cut -d' ' -f1)" = "${sha256sums[0]}" ] || fail 'the PKGBUILD has another sum'
diff <(tar -tzf "$work/${source[0]}" | sed -n "s,^$pkgname-$pkgver/\(.*[^/]\)$,\1,p" | sort) \
  <(git -C "$sources" ls-tree -r --name-only HEAD | sort) || fail 'the archive is not the last commit'

mkdir -p "$work/$pkgname-$pkgver/build"
ln -s "$build" "$work/$pkgname-$pkgver/build/arch"
pkgdir=$work/packed
(cd "$work" && package >/dev/null)
DESTDIR=$work/installed cmake --install "$build" >/dev/null
diff -r --no-dereference "$pkgdir" "$work/installed"
[ -n "$(find "$pkgdir" -path '*/bin/jumplark' -perm 755)" ] || fail 'the package has no program'
