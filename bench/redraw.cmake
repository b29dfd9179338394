# Times of drawing the overlay, without a window system. Prints a table; run by hand.
add_executable(bench_redraw redraw.cpp SyntheticDesktop.cpp)
target_compile_options(bench_redraw PRIVATE ${JUMPLARK_WARNINGS})
target_include_directories(bench_redraw PRIVATE ${PROJECT_SOURCE_DIR}/bench)
target_link_libraries(bench_redraw PRIVATE jumplark_selection jumplark_recorded nlohmann_json::nlohmann_json)
