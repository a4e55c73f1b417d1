// Makes the table: a row for each native, in the words below, with the number of its cases.
#include "table.h"

#include <cstddef>
#include <set>
#include <sstream>
#include <utility>
#include <vector>

#include "matrix.h"

namespace faults {
namespace {

constexpr const char* kHead =
    "| native | a `std::exception` | any other object | an error of the lock or of a file "
    "| it returns | paths | cases |\n"
    "|---|---|---|---|---|---|---|\n";

using Words = std::set<std::string>;

struct Row {
  const Native* native = nullptr;
  Words exceptions;
  Words others;
  Words errors;
  std::set<std::string> passesFrom;  // the calls whose exceptions pass where others are raised
  std::size_t paths = 0;
  std::size_t cases = 0;
};

bool beginsWith(const std::string& line, const std::string& head) { return line.rfind(head, 0) == 0; }

/// The raises among calls.
std::vector<std::string> raisesIn(const std::vector<std::string>& calls) {
  std::vector<std::string> raises;
  for (const std::string& call : calls) {
    if (beginsWith(call, "Orva_raise(")) raises.push_back(call);
  }
  return raises;
}

/// The class that a raise names.
std::string classOf(const std::string& raise) {
  const std::size_t start = raise.find('"') + 1;
  return '`' + raise.substr(start, raise.find('"', start) - start) + '`';
}

std::string messageOf(const std::string& raise) {
  const std::size_t start = raise.find(", ") + 2;
  return raise.substr(start, raise.size() - start - 1);
}

/// What came of a call that threw.
std::string afterThrowing(const Outcome& outcome, Thrown object) {
  if (beginsWith(outcome.ending, "throws")) return "passes";
  const std::string raise = raisesIn(outcome.calls).back();
  return "raises " + classOf(raise) + (object == Thrown::noException ? ": " + messageOf(raise) : "");
}

/// What came of an error; nothing where it makes no difference.
Words afterError(const Outcome& outcome, const Outcome& usual) {
  const std::vector<std::string> raises = raisesIn(outcome.calls);
  if (!raises.empty() && raises != raisesIn(usual.calls)) return {"raises " + classOf(raises.back())};
  const auto loads = [](const Outcome& of) {
    std::size_t count = 0;
    for (const std::string& call : of.calls) count += beginsWith(call, "Compiler::ensureSource") ? 1 : 0;
    return count;
  };
  return loads(outcome) < loads(usual) ? Words{"loads fewer files"} : Words();
}

void addCase(Row& row, const Path& path, const Case& tried) {
  const Outcome outcome = foretell(path, path.usual, tried.fault);
  if (tried.group == Group::lock || tried.group == Group::systemCalls) {
    row.errors.merge(afterError(outcome, foretell(path, path.usual, Fault())));
  }
  if (tried.group != Group::hostCalls) return;
  const std::string words = afterThrowing(outcome, tried.fault.object);
  (tried.fault.object == Thrown::noException ? row.others : row.exceptions).insert(words);
  const std::string line = stepsOf(path)[tried.position].line;
  if (words == "passes" && tried.fault.object != Thrown::noException)
    row.passesFrom.insert(line.substr(0, line.find('(')));
}

void addPath(Row& row, const Path& path) {
  ++row.paths;
  for (const Group group : {Group::hostCalls, Group::lock, Group::systemCalls, Group::raises}) {
    for (const Case& tried : casesOf(path, group, {})) {
      addCase(row, path, tried);
      row.cases += isCounted(path, tried) ? 1 : 0;
    }
  }
}

std::string joined(const Words& words, const std::string& between) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : between) + word;
  return text;
}

/// What comes of exceptions; where some are raised and others pass, with the calls that these come from.
std::string exceptionsOf(const Row& row) {
  if (row.exceptions.size() == 1) return *row.exceptions.begin();
  Words raised = row.exceptions;
  raised.erase("passes");
  return joined(raised, " or ") + "; passes from `" + joined(row.passesFrom, "`, `") + '`';
}

std::string withCommas(std::size_t number) {
  std::string digits = std::to_string(number);
  for (std::size_t end = digits.size(); end > 3; end -= 3) digits.insert(end - 3, ",");
  return digits;
}

std::vector<Row> rows() {
  std::vector<Row> all;
  for (const Path& path : everyPath()) {
    if (all.empty() || all.back().native != path.native) {
      all.emplace_back();
      all.back().native = path.native;
    }
    addPath(all.back(), path);
  }
  return all;
}

}  // namespace

std::string failureTable() {
  std::ostringstream text;
  std::size_t paths = 0;
  std::size_t cases = 0;
  text << kHead;
  for (const Row& row : rows()) {
    paths += row.paths;
    cases += row.cases;
    text << "| `" << row.native->symbol << "` | " << exceptionsOf(row) << " | " << joined(row.others, " or ") << " | "
         << joined(row.errors, ", or ") << " | " << row.native->failureValue << " | " << row.paths << " | "
         << withCommas(row.cases) << " |\n";
  }
  text << "\nThese are " << withCommas(cases) << " cases on " << paths << " paths.\n";
  return text.str();
}

}  // namespace faults
