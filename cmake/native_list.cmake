# Reads the natives from natives.h, which is the only list of them, and writes a line for each:
#   ORVA_NATIVE(symbol, class, method, static or instance, result, (parameters))
# Usage: cmake -P native_list.cmake NATIVES_H FILE
cmake_policy(VERSION 3.25)

# A method of an instance takes its receiver first.
function(orva_native_line declaration line)
  string(REGEX REPLACE "[ \n]+" " " declaration "${declaration}")
  set(parameter "(const char\\*|void\\*|int64_t) [A-Za-z]+")
  set(parameters "\\((void|${parameter}(, ${parameter})*)\\)")
  if(NOT declaration MATCHES "^ ORVA_EXPORT (void|void\\*|int64_t) (orva_([A-Za-z]+)_([A-Za-z]+))(${parameters})$")
    message(FATAL_ERROR "A native is declared as 'ORVA_EXPORT type orva_Class_method(parameters);', "
      "with named parameters of const char*, void* and int64_t; found:${declaration}")
  endif()
  set(native "${CMAKE_MATCH_2}, ${CMAKE_MATCH_3}, ${CMAKE_MATCH_4}")
  set(type "${CMAKE_MATCH_1}, ${CMAKE_MATCH_5}")
  set(kind static)
  if(type MATCHES ", \\(void\\* receiver[,)]")
    set(kind instance)
  endif()
  set(${line} "ORVA_NATIVE(${native}, ${kind}, ${type})" PARENT_SCOPE)
endfunction()

set(list "// Written by cmake/native_list.cmake.")
file(READ ${CMAKE_ARGV3} text)
string(REGEX MATCHALL "\n[A-Za-z][^;\n]*\\([^;]*" declarations "${text}")
foreach(declaration IN LISTS declarations)
  orva_native_line("${declaration}" line)
  string(APPEND list "\n${line}")
endforeach()
file(WRITE ${CMAKE_ARGV4} "${list}\n")
