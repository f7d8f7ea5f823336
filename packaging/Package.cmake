# The Debian package: scripts/build-deb.sh, or `cpack -G DEB` in a build folder, writes
# tembrel_<version>-<release>_<arch>.deb from what `cmake --install` puts in place. Its
# dependencies are computed from the installed binaries with dpkg-shlibdeps; what is loaded at run
# time (the QML modules, the SVG icon plugin, the icon theme) is named here, as no linker sees it.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tembrel)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "The Tembrel developers")
set(CPACK_PACKAGE_CONTACT "The Tembrel developers <hello@tembrel.com>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "fix the text you selected, anywhere")
set(CPACK_PACKAGE_HOMEPAGE_URL "https://tembrel.com/")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS OFF)
# CPack puts the summary first and indents the rest; an empty line becomes a paragraph break.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION [=[Tembrel corrects spelling, grammar and style in any application. Select
text, press a shortcut, and Tembrel shows what it changed in a small
floating panel and puts the fixed text on the clipboard, ready to paste.

It works offline with the system's spelling dictionaries, or with an
OpenAI-compatible service of the user's choice.]=])
set(CPACK_DEBIAN_PACKAGE_DEPENDS
  "qml6-module-qtquick, qml6-module-qtquick-controls, qml6-module-qtquick-layouts, qml6-module-qtquick-window, qml6-module-qtquick-templates, qml6-module-qtqml, qml6-module-qtqml-models, qml6-module-qtqml-workerscript, qml6-module-qtwebengine, qml6-module-qtwebchannel, libqt6svg6, hicolor-icon-theme")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "hunspell-en-us | hunspell-dictionary, gnome-keyring | kwalletmanager")

# Debian's own packages are owned by root, with a changelog and copyright file in the doc folder.
set(TEMBREL_DEB_DOCS ${CMAKE_BINARY_DIR}/packaging/doc)
configure_file(${PROJECT_SOURCE_DIR}/packaging/copyright.in ${TEMBREL_DEB_DOCS}/copyright @ONLY)
set(TEMBREL_CHANGELOG ${TEMBREL_DEB_DOCS}/changelog.Debian.gz)
add_custom_command(OUTPUT ${TEMBREL_CHANGELOG}
  COMMAND gzip -9 -n -c ${PROJECT_SOURCE_DIR}/packaging/changelog > ${TEMBREL_CHANGELOG}
  DEPENDS ${PROJECT_SOURCE_DIR}/packaging/changelog VERBATIM)
add_custom_target(tembrel-deb-docs ALL DEPENDS ${TEMBREL_CHANGELOG})
install(FILES ${PROJECT_SOURCE_DIR}/packaging/lintian-overrides
  DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME tembrel)
install(FILES ${TEMBREL_DEB_DOCS}/copyright ${TEMBREL_CHANGELOG}
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tembrel)

include(CPack)
