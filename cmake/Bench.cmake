# Benchmarks: bench/<floor>/*.cpp make up one program bench_<floor>.
function(chronoseal_bench floor)
  cmake_parse_arguments(arg "" "" "LINK" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${floor}/*.cpp)
  if(sources)
    add_executable(bench_${floor} ${sources})
    target_link_libraries(bench_${floor} PRIVATE ${floor} ${floor}_private ${arg_LINK} benchmark::benchmark chronoseal_options)
  endif()
endfunction()
