# One .deb with everything, built by "cpack -G DEB" from any build tree.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tagwriter)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Tag writer maintainers <maintainers@tagwriter.invalid>")
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "service that writes tags into audio files for music players")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"A music player opens an audio file and passes the open file and one change
(a title, a rating, lyrics, a cover) to a small service, which makes the change
and never opens a file by its name. The service runs as a private process of
the player, or on the session bus, started on demand.

This package contains the service, a second one that reads, the library with
which players use them, and the tagwriter command.")

# Programs find the service below the prefix, and the files that start it contain the prefix. So
# cpack must install to /usr with DESTDIR, not to a staging directory as the prefix.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/finish.cmake)
set(CPACK_TAGWRITER_DEBIAN_DIRECTORY ${CMAKE_CURRENT_LIST_DIR})

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Only players on the bus need a bus. The development packages are for the static library.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "default-dbus-session-bus | dbus-session-bus")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "pkg-config, libsystemd-dev")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/triggers)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)
