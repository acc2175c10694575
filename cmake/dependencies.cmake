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
# TagLib 2.0 changed the stream interface (offsets, lengths, return types); 1.13 is the oldest
# version tested.
if(NOT TAGLIB_VERSION VERSION_GREATER_EQUAL 1.13 OR NOT TAGLIB_VERSION VERSION_LESS 2)
  message(FATAL_ERROR "TagLib ${TAGLIB_VERSION} found, but this project is written against the 1.x "
                      "interface: 1.13 or later, below 2. On Debian: apt-get install libtag1-dev")
endif()
