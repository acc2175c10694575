# Three .deb files, built by "cpack -G DEB" from any build tree: the programs, the library, and what
# developers of players need. Each is a component of the installation.

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL programs library development)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGE_NAME tagwriter)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Tag writer maintainers <maintainers@tagwriter.invalid>")

# The description of each component begins with its summary.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(about "A music player opens an audio file and passes the open file and one change
(a title, a rating, lyrics, a cover) to a small service, which makes the change
and never opens a file by its name. The service runs as a private process of
the player, or on the session bus, started on demand.")

set(CPACK_DEBIAN_PROGRAMS_PACKAGE_NAME tagwriter)
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PROGRAMS_DESCRIPTION
"service that writes tags into audio files for music players
${about}

This package contains the service, a second one that reads, and the tagwriter
command. Built with TagLib ${TAGLIB_VERSION}.")
# Only players on the bus need a bus.
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_RECOMMENDS "default-dbus-session-bus | dbus-session-bus")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libtagwriter0)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS "tagwriter (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION
"library with which music players write tags into audio files
${about}

This package contains the library, which starts the service.")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/triggers)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libtagwriter-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libtagwriter0 (= ${PROJECT_VERSION})")
# For the static library.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "pkg-config, libsystemd-dev")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
"headers and examples for music players that write tags
${about}

This package contains the headers, the static library, the D-Bus interfaces and
example players.")

# Programs find the service below the prefix, and the files that start it contain the prefix. So
# cpack must install to /usr with DESTDIR, not to a staging directory as the prefix.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/finish.cmake)
set(CPACK_TAGWRITER_DEBIAN_DIRECTORY ${CMAKE_CURRENT_LIST_DIR})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)
