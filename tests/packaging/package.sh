#!/bin/bash
# Makes the Debian package of a build, has it examined, installs it into a root of its own and starts it from there.
#
#   package.sh BUILD SOURCES
set -eu
build=$1 sources=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
root=$work/root
as_root=()
[ "$(id -u)" = 0 ] || as_root=(fakeroot)

fail() { echo "$*" >&2; exit 1; }
# What a command says is of interest when it fails.
quietly() { "$@" >"$work/log" 2>&1 </dev/null || { cat "$work/log" >&2; fail "failed: $*"; }; }

umask 077  # a package does not depend on it, nor on the compression, of which gzip is the quickest
quietly cpack -G DEB -D CPACK_DEBIAN_COMPRESSION_TYPE=gzip --config "$build/CPackConfig.cmake" -B "$work"
package=$(echo "$work"/jumplark_*.deb)
version=$(dpkg-deb -f "$package" Version)

quietly lintian --fail-on error,warning "$package"
mkdir -p "$root"/var/lib/dpkg/{info,updates}
# The machine's packages: so the new one's dependencies are looked at too.
cp /var/lib/dpkg/status "$root/var/lib/dpkg/"
# Machines without documentation have dpkg leave it out.
dpkg=("${as_root[@]}" dpkg --root="$root" --force-not-root --log=/dev/null --path-include="*")
quietly "${dpkg[@]}" --install "$package"
quietly "${dpkg[@]}" --verify jumplark
quietly desktop-file-validate "$root/usr/share/applications/jumplark.desktop"
quietly appstreamcli validate --no-net "$root"/usr/share/metainfo/com.brindlefox.jumplark.metainfo.xml

for file in share/doc/jumplark/{copyright,changelog.Debian.gz,README.md} share/man/man1/jumplark.1.gz \
  share/bash-completion/completions/jumplark share/zsh/vendor-completions/_jumplark \
  share/fish/vendor_completions.d/jumplark.fish share/icons/hicolor/{scalable/apps/jumplark,symbolic/apps/jumplark-symbolic}.svg; do
  [ -s "$root/usr/$file" ] || fail "the package lacks $file"
done
for size in 16 22 24 32 48 64 128 256; do
  identify "$root/usr/share/icons/hicolor/${size}x$size/apps/jumplark.png" | grep -q " ${size}x$size " ||
    fail "the package lacks the icon of $size pixels"
done
zcat "$root/usr/share/doc/jumplark/changelog.Debian.gz" | head -1 | grep -qF "($version)" || fail 'an old changelog'
! readelf -SW "$root/usr/bin/jumplark" | grep -q '\.debug_info' || fail 'the program is not stripped'
[ "$("$root/usr/bin/jumplark" --version)" = "jumplark ${version%-*}" ] || fail 'another version than the package'

DESTDIR=$work/installed quietly cmake --install "$build" --prefix /usr
diff <(cd "$root" && find usr | sort) <(cd "$work/installed" && find usr | sort) ||
  fail 'cmake --install lays out something else'

cat >"$work/session.sh" <<'END'
export PATH=$ROOT/usr/bin:$PATH XDG_DATA_DIRS=$ROOT/usr/share:/usr/local/share:/usr/share
mkdir -p "$XDG_CONFIG_HOME/jumplark"
echo '{"shownHelpOnStart": true, "toldOfMissingStatusBar": true}' >"$XDG_CONFIG_HOME/jumplark/defaults.json"
# The texts of another language come from where the program is.
LANGUAGE=de LC_ALL=C.UTF-8 jumplark >"$ROOT/out" 2>&1 & program=$!
trap 'kill -KILL $program 2>/dev/null' EXIT
until grep -q 'Jumplark läuft' "$ROOT/out"; do kill -0 $program && sleep 0.05 || exit 10; done
jumplark preferences About || exit 11
until jumplark match --json --pid $program version | grep -q "Version $VERSION "; do
  kill -0 $program && sleep 0.05 || exit 12
done
jumplark match --json --pid $program allgemein | grep -q '"Allgemein"' || exit 13
kill -TERM $program && wait $program
END
ROOT=$root VERSION=${version%-*} quietly timeout -k 5 60 \
  "$sources/scripts/private-session" --wm openbox bash "$work/session.sh" || { cat "$root/out"; exit 1; }
rm -f "$root/out"

quietly "${dpkg[@]}" --purge jumplark
left=$(cd "$root" && find usr -type f 2>/dev/null || true)
[ -z "$left" ] || fail "these files stay behind: $left"
