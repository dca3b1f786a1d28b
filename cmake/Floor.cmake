# A floor is one folder, one static target, one include prefix and one test program.
#
#   chronoseal_floor(asn1rt DEPENDS visibility)
#
# The sources are all *.cpp of the folder (and of its subfolders) but *_test.cpp, which make up the program
# <name>_test. The headers are included as "<name>/x.h". The include root is a folder of the build
# tree that holds nothing but a link <name> to the floor's folder, so that a floor which isn't linked
# can't be included.
function(chronoseal_include_root target prefix)
  set(root ${CMAKE_BINARY_DIR}/floors/${prefix})
  file(MAKE_DIRECTORY ${root})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${root}/${prefix} SYMBOLIC)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL INTERFACE_LIBRARY)
    target_include_directories(${target} INTERFACE $<BUILD_INTERFACE:${root}>)
  else()
    target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${root}>)
  endif()
endfunction()

function(chronoseal_floor_sources out_sources out_tests)
  file(GLOB_RECURSE all CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  set(tests ${all})
  list(FILTER tests INCLUDE REGEX "_test\\.cpp$")
  list(FILTER all EXCLUDE REGEX "(_test\\.cpp$|/testdata/)")
  set(${out_sources} ${all} PARENT_SCOPE)
  set(${out_tests} ${tests} PARENT_SCOPE)
endfunction()

# The test program of a floor. LINK names what it needs beside the floor itself.
function(chronoseal_floor_test name)
  cmake_parse_arguments(arg "" "INSIDE" "SOURCES;LINK" ${ARGN})
  if(NOT arg_SOURCES)
    return()
  endif()
  if(NOT arg_INSIDE)
    set(arg_INSIDE ${name})
  endif()
  add_executable(${name}_test ${arg_SOURCES})
  target_link_libraries(${name}_test PRIVATE ${arg_INSIDE} ${arg_LINK} GTest::gmock_main
                                             chronoseal_options Threads::Threads)
  target_compile_definitions(${name}_test PRIVATE
    CHRONOSEAL_TESTDATA="${CMAKE_CURRENT_SOURCE_DIR}/testdata"
    CHRONOSEAL_SHARED_DATA="${CMAKE_SOURCE_DIR}/../shared/data")
  add_test(NAME ${name} COMMAND ${name}_test)
endfunction()

function(chronoseal_floor name)
  cmake_parse_arguments(arg "" "" "DEPENDS;PRIVATE;TEST_LINK" ${ARGN})
  chronoseal_floor_sources(sources tests)
  add_library(${name} STATIC ${sources})
  chronoseal_include_root(${name} ${name})
  target_link_libraries(${name} PUBLIC ${arg_DEPENDS} PRIVATE chronoseal_options ${arg_PRIVATE})
  chronoseal_floor_test(${name} SOURCES ${tests} LINK ${arg_TEST_LINK})
endfunction()

# A platform library: the same, but shared, and with its own name for the file.
function(chronoseal_platform name file)
  cmake_parse_arguments(arg "" "" "DEPENDS;PRIVATE;TEST_LINK" ${ARGN})
  chronoseal_floor_sources(sources tests)
  add_library(${name} SHARED ${sources})
  set_target_properties(${name} PROPERTIES OUTPUT_NAME ${file} VERSION 1.0.0 SOVERSION 1)
  chronoseal_include_root(${name} ${name})
  target_link_libraries(${name} PUBLIC ${arg_DEPENDS} PRIVATE chronoseal_options ${arg_PRIVATE})
  target_link_options(${name} PRIVATE ${CHRONOSEAL_NO_UNDEFINED} -Wl,--as-needed)
  # The test is linked with the library's objects, so that it reaches what the library hides.
  add_library(${name}_inside INTERFACE)
  target_sources(${name}_inside INTERFACE $<TARGET_OBJECTS:${name}>)
  target_include_directories(${name}_inside INTERFACE
    $<TARGET_PROPERTY:${name},INTERFACE_INCLUDE_DIRECTORIES>)
  target_link_libraries(${name}_inside INTERFACE ${arg_DEPENDS} ${arg_PRIVATE})
  chronoseal_floor_test(${name} SOURCES ${tests} LINK ${arg_TEST_LINK} INSIDE ${name}_inside)
endfunction()
