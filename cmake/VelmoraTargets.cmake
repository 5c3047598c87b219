# SPDX-License-Identifier: MIT
# The targets of Velmora: one library for each folder, seeing only the headers of what it links.

add_library(velmora_options INTERFACE)
target_compile_definitions(velmora_options INTERFACE
  QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING
  QT_DISABLE_DEPRECATED_BEFORE=0x060400 VELMORA_VERSION="${PROJECT_VERSION}"
  $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
# What is released defends itself against what the compiler has overlooked. Flags of a distribution's own come first.
if(NOT VELMORA_SANITIZERS)
  target_compile_options(velmora_options INTERFACE "$<$<CONFIG:Release>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>"
    "$<$<CONFIG:Release>:-fstack-protector-strong;-fstack-clash-protection>")
endif()
# The precompiled header fits only where the threading option is the same.
target_compile_options(velmora_options INTERFACE -pthread)
if(VELMORA_SANITIZERS)
  target_compile_options(velmora_options INTERFACE -fsanitize=${VELMORA_SANITIZERS} -fno-omit-frame-pointer
    # clang 14 cannot emit the type prologue of this check for the parts of a coroutine.
    $<$<CXX_COMPILER_ID:Clang>:-fno-sanitize=function>
    $<$<CXX_COMPILER_ID:Clang>:-fsanitize-ignorelist=${CMAKE_SOURCE_DIR}/cmake/sanitizers.ignore>)
  target_link_options(velmora_options INTERFACE -fsanitize=${VELMORA_SANITIZERS})
endif()

# One precompiled header for every target: most of the time of a small file is Qt's and QCoro's headers.
add_library(velmora_pch OBJECT ${CMAKE_SOURCE_DIR}/cmake/precompiled.cpp)
target_link_libraries(velmora_pch PRIVATE velmora_options Qt6::Core QCoro6::Core)
set_target_properties(velmora_pch PROPERTIES AUTOMOC OFF)
target_precompile_headers(velmora_pch PRIVATE ${CMAKE_SOURCE_DIR}/cmake/precompiled.h)

# velmora_library(<name> FOLDER <dir> SOURCES … HEADERS … PUBLIC … PRIVATE …)
# SOURCES and HEADERS are relative to the folder. The include root of the library is a folder of the
# build tree that holds one link, named like the source folder, so that a header of a layer which is
# not linked cannot be found.
function(velmora_library name)
  cmake_parse_arguments(A "" "FOLDER" "SOURCES;HEADERS;PUBLIC;PRIVATE" ${ARGN})
  cmake_path(GET A_FOLDER FILENAME folder)
  set(root ${CMAKE_BINARY_DIR}/layers/${name})
  file(MAKE_DIRECTORY ${root})
  file(CREATE_LINK ${CMAKE_SOURCE_DIR}/${A_FOLDER} ${root}/${folder} SYMBOLIC)
  set(files ${A_SOURCES} ${A_HEADERS})
  list(TRANSFORM files PREPEND ${CMAKE_SOURCE_DIR}/${A_FOLDER}/)
  add_library(velmora_${name} STATIC ${files})
  target_include_directories(velmora_${name} PUBLIC ${root})
  target_link_libraries(velmora_${name} PUBLIC ${A_PUBLIC} PRIVATE velmora_options ${A_PRIVATE})
  target_precompile_headers(velmora_${name} REUSE_FROM velmora_pch)
  # Every header compiles alone: `ninja all_verify_interface_header_sets`.
  set(headers ${A_HEADERS})
  list(TRANSFORM headers PREPEND ${root}/${folder}/)
  add_library(velmora_${name}_headers INTERFACE)
  target_sources(velmora_${name}_headers INTERFACE FILE_SET HEADERS BASE_DIRS ${root} FILES ${headers})
  target_link_libraries(velmora_${name}_headers INTERFACE velmora_${name} velmora_options)
endfunction()

# velmora_test(<name> SOURCES … LIBRARIES … LABELS … [WRAPPER …])
# A Qt Test executable that runs under CTest on the offscreen platform, in a fixed locale and zone.
function(velmora_test name)
  cmake_parse_arguments(A "" "TIMEOUT" "SOURCES;LIBRARIES;LABELS;WRAPPER" ${ARGN})
  if(NOT A_TIMEOUT)
    set(A_TIMEOUT 60)
  endif()
  add_executable(${name} ${A_SOURCES})
  target_link_libraries(${name} PRIVATE velmora_options velmora_test_support Qt6::Test ${A_LIBRARIES})
  target_precompile_headers(${name} REUSE_FROM velmora_pch)
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  add_test(NAME ${name}${VELMORA_TEST_SUFFIX} COMMAND ${A_WRAPPER} $<TARGET_FILE:${name}>)
  set_tests_properties(${name}${VELMORA_TEST_SUFFIX} PROPERTIES LABELS "${A_LABELS}" TIMEOUT ${A_TIMEOUT}
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;TZ=UTC;LC_ALL=C.UTF-8;QT_LOGGING_RULES=velmora.*=false")
endfunction()
