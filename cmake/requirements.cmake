# Checks what the library needs. Each requirement that is not met is an error of one line.
include_guard()

# Cygwin calls itself a Unix, but its shared libraries cannot leave symbols to the host.
if(NOT UNIX OR CYGWIN)
  message(FATAL_ERROR "The library needs a Unix-like system, such as Linux, FreeBSD or macOS, and cannot be built for "
    "${CMAKE_SYSTEM_NAME}: choose another CMAKE_SYSTEM_NAME, or machine")
endif()

# The first releases whose own standard libraries contain std::filesystem.
set(oldest_GNU 9)
set(oldest_Clang 9)
set(oldest_AppleClang 11)
set(oldest "${oldest_${CMAKE_CXX_COMPILER_ID}}")
if(NOT oldest OR CMAKE_CXX_COMPILER_VERSION VERSION_LESS oldest)
  message(FATAL_ERROR "The library needs g++ 9, clang++ 9, Apple's clang++ 11 or newer; "
    "found '${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION}' in ${CMAKE_CXX_COMPILER}")
endif()

if(CMAKE_CXX_STANDARD MATCHES "^(98|11|14)$")
  message(FATAL_ERROR "The library needs C++17 or newer, not CMAKE_CXX_STANDARD=${CMAKE_CXX_STANDARD}")
endif()

set(ORVA_RUNTIME_API_DIR "" CACHE PATH
  "Folder that contains a runtime_api/ of the host's own, whose headers take the place of ours")
# Our headers for which the host has none of its own.
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

# Compiles with the options that the library will be compiled with, because they may be set in several places, and
# generator expressions may choose among them.
function(orva_require_exceptions)
  get_directory_property(options COMPILE_OPTIONS)
  add_library(orva_parents_options INTERFACE IMPORTED)
  set_target_properties(orva_parents_options PROPERTIES INTERFACE_COMPILE_OPTIONS "${options}")
  set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
  set(configurations ${CMAKE_CONFIGURATION_TYPES})
  if(NOT configurations)
    set(configurations None)
    if(CMAKE_BUILD_TYPE)
      set(configurations ${CMAKE_BUILD_TYPE})
    endif()
  endif()
  foreach(CMAKE_TRY_COMPILE_CONFIGURATION IN LISTS configurations)
    try_compile(compiles
      SOURCE_FROM_CONTENT exceptions.cpp "#ifndef __cpp_exceptions\n#error exceptions are off\n#endif\n"
      CMAKE_FLAGS -DCMAKE_CONFIGURATION_TYPES=${CMAKE_TRY_COMPILE_CONFIGURATION}
      LINK_LIBRARIES orva_parents_options
      OUTPUT_VARIABLE output
      NO_CACHE)
    if(NOT compiles AND output MATCHES "exceptions are off")
      string(TOUPPER CMAKE_CXX_FLAGS_${CMAKE_TRY_COMPILE_CONFIGURATION} flags)
      message(FATAL_ERROR "The library needs C++ exceptions: take -fno-exceptions out of CMAKE_CXX_FLAGS, ${flags} and "
        "add_compile_options, or put -fexceptions after it")
    endif()
  endforeach()
endfunction()
orva_require_exceptions()

# The reference host, the tests and the benchmarks are hosts of their own, with the record of our headers.
function(orva_require_own_runtime_api)
  foreach(option IN LISTS ARGN)
    if(ORVA_RUNTIME_API_DIR AND ${option})
      message(FATAL_ERROR
        "${option} needs the runtime_api/ of this project: turn it off, or unset ORVA_RUNTIME_API_DIR")
    endif()
  endforeach()
endfunction()

# orva_require_a_library(KIND…)
function(orva_require_a_library)
  if(NOT ARGN)
    message(FATAL_ERROR "ORVA_STATIC and ORVA_SHARED are both OFF: turn at least one of them on")
  endif()
endfunction()

# CMake skips the install rules of a folder that is excluded from the target `all`, and of the folders in it.
function(orva_require_installed_folders)
  set(folder ${PROJECT_SOURCE_DIR})
  while(ORVA_INSTALL AND folder)
    get_directory_property(excluded DIRECTORY ${folder} EXCLUDE_FROM_ALL)
    if(excluded)
      message(FATAL_ERROR "ORVA_INSTALL is ON, but CMake installs nothing that was added with EXCLUDE_FROM_ALL, as "
        "${folder} was: turn one of them off")
    endif()
    get_directory_property(folder DIRECTORY ${folder} PARENT_DIRECTORY)
  endwhile()
endfunction()

# Sets `missing` to the reason why this build cannot record traces, or to nothing.
function(orva_missing_for_tracing missing)
  set(why)
  if(NOT CMAKE_SYSTEM_NAME STREQUAL Linux OR NOT CMAKE_SYSTEM_PROCESSOR STREQUAL x86_64 OR NOT CMAKE_SIZEOF_VOID_P EQUAL 8)
    set(why "it needs Linux on x86-64")
  elseif(CMAKE_CROSSCOMPILING)
    set(why "it cannot be cross-compiled")
  elseif("${CMAKE_CXX_FLAGS} " MATCHES "(-fsanitize=[^ ]*|-fprofile-[^ ]*|--coverage|-flto[^ ]*) ")
    set(why "its recorder cannot be built with ${CMAKE_MATCH_1}")
  elseif(CMAKE_INTERPROCEDURAL_OPTIMIZATION)
    set(why "it renames symbols in objects, which CMAKE_INTERPROCEDURAL_OPTIMIZATION leaves to the linker")
  else()
    include(CheckCXXSymbolExists)
    check_cxx_symbol_exists(__GLIBC__ features.h ORVA_C_LIBRARY_IS_GLIBC)
    if(NOT ORVA_C_LIBRARY_IS_GLIBC)
      set(why "it needs glibc")
    endif()
  endif()
  set(${missing} "${why}" PARENT_SCOPE)
endfunction()
