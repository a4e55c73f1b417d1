// Writing the page: a table for each path, its calls in order, and a short code for what comes of each fault.
#include "page.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iostream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <utility>
#include <vector>

#include "matrix.h"
#include "trial.h"

namespace faults {

using Lines = std::vector<std::string>;

namespace {

constexpr const char* kIntroduction =
    R"(# What comes of each failure

For whoever writes a host: what each of the natives does when something that it calls, or its memory, fails.
This page is made by `cmake --build --preset dev --target failure-matrix`, which tries every fault first and writes
nothing when one of them goes otherwise; a test compares it with the library. Made with g++ 12 and libstdc++.

Most natives run their work inside a *bridge* (`classloader/failure_bridge.h`), which turns a C++ exception into one
raise and returns the failure value. What *leaves* a native leaves it as a C++ exception, into the code that called
the native.

A *case* is one fault at one place of one path, tried for itself. Where a native allocates several times at one place,
each of these allocations is tried, and together they count as one case. Every case also checks that

- the calls up to the fault, those after it, and each raise with its class and its whole message are as prescribed;
- the native returned what it should, or the very object that was thrown left it;
- `gReflectionMutex` is free, no context, descriptor, directory or memory is held, the lists are as they were; a raise
  by the bridge finds contexts and memory given back already;
- the next call, with nothing failing, goes as if nothing had happened (for `orva_ClassLoader_getSystem`: goes on from
  the state that the failure left).

Two things are otherwise. Where the process ends, it is the calls up to there that are checked. And libc++'s own
directory iterator loses the open directory when the first allocations of its constructor fail: with that library,
one descriptor stays open there.

## How to read the tables

Each table lists the calls of one path in order. A *cell* says by a code what came of the faults of its column at the
call of its row. A cell is empty where there is no such fault to try.

| column | the fault |
|---|---|
| no memory, once · for good | an allocation of the native since the call before fails: it alone, or all from there on |
| e · e₀ · eᴸ · x | the call throws a `std::exception` with a message, one with an empty message, one of a derived class with 100,000 bytes, or an object that is no `std::exception` |
| error | the lock, or a system call that the standard library makes, reports an error: each that is listed for it below |
| raise throws, once · for good | besides the fault in the same row (or alone, in the row of a raise), `Orva_raise` throws each of the four objects, at the first raise or at every one |

| code | what comes of it |
|---|---|
| raises | one raise, of the native's exception class and with the failure's own text; then the failure value is returned |
| fixed | the same, with the native's fixed text |
| leaves | the object leaves the native as it was thrown; an object that `Orva_raise` threw leaves after that raise, the only one |
| again · again fixed | a raise of the path threw, and the bridge makes a second one: with the text of what was thrown, or the fixed text |
| again leaves | the second raise threw as well, and that object leaves |
| as usual | nothing: the same result and the same raises as without the fault |
| IOException · ClassNotFoundException | one raise of that class with the native's own message; then the failure value is returned |
| empty | the directory counts as empty |
| skipped | that file is not loaded, all others are |
| ends | `std::terminate`: libstdc++'s directory iterator allocates in a function that may not throw |

| in a table | what it means |
|---|---|
| 1-8 \| `a` … `b` | a row for all calls from `a` to `b`; a code holds for each of them where that fault can happen |
| ends / raises | some allocations at that place end the process, others are raised |
| EACCES: empty / others: IOException | of the error EACCES comes "empty", of all other errors "IOException"; likewise e, e₀, eᴸ and x name the object that a raise threw |
| no memory → leaves | where a raise throws: with this fault of the same row besides comes "leaves"; "alone" is the raise without another fault |

)";

constexpr std::size_t kOnce = 0;
constexpr std::size_t kThrown = 2;
constexpr std::size_t kError = 6;
constexpr std::size_t kRaise = 7;
constexpr std::size_t kColumns = 9;
const std::array<const char*, 4> kObjects{"e", "e₀", "eᴸ", "x"};

/// What came of faults, each code with the names of the errors or objects that it came of.
using Codes = std::map<std::string, Lines>;

/// The codes of one column; those of raises by the fault that is there besides.
using Column = std::map<std::string, Codes>;

struct Row {
  std::size_t first;
  std::size_t last;
  Step::Kind kind;
  std::array<std::string, kColumns> cells;
};

void addCode(Codes& codes, const std::string& code, const std::string& name) {
  Lines& names = codes[code];
  if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
}

std::string joined(const Lines& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

/// Writes codes: alone where there is one, and with their names where the names tell which.
std::string codesText(const Codes& codes) {
  constexpr std::size_t kMany = 5;
  std::string text;
  std::string others;
  for (const auto& [code, names] : codes) {
    if (codes.size() == 1) return code;
    if (names.size() >= kMany) {
      others = " / others: " + code;
    } else {
      text += (text.empty() ? "" : " / ") + (names.front().empty() ? code : joined(names) + ": " + code);
    }
  }
  return text + others;
}

std::string columnText(const Column& column) {
  std::map<std::string, Lines> faults;
  for (const auto& [fault, codes] : column) faults[codesText(codes)].push_back(fault);
  if (faults.size() <= 1) return faults.empty() ? "" : faults.begin()->first;
  std::string text;
  for (const auto& [codes, names] : faults) text += (text.empty() ? "" : "; ") + joined(names) + " → " + codes;
  return text;
}

std::size_t indexOf(Thrown object) {
  return static_cast<std::size_t>(std::find(kEveryObject.begin(), kEveryObject.end(), object) - kEveryObject.begin());
}

/// Names the fault that is there besides a raise that throws.
std::string besides(const Fault& fault) {
  switch (fault.kind) {
    case Fault::Kind::allocation: return "no memory";
    case Fault::Kind::thrown: return kObjects.at(indexOf(fault.object));
    case Fault::Kind::error: return "error";
    case Fault::Kind::none: break;
  }
  return "alone";
}

/// The column of a case, and what names it within the column.
std::pair<std::size_t, std::string> place(const Case& tried) {
  const Fault& fault = tried.fault;
  switch (tried.group) {
    case Group::allocations: return {kOnce + (fault.forGood ? 1 : 0), ""};
    case Group::hostCalls: return {kThrown + indexOf(fault.object), ""};
    case Group::lock:
    case Group::systemCalls: return {kError, errorName(fault.error)};
    case Group::raises: break;
  }
  return {kRaise + (fault.raise->forGood ? 1 : 0), kObjects.at(indexOf(fault.raise->object))};
}

/// Tells whether two rows can stand as one: no column has different codes in them.
bool agree(const Row& left, const Row& right) {
  if (left.kind != right.kind) return false;
  for (std::size_t column = 0; column < kColumns; ++column) {
    const std::string& one = left.cells[column];
    const std::string& other = right.cells[column];
    if (!one.empty() && !other.empty() && one != other) return false;
  }
  return true;
}

void addRow(std::vector<Row>& rows, const Row& row) {
  if (rows.empty() || !agree(rows.back(), row)) {
    rows.push_back(row);
    return;
  }
  rows.back().last = row.last;
  for (std::size_t column = 0; column < kColumns; ++column) {
    if (rows.back().cells[column].empty()) rows.back().cells[column] = row.cells[column];
  }
}

std::vector<Row> rowsOf(const Path& path, const std::vector<Case>& cases) {
  const Steps calls = stepsOf(path);
  std::vector<std::array<Column, kColumns>> columns(calls.size() + 1);
  for (const Case& tried : cases) {
    const auto [column, name] = place(tried);
    const std::string besidesIt = tried.group == Group::raises ? besides(tried.fault) : "";
    addCode(columns[tried.position][column][besidesIt], foretell(path, path.usual, tried.fault).code, name);
  }
  std::vector<Row> rows;
  for (std::size_t position = 0; position < columns.size(); ++position) {
    const bool isEnd = position == calls.size();
    Row row{position, position, isEnd ? Step::Kind::hostCall : calls[position].kind, {}};
    std::transform(columns[position].begin(), columns[position].end(), row.cells.begin(), columnText);
    const bool isEmpty = std::all_of(row.cells.begin(), row.cells.end(), [](const auto& cell) { return cell.empty(); });
    if (isEnd && isEmpty) break;
    if (isEnd) {
      rows.push_back(row);
    } else {
      addRow(rows, row);
    }
  }
  return rows;
}

std::string label(const Row& row, const Steps& calls) {
  if (row.first == calls.size()) return "| | after the last call ";
  const std::string first = std::to_string(row.first + 1);
  const std::string line = '`' + calls[row.first].line + '`';
  if (row.first == row.last) return "| " + first + " | " + line + ' ';
  const std::string between = row.last == row.first + 1 ? " and " : " … ";
  const std::string last = '`' + calls[row.last].line + '`';
  return "| " + first + '-' + std::to_string(row.last + 1) + " | " + line + between + last + ' ';
}

std::string table(const Path& path, const std::vector<Case>& cases) {
  const Steps calls = stepsOf(path);
  if (calls.empty()) return "No call is made and nothing is allocated: nothing can fail.\n\n";
  std::ostringstream text;
  text << "| | call | no memory, once | for good | e | e₀ | eᴸ | x | error | raise throws, once | for good |\n"
       << "|---|---|---|---|---|---|---|---|---|---|---|\n";
  for (const Row& row : rowsOf(path, cases)) {
    text << label(row, calls);
    for (const std::string& cell : row.cells) text << "| " << (cell.empty() ? "" : cell + ' ');
    text << "|\n";
  }
  text << '\n';
  return text.str();
}

/// Counts cases: the allocations of one place are one case, however many they are.
std::size_t countOf(const std::vector<Case>& cases, Group group) {
  std::set<std::pair<std::size_t, bool>> places;
  std::size_t count = 0;
  for (const Case& tried : cases) {
    if (tried.group != group) continue;
    ++count;
    places.emplace(tried.position, tried.fault.forGood);
  }
  return group == Group::allocations ? places.size() : count;
}

/// All that the page says of one native.
struct Chapter {
  const Native* native = nullptr;
  std::vector<std::pair<std::string, std::string>> sections;  // heading and table; paths with the same one share it
  std::size_t paths = 0;
  std::array<std::size_t, kEveryGroup.size()> counts{};
  std::size_t runs = 0;

  std::size_t cases() const {
    std::size_t all = 0;
    for (const std::size_t count : counts) all += count;
    return all;
  }
};

void writeHead(std::ostream& text, const Native& native) {
  text << "## " << native.symbol << "\n\n";
  if (!native.exceptionClass) {
    text << "No bridge: whatever is thrown leaves.\n\n";
    return;
  }
  text << "The bridge raises \"" << *native.exceptionClass << '"';
  if (native.otherText) text << "; fixed text: \"" << *native.otherText << '"';
  text << ". Failure value: " << native.failureValue << ".\n\n";
}

void addPath(Chapter& chapter, const Path& path) {
  ++chapter.paths;
  chapter.native = path.native;
  const std::vector<std::size_t> allocations = allocationsOf(path);
  std::vector<Case> cases;
  for (std::size_t index = 0; index < kEveryGroup.size(); ++index) {
    const std::vector<Case> more = casesOf(path, kEveryGroup[index], allocations);
    cases.insert(cases.end(), more.begin(), more.end());
    chapter.counts[index] += countOf(more, kEveryGroup[index]);
  }
  chapter.runs += cases.size();
  const std::string body = table(path, cases);
  if (!chapter.sections.empty() && chapter.sections.back().second == body) {
    chapter.sections.back().first += "; " + path.name;
  } else {
    chapter.sections.emplace_back(path.name, body);
  }
}

std::vector<Chapter> chapters() {
  std::vector<Chapter> all;
  for (const Path& path : everyPath()) {
    const auto mine = [&path](const Chapter& chapter) { return chapter.native == path.native; };
    auto chapter = std::find_if(all.begin(), all.end(), mine);
    if (chapter == all.end()) chapter = all.insert(all.end(), Chapter());
    addPath(*chapter, path);
  }
  return all;
}

void writeErrors(std::ostream& text) {
  text << "| call | errors tried |\n|---|---|\n";
  for (const auto& [call, errors] : errorsTried()) {
    Lines names;
    std::transform(errors.begin(), errors.end(), std::back_inserter(names), errorName);
    text << "| `" << call << "` | " << joined(names) << " |\n";
  }
  text << "\nIt is libc++ that calls `opendir`, where libstdc++ calls `openat` and `fdopendir`.\n\n";
}

std::string withCommas(std::size_t number) {
  std::string digits = std::to_string(number);
  for (std::size_t end = digits.size(); end > 3; end -= 3) digits.insert(end - 3, ",");
  return digits;
}

void writeCounts(std::ostream& text, const std::vector<Chapter>& all) {
  text << "## How many cases\n\n"
       << "| native | paths | no memory | calls that throw | lock | system calls | raises that throw | cases |\n"
       << "|---|---|---|---|---|---|---|---|\n";
  Chapter sum;
  for (const Chapter& chapter : all) {
    text << "| `" << chapter.native->symbol << "` | " << chapter.paths << " | ";
    for (const std::size_t count : chapter.counts) text << count << " | ";
    text << chapter.cases() << " |\n";
    sum.paths += chapter.paths;
    for (std::size_t index = 0; index < sum.counts.size(); ++index) sum.counts[index] += chapter.counts[index];
  }
  text << "| all | " << sum.paths << " | ";
  for (const std::size_t count : sum.counts) text << count << " | ";
  text << sum.cases() << " |\n\n"
       << withCommas(sum.cases()) << " cases, each a cell of the whole grid: path, place and fault.\n\n";
}

}  // namespace

Page page() {
  const std::vector<Chapter> all = chapters();
  Page page;
  std::ostringstream text;
  text << kIntroduction;
  writeErrors(text);
  writeCounts(text, all);
  for (const Chapter& chapter : all) {
    writeHead(text, *chapter.native);
    for (const auto& [heading, body] : chapter.sections) text << "### " << heading << "\n\n" << body;
    page.cases += chapter.cases();
    std::cout << chapter.native->symbol << ": " << chapter.cases() << " cases, " << chapter.runs << " runs\n";
  }
  std::cout << page.cases << " cases in all\n";
  page.text = text.str();
  page.text.pop_back();
  return page;
}

}  // namespace faults
