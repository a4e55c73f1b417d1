// Texts in JSON.
#pragma once

#include <string>
#include <string_view>

namespace orva::tracing {

/// The text as a string of JSON, in quotes. A byte that is not UTF-8 becomes the replacement character. What would end
/// or begin an element of a page is escaped, so the string may stand in a script.
std::string jsonText(std::string_view text);

}  // namespace orva::tracing
