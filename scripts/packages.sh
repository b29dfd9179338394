#!/bin/bash
# Installs the Debian packages that are missing for what is named: build, run, test, lint, newer (any number of them).
# Does nothing, and needs no rights, when everything is there.
set -eu

# With a question mark: what not every release has.
build=(g++ cmake ninja-build pkg-config ccache libicu-dev libxml2-dev nlohmann-json3-dev libcli11-dev libfmt-dev
  libspdlog-dev libsystemd-dev libxcb1-dev libxcb-xinput-dev libxcb-xtest0-dev libxcb-xkb-dev libxcb-shape0-dev
  libxcb-randr0-dev libxcb-xfixes0-dev libxcb-res0-dev libxcb-ewmh-dev libxcb-icccm4-dev libxcb-keysyms1-dev
  libxkbcommon-dev libxkbcommon-x11-dev libxkbregistry-dev qt6-base-dev qt6-base-private-dev libcurl4-openssl-dev
  libssl-dev libbackward-cpp-dev libdw-dev gettext libwayland-dev wayland-protocols)
# A session on a virtual screen, an application to try the program on, and pictures of it.
run=(xvfb xfwm4 dbus-daemon dbus-bin at-spi2-core x11-utils x11-xserver-utils xdotool imagemagick gtk-3-examples
  adwaita-icon-theme fonts-dejavu-core)
test=("${run[@]}" libgtest-dev libgmock-dev libbenchmark-dev libatspi2.0-dev openbox picom mousepad kcalc
  gtk-4-examples gstreamer1.0-plugins-base gtk2.0-examples? chromium? firefox-esr? iproute2 openssl xfce4-panel yad
  libreoffice-writer libreoffice-calc libreoffice-gtk3 default-jre ecj libatk-wrapper-java-jni
  qtbase5-dev python3-gi gir1.2-gtk-3.0 gir1.2-gtk-4.0
  sway kwin-wayland kwin-common weston grim xwayland qt6-wayland qtwayland5 gnome-shell gjs libglib2.0-bin
  dpkg-dev lintian desktop-file-utils appstream fakeroot rpm rpm2cpio cpio libxml2-utils git man-db zsh fish python3)
lint=(clang-format clang-tidy git python3)
newer=(debootstrap iproute2)

wanted=()
for list in "$@"; do
  case $list in
    build) wanted+=("${build[@]}") ;;
    run) wanted+=("${run[@]}") ;;
    test) wanted+=("${test[@]}") ;;
    lint) wanted+=("${lint[@]}") ;;
    newer) wanted+=("${newer[@]}") ;;
    *) echo "usage: $0 {build|run|test|lint|newer}..." >&2; exit 2 ;;
  esac
done

offered() { [ -n "$(apt-cache madison "$1" 2>/dev/null)" ]; }
missing=()
for package in "${wanted[@]}"; do
  name=${package%\?}
  [ "$(dpkg-query -W -f '${db:Status-Status}' "$name" 2>/dev/null)" != installed ] || continue
  # That a release lacks it can be said only where there are lists of packages at all.
  [ "$name" = "$package" ] || offered "$name" || ! offered bash || continue
  missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" != 0 ]; then
  command -v sudo >/dev/null || { echo "These packages are missing; install them as root: ${missing[*]}" >&2; exit 1; }
  as_root=(sudo)
fi
log=$(mktemp)
trap 'rm -f "$log"' EXIT
install() {
  local package packages=()
  for package in "${missing[@]}"; do
    if [ "$package" = "${package%\?}" ] || offered "${package%\?}"; then packages+=("${package%\?}"); fi
  done
  ${as_root[@]+"${as_root[@]}"} env DEBIAN_FRONTEND=noninteractive apt-get -q -y --no-install-recommends \
    -o DPkg::Lock::Timeout=300 install ${packages[@]+"${packages[@]}"} >"$log" 2>&1 </dev/null
}
update() { ${as_root[@]+"${as_root[@]}"} apt-get -q update >"$log" 2>&1 </dev/null; }
echo "Installing ${#missing[@]} packages: ${missing[*]}"
# The package lists may be absent or out of date: then the first attempt fails without having changed anything.
offered bash || update || true
if ! install; then
  { update && install; } || failed=yes
fi
if [ "${failed:-no}" = yes ]; then
  cat "$log" >&2
  exit 1
fi
