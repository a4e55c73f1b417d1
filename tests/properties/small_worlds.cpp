// Plays and counts small worlds.
#include "small_worlds.h"

#include <iostream>

#include "agreement.h"
#include "tests/scripted_host/scripted_host.h"

namespace model {

static std::size_t played = 0;

std::size_t worldsPlayed() { return played; }

std::vector<std::string> everyText(const std::string& letters, std::size_t longest) {
  std::vector<std::string> texts;
  forEachSequence(std::vector<char>(letters.begin(), letters.end()), longest,
                  [&](const std::vector<char>& text) { texts.emplace_back(text.begin(), text.end()); });
  return texts;
}

Answer returning(int64_t number, const std::string& text) { return {Ending::returns, number, text, {}, {}}; }

Answer throwing(const std::string& text) { return {Ending::throwsException, 1, text, {}, {}}; }

Answer throwingOther() { return {Ending::throwsOther, 1, "", {}, {}}; }

Answer registering(const std::optional<std::string>& shortName, const std::optional<std::string>& fullName) {
  return {Ending::returns, 1, "", {{shortName, fullName}}, {}};
}

static Call callOf(Native native, const std::optional<std::string>& name) {
  Call call;
  call.native = native;
  call.name = name;
  return call;
}

Call objectAbiVersion() { return callOf(Native::objectAbiVersion, std::nullopt); }

Call getTypeByName(const std::optional<std::string>& name) { return callOf(Native::getTypeByName, name); }

Call addSourceRoot(const std::optional<std::string>& root) { return callOf(Native::addSourceRoot, root); }

Call precompileSources(const std::optional<List>& files) {
  Call call = callOf(Native::precompileSources, std::nullopt);
  call.files = files;
  return call;
}

Call loadSourceClass(const std::optional<std::string>& file, const std::optional<std::string>& entryType) {
  Call call = callOf(Native::loadSourceClass, entryType);
  call.sourceFile = file;
  return call;
}

Call loadObjectBundle(const std::optional<List>& objects, const std::optional<List>& identities,
                      const std::optional<std::string>& entryType) {
  Call call = callOf(Native::loadObjectBundle, entryType);
  call.files = objects;
  call.identities = identities;
  return call;
}

Call loadClass(const std::optional<std::string>& name) { return callOf(Native::loadClass, name); }

Call loadPackageTypes(const std::optional<std::string>& package) { return callOf(Native::loadPackageTypes, package); }

void SmallWorlds::TearDown() {
  played += worlds_;
  std::cout << worlds_ << " worlds";
  if (disagreements_ > 0) std::cout << "; in " << disagreements_ << " of them the library breaks the rules";
  std::cout << '\n';
}

void SmallWorlds::play(const World& world, const std::vector<Call>& calls) {
  ++worlds_;
  const std::string problem = disagreement({world, calls});
  if (problem.empty()) return;
  if (++disagreements_ == 1) ADD_FAILURE() << problem;
}

void SmallWorlds::playAfresh(const World& world, const std::vector<Call>& calls) {
  ++worlds_;
  const int status = scripted::statusOfOwnProcess([&] { EXPECT_EQ("", disagreement({world, calls})); });
  if (status == 0) return;
  if (++disagreements_ == 1) {
    ADD_FAILURE() << "The process of a world ended with status " << status << ". Play it again:\n"
                  << commandFor({world, calls});
  }
}

}  // namespace model
