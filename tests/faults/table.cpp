// Builds the table: a row for each native, in plain words, with the number of its cases.
#include "table.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <set>
#include <sstream>
#include <string_view>
#include <tuple>
#include <vector>

#include "classloader/native_table.h"
#include "fault.h"
#include "trial.h"

namespace faults {

using model::Outcome;

static constexpr const char* tableHead =
    "| native | a `std::exception` | any other object | an error of the lock or of a file "
    "| it returns | paths | cases |\n"
    "|---|---|---|---|---|---|---|\n";

using Words = std::set<std::string>;

namespace {

struct Row {
  Words exceptions;
  Words others;
  Words errors;
  Words passesFrom;  // the calls whose exceptions pass
  Words results;     // after a raise
  std::size_t paths = 0;
  std::size_t cases = 0;
};

}  // namespace

static bool beginsWith(const std::string& line, const std::string& head) { return line.rfind(head, 0) == 0; }

static std::vector<std::string> raisesIn(const Outcome& outcome) {
  std::vector<std::string> raises;
  std::copy_if(outcome.calls.begin(), outcome.calls.end(), std::back_inserter(raises), isRaise);
  return raises;
}

/// The class of a raise, as the page shows it.
static std::string classOf(const std::string& raise) {
  const std::size_t start = raise.find('"') + 1;
  return '`' + raise.substr(start, raise.find('"', start) - start) + '`';
}

static std::string messageOf(const std::string& raise) {
  const std::size_t start = raise.find(", ") + 2;
  return raise.substr(start, raise.size() - start - 1);
}

/// What happened after a call threw.
static std::string afterThrowing(const Outcome& outcome, bool isException) {
  if (beginsWith(outcome.result, "throws")) return "passes";
  const std::vector<std::string> raises = raisesIn(outcome);
  if (raises.empty()) return "returns";
  const std::string& raise = raises.back();
  return "raises " + classOf(raise) + (isException ? "" : ": " + messageOf(raise));
}

/// What happened after an error; nothing if it makes no difference.
static Words afterError(const Outcome& outcome, const Outcome& usual) {
  const std::vector<std::string> raises = raisesIn(outcome);
  if (!raises.empty() && raises != raisesIn(usual)) return {"raises " + classOf(raises.back())};
  const auto loads = [](const Outcome& of) {
    return std::count_if(of.calls.begin(), of.calls.end(),
                         [](const std::string& call) { return beginsWith(call, "Compiler::ensureSource"); });
  };
  return loads(outcome) < loads(usual) ? Words{"loads fewer files"} : Words();
}

static void addThrown(Row& row, const std::string& call, const Fault& fault, const Outcome& outcome) {
  const bool isException = fault.thrown.ending == model::Ending::throwsException;
  const std::string words = afterThrowing(outcome, isException);
  (isException ? row.exceptions : row.others).insert(words);
  if (isException && words == "passes") row.passesFrom.insert(call.substr(0, call.find('(')));
}

static void addPath(Row& row, const Path& path) {
  const Course course = courseOf(path);
  const Outcome usual = predict(path, course, Fault()).outcome;
  ++row.paths;
  for (const Fault& fault : faultsOf(path, course)) {
    row.cases += isCounted(course, fault) ? 1 : 0;
    const Outcome outcome = predict(path, course, fault).outcome;
    if (!raisesIn(outcome).empty() && !beginsWith(outcome.result, "throws")) row.results.insert(outcome.result);
    if (fault.raise) continue;
    if (fault.kind == Fault::Kind::thrown) addThrown(row, course.calls[fault.position], fault, outcome);
    if (fault.kind == Fault::Kind::error) row.errors.merge(afterError(outcome, usual));
  }
}

static std::string joined(const Words& words, const std::string& between) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : between) + word;
  return text;
}

/// What happens after exceptions. If only some pass through, names the calls that throw those.
static std::string exceptionsOf(const Row& row) {
  if (row.exceptions.size() == 1) return *row.exceptions.begin();
  Words raised = row.exceptions;
  raised.erase("passes");
  return joined(raised, " or ") + "; passes from `" + joined(row.passesFrom, "`, `") + '`';
}

static std::string withCommas(std::size_t number) {
  std::string digits = std::to_string(number);
  for (std::size_t end = digits.size(); end > 3; end -= 3) digits.insert(end - 3, ",");
  return digits;
}

static std::vector<std::string_view> symbols() {
  return std::apply([](const auto&... native) { return std::vector<std::string_view>{native.symbol...}; },
                    orva::natives);
}

std::string failureTable() {
  std::vector<Row> rows(model::nativeCount);
  for (const Path& path : everyPath()) addPath(rows.at(static_cast<std::size_t>(callOf(path).native)), path);
  const std::vector<std::string_view> names = symbols();
  std::ostringstream text;
  std::size_t paths = 0;
  std::size_t cases = 0;
  text << tableHead;
  for (std::size_t index = 0; index < rows.size(); ++index) {
    const Row& row = rows[index];
    paths += row.paths;
    cases += row.cases;
    text << "| `" << names.at(index) << "` | " << exceptionsOf(row) << " | " << joined(row.others, " or ") << " | "
         << joined(row.errors, ", or ") << " | " << joined(row.results, " or ") << " | " << row.paths << " | "
         << withCommas(row.cases) << " |\n";
  }
  text << "\nThese are " << withCommas(cases) << " cases on " << paths << " paths.\n";
  return text.str();
}

}  // namespace faults
