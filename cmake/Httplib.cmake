# cpp-httplib as Debian ships it: a header and a shared library, no CMake package.
find_path(HTTPLIB_INCLUDE httplib.h REQUIRED)
find_library(HTTPLIB_LIBRARY cpp-httplib REQUIRED)
add_library(chronoseal_httplib INTERFACE)
target_include_directories(chronoseal_httplib SYSTEM INTERFACE ${HTTPLIB_INCLUDE})
# The same switches as the library was built with: they change the layout of its classes.
target_compile_definitions(chronoseal_httplib INTERFACE
  CPPHTTPLIB_OPENSSL_SUPPORT CPPHTTPLIB_ZLIB_SUPPORT CPPHTTPLIB_BROTLI_SUPPORT)
target_link_libraries(chronoseal_httplib INTERFACE ${HTTPLIB_LIBRARY} OpenSSL::SSL OpenSSL::Crypto)
