# Where `cmake --install` puts the programs and their desktop files, and the Debian package that
# `./dev package` makes of them with cpack.
include(GNUInstallDirs)

set(VONDREL_PROGRAMS vondrel vondrel-probe vondrel-sim vondrel-report)
set(VONDREL_APP_ID nl.vondrel.lezers)
set(packaging_source ${CMAKE_SOURCE_DIR}/packaging)
set(packaging_build ${CMAKE_BINARY_DIR}/packaging)

# Folders the install creates are 0755 whatever the umask of the one who builds.
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)

foreach(program ${VONDREL_PROGRAMS})
  # Qt is found where Debian puts it: a packaged binary carries no RPATH.
  set_target_properties(${program} PROPERTIES INSTALL_RPATH "")
  target_link_options(${program} PRIVATE LINKER:-z,now)
  configure_file(${packaging_source}/${program}.1.in ${packaging_build}/${program}.1 @ONLY)
  list(APPEND gzipped ${packaging_build}/${program}.1.gz)
  install(FILES ${packaging_build}/${program}.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endforeach()
install(TARGETS ${VONDREL_PROGRAMS} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${packaging_source}/${VONDREL_APP_ID}.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${packaging_source}/${VONDREL_APP_ID}.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
install(FILES ${packaging_source}/${VONDREL_APP_ID}.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES ${packaging_source}/copyright DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES ${packaging_source}/lintian-overrides DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
        RENAME vondrel)
configure_file(${packaging_source}/changelog.Debian ${packaging_build}/changelog.Debian COPYONLY)
list(APPEND gzipped ${packaging_build}/changelog.Debian.gz)
install(FILES ${packaging_build}/changelog.Debian.gz DESTINATION ${CMAKE_INSTALL_DOCDIR})

# Gzipped without name or time stamp, so that two builds of one version give the same package.
foreach(file ${gzipped})
  string(REGEX REPLACE "\\.gz$" "" plain ${file})
  add_custom_command(OUTPUT ${file} COMMAND gzip -9 -n -k -f ${plain} DEPENDS ${plain} VERBATIM)
endforeach()
add_custom_target(vondrel_packaging_files ALL DEPENDS ${gzipped})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vondrel)
set(CPACK_PACKAGE_VENDOR Vondrel)
set(CPACK_PACKAGE_CONTACT "Vondrel <beheer@vondrel.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Toegangslijsten van autonome lezers beheren en programmeersleutels schrijven")
# Lines of at most 79 characters: dpkg and apt show them as they are.
set(CPACK_PACKAGE_DESCRIPTION
    "Met Vondrel Lezers houdt een beheerder bij welke sleutelhouders welke deuren
openen: de lezers per locatie, de sleutelhouders en hun toegang.

De toegangslijst van een lezer wordt via een passieve 1-Wire-probe op een
seriële poort in een programmeersleutel (DS1993 of DS1994) geschreven en
daarna teruggelezen en gecontroleerd. Zonder probe werkt het programma met een
gesimuleerde probe.

vondrel-probe doet hetzelfde werk aan de probe zonder vensters, voor een
script; vondrel-sim biedt de gesimuleerde probe aan op een pseudo-terminal;
vondrel-report geeft het overzicht van wie welke deur opent als tekst, CSV
of PDF.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Qt's own texts (Ja/Nee, context menus, file dialogs) in Dutch; without it they stay English.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS qt6-translations-l10n)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
include(CPack)
