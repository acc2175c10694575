# One .deb with everything, made by "cpack -G DEB" from any build tree.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tagwriter)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Tag writer maintainers <maintainers@tagwriter.invalid>")
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "service that writes tags into audio files for music players")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"A music player opens an audio file and hands the open file and one change
(a title, a rating, lyrics, a cover) to a small service, which writes it and
never opens a file by its name. The service runs as a process of the player's
own, or on the session bus, started on demand.

This package holds the service, the library with which players talk to it,
and the tagwriter command.")

# Programs find the service below the prefix, and the files that start it name the prefix, so the
# install has to know it: DESTDIR, not a staging directory for a prefix.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/finish.cmake)
set(CPACK_TAGWRITER_DEBIAN_FOLDER ${CMAKE_CURRENT_LIST_DIR})

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The command needs no bus; players on the bus do. The development files are for the static library.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "default-dbus-session-bus | dbus-session-bus")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "pkg-config, libtag1-dev, libsystemd-dev")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/triggers)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)
