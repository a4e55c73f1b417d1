# What the library needs, each refused here in a line: a compiler, a standard, and headers of the host's own.
include_guard()

# The first releases whose own standard libraries hold std::filesystem.
if(NOT CMAKE_CXX_COMPILER_ID MATCHES "^(GNU|Clang)$" OR CMAKE_CXX_COMPILER_VERSION VERSION_LESS 9)
  message(FATAL_ERROR "The library needs g++ 9, clang++ 9 or newer; "
    "found '${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION}' in ${CMAKE_CXX_COMPILER}")
endif()

if(CMAKE_CXX_STANDARD MATCHES "^(98|11|14)$")
  message(FATAL_ERROR "The library needs C++17 or newer, not CMAKE_CXX_STANDARD=${CMAKE_CXX_STANDARD}")
endif()

set(ORVA_RUNTIME_API_DIR "" CACHE PATH
  "Folder that contains a runtime_api/ of the host's own, whose headers take the place of ours")
# Those of our headers that the host has none of its own for.
set(orva_own_headers compiler.h reflection.h runtime.h)
if(ORVA_RUNTIME_API_DIR)
  cmake_path(ABSOLUTE_PATH ORVA_RUNTIME_API_DIR BASE_DIRECTORY ${CMAKE_SOURCE_DIR})
  foreach(header IN LISTS orva_own_headers)
    if(EXISTS ${ORVA_RUNTIME_API_DIR}/runtime_api/${header})
      list(REMOVE_ITEM orva_own_headers ${header})
    endif()
  endforeach()
  list(LENGTH orva_own_headers own_count)
  if(NOT IS_DIRECTORY ${ORVA_RUNTIME_API_DIR})
    message(FATAL_ERROR "ORVA_RUNTIME_API_DIR is not a folder: ${ORVA_RUNTIME_API_DIR}")
  elseif(NOT IS_DIRECTORY ${ORVA_RUNTIME_API_DIR}/runtime_api)
    message(FATAL_ERROR "ORVA_RUNTIME_API_DIR contains no folder runtime_api: ${ORVA_RUNTIME_API_DIR}")
  elseif(own_count EQUAL 3)
    message(FATAL_ERROR "ORVA_RUNTIME_API_DIR has none of compiler.h, reflection.h and runtime.h in its runtime_api: "
      "${ORVA_RUNTIME_API_DIR}")
  endif()
endif()

# The reference host, the tests and the benchmarks are hosts of their own, with the record of our headers.
function(orva_require_own_runtime_api)
  foreach(option IN LISTS ARGN)
    if(ORVA_RUNTIME_API_DIR AND ${option})
      message(FATAL_ERROR "${option} needs the runtime_api/ of this project: turn it off, or ORVA_RUNTIME_API_DIR")
    endif()
  endforeach()
endfunction()
