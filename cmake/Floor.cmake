# A floor is one folder, one static target, one place under the include prefix and one test program.
#
#   chronoseal_floor(client
#     PUBLIC  request.h stamp.h        installed: what a user of the library may include
#     OFFERS  send_request.h           for the floors above and their programs, not installed
#     DEPENDS core asn1)
#
# The sources are all *.cpp of the folder (and of its subfolders) but *_test.cpp, which make up the program
# <name>_test. Headers are included as <chronoseal/<name>/x.h>, in the tree as after install (PUBLIC_AT names another
# place for the public ones). The build makes
# two roots of links for a floor: `public`, its interface, holds PUBLIC and OFFERS; `private`, for itself and
# its test, is the whole folder. So an include of a floor that isn't linked, or of a header that isn't on its
# list, doesn't compile.

#
# Floors are named by their short names everywhere in these files. The targets are `chronoseal_<name>`, those of the
# platform libraries have the names of their files: somebody's project that takes this one in by add_subdirectory may
# have a `core` of its own.

# Remembers the target of a floor.
function(chronoseal_name name target)
  set_property(GLOBAL PROPERTY CHRONOSEAL_TARGET_OF_${name} ${target})
endfunction()

# Made by tests/, after the floors whose tests name it.
chronoseal_name(loopback chronoseal_loopback)

# The targets of these floors (or of their parts, <name>_private and <name>_inside); what is no floor stays as it is.
function(chronoseal_targets out)
  set(targets)
  foreach(item IN LISTS ARGN)
    string(REGEX MATCH "_(private|inside)$" part "${item}")
    string(REGEX REPLACE "_(private|inside)$" "" floor "${item}")
    get_property(target GLOBAL PROPERTY CHRONOSEAL_TARGET_OF_${floor})
    if(target)
      list(APPEND targets ${target}${part})
    else()
      list(APPEND targets ${item})
    endif()
  endforeach()
  set(${out} ${targets} PARENT_SCOPE)
endfunction()

# The root `folder` of links, cleared of what is no longer on the list.
function(chronoseal_link_root root)
  file(REMOVE_RECURSE ${root})
  file(MAKE_DIRECTORY ${root})
endfunction()

# Links `file` at `root`/`place`.
function(chronoseal_link root place file)
  if(NOT EXISTS ${file})
    message(FATAL_ERROR "${CMAKE_CURRENT_SOURCE_DIR}/CMakeLists.txt lists ${file}, which isn't there")
  endif()
  cmake_path(GET place PARENT_PATH folder)
  file(MAKE_DIRECTORY ${root}/${folder})
  file(CREATE_LINK ${file} ${root}/${place} SYMBOLIC)
endfunction()

# Makes `root`/public and the INTERFACE library <target>_private, which leads to the private headers too. `prefix`
# is where a header on OFFERS lies; those on PUBLIC lie at `public_prefix`, and are remembered for installing.
function(chronoseal_headers name public_prefix prefix)
  cmake_parse_arguments(arg "" "" "PUBLIC;OFFERS" ${ARGN})
  set(root ${PROJECT_BINARY_DIR}/floors/${name})
  chronoseal_link_root(${root})
  foreach(header IN LISTS arg_PUBLIC)
    cmake_path(GET header FILENAME base)
    set(file ${CMAKE_CURRENT_SOURCE_DIR}/${header})
    chronoseal_link(${root}/public ${public_prefix}/${base} ${file})
    install(FILES ${file} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${public_prefix} COMPONENT development)
    set_property(GLOBAL APPEND PROPERTY CHRONOSEAL_PUBLIC_HEADERS ${file})
  endforeach()
  foreach(header IN LISTS arg_OFFERS)
    chronoseal_link(${root}/public ${prefix}/${header} ${CMAKE_CURRENT_SOURCE_DIR}/${header})
  endforeach()
  file(MAKE_DIRECTORY ${root}/public)
  chronoseal_targets(target ${name})
  add_library(${target}_private INTERFACE)
endfunction()

# The private root: `place` in it is the folder `folder`.
function(chronoseal_private_root name place folder)
  chronoseal_link(${PROJECT_BINARY_DIR}/floors/${name}/private ${place} ${folder})
  chronoseal_targets(target ${name})
  target_include_directories(${target}_private INTERFACE ${PROJECT_BINARY_DIR}/floors/${name}/private)
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
  if(NOT arg_SOURCES OR NOT CHRONOSEAL_TESTS)
    return()
  endif()
  if(NOT arg_INSIDE)
    set(arg_INSIDE ${name})
  endif()
  chronoseal_targets(needed ${arg_INSIDE} ${name}_private ${arg_LINK})
  add_executable(${name}_test ${arg_SOURCES})
  target_link_libraries(${name}_test PRIVATE ${needed} GTest::gmock_main
                                             chronoseal_options Threads::Threads)
  target_compile_definitions(${name}_test PRIVATE
    CHRONOSEAL_TESTDATA="${CMAKE_CURRENT_SOURCE_DIR}/testdata"
    CHRONOSEAL_SHARED_DATA="${PROJECT_SOURCE_DIR}/../shared/data")
  add_test(NAME ${name} COMMAND ${name}_test)
  set_tests_properties(${name} PROPERTIES ENVIRONMENT "${CHRONOSEAL_TEST_ENVIRONMENT}")
endfunction()

function(chronoseal_floor name)
  cmake_parse_arguments(arg "" "PUBLIC_AT" "PUBLIC;OFFERS;DEPENDS;PRIVATE;TEST_LINK" ${ARGN})
  if(NOT arg_PUBLIC_AT)
    set(arg_PUBLIC_AT chronoseal/${name})
  endif()
  chronoseal_floor_sources(sources tests)
  set(target chronoseal_${name})
  chronoseal_name(${name} ${target})
  chronoseal_targets(depends ${arg_DEPENDS})
  chronoseal_targets(private ${arg_PRIVATE})
  add_library(${target} STATIC ${sources})
  chronoseal_headers(${name} ${arg_PUBLIC_AT} chronoseal/${name} PUBLIC ${arg_PUBLIC} OFFERS ${arg_OFFERS})
  chronoseal_private_root(${name} chronoseal/${name} ${CMAKE_CURRENT_SOURCE_DIR})
  target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/floors/${name}/public>)
  target_link_libraries(${target} PUBLIC ${depends}
    PRIVATE chronoseal_options $<BUILD_INTERFACE:${target}_private> ${private})
  chronoseal_floor_test(${name} SOURCES ${tests} LINK ${arg_TEST_LINK})
endfunction()

# A room of the platform library `name`: a subfolder `room`, reached as <basalt/room/x.h>, whose objects see the library's public
# headers, their own folder and the rooms named behind it, and nothing else of the library.
function(chronoseal_room name room)
  cmake_parse_arguments(arg "" "" "OVER;DEPENDS" ${ARGN})
  set(root ${PROJECT_BINARY_DIR}/floors/${name}/rooms/${room})
  chronoseal_link(${root} basalt/${room} ${CMAKE_CURRENT_SOURCE_DIR}/${room})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${room}/*.cpp)
  list(FILTER sources EXCLUDE REGEX "_test\\.cpp$")
  add_library(${name}_${room} OBJECT ${sources})
  target_include_directories(${name}_${room} PUBLIC ${root} ${PROJECT_BINARY_DIR}/floors/${name}/public)
  list(TRANSFORM arg_OVER PREPEND ${name}_)
  target_link_libraries(${name}_${room} PUBLIC ${arg_OVER} PRIVATE ${arg_DEPENDS} chronoseal_options)
endfunction()

# A platform library: the same, but shared, with its own name for the file, and its public headers at <basalt/x.h>.
# Its private headers are reached as <basalt/<name>/x.h>. With ROOMS it is made of rooms: each is named with the rooms
# under it, as "chain:store,coding", from the ground up. The target is called as the file is.
function(chronoseal_platform name file)
  cmake_parse_arguments(arg "" "" "PUBLIC;OFFERS;ROOMS;DEPENDS;PRIVATE;TEST_LINK" ${ARGN})
  chronoseal_floor_sources(sources tests)
  chronoseal_name(${name} ${file})
  chronoseal_targets(depends ${arg_DEPENDS})
  chronoseal_headers(${name} basalt basalt/${name} PUBLIC ${arg_PUBLIC} OFFERS ${arg_OFFERS})
  foreach(entry IN LISTS arg_ROOMS)
    string(REPLACE ":" ";" parts ${entry})
    list(POP_FRONT parts room)
    string(REPLACE "," ";" below "${parts}")
    chronoseal_room(${name} ${room} OVER ${below} DEPENDS ${depends} ${arg_PRIVATE})
    chronoseal_private_root(${name} basalt/${room} ${CMAKE_CURRENT_SOURCE_DIR}/${room})
    list(APPEND objects $<TARGET_OBJECTS:${name}_${room}>)
  endforeach()
  if(arg_ROOMS)
    add_library(${file} SHARED ${objects})
  else()
    add_library(${file} SHARED ${sources})
    set(objects $<TARGET_OBJECTS:${file}>)
    chronoseal_private_root(${name} basalt/${name} ${CMAKE_CURRENT_SOURCE_DIR})
  endif()
  set_target_properties(${file} PROPERTIES VERSION 1.0.0 SOVERSION 1 INSTALL_RPATH "${CHRONOSEAL_LIBRARY_RPATH}")
  target_include_directories(${file} PUBLIC $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/floors/${name}/public>)
  target_link_libraries(${file} PUBLIC ${depends}
    PRIVATE chronoseal_options $<BUILD_INTERFACE:${file}_private> ${arg_PRIVATE})
  # Calls within the library go straight there, and aren't looked up when a program starts.
  target_link_options(${file} PRIVATE ${CHRONOSEAL_NO_UNDEFINED} -Wl,--as-needed
    -Wl,-Bsymbolic-functions)
  # The test is linked with the library's objects, so that it reaches what the library hides.
  add_library(${file}_inside INTERFACE)
  target_sources(${file}_inside INTERFACE ${objects})
  target_include_directories(${file}_inside INTERFACE
    $<TARGET_PROPERTY:${file},INTERFACE_INCLUDE_DIRECTORIES>)
  target_link_libraries(${file}_inside INTERFACE ${depends} ${arg_PRIVATE})
  chronoseal_floor_test(${name} SOURCES ${tests} LINK ${arg_TEST_LINK} INSIDE ${name}_inside)
endfunction()
