# Linux: the service speaks D-Bus. The client library and the command are for Linux only.
set(TAGWRITER_PLATFORM linux)  # each directory's own sources for this platform are in there
set(TAGWRITER_PLATFORM_LOG linux/platform_log.cpp)
set(TAGWRITER_TRANSPORT dbus)
set(TAGWRITER_SERVICE_DIRECTORIES confinement reading)
set(TAGWRITER_DIRECTORIES bus client cli docs bench)
if(TAGWRITER_FUZZ)
  list(APPEND TAGWRITER_DIRECTORIES fuzz)
endif()
set(TAGWRITER_PACKAGING packaging)
set(TAGWRITER_TESTS tests)
set(TAGWRITER_LINK_HARDENING -Wl,-z,relro,-z,now)

include(cmake/install_layout.cmake)

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
