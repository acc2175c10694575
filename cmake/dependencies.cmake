# Dependencies of every platform. If one is missing, the error names its Debian package. What only
# one platform needs is in cmake/platform/.

function(require_package found package what)
  if(NOT ${found})
    message(FATAL_ERROR
            "${what} not found. On Debian: apt-get install ${package}  (or let ./run do it)")
  endif()
endfunction()

find_program(PKG_CONFIG_EXECUTABLE NAMES pkg-config pkgconf)
require_package(PKG_CONFIG_EXECUTABLE pkg-config "pkg-config")
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)

pkg_check_modules(TAGLIB QUIET IMPORTED_TARGET GLOBAL taglib)
require_package(TAGLIB_FOUND libtag1-dev "TagLib")
# 1.13 is the first with FileRef::StreamTypeResolver. docs/TAGLIB.md says which versions were tried.
if(TAGLIB_VERSION VERSION_LESS 1.13)
  message(FATAL_ERROR "TagLib ${TAGLIB_VERSION} found, but this project needs 1.13 or later. "
                      "On Debian: apt-get install libtag1-dev")
endif()
# What the documents and the expectations of the tests are by: 1 or 2.
string(REGEX MATCH "^[0-9]+" TAGWRITER_TAGLIB_SERIES ${TAGLIB_VERSION})
