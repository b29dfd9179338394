# What `cmake --install` lays out, and `cpack`, which makes a Debian package and an RPM of it.
include(GNUInstallDirs)

set(JUMPLARK_MAINTAINER "Jumplark developers <jumplark@brindlefox.com>" CACHE STRING
    "Who looks after the package, as in a Debian control file")
# Of PROJECT_VERSION. Not the day of the build, so that the same sources give the same package.
set(JUMPLARK_RELEASE_DATE "2026-11-20")
set(JUMPLARK_RELEASE_DATE_RFC "Fri, 20 Nov 2026 12:00:00 +0000")
if(JUMPLARK_HOMEPAGE_URL)
  set(JUMPLARK_HOMEPAGE_ELEMENT "<url type=\"homepage\">${JUMPLARK_HOMEPAGE_URL}</url>")
endif()

set(packaging ${PROJECT_SOURCE_DIR}/packaging)
set(made ${PROJECT_BINARY_DIR}/packaging)
set(icons ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
set(docs ${CMAKE_INSTALL_DATADIR}/doc/jumplark)

configure_file(${packaging}/com.brindlefox.jumplark.metainfo.xml.in ${made}/com.brindlefox.jumplark.metainfo.xml @ONLY)
# KWin lets a program click whose path is in its desktop file.
configure_file(${packaging}/jumplark.desktop.in ${made}/jumplark.desktop @ONLY)
configure_file(${packaging}/debian/changelog.in ${made}/changelog.Debian @ONLY)
# Made at each configuration, without the time in it.
foreach(document IN ITEMS ${packaging}/jumplark.1 ${made}/changelog.Debian)
  cmake_path(GET document FILENAME name)
  execute_process(COMMAND gzip -9nc ${document} OUTPUT_FILE ${made}/${name}.gz COMMAND_ERROR_IS_FATAL ANY)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${document})
endforeach()

# The program opens the guide, so it does not lie among the documents, which some machines go without. In the build it
# lies beside the program, where that finds it like the installed one.
set(guide index.html after.png details.png gnome-extension.png gnome-shortcut.png gnome-start.png gnome.png
    help.png matches.png plasma-shortcut.png plasma-start.png plasma.png selected.png sway.png)
foreach(file IN LISTS guide)
  configure_file(${PROJECT_SOURCE_DIR}/docs/guide/${file} ${PROJECT_BINARY_DIR}/guide/${file} COPYONLY)
  install(FILES docs/guide/${file} DESTINATION ${CMAKE_INSTALL_DATADIR}/jumplark/guide)
endforeach()

install(TARGETS jumplark RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${made}/jumplark.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${made}/com.brindlefox.jumplark.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
set(icon_sizes 16 22 24 32 48 64 128 256)
foreach(size IN LISTS icon_sizes)
  install(FILES ${packaging}/icons/jumplark-${size}.png DESTINATION ${icons}/${size}x${size}/apps RENAME jumplark.png)
endforeach()
install(FILES ${packaging}/icons/jumplark.svg DESTINATION ${icons}/scalable/apps)
install(FILES ${packaging}/icons/jumplark-symbolic.svg DESTINATION ${icons}/symbolic/apps)
install(FILES ${made}/jumplark.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${packaging}/completions/jumplark.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME jumplark)
install(FILES ${packaging}/completions/_jumplark DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
install(FILES ${packaging}/completions/jumplark.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/licenses/jumplark)
install(FILES docs/recorded-desktop.md DESTINATION ${docs})
# Where people look for it.
file(CREATE_LINK ../../jumplark/guide ${made}/guide SYMBOLIC)
install(FILES ${made}/guide DESTINATION ${docs})

# The extension for GNOME Shell. Which kind of modules it is made of depends on the shell of the distribution; where that
# is not installed, on the age of the system: both changed in the same autumn. It answers the program that is installed
# here, and stays off until the user switches it on.
find_program(JUMPLARK_GNOME_SHELL gnome-shell)
if(NOT JUMPLARK_GNOME_SHELL_VERSION AND JUMPLARK_GNOME_SHELL)
  execute_process(COMMAND ${JUMPLARK_GNOME_SHELL} --version OUTPUT_VARIABLE shell_version ERROR_QUIET)
  string(REGEX MATCH "[0-9]+" shell_version "${shell_version}")
elseif(NOT JUMPLARK_GNOME_SHELL_VERSION AND SDBUS_VERSION VERSION_LESS 254)
  set(shell_version 43)
endif()
set(JUMPLARK_GNOME_SHELL_VERSION "${shell_version}" CACHE STRING "The shell's version that the extension is made for")
set(extension ${made}/gnome-shell/jumplark@brindlefox.com)
execute_process(COMMAND ${packaging}/gnome-shell/assemble "${JUMPLARK_GNOME_SHELL_VERSION}" ${extension}
                        ${CMAKE_INSTALL_FULL_BINDIR}/jumplark COMMAND_ERROR_IS_FATAL ANY)
file(GLOB_RECURSE parts_of_extension CONFIGURE_DEPENDS ${packaging}/gnome-shell/*)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${parts_of_extension})
install(DIRECTORY ${extension} DESTINATION ${CMAKE_INSTALL_DATADIR}/gnome-shell/extensions
        FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ
        DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# Those kinds of packages that this machine has the tools for.
find_program(JUMPLARK_SHLIBDEPS dpkg-shlibdeps)
find_program(JUMPLARK_RPMBUILD rpmbuild)
set(CPACK_GENERATOR "")
if(JUMPLARK_SHLIBDEPS)
  list(APPEND CPACK_GENERATOR DEB)
endif()
if(JUMPLARK_RPMBUILD)
  list(APPEND CPACK_GENERATOR RPM)
endif()
set(CPACK_PACKAGE_NAME jumplark)
set(CPACK_PACKAGE_VENDOR "The Jumplark developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "operate any application's interface from the keyboard")
set(CPACK_PACKAGE_DESCRIPTION
"Press a shortcut over any application and type a few letters of what you see.
Jumplark finds the buttons, fields, menus, rows and links whose texts fit,
gives each a short label, and clicks the one you mean.
.
It reads the interfaces of applications through the accessibility bus of the
desktop, and needs an X11 session.")
set(CPACK_PACKAGE_HOMEPAGE_URL "${JUMPLARK_HOMEPAGE_URL}")
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/PackageLayout.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/PackageChecksums.cmake)
set(CPACK_JUMPLARK_MADE ${made})
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_RELOCATABLE OFF)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${JUMPLARK_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_SECTION x11)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# What no library says: the bus that it speaks to.
# Qt loads its part for Wayland by name.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "at-spi2-core, qt6-wayland")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "ca-certificates, qt6-translations-l10n, xdg-utils")
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_RPM_PACKAGE_RELEASE 1)
set(CPACK_RPM_PACKAGE_LICENSE MIT)
set(CPACK_RPM_PACKAGE_GROUP "User Interface/X")
string(REPLACE "\n.\n" "\n\n" CPACK_RPM_PACKAGE_DESCRIPTION "${CPACK_PACKAGE_DESCRIPTION}")
set(CPACK_RPM_SPEC_INSTALL_POST /bin/true)  # stripped already
# Libraries are found by what the program is linked to. The second one owns the folders of the icons.
set(CPACK_RPM_PACKAGE_REQUIRES "at-spi2-core, hicolor-icon-theme, (qt6-qtwayland or qt6-wayland)")
# The same sources give the same package where SOURCE_DATE_EPOCH is set.
set(CPACK_RPM_SPEC_MORE_DEFINE "Recommends: xdg-utils, ca-certificates
%define _build_id_links none
%define _buildhost localhost
%define use_source_date_epoch_as_buildtime 1
%define clamp_mtime_to_source_date_epoch 1")
set(CPACK_RPM_USER_FILELIST "%license /usr/share/licenses/jumplark/LICENSE"
    "%lang(de) /usr/share/locale/de/LC_MESSAGES/jumplark.mo")
# Folders of others.
set(folders_of_others applications bash-completion/completions fish/vendor_completions.d gnome-shell/extensions icons/hicolor/scalable/apps
    icons/hicolor/symbolic/apps licenses locale/de/LC_MESSAGES man/man1 metainfo zsh/site-functions)
foreach(size IN LISTS icon_sizes)
  list(APPEND folders_of_others icons/hicolor/${size}x${size}/apps)
endforeach()
foreach(folder IN LISTS folders_of_others)
  while(folder)
    list(APPEND CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION /usr/share/${folder})
    cmake_path(GET folder PARENT_PATH folder)
  endwhile()
endforeach()
include(CPack)
