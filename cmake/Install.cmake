# Installs the libraries, their public headers, and what find_package and pkg-config need.
include(CMakePackageConfigHelpers)

# The folders behind the include prefixes.
set(CHRONOSEAL_PREFIX_visibility src/visibility)
set(CHRONOSEAL_PREFIX_sup src/platform/sup)
set(CHRONOSEAL_PREFIX_basalt10 src/platform/basalt10)
set(CHRONOSEAL_PREFIX_basalt20 src/platform/basalt20)
set(CHRONOSEAL_PREFIX_asn1rt src/asn1rt)
set(CHRONOSEAL_PREFIX_base src/base)
set(CHRONOSEAL_PREFIX_atl src/atl)
set(CHRONOSEAL_PREFIX_asn1 src/asn1)
set(CHRONOSEAL_PREFIX_client src/client)
set(CHRONOSEAL_PREFIX_seal src/seal)

# What a user may include. Everything that these include is installed with them.
set(CHRONOSEAL_PUBLIC_HEADERS
  seal/chronoseal.hpp
  client/request.h client/stamp.h client/request_policy.h client/authenticode.h client/result_codes.h
  base/blob.h base/string_proxy.h base/date_time.h base/date_time_span.h base/date_text.h base/heap.h
  base/atl_exception.h
  asn1/algorithm_identifier_ex.h
  atl/find_alg_id.h
  asn1rt/runtime.h
  sup/configuration.h sup/error_codes.h sup/last_error.h sup/local_block.h sup/text_conversion.h
  sup/time_conversion.h sup/trace.h
  basalt10/provider.h basalt10/hash.h basalt10/key.h basalt10/oid_information.h basalt10/algorithm.h
  basalt20/surface/certificate.h basalt20/surface/store.h basalt20/surface/crl.h
  basalt20/surface/chain.h basalt20/surface/message.h basalt20/surface/object_coding.h
  basalt20/surface/network.h)

# Appends `header` and all that it includes of ours to the list named by `out`.
function(chronoseal_header_closure header out)
  if(header IN_LIST ${out})
    return()
  endif()
  list(APPEND ${out} ${header})
  string(REGEX MATCH "^([^/]*)/(.*)$" matched ${header})
  set(prefix ${CMAKE_MATCH_1})
  set(file ${CMAKE_MATCH_2})
  if(NOT DEFINED CHRONOSEAL_PREFIX_${prefix})
    message(FATAL_ERROR "the public headers reach ${header}, which isn't one")
  endif()
  file(STRINGS ${CMAKE_SOURCE_DIR}/${CHRONOSEAL_PREFIX_${prefix}}/${file} lines
    REGEX "^#include \"")
  foreach(line IN LISTS lines)
    string(REGEX REPLACE "^#include \"([^\"]*)\".*" "\\1" included "${line}")
    chronoseal_header_closure(${included} ${out})
  endforeach()
  set(${out} ${${out}} PARENT_SCOPE)
endfunction()

foreach(header IN LISTS CHRONOSEAL_PUBLIC_HEADERS)
  chronoseal_header_closure(${header} headers)
endforeach()
foreach(header IN LISTS headers)
  string(REGEX MATCH "^([^/]*)/(.*)$" matched ${header})
  set(prefix ${CMAKE_MATCH_1})
  set(file ${CMAKE_MATCH_2})
  cmake_path(GET header PARENT_PATH folder)
  install(FILES ${CMAKE_SOURCE_DIR}/${CHRONOSEAL_PREFIX_${prefix}}/${file}
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/chronoseal/${folder})
endforeach()

set_target_properties(libchronoseal PROPERTIES EXPORT_NAME chronoseal)
target_include_directories(libchronoseal INTERFACE
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/chronoseal>)
install(TARGETS libchronoseal basalt20 basaltnet basalt10 sup visibility EXPORT chronosealTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/chronoseal)
install(EXPORT chronosealTargets NAMESPACE chronoseal:: DESTINATION ${package_folder})
configure_package_config_file(cmake/package/chronosealConfig.cmake.in
  ${CMAKE_BINARY_DIR}/package/chronosealConfig.cmake INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/package/chronosealConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
# The library folder may have several parts (lib/x86_64-linux-gnu).
file(RELATIVE_PATH CHRONOSEAL_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/package/chronoseal.pc.in ${CMAKE_BINARY_DIR}/package/chronoseal.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/package/chronosealConfig.cmake
              ${CMAKE_BINARY_DIR}/package/chronosealConfigVersion.cmake
  DESTINATION ${package_folder})
install(FILES ${CMAKE_BINARY_DIR}/package/chronoseal.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(FILES docs/man/chronoseal.1 docs/man/chronoseal-tsa.1
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
