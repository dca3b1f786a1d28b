# Each preset builds in a tree of its own, build/trees/<preset>; build/bin and build/lib lead into the tree
# that was built last, so that the programs are found in one place whatever the preset.
cmake_path(IS_PREFIX CMAKE_SOURCE_DIR "${CMAKE_BINARY_DIR}" inside)
if(inside AND CMAKE_BINARY_DIR MATCHES "/build/trees/")
  foreach(dir bin lib)
    file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/${dir})
  endforeach()
  add_custom_target(output_links ALL
    COMMAND ${CMAKE_COMMAND} -E create_symlink ${CMAKE_BINARY_DIR}/bin ${CMAKE_SOURCE_DIR}/build/bin
    COMMAND ${CMAKE_COMMAND} -E create_symlink ${CMAKE_BINARY_DIR}/lib ${CMAKE_SOURCE_DIR}/build/lib
    VERBATIM)
endif()
