# The same on Wayland compositors, seen from another Wayland client.
if(NOT TARGET jumplark_desktop_support)
  return()
endif()
set(screencopy ${CMAKE_CURRENT_SOURCE_DIR}/use_wayland/wlr-screencopy-unstable-v1.xml)
set(generated ${CMAKE_CURRENT_BINARY_DIR}/use_wayland)
file(MAKE_DIRECTORY ${generated})
add_custom_command(OUTPUT ${generated}/wlr-screencopy-unstable-v1-client-protocol.h DEPENDS ${screencopy}
  COMMAND ${WAYLAND_SCANNER} client-header ${screencopy} ${generated}/wlr-screencopy-unstable-v1-client-protocol.h VERBATIM)
add_custom_command(OUTPUT ${generated}/wlr-screencopy-unstable-v1-protocol.c DEPENDS ${screencopy}
  COMMAND ${WAYLAND_SCANNER} private-code ${screencopy} ${generated}/wlr-screencopy-unstable-v1-protocol.c VERBATIM)
add_executable(bench_use_wayland use_wayland/use_wayland.cpp use_wayland/BusSeats.cpp
  use_wayland/Connection.cpp use_wayland/Onlooker.cpp use_wayland/SwaySeat.cpp use/Figures.cpp
  ${generated}/wlr-screencopy-unstable-v1-protocol.c ${generated}/wlr-screencopy-unstable-v1-client-protocol.h)
target_compile_options(bench_use_wayland PRIVATE $<$<COMPILE_LANGUAGE:CXX>:${JUMPLARK_WARNINGS}>)
target_compile_definitions(bench_use_wayland PRIVATE
  JUMPLARK_MANY_WIDGETS_GTK="${CMAKE_CURRENT_SOURCE_DIR}/live/many-widgets-gtk")
target_include_directories(bench_use_wayland SYSTEM PRIVATE ${generated})
target_include_directories(bench_use_wayland PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(bench_use_wayland PRIVATE jumplark_desktop_support jumplark_linux_wayland_surfaces Qt6::Gui
  jumplark_kwin_picture fmt::fmt)
