# SPDX-License-Identifier: MIT
# The targets of Velmora: one library for each folder, which sees only the headers of the libraries it links.
include(CheckLinkerFlag)

# Compiler and linker options of all targets, tests included.
add_library(velmora_common_options INTERFACE)
target_compile_definitions(velmora_common_options INTERFACE
  QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING
  QT_DISABLE_DEPRECATED_BEFORE=0x060400 VELMORA_VERSION="${PROJECT_VERSION}" _GLIBCXX_ASSERTIONS)
# The precompiled header requires the same threading option everywhere.
target_compile_options(velmora_common_options INTERFACE -pthread)
# Linking dominated the time from a change to its test. Releases are linked with the system's default linker.
find_program(VELMORA_MOLD mold)
if(VELMORA_MOLD AND NOT CMAKE_BUILD_TYPE STREQUAL "Release")
  target_link_options(velmora_common_options INTERFACE -fuse-ld=mold)
endif()
if(VELMORA_SANITIZERS)
  target_compile_options(velmora_common_options INTERFACE -fno-omit-frame-pointer)
  target_link_options(velmora_common_options INTERFACE -fsanitize=${VELMORA_SANITIZERS})
endif()

# A program that waits all day in memory is built small: with -O3, its code alone took as much memory as all of its data.
# What decodes answers asks for speed (see velmora_library). At -Os, GCC 12 takes coroutine frames for uninitialised.
if(CMAKE_BUILD_TYPE STREQUAL "Release")
  string(REPLACE "-O3" "-Os" CMAKE_CXX_FLAGS_RELEASE "${CMAKE_CXX_FLAGS_RELEASE}")
  target_compile_options(velmora_common_options INTERFACE
    -ffunction-sections -fdata-sections $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  target_link_options(velmora_common_options INTERFACE LINKER:--gc-sections)
  check_linker_flag(CXX LINKER:-z,pack-relative-relocs VELMORA_PACKS_RELOCATIONS)
  if(VELMORA_PACKS_RELOCATIONS)
    target_link_options(velmora_common_options INTERFACE LINKER:-z,pack-relative-relocs)
  endif()
endif()

# Compiler options of the program. It is hardened wherever it is optimised, since people run those builds; flags that a
# distribution sets take precedence.
add_library(velmora_options INTERFACE)
target_link_libraries(velmora_options INTERFACE velmora_common_options)
if(VELMORA_SANITIZERS)
  target_compile_options(velmora_options INTERFACE -fsanitize=${VELMORA_SANITIZERS}
    # clang 14 cannot emit this check's type prologue for the parts of a coroutine.
    $<$<CXX_COMPILER_ID:Clang>:-fno-sanitize=function>
    $<$<CXX_COMPILER_ID:Clang>:-fsanitize-ignorelist=${CMAKE_SOURCE_DIR}/cmake/sanitizers.ignore>)
else()
  target_compile_options(velmora_options INTERFACE "$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>"
    "$<$<NOT:$<CONFIG:Debug>>:-fstack-protector-strong;-fstack-clash-protection>")
endif()

# One precompiled header for all targets: parsing the headers of Qt and QCoro dominates the time for a small file.
add_library(velmora_pch OBJECT ${CMAKE_SOURCE_DIR}/cmake/precompiled.cpp)
target_link_libraries(velmora_pch PRIVATE velmora_options Qt6::Core QCoro6::Core)
set_target_properties(velmora_pch PROPERTIES AUTOMOC OFF)
target_precompile_headers(velmora_pch PRIVATE ${CMAKE_SOURCE_DIR}/cmake/precompiled.h)

# velmora_library(<name> FOLDER <dir> [HIDDEN <subfolder>] [EXCEPT <source> …] [FAST] PUBLIC … PRIVATE …)
# Builds a library from all sources and headers in the folder and below it, except the named ones. Its include root is a
# folder in the build tree with a single link, named like the source folder, so that headers of layers that are not
# linked cannot be found. Only the library itself finds the headers of the hidden subfolder, and what links
# velmora_<name>_<subfolder>: its tests. A FAST library is optimised for speed in releases, too.
function(velmora_library name)
  cmake_parse_arguments(A "FAST" "FOLDER;HIDDEN" "EXCEPT;PUBLIC;PRIVATE" ${ARGN})
  cmake_path(GET A_FOLDER FILENAME folder)
  set(root ${CMAKE_BINARY_DIR}/layers/${name})
  file(MAKE_DIRECTORY ${root})
  file(CREATE_LINK ${CMAKE_SOURCE_DIR}/${A_FOLDER} ${root}/${folder} SYMBOLIC)
  set(source_root ${CMAKE_SOURCE_DIR}/${A_FOLDER})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS RELATIVE ${source_root} ${source_root}/*.cpp)
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS RELATIVE ${source_root} ${source_root}/*.h)
  list(REMOVE_ITEM sources ${A_EXCEPT})
  set(files ${sources} ${headers})
  list(TRANSFORM files PREPEND ${source_root}/)
  add_library(velmora_${name} STATIC ${files})
  if(A_HIDDEN)
    set(public_root ${root}-public)
    file(MAKE_DIRECTORY ${public_root}/${folder})
    file(GLOB entries CONFIGURE_DEPENDS RELATIVE ${source_root} ${source_root}/*)
    list(REMOVE_ITEM entries ${A_HIDDEN})
    foreach(entry ${entries})
      file(CREATE_LINK ${source_root}/${entry} ${public_root}/${folder}/${entry} SYMBOLIC)
    endforeach()
    target_include_directories(velmora_${name} PRIVATE ${root} INTERFACE ${public_root})
    add_library(velmora_${name}_${A_HIDDEN} INTERFACE)
    target_include_directories(velmora_${name}_${A_HIDDEN} INTERFACE ${root})
    target_link_libraries(velmora_${name}_${A_HIDDEN} INTERFACE velmora_${name})
  else()
    target_include_directories(velmora_${name} PUBLIC ${root})
  endif()
  target_link_libraries(velmora_${name} PUBLIC ${A_PUBLIC} PRIVATE velmora_options ${A_PRIVATE})
  if(A_FAST AND CMAKE_BUILD_TYPE STREQUAL "Release")
    target_compile_options(velmora_${name} PRIVATE -O2)
    target_precompile_headers(velmora_${name} PRIVATE ${CMAKE_SOURCE_DIR}/cmake/precompiled.h)
  else()
    target_precompile_headers(velmora_${name} REUSE_FROM velmora_pch)
  endif()
  # Checks that each header compiles alone: `ninja all_verify_interface_header_sets`. Parsing Qt for each header would
  # take minutes, so the precompiled header comes first; a lint ensures that no header relies on it.
  list(TRANSFORM headers PREPEND ${root}/${folder}/)
  add_library(velmora_${name}_headers INTERFACE)
  target_sources(velmora_${name}_headers INTERFACE FILE_SET HEADERS BASE_DIRS ${root} FILES ${headers})
  target_link_libraries(velmora_${name}_headers INTERFACE velmora_${name} velmora_options ${A_PRIVATE})
  target_compile_options(velmora_${name}_headers INTERFACE
    -include ${CMAKE_BINARY_DIR}/CMakeFiles/velmora_pch.dir/cmake_pch.hxx)
endfunction()

# velmora_test(<name> SOURCES … LIBRARIES … LABELS … [WRAPPER …] [TIMEOUT …])
# Adds a test that is registered in the first source (tests/support/test_main.h). All tests of a folder are linked into
# one executable, <folder>_tests. CTest runs each test in a process of its own, on the offscreen platform, in a fixed
# locale and time zone, the longest first. The folder is also a label; label_<label> builds what the tests of a label
# need.
function(velmora_test name)
  cmake_parse_arguments(A "" "TIMEOUT" "SOURCES;LIBRARIES;LABELS;WRAPPER" ${ARGN})
  if(NOT A_TIMEOUT)
    set(A_TIMEOUT 120)
  endif()
  cmake_path(GET CMAKE_CURRENT_SOURCE_DIR FILENAME folder)
  set(executable ${folder}_tests)
  if(NOT TARGET ${executable})
    add_executable(${executable})
    target_link_libraries(${executable} PRIVATE velmora_test_options velmora_test_main)
    target_precompile_headers(${executable} REUSE_FROM velmora_test_pch)
    set_target_properties(${executable} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  endif()
  target_sources(${executable} PRIVATE ${A_SOURCES})
  target_link_libraries(${executable} PRIVATE ${A_LIBRARIES})
  list(GET A_SOURCES 0 file)
  cmake_path(GET file STEM test)
  add_test(NAME ${name} COMMAND ${A_WRAPPER} $<TARGET_FILE:${executable}> ${test})
  set_tests_properties(${name} PROPERTIES LABELS "${A_LABELS};${folder}" TIMEOUT ${A_TIMEOUT} COST ${A_TIMEOUT}
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;TZ=UTC;LC_ALL=C.UTF-8;QT_LOGGING_RULES=velmora.*=false")
  velmora_needed_by_labels(${executable} ${A_LABELS} ${folder})
endfunction()

# velmora_threaded_tests(<test> …): gives these tests of the folder the label "threads". They run under ThreadSanitizer,
# too, in the preset tsan.
function(velmora_threaded_tests)
  set_property(TEST ${ARGN} APPEND PROPERTY LABELS threads)
  cmake_path(GET CMAKE_CURRENT_SOURCE_DIR FILENAME folder)
  velmora_needed_by_labels(${folder}_tests threads)
endfunction()

# velmora_needed_by_labels(<target> <label> …): makes label_<label> build the target.
function(velmora_needed_by_labels target)
  foreach(label ${ARGN})
    if(NOT TARGET label_${label})
      add_custom_target(label_${label})
    endif()
    add_dependencies(label_${label} ${target})
  endforeach()
endfunction()
