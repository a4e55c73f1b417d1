// Combines the scripted host's lines and the world's answers into events.
#include "recorded_events.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

#include "world_text.h"

using namespace orva::tracing;

namespace model {
namespace {

using Ended = orva::tracing::Ending;

Value textValue(const std::optional<std::string>& text) {
  Value value;
  if (!text) return value;
  value.kind = StoredKind::text;
  value.text = *text;
  return value;
}

Value numberValue(StoredKind kind, std::int64_t number) {
  Value value;
  value.kind = kind;
  value.number = number;
  return value;
}

Value pointerValue(std::int64_t number) { return number == 0 ? Value() : numberValue(StoredKind::pointer, number); }

Value listValue(const std::vector<std::string>& texts) {
  Value value = numberValue(StoredKind::count, static_cast<std::int64_t>(texts.size()));
  for (const std::string& text : texts) {
    if (value.elements.size() < mostElements) value.elements.push_back(textValue(text));
  }
  return value;
}

CallId callNamed(std::string_view name) {
  for (std::size_t i = 0; i < calls.size(); ++i) {
    if (calls[i].name == name) return static_cast<CallId>(i);
  }
  throw std::runtime_error("No call is named " + std::string(name));
}

Operation operationNamed(std::string_view name) {
  for (std::size_t i = 0; i < kOperations; ++i) {
    if (nameOf(static_cast<Operation>(i)) == name) return static_cast<Operation>(i);
  }
  throw std::runtime_error("No operation is named " + std::string(name));
}

/// Takes a quoted text, which ends where `end` follows.
std::string takeQuoted(std::string_view& line, std::string_view end) {
  const std::size_t length = line.find(end, 1);
  const std::string text(line.substr(1, length - 1));
  line.remove_prefix(length + end.size());
  return text;
}

/// Takes a list, in which no text has quotes.
Value takeList(std::string_view& line) {
  std::vector<std::string> texts;
  line.remove_prefix(1);
  while (line.front() != '}') {
    texts.push_back(takeQuoted(line, "\""));
    if (line.front() == ',') line.remove_prefix(2);
  }
  line.remove_prefix(std::min(line.size(), std::size_t{3}));
  return listValue(texts);
}

Value contextValue(std::string_view word) {
  return pointerValue(word == "empty" || word.substr(0, 3) == "no " ? 0 : 1);
}

std::vector<Value> argumentsOf(Operation operation, std::string_view line) {
  switch (operation) {
    case Operation::kRaise: {
      const std::string raised = takeQuoted(line, "\", ");
      return {textValue(raised), textValue(std::string(line.substr(1, line.size() - 2)))};
    }
    case Operation::kLoad: {
      const std::string path = takeQuoted(line, "\", ");
      return {textValue(path), contextValue(line)};
    }
    case Operation::kSourceFileForClass: {
      const std::string name = takeQuoted(line, "\", ");
      return {textValue(name), contextValue(line), Value()};
    }
    case Operation::kMaterialize: {
      const std::string name = takeQuoted(line, "\", \"\", \"\", ");
      return {textValue(name), textValue(""), textValue(""), contextValue(line)};
    }
    case Operation::kLoadBundle: {
      const Value objects = takeList(line);
      return {objects, takeList(line)};
    }
    case Operation::kPrecompile: {
      const Value files = takeList(line);
      return {files, contextValue(line.substr(0, line.find(','))), Value()};
    }
    case Operation::kListSize: return {pointerValue(1)};
    case Operation::kListIndex:
      return {pointerValue(1), numberValue(StoredKind::integer, std::stoll(std::string(line.substr(line.find(' ')))))};
    default: break;
  }
  if (line.empty()) return {};
  if (line.front() != '"') return {Value()};
  return {textValue(std::string(line.substr(1, line.size() - 2)))};
}

std::string tailOf(const std::string& name) { return name.substr(name.rfind('.') + 1); }

/// The events of one call, made while its lines are read.
class Recording {
 public:
  Recording(World world, const Call& call) : world_(std::move(world)), call_(call) {}

  Event events(const Outcome& outcome) {
    for (const std::string& line : outcome.calls) add(line);
    endScan();
    native_.call = static_cast<CallId>(call_.native);
    native_.arguments = arguments();
    end(outcome.result);
    return native_;
  }

 private:
  void add(std::string_view line) {
    if (line.substr(0, 10) == "complaint:" || line.substr(0, 7) == "unlock(") return;
    if (line.substr(0, 5) == "lock(") return addLock();
    const std::size_t open = line.find('(');
    const Operation operation = operationNamed(line.substr(0, open));
    const std::string_view inside = line.substr(open + 1, line.size() - open - 2);
    const bool isOfRegistry = line.substr(0, 11) == "Reflection_";
    if (!isOfRegistry) endScan();
    const Answer answer = take(world_, operation);
    if (isOfRegistry && answer.ending == Ending::kReturns) return read(operation, inside);
    endScan();
    Event event;
    event.call = callNamed(line.substr(0, open));
    event.arguments = argumentsOf(operation, inside);
    event.ending = answer.ending == Ending::kReturns ? Ended::returned : Ended::threw;
    if (answer.ending == Ending::kThrowsException) event.thrown = "scripted::CustomFailure";
    if (answer.ending == Ending::kThrowsOther) event.thrown = "model::OtherObject";
    if (answer.ending == Ending::kReturns) event.results = resultsOf(operation, answer, event.arguments, inside);
    native_.inner.push_back(event);
  }

  void addLock() {
    if (world_.lockError != 0) return;
    Event event;
    event.kind = EventKind::lock;
    native_.inner.push_back(event);
  }

  std::vector<Value> resultsOf(Operation operation, const Answer& answer, const std::vector<Value>& arguments,
                               std::string_view inside) {
    const bool isFirstList = inside.substr(0, 5) == "files";
    const List* list = nullptr;
    if (isFirstList || inside.substr(0, 10) == "identities") list = &*(isFirstList ? call_.files : call_.identities);
    switch (operation) {
      case Operation::kTypeByName:
      case Operation::kAllocObject:
      case Operation::kActiveRuntimeContext: return {pointerValue(answer.number)};
      case Operation::kObjectAbiVersion: return {numberValue(StoredKind::integer, answer.number)};
      case Operation::kListSize: return {numberValue(StoredKind::integer, sizeOf(*list))};
      case Operation::kListIndex: return {textValue(elementAt(*list, arguments[1].number))};
      case Operation::kGetInstance: return {pointerValue(1)};
      case Operation::kStandardLibraryPath:
      case Operation::kSourceFileForClass: return {textValue(answer.text)};
      case Operation::kGetKlassPaths: return {listValue(world_.roots)};
      case Operation::kIsValidPackageName: return {numberValue(StoredKind::truth, answer.number != 0)};
      case Operation::kAddKlassPath:
        if (answer.number != 0) world_.roots.push_back(arguments[0].text);
        return {numberValue(StoredKind::truth, answer.number != 0)};
      case Operation::kMaterialize:
        return {numberValue(StoredKind::truth, answer.number != 0), textValue("an instance"), textValue(answer.text)};
      default: return {};
    }
  }

  // Scans.

  void read(Operation operation, std::string_view inside) {
    if (operation == Operation::kTypeCount) {
      endScan();
      isScanning_ = true;
      scan_ = {};
      scan_.key = call_.name.value_or("");
      scan_.count = countOf(world_);
    } else if (operation == Operation::kTypeName) {
      shortName_ = entryAt(world_, std::stoi(std::string(inside))).shortName.value_or("");
    } else {
      ++scan_.read;
      match(entryAt(world_, std::stoi(std::string(inside))).fullName.value_or(""));
    }
  }

  /// The counter for a match; null for an entry that does not match.
  std::uint32_t* counterOf(const std::string& fullName) {
    if (fullName == scan_.key) return &scan_.fullNames;
    if (scan_.key.find('.') != std::string::npos) return nullptr;
    if (shortName_ == scan_.key) return &scan_.shortNames;
    return !fullName.empty() && tailOf(fullName) == scan_.key ? &scan_.tails : nullptr;
  }

  void match(const std::string& fullName) {
    std::uint32_t* const counter = counterOf(fullName);
    if (counter == nullptr) return;
    ++*counter;
    if (scan_.matches.size() < mostMatches) {
      scan_.matches.push_back(fullName.empty() ? shortName_ : fullName);
    }
  }

  void endScan() {
    if (!isScanning_) return;
    isScanning_ = false;
    Event event;
    event.kind = EventKind::scan;
    event.scan = scan_;
    native_.inner.push_back(event);
  }

  // The native itself.

  std::vector<Value> arguments() const {
    const auto handle = [](const std::optional<List>& list) { return pointerValue(list ? 1 : 0); };
    switch (call_.native) {
      case Native::kObjectAbiVersion:
      case Native::kGetSystem: return {};
      case Native::kPrecompileSources: return {handle(call_.files)};
      case Native::kLoadSourceClass: return {textValue(call_.sourceFile), textValue(call_.name)};
      case Native::kLoadObjectBundle: return {handle(call_.files), handle(call_.identities), textValue(call_.name)};
      case Native::kLoadClass:
      case Native::kLoadPackageTypes: return {pointerValue(1), textValue(call_.name)};
      default: return {textValue(call_.name)};
    }
  }

  void end(const std::string& result) {
    constexpr std::string_view other = "throws another exception: ";
    native_.ending = result.compare(0, 6, "throws") == 0 ? Ended::threw : Ended::returned;
    if (result.compare(0, 20, "throws the exception") == 0) native_.thrown = "scripted::CustomFailure";
    if (result == "throws the other object") native_.thrown = "model::OtherObject";
    if (result.compare(0, other.size(), other) == 0) native_.thrown = result.substr(other.size());
    if (native_.ending == Ended::threw || result == "nothing") return;
    const bool isObject = result == "null" || result.compare(0, 7, "object ") == 0;
    native_.results = {isObject ? pointerValue(result == "null" ? 0 : 1)
                                : numberValue(StoredKind::integer, std::stoll(result))};
  }

  World world_;
  const Call& call_;
  Event native_;
  bool isScanning_ = false;
  Scan scan_;
  std::string shortName_;
};

}  // namespace

Event eventsOf(World before, const Call& call, const Outcome& outcome) {
  return Recording(std::move(before), call).events(outcome);
}

}  // namespace model
