// Writes and reads worlds.
#include "world_text.h"

#include <algorithm>
#include <array>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace model {

/// A word for each value.
template <typename Value, std::size_t Count>
using Words = std::array<std::pair<Value, const char*>, Count>;

static constexpr Words<Operation, kOperations> kOperationNames{{
    {Operation::kRaise, "Orva_raise"},
    {Operation::kTypeByName, "Orva_typeByName"},
    {Operation::kAllocObject, "Orva_allocObject"},
    {Operation::kListSize, "orva_collections_ArrayList_size"},
    {Operation::kListIndex, "orva_collections_ArrayList_operator_index"},
    {Operation::kTypeCount, "Reflection_getTypeCount"},
    {Operation::kTypeName, "Reflection_getTypeName"},
    {Operation::kTypeFullName, "Reflection_getTypeFullName"},
    {Operation::kObjectAbiVersion, "Compiler::objectAbiVersion"},
    {Operation::kActiveRuntimeContext, "Compiler::activeRuntimeContext"},
    {Operation::kLoad, "Compiler::ensureSourceLoadedInActiveJit"},
    {Operation::kLoadBundle, "Compiler::ensureObjectBundleLoadedInActiveJit"},
    {Operation::kPrecompile, "Compiler::precompileSources"},
    {Operation::kGetInstance, "Runtime::getInstance"},
    {Operation::kStandardLibraryPath, "Runtime::getStandardLibraryPath"},
    {Operation::kGetKlassPaths, "Runtime::getKlassPaths"},
    {Operation::kAddKlassPath, "Runtime::addKlassPath"},
    {Operation::kSourceFileForClass, "ClassLoader::sourceFileForClass"},
    {Operation::kMaterialize, "ClassLoader::materializeRuntimeGenericType"},
    {Operation::kInvalidateCaches, "ClassLoader::invalidateKlassPathCaches"},
    {Operation::kIsValidPackageName, "PackageLayout::isValidPackageName"},
}};

static constexpr Words<Native, kNatives> kNativeNames{{
    {Native::kObjectAbiVersion, "objectAbiVersion"},
    {Native::kGetSystem, "getSystem"},
    {Native::kGetTypeByName, "getTypeByName"},
    {Native::kAddSourceRoot, "addSourceRoot"},
    {Native::kPrecompileSources, "precompileSources"},
    {Native::kLoadSourceClass, "loadSourceClass"},
    {Native::kLoadObjectBundle, "loadObjectBundle"},
    {Native::kLoadClass, "loadClass"},
    {Native::kLoadPackageTypes, "loadPackageTypes"},
}};
static_assert(kOperationNames.back().second != nullptr && kNativeNames.back().second != nullptr, "one has no name");

static constexpr Words<FileKind, 6> kFileWords{{
    {FileKind::kFolder, "folder"},
    {FileKind::kClosedFolder, "closed-folder"},
    {FileKind::kFile, "file"},
    {FileKind::kLink, "link"},
    {FileKind::kFifo, "fifo"},
    {FileKind::kSocket, "socket"},
}};
static constexpr Words<Ending, 3> kEndingWords{{
    {Ending::kReturns, "returns"},
    {Ending::kThrowsException, "throws"},
    {Ending::kThrowsOther, "throws-other"},
}};

template <typename Value, std::size_t Count>
static const char* wordFor(const Words<Value, Count>& words, Value value) {
  const auto isIts = [value](const auto& word) { return word.first == value; };
  return std::find_if(words.begin(), words.end(), isIts)->second;
}

const char* nameOf(Operation operation) { return wordFor(kOperationNames, operation); }

// Writing.

std::string quoted(const std::string& text) {
  static const char* const kDigits = "0123456789ABCDEF";
  std::string line = "\"";
  for (const char byte : text) {
    const auto value = static_cast<unsigned char>(byte);
    if (value >= ' ' && value <= '~' && byte != '"' && byte != '\\' && byte != '\'') {
      line += byte;
    } else {
      line += {'\\', 'x', kDigits[value / 16], kDigits[value % 16]};
    }
  }
  return line + '"';
}

std::string quoted(const std::optional<std::string>& text) { return text ? quoted(*text) : "null"; }

static std::string textOf(const Entry& entry) { return quoted(entry.shortName) + ' ' + quoted(entry.fullName); }

static std::string textOf(const Record& record) {
  std::string line;
  for (const std::string& name : record.names) line += quoted(name) + ' ';
  return line + std::to_string(int{record.hasPointer}) + ' ' + std::to_string(int{record.hasMembers});
}

static std::string textOf(const Answer& answer) {
  std::string line =
      wordFor(kEndingWords, answer.ending) + (' ' + std::to_string(answer.number)) + ' ' + quoted(answer.text);
  for (const Entry& entry : answer.entries) line += " entry " + textOf(entry);
  for (const Record& record : answer.records) line += " record " + textOf(record);
  return line;
}

static std::string textOf(const File& file) {
  return wordFor(kFileWords, file.kind) + (' ' + quoted(file.path)) + ' ' + quoted(file.target);
}

static std::string textOf(const std::optional<List>& list) {
  if (!list) return "null";
  std::string line = "[";
  for (const auto& element : list->elements) line += ' ' + quoted(element);
  return line + " ] " + (list->size ? std::to_string(*list->size) : "null");
}

std::string textOf(const Call& call) {
  std::vector<std::string> arguments{quoted(call.name), quoted(call.sourceFile), textOf(call.files),
                                     textOf(call.identities)};
  while (!arguments.empty() && arguments.back() == "null") arguments.pop_back();
  std::string line = wordFor(kNativeNames, call.native);
  for (const std::string& argument : arguments) line += ' ' + argument;
  return line;
}

template <typename Things>
static void writeEach(std::ostream& text, const char* word, const Things& things) {
  for (const auto& thing : things) text << word << textOf(thing) << '\n';
}

static void writeNumber(std::ostream& text, const char* word, int64_t number) {
  if (number != 0) text << word << ' ' << number << '\n';
}

std::string textOf(const Story& story) {
  const World& world = story.world;
  std::ostringstream text;
  writeEach(text, "entry ", world.registry);
  if (world.count) text << "count " << *world.count << '\n';
  writeEach(text, "record ", world.table);
  for (const std::string& root : world.roots) text << "root " << quoted(root) << '\n';
  writeEach(text, "", world.files);
  for (const auto& [operation, name] : kOperationNames) {
    const std::string word = std::string("answer ") + name + ' ';
    writeEach(text, word.c_str(), answersOf(world, operation));
  }
  writeNumber(text, "lock-error", world.lockError);
  writeNumber(text, "opening-error", world.openingError);
  writeNumber(text, "reading-error", world.readingError);
  writeNumber(text, "readings-until-error", world.readingsUntilError);
  writeNumber(text, "types-hidden", int64_t{world.typesHidden});
  writeNumber(text, "system-class-loader", world.systemClassLoader);
  writeNumber(text, "metadata-loaded", int64_t{world.metadataLoaded});
  writeEach(text, "call ", story.calls);
  return text.str();
}

// Reading.

namespace {

/// The words of one line.
class Line {
 public:
  explicit Line(const std::string& text) : text_(text) {}

  bool isAtEnd() {
    while (place_ < text_.size() && text_[place_] == ' ') ++place_;
    return place_ == text_.size();
  }

  std::string word() {
    if (isAtEnd()) throw std::runtime_error("something is missing at the end");
    const std::size_t start = place_;
    place_ = std::min(text_.find(' ', place_), text_.size());
    return text_.substr(start, place_ - start);
  }

  int64_t number() {
    const std::string digits = word();
    std::size_t used = 0;
    try {
      const int64_t value = std::stoll(digits, &used);
      if (used == digits.size()) return value;
    } catch (const std::logic_error&) {
    }
    throw std::runtime_error("'" + digits + "' is no number");
  }

  template <typename Number>
  Number smallNumber() {
    const int64_t value = number();
    if (static_cast<Number>(value) != value) throw std::runtime_error(std::to_string(value) + " is out of range");
    return static_cast<Number>(value);
  }

  int64_t objectNumber() {
    const int64_t value = number();
    if (value >= 0 && value < kObjects) return value;
    throw std::runtime_error("there is no object " + std::to_string(value) + ", only 0 to " +
                             std::to_string(kObjects - 1));
  }

  template <typename Value, std::size_t Count>
  Value oneOf(const Words<Value, Count>& words) {
    const std::string found = word();
    for (const auto& [value, name] : words) {
      if (found == name) return value;
    }
    throw std::runtime_error("'" + found + "' is not known here");
  }

  std::optional<std::string> textOrNull() {
    if (isAtEnd() || text_[place_] != '"') {
      if (word() == "null") return std::nullopt;
      throw std::runtime_error("a text in quotes, or null, is missing");
    }
    std::string text;
    for (++place_; place_ < text_.size() && text_[place_] != '"'; ++place_) text += byte();
    if (place_ == text_.size()) throw std::runtime_error("a closing quote is missing");
    ++place_;
    return text;
  }

  std::string text() {
    if (const auto text = textOrNull()) return *text;
    throw std::runtime_error("null cannot stand here");
  }

 private:
  char byte() {
    if (text_[place_] != '\\') return text_[place_];
    const std::string digits = text_.substr(place_, 4);
    const bool isHex = digits.size() == 4 && digits[1] == 'x' &&
                       digits.find_first_not_of("0123456789ABCDEFabcdef", 2) == std::string::npos;
    if (!isHex || digits == "\\x00") throw std::runtime_error("a backslash must begin \\xHH, and not \\x00");
    place_ += 3;
    return static_cast<char>(std::stoi(digits.substr(2), nullptr, 16));
  }

  std::string text_;
  std::size_t place_ = 0;
};

Entry readEntry(Line& line) {
  Entry entry;
  entry.shortName = line.textOrNull();
  entry.fullName = line.textOrNull();
  return entry;
}

Record readRecord(Line& line) {
  Record record;
  for (std::string& name : record.names) name = line.text();
  record.hasPointer = line.number() != 0;
  record.hasMembers = line.number() != 0;
  return record;
}

File readFile(FileKind kind, Line& line) {
  File file{kind, line.text(), ""};
  file.target = line.text();
  return file;
}

bool namesObject(Operation operation) {
  return operation == Operation::kTypeByName || operation == Operation::kAllocObject;
}

Answer readAnswer(Operation operation, Line& line) {
  Answer answer;
  answer.ending = line.oneOf(kEndingWords);
  answer.number = namesObject(operation) ? line.objectNumber() : line.number();
  answer.text = line.text();
  while (!line.isAtEnd()) {
    const bool isEntry = line.oneOf(Words<bool, 2>{{{true, "entry"}, {false, "record"}}});
    if (isEntry) {
      answer.entries.push_back(readEntry(line));
    } else {
      answer.records.push_back(readRecord(line));
    }
  }
  return answer;
}

std::optional<List> readList(Line& line) {
  const std::string opening = line.word();
  if (opening == "null") return std::nullopt;
  if (opening != "[") throw std::runtime_error("a list begins with [");
  List list;
  for (;;) {
    Line ahead = line;
    if (ahead.word() == "]") break;
    list.elements.push_back(line.textOrNull());
  }
  line.word();
  Line ahead = line;
  if (ahead.word() == "null") {
    line.word();
  } else {
    list.size = line.number();
  }
  return list;
}

/// Arguments that are left out at the end are null.
Call readCall(Line& line) {
  Call call;
  call.native = line.oneOf(kNativeNames);
  if (!line.isAtEnd()) call.name = line.textOrNull();
  if (!line.isAtEnd()) call.sourceFile = line.textOrNull();
  if (!line.isAtEnd()) call.files = readList(line);
  if (!line.isAtEnd()) call.identities = readList(line);
  return call;
}

using Reader = std::function<void(Story&, Line&)>;

template <typename Number>
Reader settingOf(Number World::* member) {
  return [member](Story& story, Line& line) { story.world.*member = line.smallNumber<Number>(); };
}

Reader flagOf(bool World::* member) {
  return [member](Story& story, Line& line) { story.world.*member = line.number() != 0; };
}

Reader fileOf(FileKind kind) {
  return [kind](Story& story, Line& line) { story.world.files.push_back(readFile(kind, line)); };
}

const std::vector<std::pair<std::string, Reader>>& readers() {
  static const std::vector<std::pair<std::string, Reader>> all{
      {"entry", [](Story& story, Line& line) { story.world.registry.push_back(readEntry(line)); }},
      {"count", [](Story& story, Line& line) { story.world.count = line.smallNumber<int32_t>(); }},
      {"record", [](Story& story, Line& line) { story.world.table.push_back(readRecord(line)); }},
      {"root", [](Story& story, Line& line) { story.world.roots.push_back(line.text()); }},
      {"folder", fileOf(FileKind::kFolder)},
      {"closed-folder", fileOf(FileKind::kClosedFolder)},
      {"file", fileOf(FileKind::kFile)},
      {"link", fileOf(FileKind::kLink)},
      {"fifo", fileOf(FileKind::kFifo)},
      {"socket", fileOf(FileKind::kSocket)},
      {"answer",
       [](Story& story, Line& line) {
         const Operation operation = line.oneOf(kOperationNames);
         answersOf(story.world, operation).push_back(readAnswer(operation, line));
       }},
      {"lock-error", settingOf(&World::lockError)},
      {"opening-error", settingOf(&World::openingError)},
      {"reading-error", settingOf(&World::readingError)},
      {"readings-until-error", settingOf(&World::readingsUntilError)},
      {"types-hidden", flagOf(&World::typesHidden)},
      {"system-class-loader", settingOf(&World::systemClassLoader)},
      {"metadata-loaded", flagOf(&World::metadataLoaded)},
      {"call", [](Story& story, Line& line) { story.calls.push_back(readCall(line)); }}};
  return all;
}

void readLine(Story& story, Line& line) {
  const std::string first = line.word();
  for (const auto& [word, reader] : readers()) {
    if (word != first) continue;
    reader(story, line);
    if (!line.isAtEnd()) throw std::runtime_error("there is too much at the end");
    return;
  }
  throw std::runtime_error("a line cannot begin with '" + first + "'");
}

}  // namespace

Story storyFrom(const std::string& text) {
  Story story;
  std::istringstream lines(text);
  int number = 0;
  for (std::string content; std::getline(lines, content);) {
    ++number;
    Line line(content);
    if (line.isAtEnd()) continue;
    try {
      readLine(story, line);
    } catch (const std::runtime_error& problem) {
      throw std::runtime_error("line " + std::to_string(number) + ": " + problem.what());
    }
  }
  return story;
}

}  // namespace model
