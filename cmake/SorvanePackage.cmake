# The Debian package, made by CPack (`./do package`): the library and the
# client library, their headers, CMake package and pkg-config file, the
# programs, and the session bus's service file and interface description in
# the folders the bus reads for every user.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME sorvane)
set(CPACK_PACKAGE_VENDOR "Orveltech")
set(CPACK_PACKAGE_CONTACT "Sorvane developers <sorvane@orveltech.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "foundation class framework and splash server")
set(CPACK_PACKAGE_DESCRIPTION
    "Sorvane is the foundation class framework of an engineering suite: strings,
collections, a scanner and typed tokens, values with units, units of
measure, monikers and resources, notifications, XML, internet and mail
clients and compression. orvelsplash is the per-client splash server that
the suite's applications activate over the session bus.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://orveltech.invalid/sorvane")
# The libraries' and programs' run-time dependencies, as dpkg-shlibdeps
# finds them; the bus daemon starts the server, the fonts are what it paints
# with. The library opens the transfer library (libcurl.so.4) at its first
# internet or mail call rather than linking it, so shlibdeps does not see it.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "default-dbus-session-bus | dbus-session-bus, fonts-liberation, libcurl4 (>= 7.85.0)")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# The libraries' cache is brought up to date by the trigger.
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/debian/triggers)

# What every Debian package carries: its copyright and its changelog, the
# latter compressed as the policy asks (no name or time in the header).
set(SORVANE_DOC_DIR ${CMAKE_INSTALL_DATADIR}/doc/sorvane)
add_custom_command(OUTPUT ${PROJECT_BINARY_DIR}/generated/changelog.gz
    COMMAND sh -c "gzip -9n -c \"$0\" > \"$1\"" ${CMAKE_CURRENT_LIST_DIR}/debian/changelog
        ${PROJECT_BINARY_DIR}/generated/changelog.gz
    DEPENDS ${CMAKE_CURRENT_LIST_DIR}/debian/changelog
    VERBATIM)
add_custom_target(sorvane_changelog ALL DEPENDS ${PROJECT_BINARY_DIR}/generated/changelog.gz)
install(FILES ${CMAKE_CURRENT_LIST_DIR}/debian/copyright ${PROJECT_BINARY_DIR}/generated/changelog.gz
    DESTINATION ${SORVANE_DOC_DIR})

# The manual pages come from docs/man, compressed there for the install.
include(CPack)
