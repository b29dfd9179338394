# How long a user waits for the running program, seen from another X client. Prints a table; run by hand.
if(NOT TARGET jumplark_desktop_support)
  return()
endif()
pkg_check_modules(XCB_XTEST REQUIRED IMPORTED_TARGET xcb xcb-xtest)
add_executable(bench_use use/use.cpp use/Figures.cpp use/Onlooker.cpp)
target_compile_options(bench_use PRIVATE ${JUMPLARK_WARNINGS})
target_compile_definitions(bench_use PRIVATE
  JUMPLARK_MANY_WIDGETS_GTK="${CMAKE_CURRENT_SOURCE_DIR}/live/many-widgets-gtk")
target_link_libraries(bench_use PRIVATE jumplark_desktop_support PkgConfig::XCB_XTEST fmt::fmt)
