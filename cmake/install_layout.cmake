# Where the installed files go. On Debian, libraries go into the directory of the architecture under
# every prefix, not only under /usr, so that one build works for both /usr/local and the package.
if(NOT DEFINED CMAKE_INSTALL_LIBDIR AND CMAKE_LIBRARY_ARCHITECTURE AND EXISTS /etc/debian_version)
  set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE PATH "Object code libraries")
endif()
include(GNUInstallDirs)
foreach(directory BINDIR LIBDIR LIBEXECDIR DATADIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${directory}}")
    message(FATAL_ERROR "CMAKE_INSTALL_${directory} must be relative: an installation can be moved")
  endif()
endforeach()

# The directory of the programs that users do not start, and its path relative to those of programs
# and libraries, so that an installation still finds its service after it has been moved.
set(TAGWRITER_LIBEXECDIR ${CMAKE_INSTALL_LIBEXECDIR}/tagwriter)
set(TAGWRITER_FULL_LIBEXECDIR ${CMAKE_INSTALL_FULL_LIBEXECDIR}/tagwriter)
cmake_path(RELATIVE_PATH TAGWRITER_FULL_LIBEXECDIR BASE_DIRECTORY ${CMAKE_INSTALL_FULL_BINDIR}
           OUTPUT_VARIABLE TAGWRITER_LIBEXEC_FROM_BIN)
cmake_path(RELATIVE_PATH TAGWRITER_FULL_LIBEXECDIR BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}
           OUTPUT_VARIABLE TAGWRITER_LIBEXEC_FROM_LIB)
