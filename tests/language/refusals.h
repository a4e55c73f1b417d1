// Asserts that a source is refused, at which place, and with which whole message.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "reference_host/language/parser.h"

namespace orva::language {

/// Sources, and what is expected of each.
using Table = std::vector<std::pair<std::string, std::string>>;

/// Succeeds when parsing the source throws exactly the diagnostic for this message at the place marked by the only
/// `^` in it. The mark itself is not parsed.
testing::AssertionResult refuses(std::string marked, const std::string& message);

/// The same for any other function that reads a source.
testing::AssertionResult refuses(SourceText marked, const std::string& message,
                                 const std::function<void(const SourceText&)>& read);

/// The same for statements, which are put into a method.
testing::AssertionResult refusesBody(const std::string& marked, const std::string& message);

}  // namespace orva::language
