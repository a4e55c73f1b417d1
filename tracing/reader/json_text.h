// Texts in JSON.
#pragma once

#include <string>
#include <string_view>

namespace orva::tracing {

/// The text as a string of JSON, in quotes. A byte that is not UTF-8 becomes the replacement character. Characters that
/// would end or begin an element of a page are escaped, so that a script can contain the string.
std::string jsonText(std::string_view text);

}  // namespace orva::tracing
