# cmake --install: both programs, their man pages (made from --help), the
# desktop entry and the icon. cpack -G DEB packs the same into a .deb.
include(GNUInstallDirs)
set(pinboard_data ${PROJECT_SOURCE_DIR}/data)

foreach(program pinboard pinboard-cli)
  add_custom_command(OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/${program}.1
    COMMAND $<TARGET_FILE:${program}> --help > ${CMAKE_CURRENT_BINARY_DIR}/${program}.help
    COMMAND ${CMAKE_COMMAND} -DHELP=${CMAKE_CURRENT_BINARY_DIR}/${program}.help
            -DMAN=${CMAKE_CURRENT_BINARY_DIR}/${program}.1 -DNAME=${program}
            -P ${pinboard_data}/helptoman.cmake
    DEPENDS ${program} ${pinboard_data}/helptoman.cmake
    COMMENT "Man page of ${program}")
  list(APPEND pinboard_man_pages ${CMAKE_CURRENT_BINARY_DIR}/${program}.1)
endforeach()
add_custom_target(man_pages ALL DEPENDS ${pinboard_man_pages})

install(TARGETS pinboard pinboard-cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${pinboard_man_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${pinboard_data}/pinboard.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${pinboard_data}/pinboard.svg
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)

set(CPACK_PACKAGE_NAME pinboard)
set(CPACK_PACKAGE_VENDOR "Pinboard")
set(CPACK_PACKAGE_CONTACT "Pinboard <pinboard@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Sticky notes on the desktop, shared on the office LAN")
set(CPACK_PACKAGE_INSTALL_DIRECTORY pinboard)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
# The libraries the programs link come from dpkg-shlibdeps; what they load
# at run time is named here: the Qt platform plugins that open a window, Qt's
# Japanese texts, a Japanese font and the sound font for MIDI alarms.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS
  "qt6-qpa-plugins, qt6-translations-l10n, fonts-noto-cjk, timgm6mb-soundfont")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "xdg-user-dirs")
include(CPack)
