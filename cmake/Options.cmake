# Language, warnings and sanitizers, the same for every target of ours.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_CXX_FLAGS_DEBUG "-O1 -g")
set(CMAKE_C_FLAGS_DEBUG "-O1 -g")

set(ZLT_SANITIZE "" CACHE STRING "Comma-separated list for -fsanitize")

find_program(CCACHE ccache)
if(CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
  set(CMAKE_C_COMPILER_LAUNCHER ${CCACHE})
endif()

# -fno-gnu-unique: a library that holds such a symbol never really unloads.
add_library(zlt_options INTERFACE)
target_include_directories(zlt_options INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
target_compile_options(zlt_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror -ffp-contract=off
  $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-fno-gnu-unique>)
if(ZLT_SANITIZE)
  target_compile_options(zlt_options INTERFACE
    -fsanitize=${ZLT_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(zlt_options INTERFACE -fsanitize=${ZLT_SANITIZE})
endif()

# zlt_room(name sources... [LINK libraries...]): one static library per room.
function(zlt_room name)
  cmake_parse_arguments(ARG "" "" "LINK" ${ARGN})
  add_library(${name} STATIC ${ARG_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PUBLIC zlt_options ${ARG_LINK})
endfunction()
