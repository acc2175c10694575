# Runs at install time: writes the files that start the front, with the prefix of this install.
get_filename_component(prefix ${CMAKE_INSTALL_PREFIX} ABSOLUTE)
cmake_path(ABSOLUTE_PATH LIBEXEC_DIRECTORY BASE_DIRECTORY ${prefix} OUTPUT_VARIABLE FRONT_DIRECTORY)
cmake_path(ABSOLUTE_PATH DATA_DIRECTORY BASE_DIRECTORY ${prefix})

# One directory per prefix, because installs to several prefixes may run at the same time.
string(MD5 prefix_hash ${prefix})
set(generated ${BUILD_DIRECTORY}/activation/${prefix_hash})
foreach(name org.tagwriter.TagWriter.service tagwriter.service tagwriter-namespaces)
  configure_file(${SOURCE_DIRECTORY}/${name}.in ${generated}/${name} @ONLY)
endforeach()

# file(INSTALL) prepends DESTDIR.
file(INSTALL ${generated}/org.tagwriter.TagWriter.service
     DESTINATION ${DATA_DIRECTORY}/dbus-1/services)
file(INSTALL ${generated}/tagwriter.service
     DESTINATION ${prefix}/lib/systemd/user)
file(INSTALL ${generated}/tagwriter-namespaces
     DESTINATION ${prefix}/lib/systemd/user-generators
     USE_SOURCE_PERMISSIONS)
