#!/bin/bash
# Makes the packages of a build and has them examined; installs the Debian one into a root of its own and starts it from
# there.
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
quietly cpack -G "DEB;RPM" -D CPACK_DEBIAN_COMPRESSION_TYPE=gzip -D CPACK_RPM_COMPRESSION_TYPE=gzip \
  --config "$build/CPackConfig.cmake" -B "$work"
package=$(echo "$work"/jumplark_*.deb)
rpm=$(echo "$work"/jumplark-*.rpm)
version=$(dpkg-deb -f "$package" Version)
(cd "$work" && quietly sha256sum --check --strict SHA256SUMS)
[ "$(sed 's/.*  //' "$work/SHA256SUMS" | sort)" = "$(cd "$work" && printf '%s\n' *.deb *.rpm | sort)" ] ||
  fail 'SHA256SUMS names something else than the packages'

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

for file in share/doc/jumplark/{copyright,changelog.Debian.gz,guide/index.html} share/man/man1/jumplark.1.gz \
  share/bash-completion/completions/jumplark share/zsh/vendor-completions/_jumplark \
  share/fish/vendor_completions.d/jumplark.fish share/icons/hicolor/{scalable/apps/jumplark,symbolic/apps/jumplark-symbolic}.svg \
  share/gnome-shell/extensions/jumplark@brindlefox.com/{extension.js,metadata.json}; do
  [ -s "$root/usr/$file" ] || fail "the package lacks $file"
done
for size in 16 22 24 32 48 64 128 256; do
  identify "$root/usr/share/icons/hicolor/${size}x$size/apps/jumplark.png" | grep -q " ${size}x$size " ||
    fail "the package lacks the icon of $size pixels"
done
zcat "$root/usr/share/doc/jumplark/changelog.Debian.gz" | head -1 | grep -qF "($version)" || fail 'an old changelog'
! readelf -SW "$root/usr/bin/jumplark" | grep -q '\.debug_info' || fail 'the program is not stripped'
[ "$("$root/usr/bin/jumplark" --version)" = "jumplark ${version%-*}" ] || fail 'another version than the package'

# The other packages hold the same, but for what Debian lays out in its own way.
(mkdir "$work/rpm" && cd "$work/rpm" && rpm2cpio "$rpm" | cpio -idm --quiet)
(cd "$work" && diff -rq --no-dereference root/usr rpm/usr | LC_ALL=C sort) >"$work/differences" || true
diff - "$work/differences" <<'END' || fail 'the RPM holds something else than the Debian package'
Only in root/usr/share/doc/jumplark: changelog.Debian.gz
Only in root/usr/share/doc/jumplark: copyright
Only in root/usr/share/zsh: vendor-completions
Only in root/usr/share: doc-base
Only in root/usr/share: lintian
Only in rpm/usr/share/zsh: site-functions
Only in rpm/usr/share: licenses
END
DESTDIR=$work/installed quietly cmake --install "$build" --prefix /usr
files() { find usr ! -type d -printf '%M %p -> %l\n' | sort; }
diff <(cd "$work/rpm" && files) <(cd "$work/installed" && files) || fail 'cmake --install lays out something else'

of_rpm() { rpm -qp "$@" "$rpm" 2>/dev/null; }
[ "$(of_rpm --qf '%{name} %{version}-%{release} %{license} %{prefixes}')" = "jumplark $version MIT (none)" ] ||
  fail "the RPM calls itself $(of_rpm --qf '%{name} %{version}-%{release} %{license} %{prefixes}')"
[ -z "$(of_rpm --scripts)" ] || fail 'the RPM runs scripts'
of_rpm --qf '[%{filemodes:perms} %{fileusername} %{filegroupname} %{filenames}\n]' >"$work/files"
! grep -vE '^(drwxr-xr-x|-rwxr-xr-x|lrwxrwxrwx|-rw-r--r--) root root ' "$work/files" || fail 'files of others in the RPM'
[ "$(sed -n 's/^d.* //p' "$work/files")" = "$(printf '/usr/share/%s\n' doc/jumplark \
  gnome-shell/extensions/jumplark@brindlefox.com jumplark jumplark/guide licenses/jumplark)" ] || fail "the RPM owns folders of others: $(grep ^d "$work/files")"
requires=$(of_rpm --requires)
for name in at-spi2-core $(readelf -d "$root/usr/bin/jumplark" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p'); do
  grep -qF "$name" <<<"$requires" || fail "the RPM does not require $name"
done

cat >"$work/session.sh" <<'END'
export PATH=$ROOT/usr/bin:$PATH XDG_DATA_DIRS=$ROOT/usr/share:/usr/local/share:/usr/share
mkdir -p "$XDG_CONFIG_HOME/jumplark" "$HOME/bin"
printf '#!/bin/sh\necho "$1" >"$ROOT/opened"\n' >"$HOME/bin/xdg-open"
chmod +x "$HOME/bin/xdg-open"
export PATH=$HOME/bin:$PATH
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
# It opens its own guide, and that knows the shortcut and all that is looked at.
jumplark preferences Help || exit 14
until [ -s "$ROOT/opened" ]; do
  jumplark act --pid $program 'Dokumentation öffnen' || kill -0 $program && sleep 0.1 || exit 15
done
guide=$(cat "$ROOT/opened")
[ "$guide" = "$ROOT/usr/share/jumplark/guide/index.html" ] || exit 16
jumplark doctor --all --pid $program | sed -n 's/^\(ok\|warning\|FAILED\) *\([^:]*\): .*/\2/p' | sort -u >"$ROOT/looked-at"
[ "$(wc -l <"$ROOT/looked-at")" -ge 15 ] || exit 18
while read -r name; do
  grep -q "<dt.*\b$name\b.*</dt>" "$guide" || { echo "the guide does not know '$name' of doctor" >&2; exit 19; }
done <"$ROOT/looked-at"
kill -TERM $program && wait $program || exit 20
LANGUAGE=en jumplark >"$ROOT/out" 2>&1 & program=$!
until shortcut=$(sed -n 's/^Jumplark is running. Press \(.*\) over any application.$/\1/p' "$ROOT/out") && [ -n "$shortcut" ]; do
  kill -0 $program && sleep 0.05 || exit 21
done
sed 's/<[^>]*>//g' "$guide" | grep -qF "waits in the background until you press its shortcut, $shortcut" || exit 17
kill -TERM $program && wait $program
END
ROOT=$root VERSION=${version%-*} quietly timeout -k 5 60 \
  "$sources/scripts/private-session" --wm openbox bash "$work/session.sh" || { cat "$root/out"; exit 1; }
rm -f "$root"/{out,opened,looked-at}

quietly "${dpkg[@]}" --purge jumplark
left=$(cd "$root" && find usr -type f 2>/dev/null || true)
[ -z "$left" ] || fail "these files stay behind: $left"
