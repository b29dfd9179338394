# Times of the whole snapshot of real applications, beside those of a plain walk. Prints a table; run by hand. Needs the
# tests' own sessions and the accessibility library that the baseline asks.
if(NOT TARGET jumplark_private_session)
  return()
endif()
pkg_check_modules(ATSPI REQUIRED IMPORTED_TARGET atspi-2 gobject-2.0)

add_executable(many-widgets-qt6 live/many_widgets_qt6.cpp)
target_compile_options(many-widgets-qt6 PRIVATE ${JUMPLARK_WARNINGS})
target_link_libraries(many-widgets-qt6 PRIVATE Qt6::Widgets)

add_executable(bench_live live/live.cpp live/BaselineWalk.cpp live/LiveWindows.cpp)
target_compile_options(bench_live PRIVATE ${JUMPLARK_WARNINGS})
target_compile_definitions(bench_live PRIVATE
  JUMPLARK_DEMO_QT6="$<TARGET_FILE:demo-qt6>"
  JUMPLARK_MANY_WIDGETS_GTK="${CMAKE_CURRENT_SOURCE_DIR}/live/many-widgets-gtk"
  JUMPLARK_MANY_WIDGETS_QT6="$<TARGET_FILE:many-widgets-qt6>")
target_link_libraries(bench_live PRIVATE jumplark_selection jumplark_query_matching jumplark_linux
                      jumplark_private_session PkgConfig::ATSPI fmt::fmt)
add_dependencies(bench_live demo-qt6 many-widgets-qt6)
