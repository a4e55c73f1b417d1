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

static constexpr Words<Operation, operationCount> operationNames{{
    {Operation::raise, "Orva_raise"},
    {Operation::typeByName, "Orva_typeByName"},
    {Operation::allocObject, "Orva_allocObject"},
    {Operation::listSize, "orva_collections_ArrayList_size"},
    {Operation::listIndex, "orva_collections_ArrayList_operator_index"},
    {Operation::typeCount, "Reflection_getTypeCount"},
    {Operation::typeName, "Reflection_getTypeName"},
    {Operation::typeFullName, "Reflection_getTypeFullName"},
    {Operation::objectAbiVersion, "Compiler::objectAbiVersion"},
    {Operation::activeRuntimeContext, "Compiler::activeRuntimeContext"},
    {Operation::load, "Compiler::ensureSourceLoadedInActiveJit"},
    {Operation::loadBundle, "Compiler::ensureObjectBundleLoadedInActiveJit"},
    {Operation::precompile, "Compiler::precompileSources"},
    {Operation::getInstance, "Runtime::getInstance"},
    {Operation::standardLibraryPath, "Runtime::getStandardLibraryPath"},
    {Operation::getKlassPaths, "Runtime::getKlassPaths"},
    {Operation::addKlassPath, "Runtime::addKlassPath"},
    {Operation::sourceFileForClass, "ClassLoader::sourceFileForClass"},
    {Operation::materialize, "ClassLoader::materializeRuntimeGenericType"},
    {Operation::invalidateCaches, "ClassLoader::invalidateKlassPathCaches"},
    {Operation::isValidPackageName, "PackageLayout::isValidPackageName"},
}};

static constexpr Words<Native, nativeCount> nativeNames{{
    {Native::objectAbiVersion, "objectAbiVersion"},
    {Native::getSystem, "getSystem"},
    {Native::getTypeByName, "getTypeByName"},
    {Native::addSourceRoot, "addSourceRoot"},
    {Native::precompileSources, "precompileSources"},
    {Native::loadSourceClass, "loadSourceClass"},
    {Native::loadObjectBundle, "loadObjectBundle"},
    {Native::loadClass, "loadClass"},
    {Native::loadPackageTypes, "loadPackageTypes"},
}};
static_assert(operationNames.back().second != nullptr && nativeNames.back().second != nullptr, "each needs a name");

static constexpr Words<FileKind, 6> fileWords{{
    {FileKind::folder, "folder"},
    {FileKind::closedFolder, "closed-folder"},
    {FileKind::file, "file"},
    {FileKind::link, "link"},
    {FileKind::fifo, "fifo"},
    {FileKind::socket, "socket"},
}};
static constexpr Words<Ending, 3> endingWords{{
    {Ending::returns, "returns"},
    {Ending::throwsException, "throws"},
    {Ending::throwsOther, "throws-other"},
}};

template <typename Value, std::size_t Count>
static const char* wordFor(const Words<Value, Count>& words, Value value) {
  const auto isIts = [value](const auto& word) { return word.first == value; };
  return std::find_if(words.begin(), words.end(), isIts)->second;
}

const char* nameOf(Operation operation) { return wordFor(operationNames, operation); }

// Writing.

std::string quoted(const std::string& text) {
  static const char* const digits = "0123456789ABCDEF";
  std::string line = "\"";
  for (const char byte : text) {
    const auto value = static_cast<unsigned char>(byte);
    if (value >= ' ' && value <= '~' && byte != '"' && byte != '\\' && byte != '\'') {
      line += byte;
    } else {
      line += {'\\', 'x', digits[value / 16], digits[value % 16]};
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
      wordFor(endingWords, answer.ending) + (' ' + std::to_string(answer.number)) + ' ' + quoted(answer.text);
  for (const Entry& entry : answer.entries) line += " entry " + textOf(entry);
  for (const Record& record : answer.records) line += " record " + textOf(record);
  return line;
}

static std::string textOf(const File& file) {
  return wordFor(fileWords, file.kind) + (' ' + quoted(file.path)) + ' ' + quoted(file.target);
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
  std::string line = wordFor(nativeNames, call.native);
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
  for (const auto& [operation, name] : operationNames) {
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
    throw std::runtime_error("'" + digits + "' is not a number");
  }

  template <typename Number>
  Number smallNumber() {
    const int64_t value = number();
    if (static_cast<Number>(value) != value) throw std::runtime_error(std::to_string(value) + " is out of range");
    return static_cast<Number>(value);
  }

  int64_t objectNumber() {
    const int64_t value = number();
    if (value >= 0 && value < objectCount) return value;
    throw std::runtime_error("there is no object " + std::to_string(value) + ", only 0 to " +
                             std::to_string(objectCount - 1));
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
    throw std::runtime_error("null is not allowed here");
  }

 private:
  char byte() {
    if (text_[place_] != '\\') return text_[place_];
    const std::string digits = text_.substr(place_, 4);
    const bool isHex = digits.size() == 4 && digits[1] == 'x' &&
                       digits.find_first_not_of("0123456789ABCDEFabcdef", 2) == std::string::npos;
    if (!isHex || digits == "\\x00") throw std::runtime_error("a backslash must begin \\xHH, but not \\x00");
    place_ += 3;
    return static_cast<char>(std::stoi(digits.substr(2), nullptr, 16));
  }

  std::string text_;
  std::size_t place_ = 0;
};

}  // namespace

static Entry readEntry(Line& line) {
  Entry entry;
  entry.shortName = line.textOrNull();
  entry.fullName = line.textOrNull();
  return entry;
}

static Record readRecord(Line& line) {
  Record record;
  for (std::string& name : record.names) name = line.text();
  record.hasPointer = line.number() != 0;
  record.hasMembers = line.number() != 0;
  return record;
}

static File readFile(FileKind kind, Line& line) {
  File file{kind, line.text(), ""};
  file.target = line.text();
  return file;
}

static bool namesObject(Operation operation) {
  return operation == Operation::typeByName || operation == Operation::allocObject;
}

static Answer readAnswer(Operation operation, Line& line) {
  Answer answer;
  answer.ending = line.oneOf(endingWords);
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

static std::optional<List> readList(Line& line) {
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

/// Missing arguments at the end are null.
static Call readCall(Line& line) {
  Call call;
  call.native = line.oneOf(nativeNames);
  if (!line.isAtEnd()) call.name = line.textOrNull();
  if (!line.isAtEnd()) call.sourceFile = line.textOrNull();
  if (!line.isAtEnd()) call.files = readList(line);
  if (!line.isAtEnd()) call.identities = readList(line);
  return call;
}

using Reader = std::function<void(Story&, Line&)>;

template <typename Number>
static Reader settingOf(Number World::* member) {
  return [member](Story& story, Line& line) { story.world.*member = line.smallNumber<Number>(); };
}

static Reader flagOf(bool World::* member) {
  return [member](Story& story, Line& line) { story.world.*member = line.number() != 0; };
}

static Reader fileOf(FileKind kind) {
  return [kind](Story& story, Line& line) { story.world.files.push_back(readFile(kind, line)); };
}

static const std::vector<std::pair<std::string, Reader>>& readers() {
  static const std::vector<std::pair<std::string, Reader>> all{
      {"entry", [](Story& story, Line& line) { story.world.registry.push_back(readEntry(line)); }},
      {"count", [](Story& story, Line& line) { story.world.count = line.smallNumber<int32_t>(); }},
      {"record", [](Story& story, Line& line) { story.world.table.push_back(readRecord(line)); }},
      {"root", [](Story& story, Line& line) { story.world.roots.push_back(line.text()); }},
      {"folder", fileOf(FileKind::folder)},
      {"closed-folder", fileOf(FileKind::closedFolder)},
      {"file", fileOf(FileKind::file)},
      {"link", fileOf(FileKind::link)},
      {"fifo", fileOf(FileKind::fifo)},
      {"socket", fileOf(FileKind::socket)},
      {"answer",
       [](Story& story, Line& line) {
         const Operation operation = line.oneOf(operationNames);
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

static void readLine(Story& story, Line& line) {
  const std::string first = line.word();
  for (const auto& [word, reader] : readers()) {
    if (word != first) continue;
    reader(story, line);
    if (!line.isAtEnd()) throw std::runtime_error("there is too much at the end");
    return;
  }
  throw std::runtime_error("a line cannot begin with '" + first + "'");
}

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
