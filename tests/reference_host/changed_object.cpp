// Rewrites objects the way the compiler writes them.
#include "changed_object.h"

#include <gtest/gtest.h>

#include "reference_host/compiler/context.h"
#include "reference_host/compiler/object_file.h"
#include "workspace.h"

void replaceOnce(std::string& text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  ASSERT_NE(at, std::string::npos) << from;
  ASSERT_EQ(text.find(from, at + 1), std::string::npos) << from;
  text.replace(at, from.size(), to);
}

std::string noDigits() { return std::string(64, '0'); }

std::string withDigits(std::string bytes, const std::string& key, const std::string& digits) {
  const std::string begin = "\"" + key + "\":\"";
  return bytes.replace(bytes.find(begin) + begin.size(), digits.size(), digits);
}

std::string loadingFails(const std::string& text) {
  const std::string identity = orva::compiler::sourceIdentity(text);
  const auto load = [&] { orva::compiler::activeContext().loader.loadBundle({"A.o"}, {identity}); };
  const std::string failure = failureOf(load);
  EXPECT_EQ(typeCounts(), (std::vector<std::size_t>{0, 0}));
  return failure;
}

std::string refersTo(const std::string& symbol) {
  return "'A.o' cannot be linked: it refers to '" + symbol +
         "': expected only its own symbols, the runtime's operations and the natives that it declares";
}

void changeObject(const std::string& path, const std::string& from, const std::string& to) {
  std::string bytes = withDigits(withDigits(readFile(path), "digest", noDigits()), "layout", noDigits());
  replaceOnce(bytes, from, to);
  orva::compiler::ObjectFile object;
  object.path = path;
  writeObject(object, bytes);
}
