# The same on sway, seen from another Wayland client.
if(NOT TARGET jumplark_desktop_support)
  return()
endif()
set(screencopy ${CMAKE_CURRENT_SOURCE_DIR}/use_sway/wlr-screencopy-unstable-v1.xml)
set(generated ${CMAKE_CURRENT_BINARY_DIR}/use_sway)
file(MAKE_DIRECTORY ${generated})
add_custom_command(OUTPUT ${generated}/wlr-screencopy-unstable-v1-client-protocol.h DEPENDS ${screencopy}
  COMMAND ${WAYLAND_SCANNER} client-header ${screencopy} ${generated}/wlr-screencopy-unstable-v1-client-protocol.h VERBATIM)
add_custom_command(OUTPUT ${generated}/wlr-screencopy-unstable-v1-protocol.c DEPENDS ${screencopy}
  COMMAND ${WAYLAND_SCANNER} private-code ${screencopy} ${generated}/wlr-screencopy-unstable-v1-protocol.c VERBATIM)
add_executable(bench_use_sway use_sway/use_sway.cpp use_sway/SwayOnlooker.cpp use/Figures.cpp
  ${generated}/wlr-screencopy-unstable-v1-protocol.c ${generated}/wlr-screencopy-unstable-v1-client-protocol.h)
target_compile_options(bench_use_sway PRIVATE $<$<COMPILE_LANGUAGE:CXX>:${JUMPLARK_WARNINGS}>)
target_compile_definitions(bench_use_sway PRIVATE
  JUMPLARK_MANY_WIDGETS_GTK="${CMAKE_CURRENT_SOURCE_DIR}/live/many-widgets-gtk")
target_include_directories(bench_use_sway SYSTEM PRIVATE ${generated})
target_include_directories(bench_use_sway PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(bench_use_sway PRIVATE jumplark_desktop_support jumplark_linux_wayland_surfaces fmt::fmt)
