# An interface target that all targets link to: C++ version, warnings, hardening, sanitizers.

option(TAGWRITER_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
option(TAGWRITER_FUZZ "Build for the fuzz targets, with clang" OFF)

add_library(tagwriter_options INTERFACE)
target_compile_features(tagwriter_options INTERFACE cxx_std_20)
target_include_directories(tagwriter_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(tagwriter_options INTERFACE
  -Wall -Wextra -Wpedantic -Werror
  # GCC 12 wrongly reports an overlapping copy in std::string's operator+ (GCC bug 105651).
  $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict>
  $<$<CONFIG:Release>:-fstack-protector-strong>)
target_compile_definitions(tagwriter_options INTERFACE $<$<CONFIG:Release>:_FORTIFY_SOURCE=2>)
target_link_options(tagwriter_options INTERFACE $<$<CONFIG:Release>:${TAGWRITER_LINK_HARDENING}>)
if(TAGWRITER_SANITIZE)
  target_compile_options(tagwriter_options INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  target_link_options(tagwriter_options INTERFACE -fsanitize=address,undefined)
endif()
if(TAGWRITER_FUZZ)
  target_compile_options(tagwriter_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# add_component(NAME sources... LINK targets...): one static library per directory. Symbols are
# hidden, so that the shared library made from these exports only what is marked with TAGWRITER_API.
function(add_component name)
  cmake_parse_arguments(COMPONENT "" "" "LINK" ${ARGN})
  add_library(tagwriter_${name} STATIC ${COMPONENT_UNPARSED_ARGUMENTS})
  target_link_libraries(tagwriter_${name} PUBLIC tagwriter_options ${COMPONENT_LINK})
  set_target_properties(tagwriter_${name} PROPERTIES
    POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
endfunction()
