# Times of one key's worth of matching, of building a snapshot, and its memory. Prints tables; run by hand.
add_executable(bench_matching
  matching.cpp
  PlainMatching.cpp
  SyntheticDesktop.cpp)
target_compile_options(bench_matching PRIVATE ${JUMPLARK_WARNINGS})
target_include_directories(bench_matching PRIVATE ${PROJECT_SOURCE_DIR}/bench)
target_link_libraries(bench_matching PRIVATE
  jumplark_selection jumplark_query_commands jumplark_query_matching jumplark_recorded nlohmann_json::nlohmann_json)
