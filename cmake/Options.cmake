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

include(GNUInstallDirs)
# The simulated generator is a provider under the provider's own name, so it has a folder of its own, where the loader finds
# it only when that is named: it never replaces a real one.
set(ZLT_SIMULATOR_DIR ${CMAKE_INSTALL_LIBDIR}/scpi-zlt/simulator)

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
  # -g1: a report needs functions and lines, not variables; it compiles faster.
  target_compile_options(zlt_options INTERFACE
    -fsanitize=${ZLT_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g1)
  target_link_options(zlt_options INTERFACE -fsanitize=${ZLT_SANITIZE})
endif()

# ThreadSanitizer looks at threads only, so what has none is left out of its build.
if(ZLT_SANITIZE STREQUAL "thread")
  set(ZLT_THREADS_ONLY ON)
endif()

# Nearly all the compile time of a test goes into optimisation and debug information, which a test does not need.
add_library(zlt_test_options INTERFACE)
target_link_libraries(zlt_test_options INTERFACE zlt_options)
target_compile_options(zlt_test_options INTERFACE -O0 -g1)

# zlt_room(name sources... [LINK libraries...]): one static library per room, built where something links it.
function(zlt_room name)
  cmake_parse_arguments(ARG "" "" "LINK" ${ARGN})
  add_library(${name} STATIC EXCLUDE_FROM_ALL ${ARG_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PUBLIC zlt_options ${ARG_LINK})
endfunction()

# zlt_install(target destination RUNPATH libraries...): installs a program or library, as part of the CMake package if it has
# an EXPORT_NAME. In the build tree its RUNPATH names the folders of the libraries; the installed file has RUNPATH ("" for
# none, and none at all with CMAKE_SKIP_INSTALL_RPATH, for packages that install where the loader looks anyway). CMake's own
# change of a RUNPATH at installation is not used: for that it ends the build tree's with an empty element, which to the
# loader is the working directory.
function(zlt_install target destination runpath)
  set(folders ${ARGN})
  list(TRANSFORM folders REPLACE "(.+)" "$<TARGET_FILE_DIR:\\1>")
  set_target_properties(${target} PROPERTIES BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "${folders}")
  get_target_property(export ${target} EXPORT_NAME)
  if(export)
    set(export EXPORT scpi_zlt)
  else()
    set(export "")
  endif()
  # NAMELINK_SKIP: what a program is linked with is installed by the room itself.
  install(TARGETS ${target} ${export} DESTINATION ${destination} LIBRARY NAMELINK_SKIP)
  set(file "\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${destination}/$<TARGET_FILE_NAME:${target}>")
  if(NOT runpath OR CMAKE_SKIP_INSTALL_RPATH)
    install(CODE "file(RPATH_REMOVE FILE \"${file}\")")
  else()
    install(CODE "file(RPATH_SET FILE \"${file}\" NEW_RPATH \"${runpath}\")")
  endif()
endfunction()
