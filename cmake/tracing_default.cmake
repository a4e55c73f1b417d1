# Where the tracer can be built: its thunks are written for one processor, and redirected by one dynamic linker. Code with
# counters or checks in it calls a library that programs under the tracer do not have.
include(CheckCXXSymbolExists)

set(tracing_default OFF)
if(PROJECT_IS_TOP_LEVEL AND CMAKE_SYSTEM_NAME STREQUAL Linux AND CMAKE_SYSTEM_PROCESSOR STREQUAL x86_64
    AND NOT CMAKE_CROSSCOMPILING AND NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize|-fprofile")
  check_cxx_symbol_exists(__GLIBC__ features.h ORVA_C_LIBRARY_IS_GLIBC)
  set(tracing_default ${ORVA_C_LIBRARY_IS_GLIBC})
endif()
