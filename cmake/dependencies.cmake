# Dependencies, all from Debian packages. If one is missing, the error names its package.

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

pkg_check_modules(SYSTEMD QUIET IMPORTED_TARGET GLOBAL libsystemd>=252)
require_package(SYSTEMD_FOUND libsystemd-dev "libsystemd 252 or later (sd-bus)")

# TagLib allocates hundreds of small objects for each edit; see docs/PERFORMANCE.md.
find_package(mimalloc CONFIG QUIET)
require_package(mimalloc_FOUND libmimalloc-dev "mimalloc")
# How long freed memory stays with the process; mimalloc 2.1 renamed it.
include(CheckSourceCompiles)
set(CMAKE_REQUIRED_LIBRARIES mimalloc)
check_source_compiles(CXX "#include <mimalloc.h>\nint main() { return mi_option_purge_delay; }"
                      MIMALLOC_HAS_PURGE_DELAY)
unset(CMAKE_REQUIRED_LIBRARIES)
set(MIMALLOC_DELAY mi_option_decommit_delay)
if(MIMALLOC_HAS_PURGE_DELAY)
  set(MIMALLOC_DELAY mi_option_purge_delay)
endif()

find_package(CLI11 CONFIG QUIET)
require_package(CLI11_FOUND libcli11-dev "CLI11")

find_package(nlohmann_json CONFIG QUIET)
require_package(nlohmann_json_FOUND nlohmann-json3-dev "JSON for Modern C++")

if(BUILD_TESTING)
  find_package(GTest CONFIG QUIET)
  require_package(GTest_FOUND libgtest-dev "GoogleTest")
endif()
