# One target a folder. jumplark_library(NAME SOURCES ... DEPENDS ...) makes the static library of the folder it is called
# in; every folder includes headers by their path below src/, so a look at an #include tells the layer.

set(JUMPLARK_WARNINGS -Wall -Wextra -Werror)
if(JUMPLARK_SANITIZE)
  add_compile_options(-fsanitize=${JUMPLARK_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  # With sanitizers GCC 12 takes members of its own <regex> for uninitialized.
  add_compile_options(-Wno-maybe-uninitialized)
  add_link_options(-fsanitize=${JUMPLARK_SANITIZE})
endif()
if(JUMPLARK_HARDENING)
  add_compile_options(-fstack-protector-strong -fstack-clash-protection -fcf-protection -D_FORTIFY_SOURCE=2)
  add_link_options(-Wl,-z,relro,-z,now)
endif()

function(jumplark_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
  if(ARG_SOURCES)
    add_library(${name} STATIC ${ARG_SOURCES})
    set(visibility PUBLIC)
    target_compile_options(${name} PRIVATE ${JUMPLARK_WARNINGS})
  else()
    add_library(${name} INTERFACE)
    set(visibility INTERFACE)
  endif()
  target_include_directories(${name} ${visibility} ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${name} ${visibility} ${ARG_DEPENDS})
endfunction()

# jumplark_test(NAME SOURCES ... DEPENDS ... [LABELS ...]) makes a GoogleTest program whose cases CTest lists one by one.
# Tests that need a graphical session carry the label desktop, all others (the default) core.
function(jumplark_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;DEPENDS;LABELS" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  if(NOT ARG_LABELS)
    set(ARG_LABELS core)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_compile_options(${name} PRIVATE ${JUMPLARK_WARNINGS})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE ${ARG_DEPENDS} GTest::gmock GTest::gtest_main)
  set(properties TIMEOUT ${ARG_TIMEOUT} ENVIRONMENT LANGUAGE=en)  # texts are compared
  if(ARG_LABELS)
    list(APPEND properties LABELS "${ARG_LABELS}")
  endif()
  if("desktop" IN_LIST ARG_LABELS)
    list(APPEND properties RESOURCE_LOCK desktop)  # whole sessions: one at a time
  endif()
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES ${properties})
endfunction()
