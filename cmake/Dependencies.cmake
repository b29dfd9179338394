# Every library that the design names, found once. scripts/packages.sh lists the packages that hold them.
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(ICU REQUIRED COMPONENTS uc i18n)
find_package(LibXml2 REQUIRED)
find_package(nlohmann_json REQUIRED)
find_package(CLI11 REQUIRED)
find_package(fmt REQUIRED)
find_package(spdlog REQUIRED)
find_package(Qt6 REQUIRED COMPONENTS DBus Gui Widgets)
# Found with Gui up to Qt 6.9, and only by itself since.
if(NOT TARGET Qt6::GuiPrivate)
  find_package(Qt6 REQUIRED COMPONENTS GuiPrivate)
endif()
find_package(CURL REQUIRED)
find_package(OpenSSL REQUIRED COMPONENTS Crypto SSL)

pkg_check_modules(SDBUS REQUIRED IMPORTED_TARGET libsystemd)
# Backward-cpp, which is one header, reads debug information with it.
pkg_check_modules(DW REQUIRED IMPORTED_TARGET libdw)
find_path(BACKWARD_INCLUDE_DIR backward.hpp REQUIRED)
pkg_check_modules(XCB REQUIRED IMPORTED_TARGET
  xcb xcb-xinput xcb-xtest xcb-xkb xcb-shape xcb-randr xcb-xfixes xcb-res xcb-ewmh xcb-icccm xcb-keysyms
  xkbcommon xkbcommon-x11 xkbregistry)
pkg_check_modules(WAYLAND REQUIRED IMPORTED_TARGET wayland-client)
pkg_get_variable(WAYLAND_SCANNER wayland-scanner wayland_scanner)
pkg_get_variable(WAYLAND_PROTOCOLS_DIR wayland-protocols pkgdatadir)

if(JUMPLARK_BUILD_TESTS)
  find_package(GTest REQUIRED)
  include(GoogleTest)
endif()
if(JUMPLARK_BUILD_BENCH)
  find_package(benchmark REQUIRED)
endif()
