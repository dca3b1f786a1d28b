# Benchmarks: bench/<floor>/*.cpp make up one program bench_<floor>. A platform library's is linked with its objects,
# as its test is, so that it reaches what the library hides.
function(chronoseal_bench floor)
  cmake_parse_arguments(arg "" "" "LINK" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${floor}/*.cpp)
  if(sources)
    set(inside ${floor})
    if(TARGET ${floor}_inside)
      set(inside ${floor}_inside)
    endif()
    add_executable(bench_${floor} ${sources})
    target_link_libraries(bench_${floor} PRIVATE ${inside} ${floor}_private ${arg_LINK} benchmark::benchmark
                                                 chronoseal_options)
  endif()
endfunction()
