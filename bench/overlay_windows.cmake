# Times of redrawing the overlay, beside plain drawing of the same boxes. Run by hand in an X session, for example
# scripts/private-session --size 1600x1000 --wm openbox-picom build/release/bench/bench_overlay_windows
add_executable(bench_overlay_windows overlay_windows.cpp)
target_compile_options(bench_overlay_windows PRIVATE ${JUMPLARK_WARNINGS})
target_link_libraries(bench_overlay_windows PRIVATE jumplark_linux_qt_x11 jumplark_linux_x11 jumplark_linux_system fmt::fmt)
