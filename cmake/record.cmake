# Reads the layout of the record that a library is built with from the object file of cmake/record_layout.cpp.
# Usage: cmake -P record.cmake OBJECT HEADER   writes HEADER, with a macro for each size and offset
#        cmake -P record.cmake OBJECT TEMPLATE FILE   writes FILE, with the whole line in place of @ORVA_TYPE_RECORD@
cmake_policy(VERSION 3.25)

file(STRINGS ${CMAKE_ARGV3} ORVA_TYPE_RECORD REGEX "^orva type record: ")
string(REPLACE "orva type record: " "" ORVA_TYPE_RECORD "${ORVA_TYPE_RECORD}")
if(NOT ORVA_TYPE_RECORD MATCHES "^size=[0-9]+ .* members=-?[0-9]+$")
  message(FATAL_ERROR "The type record's layout is not found in ${CMAKE_ARGV3}: '${ORVA_TYPE_RECORD}'")
endif()

if(CMAKE_ARGV5)
  configure_file(${CMAKE_ARGV4} ${CMAKE_ARGV5} @ONLY)
else()
  string(TOUPPER "${ORVA_TYPE_RECORD}" macros)
  string(REGEX REPLACE "([A-Z0-9]+)=([-0-9]+) ?" "#define ORVA_RECORD_\\1 \\2\n" macros "${macros}")
  set(comment "// The type record that this library was built with, in bytes; -1 for a member that it lacks.")
  file(CONFIGURE OUTPUT ${CMAKE_ARGV4} CONTENT "${comment}\n#pragma once\n\n${macros}" @ONLY)
endif()
