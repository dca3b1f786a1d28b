# The reference: manual pages for the functions of C, built and installed where there is a Python; HTML of all public
# headers by the target `reference` where there is Doxygen. Both are made of the headers' own comments.
if(NOT PROJECT_IS_TOP_LEVEL)
  return()
endif()
set(c_header ${PROJECT_SOURCE_DIR}/src/c_interface/chronoseal.h)
find_program(PYTHON3 python3)
if(PYTHON3)
  set(generator ${PROJECT_SOURCE_DIR}/docs/reference/man_pages.py)
  add_custom_command(
    OUTPUT ${PROJECT_BINARY_DIR}/man3/chronoseal.3
    COMMAND ${PYTHON3} ${generator} ${c_header} ${PROJECT_VERSION} ${PROJECT_BINARY_DIR}/man3
    DEPENDS ${c_header} ${generator}
    COMMENT "Manual pages of the C interface"
    VERBATIM)
  add_custom_target(man_pages ALL DEPENDS ${PROJECT_BINARY_DIR}/man3/chronoseal.3)
  # A tree in which only some targets were built has none yet.
  install(DIRECTORY ${PROJECT_BINARY_DIR}/man3/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 OPTIONAL
    FILES_MATCHING PATTERN "*.3")
endif()

function(chronoseal_doxyfile file all html strict)
  set(CHRONOSEAL_REFERENCE_ALL ${all})
  set(CHRONOSEAL_REFERENCE_HTML ${html})
  set(CHRONOSEAL_REFERENCE_STRICT ${strict})
  list(JOIN ARGN " " CHRONOSEAL_REFERENCE_INPUT)
  configure_file(${PROJECT_SOURCE_DIR}/docs/reference/Doxyfile.in ${PROJECT_BINARY_DIR}/reference/${file} @ONLY)
endfunction()

get_property(headers GLOBAL PROPERTY CHRONOSEAL_PUBLIC_HEADERS)
chronoseal_doxyfile(Doxyfile YES YES NO ${headers})
# Of the C interface everything has to be told.
chronoseal_doxyfile(Doxyfile.strict NO NO YES ${c_header})
find_program(DOXYGEN doxygen)
if(DOXYGEN)
  add_custom_target(reference COMMAND ${DOXYGEN} ${PROJECT_BINARY_DIR}/reference/Doxyfile VERBATIM)
endif()
