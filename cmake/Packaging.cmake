# What `cmake --install` lays out, and `cpack -G DEB`, which makes a Debian package of it.
include(GNUInstallDirs)

set(JUMPLARK_MAINTAINER "Jumplark developers <jumplark@brindlefox.com>" CACHE STRING
    "Who looks after the package, as in a Debian control file")
set(JUMPLARK_HOMEPAGE_URL "" CACHE STRING "The product's page, for the package's description; may be empty")
# Of PROJECT_VERSION. Not the day of the build, so that the same sources give the same package.
set(JUMPLARK_RELEASE_DATE "2026-11-20")
set(JUMPLARK_RELEASE_DATE_RFC "Fri, 20 Nov 2026 12:00:00 +0000")
if(JUMPLARK_HOMEPAGE_URL)
  set(JUMPLARK_HOMEPAGE_ELEMENT "<url type=\"homepage\">${JUMPLARK_HOMEPAGE_URL}</url>")
endif()

set(packaging ${PROJECT_SOURCE_DIR}/packaging)
set(made ${PROJECT_BINARY_DIR}/packaging)
set(icons ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
set(docs ${CMAKE_INSTALL_DATADIR}/doc/jumplark)  # where the program looks, whatever the packager's habits

configure_file(${packaging}/com.brindlefox.jumplark.metainfo.xml.in ${made}/com.brindlefox.jumplark.metainfo.xml @ONLY)
configure_file(${packaging}/debian/changelog.in ${made}/changelog.Debian @ONLY)
# Made at each configuration, without the time in it.
foreach(document IN ITEMS ${packaging}/jumplark.1 ${made}/changelog.Debian)
  cmake_path(GET document FILENAME name)
  execute_process(COMMAND gzip -9nc ${document} OUTPUT_FILE ${made}/${name}.gz COMMAND_ERROR_IS_FATAL ANY)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${document})
endforeach()

install(TARGETS jumplark RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${packaging}/jumplark.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${made}/com.brindlefox.jumplark.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
foreach(size IN ITEMS 16 22 24 32 48 64 128 256)
  install(FILES ${packaging}/icons/jumplark-${size}.png DESTINATION ${icons}/${size}x${size}/apps RENAME jumplark.png)
endforeach()
install(FILES ${packaging}/icons/jumplark.svg DESTINATION ${icons}/scalable/apps)
install(FILES ${packaging}/icons/jumplark-symbolic.svg DESTINATION ${icons}/symbolic/apps)
install(FILES ${made}/jumplark.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${packaging}/completions/jumplark.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME jumplark)
install(FILES ${packaging}/completions/_jumplark DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
install(FILES ${packaging}/completions/jumplark.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
install(FILES ${packaging}/debian/copyright README.md DESTINATION ${docs})
install(FILES docs/recorded-desktop.md DESTINATION ${docs}/docs)
install(DIRECTORY docs/images DESTINATION ${docs}/docs FILES_MATCHING PATTERN *.png)
install(FILES ${made}/changelog.Debian.gz DESTINATION ${docs})
install(FILES ${packaging}/debian/lintian-overrides
        DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME jumplark)

set(CPACK_GENERATOR DEB)
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
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/PackagePermissions.cmake)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${JUMPLARK_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_SECTION x11)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# What no library says: the bus that it speaks to.
set(CPACK_DEBIAN_PACKAGE_DEPENDS at-spi2-core)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "ca-certificates, qt6-translations-l10n, xdg-utils")
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
include(CPack)
