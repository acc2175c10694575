# One interface target that every room links to: language level, warnings, hardening, sanitizers.

option(TAGWRITER_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)

add_library(tagwriter_options INTERFACE)
target_compile_features(tagwriter_options INTERFACE cxx_std_20)
target_include_directories(tagwriter_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(tagwriter_options INTERFACE
  -Wall -Wextra -Wpedantic -Werror
  $<$<CONFIG:Release>:-fstack-protector-strong>)
target_compile_definitions(tagwriter_options INTERFACE $<$<CONFIG:Release>:_FORTIFY_SOURCE=2>)
if(TAGWRITER_SANITIZE)
  target_compile_options(tagwriter_options INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  target_link_options(tagwriter_options INTERFACE -fsanitize=address,undefined)
endif()

# add_room(NAME sources... LINK targets...): one static library a room.
function(add_room name)
  cmake_parse_arguments(ROOM "" "" "LINK" ${ARGN})
  add_library(tagwriter_${name} STATIC ${ROOM_UNPARSED_ARGUMENTS})
  target_link_libraries(tagwriter_${name} PUBLIC tagwriter_options ${ROOM_LINK})
  set_target_properties(tagwriter_${name} PROPERTIES POSITION_INDEPENDENT_CODE ON)
endfunction()
