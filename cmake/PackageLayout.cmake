# Run by cpack on what is about to be packed, once for each kind of package.
set(share ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/share)

function(add_file source target)
  cmake_path(GET target PARENT_PATH folder)
  file(MAKE_DIRECTORY ${folder})
  file(COPY_FILE ${source} ${target})
  file(CHMOD ${target} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endfunction()

if(CPACK_GENERATOR STREQUAL "DEB")
  # What Debian lays out in a way of its own.
  set(debian ${CMAKE_CURRENT_LIST_DIR}/../packaging/debian)
  file(REMOVE_RECURSE ${share}/licenses)
  file(RENAME ${share}/zsh/site-functions ${share}/zsh/vendor-completions)
  add_file(${debian}/copyright ${share}/doc/jumplark/copyright)
  add_file(${CPACK_JUMPLARK_MADE}/changelog.Debian.gz ${share}/doc/jumplark/changelog.Debian.gz)
  add_file(${debian}/lintian-overrides ${share}/lintian/overrides/jumplark)
  add_file(${debian}/doc-base ${share}/doc-base/jumplark)
endif()
# Folders are open to everybody, whatever the umask of whoever packs.
file(CHMOD_RECURSE ${CPACK_TEMPORARY_INSTALL_DIRECTORY} DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
