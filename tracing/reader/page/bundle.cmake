# Writes the page for browsers as a header, in two parts, with the JSON of the traces between them. The page contains
# its style and its script, so that it loads nothing else.

# orva_bundle_page(HEADER): configuring again, which the build does when a part has changed, writes it again.
function(orva_bundle_page header)
  set(folder ${CMAKE_CURRENT_FUNCTION_LIST_DIR})
  file(READ ${folder}/page.html page)
  foreach(part page.css page.js)
    file(READ ${folder}/${part} text)
    string(REPLACE "@${part}@" "${text}" page "${page}")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${folder}/page.html ${folder}/${part})
  endforeach()
  string(FIND "${page}" "@data@" end)
  string(SUBSTRING "${page}" 0 ${end} before)
  math(EXPR begin "${end} + 6")
  string(SUBSTRING "${page}" ${begin} -1 after)
  file(CONFIGURE OUTPUT ${header} @ONLY CONTENT
"// Written by tracing/reader/page/bundle.cmake.
#pragma once

#include <string_view>

namespace orva::tracing {

constexpr std::string_view pageBeforeData = R\"page(@before@)page\";
constexpr std::string_view pageAfterData = R\"page(@after@)page\";

}  // namespace orva::tracing
")
endfunction()
