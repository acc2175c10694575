# Runs at install time: writes the two files that start the front, for the prefix of this install.
get_filename_component(prefix ${CMAKE_INSTALL_PREFIX} ABSOLUTE)
cmake_path(ABSOLUTE_PATH LIBEXEC_FOLDER BASE_DIRECTORY ${prefix} OUTPUT_VARIABLE FRONT_FOLDER)
cmake_path(ABSOLUTE_PATH DATA_FOLDER BASE_DIRECTORY ${prefix})

# A directory for each prefix, because installs into several places may run at the same time.
string(MD5 place ${prefix})
set(made ${BUILD_FOLDER}/activation/${place})
foreach(name org.tagwriter.TagWriter.service tagwriter.service)
  configure_file(${SOURCE_FOLDER}/${name}.in ${made}/${name} @ONLY)
endforeach()

# file(INSTALL) puts DESTDIR in front.
file(INSTALL ${made}/org.tagwriter.TagWriter.service
     DESTINATION ${DATA_FOLDER}/dbus-1/services)
file(INSTALL ${made}/tagwriter.service
     DESTINATION ${prefix}/lib/systemd/user)
