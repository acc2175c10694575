# macOS: the service is an XPC service in a bundle. The tests of its sources run on Linux
# (tests/transport/xpc).
set(TAGWRITER_PLATFORM darwin)
set(TAGWRITER_TRANSPORT xpc)
set(TAGWRITER_SERVICE_DIRECTORIES "")
set(TAGWRITER_DIRECTORIES "")
set(TAGWRITER_PACKAGING "")
set(TAGWRITER_TESTS "")
set(TAGWRITER_LINK_HARDENING "")

# Service bundles are built for OS X 10.11 or later; a build for an older system needs this file.
if(CMAKE_OSX_DEPLOYMENT_TARGET AND CMAKE_OSX_DEPLOYMENT_TARGET VERSION_LESS 10.11)
  set(TAGWRITER_NESTED_DICTIONARY nested_dictionary_10_10.cpp)
else()
  set(TAGWRITER_NESTED_DICTIONARY nested_dictionary.cpp)
endif()

# NSLog is in Foundation, which a cross build does not have.
find_library(TAGWRITER_FOUNDATION Foundation)
mark_as_advanced(TAGWRITER_FOUNDATION)
if(TAGWRITER_FOUNDATION)
  enable_language(OBJCXX)
  set(TAGWRITER_PLATFORM_LOG darwin/platform_log_nslog.mm)
  link_libraries(${TAGWRITER_FOUNDATION})
else()
  set(TAGWRITER_PLATFORM_LOG darwin/platform_log_syslog.cpp)
endif()
