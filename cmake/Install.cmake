# Installs the libraries (each floor has installed its public headers), and what find_package and pkg-config need.
include(CMakePackageConfigHelpers)

set_target_properties(libchronoseal PROPERTIES EXPORT_NAME chronoseal)
target_include_directories(libchronoseal INTERFACE
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
install(TARGETS libchronoseal basalt20 basaltnet basalt10 basaltsup chronoseal_visibility EXPORT chronosealTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/chronoseal)
install(EXPORT chronosealTargets NAMESPACE chronoseal:: DESTINATION ${package_folder})
configure_package_config_file(cmake/package/chronosealConfig.cmake.in
  ${PROJECT_BINARY_DIR}/package/chronosealConfig.cmake INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/chronosealConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
# The library folder may have several parts (lib/x86_64-linux-gnu).
file(RELATIVE_PATH CHRONOSEAL_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/package/chronoseal.pc.in ${PROJECT_BINARY_DIR}/package/chronoseal.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/package/chronosealConfig.cmake
              ${PROJECT_BINARY_DIR}/package/chronosealConfigVersion.cmake
  DESTINATION ${package_folder})
install(FILES ${PROJECT_BINARY_DIR}/package/chronoseal.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(FILES docs/man/chronoseal.1 docs/man/chronoseal-tsa.1
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES docs/man/basalt-config.5
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man5)
if(CHRONOSEAL_APPS)
  foreach(program chronoseal chronoseal-tsa)
    install(FILES completion/${program}.bash RENAME ${program}
      DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
    install(FILES completion/${program}.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
    install(FILES completion/_${program} DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
  endforeach()
endif()
