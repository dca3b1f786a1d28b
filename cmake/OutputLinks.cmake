# Each preset builds in a tree of its own, build/trees/<preset>; build/bin and build/lib lead into the tree
# that was built last, so that the programs are found in one place whatever the preset.
cmake_path(IS_PREFIX PROJECT_SOURCE_DIR "${PROJECT_BINARY_DIR}" inside)
if(PROJECT_IS_TOP_LEVEL AND inside AND PROJECT_BINARY_DIR MATCHES "/build/trees/")
  foreach(dir bin lib)
    file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/${dir})
  endforeach()
  add_custom_target(output_links ALL
    COMMAND ${CMAKE_COMMAND} -E create_symlink ${PROJECT_BINARY_DIR}/bin ${PROJECT_SOURCE_DIR}/build/bin
    COMMAND ${CMAKE_COMMAND} -E create_symlink ${PROJECT_BINARY_DIR}/lib ${PROJECT_SOURCE_DIR}/build/lib
    VERBATIM)
endif()
