# Warnings, sanitizers and coverage for all of our own code.
add_library(chronoseal_options INTERFACE)
target_compile_options(chronoseal_options INTERFACE -Wall -Wextra -Wconversion)

if(CHRONOSEAL_SANITIZE)
  set(flags -fsanitize=${CHRONOSEAL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_compile_options(${flags})
  add_link_options(${flags})
  # Two shared objects may each hold a copy of an inline function's type record.
  set(CHRONOSEAL_NO_UNDEFINED "")
else()
  set(CHRONOSEAL_NO_UNDEFINED -Wl,--no-undefined)
endif()

# What the tests of a sanitized build run with. Tests fork, and OpenSSL and libcurl aren't instrumented.
set(CHRONOSEAL_TEST_ENVIRONMENT "")
if(CHRONOSEAL_SANITIZE MATCHES "thread")
  set(CHRONOSEAL_TEST_ENVIRONMENT
    "TSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/cmake/thread_sanitizer.txt:die_after_fork=0:second_deadlock_stack=1")
endif()
if(CHRONOSEAL_COVERAGE)
  add_compile_options(--coverage)
  add_link_options(--coverage)
endif()
if(CHRONOSEAL_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

find_program(CCACHE ccache)
if(CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
  set(CMAKE_C_COMPILER_LAUNCHER ${CCACHE})
endif()

function(chronoseal_add_if_present)
  foreach(dir IN LISTS ARGN)
    if(EXISTS ${PROJECT_SOURCE_DIR}/${dir}/CMakeLists.txt)
      add_subdirectory(${dir})
    endif()
  endforeach()
endfunction()
