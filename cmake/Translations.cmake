# The catalogues of the program's texts, made from po/*.po. In the build they lie in locale/ beside the program, where it
# finds them like those that are installed.
find_program(JUMPLARK_MSGFMT msgfmt REQUIRED)

set(languages de)
foreach(language IN LISTS languages)
  set(source ${PROJECT_SOURCE_DIR}/po/${language}.po)
  set(catalogue ${PROJECT_BINARY_DIR}/locale/${language}/LC_MESSAGES/jumplark.mo)
  cmake_path(GET catalogue PARENT_PATH folder)
  file(MAKE_DIRECTORY ${folder})
  add_custom_command(OUTPUT ${catalogue} DEPENDS ${source} VERBATIM
    COMMAND ${JUMPLARK_MSGFMT} --check-format --output-file=${catalogue} ${source})
  list(APPEND catalogues ${catalogue})
  install(FILES ${catalogue} DESTINATION ${CMAKE_INSTALL_LOCALEDIR}/${language}/LC_MESSAGES)
endforeach()
add_custom_target(translations ALL DEPENDS ${catalogues})
add_dependencies(jumplark translations)
