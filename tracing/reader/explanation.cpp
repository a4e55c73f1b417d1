// Finds the sentence that explains a native, and fills it in from the native's events.
#include "tracing/reader/explanation.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <utility>
#include <vector>

#include "reference_host/language/printable_text.h"

namespace orva::tracing {

using language::printable;

namespace {

using Filling = std::pair<std::string_view, std::string>;

std::string textOf(const Value& value) { return printable(value.text) + (value.isCut ? "…" : ""); }

/// The first line of a message; those below it show the place in a source.
std::string firstLineOf(Value message) {
  const std::size_t end = message.text.find('\n');
  if (end != std::string::npos) {
    message.text.resize(end);
    message.isCut = true;
  }
  return textOf(message);
}

/// An argument or result that a record lacks reads as null.
const Value& at(const std::vector<Value>& values, std::size_t index) {
  static const Value missing;
  return index < values.size() ? values[index] : missing;
}

bool isNull(const Value& value) {
  return value.kind == StoredKind::null || (value.kind == StoredKind::pointer && value.number == 0);
}

bool isEmpty(const Value& value) { return value.kind == StoredKind::text && value.text.empty(); }

std::string sentence(SentenceId id, std::initializer_list<Filling> fillings) {
  std::string_view rest = sentences[static_cast<std::size_t>(id)].pattern;
  std::string filled;
  while (!rest.empty()) {
    const std::size_t open = std::min(rest.find('{'), rest.size());
    filled += rest.substr(0, open);
    rest.remove_prefix(open);
    if (rest.empty()) break;
    const std::size_t close = rest.find('}');
    const std::string_view name = rest.substr(1, close - 1);
    for (const Filling& filling : fillings) {
      if (filling.first == name) filled += filling.second;
    }
    rest.remove_prefix(close + 1);
  }
  return filled;
}

/// Writes a list as a person does: `a, b and c`.
std::string listed(const std::vector<std::string>& items) {
  std::string text;
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (i > 0) text += i + 1 < items.size() ? ", " : " and ";
    text += items[i];
  }
  return text;
}

/// Writes the texts of a list in quotes, and how many more it has.
std::string quotedTexts(const Value& list) {
  std::vector<std::string> items;
  for (const Value& element : list.elements) items.push_back("'" + textOf(element) + "'");
  const std::int64_t more = list.number - static_cast<std::int64_t>(items.size());
  if (more > 0) items.push_back(std::to_string(more) + " more");
  return listed(items);
}

bool beginsWith(std::string_view text, std::string_view start) { return text.substr(0, start.size()) == start; }

std::string typeOf(const Event& thrower) {
  if (!thrower.thrown || thrower.thrown->empty()) return "something that is not a C++ exception";
  return printable(*thrower.thrown);
}

// Scans.

bool isQualified(const Scan& scan) { return scan.key.find('.') != std::string::npos; }

/// A name with a dot matches only a full name.
bool isMatched(const Scan& scan) {
  return scan.fullNames > 0 || (!isQualified(scan) && scan.shortNames + scan.tails > 0);
}

std::vector<std::string> distinctMatches(const Scan& scan) {
  std::vector<std::string> distinct;
  for (const std::string& match : scan.matches) {
    if (std::find(distinct.begin(), distinct.end(), match) == distinct.end()) distinct.push_back(match);
  }
  return distinct;
}

/// The name that a matched key refers to.
std::string resolved(const Scan& scan) {
  return printable(isQualified(scan) || scan.matches.empty() ? scan.key : scan.matches.front());
}

std::string typesOf(const Scan& scan) {
  std::vector<std::string> names = distinctMatches(scan);
  for (std::string& name : names) name = printable(name);
  if (names.size() == 1) names.emplace_back("another type");
  return listed(names);
}

std::string countOf(const Scan& scan) { return std::to_string(std::max(scan.count, 0)); }

// The native.

/// What a native did, read from its own events; those of natives within its calls are theirs.
class Story {
 public:
  explicit Story(const Event& native) : native_(native) {
    for (const Event& event : native.inner) {
      if (!event.isNative()) events_.push_back(&event);
    }
    const auto raise = std::find_if(events_.rbegin(), events_.rend(),
                                    [](const Event* event) { return isOf(*event, CallId::Orva_raise); });
    if (raise != events_.rend()) {
      raise_ = *raise;
      events_.erase(raise.base() - 1, events_.end());
    }
  }

  std::string text() const {
    if (native_.ending == Ending::threw) return throwing();
    if (raise_ != nullptr) return raising();
    const bool isPointer = descriptionOf(native_.call).result == ValueType::object;
    const bool isNothing = native_.ending == Ending::returned && isPointer && isNull(at(native_.results, 0));
    return isNothing ? returningNull() : "";
  }

 private:
  static bool isOf(const Event& event, CallId call) { return event.kind == EventKind::call && event.call == call; }

  // Events ahead of the raise.

  const Event* last() const { return events_.empty() ? nullptr : events_.back(); }

  bool isLast(CallId call) const { return last() != nullptr && isOf(*last(), call); }

  const Event* lastOf(CallId call) const {
    const auto found =
        std::find_if(events_.rbegin(), events_.rend(), [call](const Event* event) { return isOf(*event, call); });
    return found == events_.rend() ? nullptr : *found;
  }

  std::vector<const Event*> allOf(CallId call) const {
    std::vector<const Event*> found;
    std::copy_if(events_.begin(), events_.end(), std::back_inserter(found),
                 [call](const Event* event) { return isOf(*event, call); });
    return found;
  }

  std::vector<const Scan*> scans() const {
    std::vector<const Scan*> found;
    for (const Event* event : events_) {
      if (event->kind == EventKind::scan) found.push_back(&event->scan);
    }
    return found;
  }

  bool hasLock() const {
    return std::any_of(events_.begin(), events_.end(),
                       [](const Event* event) { return event->kind == EventKind::lock; });
  }

  bool hasCalls() const {
    return std::any_of(events_.begin(), events_.end(),
                       [](const Event* event) { return event->kind == EventKind::call; });
  }

  /// The call that failed; after it, a native only raises.
  const Event* failed() const {
    const Event* event = last();
    return event != nullptr && event->kind == EventKind::call && event->ending == Ending::threw ? event : nullptr;
  }

  // Texts.

  std::string nativeName() const { return std::string(descriptionOf(native_.call).name); }

  /// The name that the native was asked for.
  const Value& name() const { return at(native_.arguments, descriptionOf(native_.call).nameParameter()); }

  bool has(char bracket) const { return name().text.find(bracket) != std::string::npos; }

  Filling named(std::string_view placeholder = "name") const { return {placeholder, textOf(name())}; }

  static std::string stateOf(const Value& value) { return isNull(value) ? "null" : "empty"; }

  static std::string described(const Event& call) {
    const CallDescription& description = descriptionOf(call.call);
    std::string text(description.name);
    text += '(';
    if (!call.arguments.empty() && call.arguments[0].kind == StoredKind::text) {
      text += '\'' + textOf(call.arguments[0]) + '\'';
    }
    return text + ')';
  }

  /// Describes the source or the bundle that a plugin is loaded from.
  std::string plugin() const {
    if (native_.call == CallId::orva_ClassLoader_loadSourceClass) return "'" + textOf(at(native_.arguments, 0)) + "'";
    const Event* load = lastOf(CallId::Compiler_ensureObjectBundleLoadedInActiveJit);
    const std::string objects = load == nullptr ? "" : quotedTexts(at(load->arguments, 0));
    return objects.empty() ? "the empty bundle" : "the bundle of " + objects;
  }

  /// The kind of the list that was read last.
  std::string list() const {
    if (native_.call == CallId::orva_ClassLoader_precompileSources) return "list of source files";
    const bool isFirst = allOf(CallId::orva_collections_ArrayList_size).size() < 2;
    return isFirst ? "list of object paths" : "list of source identities";
  }

  std::string message() const { return firstLineOf(at(raise_->arguments, 1)); }

  // Null.

  std::string returningNull() const {
    switch (native_.call) {
      case CallId::orva_ClassLoader_getSystem: return withoutObject();
      case CallId::orva_ClassLoader_getTypeByName: return unknownName();
      case CallId::orva_SystemClassLoader_loadClass:
        if (!isLast(CallId::Orva_typeByName)) return unseen();
        return isNull(name()) || isEmpty(name())
                   ? missingName()
                   : sentence(SentenceId::runtimeOnly, {named(), {"native", nativeName()}});
      default: return unknownEntry();
    }
  }

  std::string unseen() const { return sentence(SentenceId::unseen, {{"native", nativeName()}}); }

  std::string missingName() const { return sentence(SentenceId::missingName, {{"state", stateOf(name())}}); }

  std::string withoutObject() const {
    if (!isLast(CallId::Orva_allocObject)) return unseen();
    const bool isLibraryLess = lastOf(CallId::Runtime_getStandardLibraryPath) != nullptr &&
                               lastOf(CallId::Compiler_ensureSourceLoadedInActiveJit) == nullptr;
    return sentence(isLibraryLess ? SentenceId::noLibrary : SentenceId::noObject, {});
  }

  std::string unknownName() const {
    if (!isLast(CallId::Orva_typeByName)) return unseen();
    if (isNull(name()) || isEmpty(name())) return missingName();
    const Event* search = lastOf(CallId::ClassLoader_sourceFileForClass);
    if (!scans().empty()) return search == nullptr ? registeredName(*scans().back()) : unknownClass(*search);
    const Event* making = lastOf(CallId::ClassLoader_materializeRuntimeGenericType);
    if (hasLock()) return making == nullptr ? sentence(SentenceId::readyUnknown, {named()}) : unknownInstance(*making);
    const bool isUnclosed = has('<') && !has('>') && events_.size() == 1;
    return isUnclosed ? sentence(SentenceId::unclosedName, {named()}) : unseen();
  }

  std::string unknownClass(const Event& search) const {
    if (isEmpty(at(search.results, 0))) return sentence(SentenceId::noSource, {named()});
    return sentence(SentenceId::sourceWithoutType, {{"source", textOf(at(search.results, 0))}, named()});
  }

  std::string registeredName(const Scan& scan) const {
    return isMatched(scan) ? sentence(SentenceId::registeredUnknown, {named(), {"match", resolved(scan)}}) : unseen();
  }

  std::string unknownInstance(const Event& making) const {
    if (at(making.results, 0).number == 0) return sentence(SentenceId::noInstance, {named()});
    const Event* load = lastOf(CallId::Compiler_ensureSourceLoadedInActiveJit);
    if (load == nullptr) return unseen();
    if (isEmpty(at(load->arguments, 0))) return sentence(SentenceId::instanceWithoutSource, {named()});
    return sentence(SentenceId::instanceWithoutType, {{"source", textOf(at(load->arguments, 0))}, named()});
  }

  std::string unknownEntry() const {
    if (!isLast(CallId::Orva_typeByName) || scans().size() < 2) return unseen();
    return sentence(SentenceId::entryUnknown, {named(), {"match", textOf(at(last()->arguments, 0))}});
  }

  // Raises.

  std::string raising() const {
    if (isLast(CallId::Orva_raise)) return raisingAgain();
    if (const Event* call = failed()) return raisingFor(*call);
    const std::string& raised = at(raise_->arguments, 0).text;
    switch (native_.call) {
      case CallId::orva_ClassLoader_getTypeByName: return raisingOfLookUp();
      case CallId::orva_ClassLoader_addSourceRoot: return raisingOfRoot(raised);
      case CallId::orva_ClassLoader_loadSourceClass:
      case CallId::orva_ClassLoader_loadObjectBundle: return raisingOfPlugin(raised);
      case CallId::orva_ClassLoader_precompileSources: return raisingOfLists();
      case CallId::orva_SystemClassLoader_loadPackageTypes: return raisingOfPackage(raised);
      default: return failingItself();
    }
  }

  std::string failingItself() const {
    return sentence(SentenceId::failedItself, {{"native", nativeName()}, {"message", message()}});
  }

  std::string missing(std::string_view argument, const Value& value) const {
    return sentence(SentenceId::missingArgument,
                    {{"argument", std::string(argument)}, {"state", stateOf(value)}, {"native", nativeName()}});
  }

  /// The raise ahead of this one threw.
  std::string raisingAgain() const {
    return sentence(SentenceId::raiseReplaced, {{"type", typeOf(*last())},
                                                {"class", textOf(at(last()->arguments, 0))},
                                                {"message", firstLineOf(at(last()->arguments, 1))}});
  }

  /// Natives that catch every object have only this text for an object that is not a std::exception.
  bool isWithoutText() const {
    const bool catchesAll = native_.call == CallId::orva_ClassLoader_getSystem ||
                            native_.call == CallId::orva_SystemClassLoader_loadPackageTypes;
    return catchesAll && beginsWith(at(raise_->arguments, 1).text, "Unknown native failure while ");
  }

  std::string raisingFor(const Event& call) const {
    if (isWithoutText()) {
      return sentence(SentenceId::objectThrown, {{"call", described(call)}, {"type", typeOf(call)}});
    }
    const Filling type{"type", typeOf(call)};
    const Filling text{"message", message()};
    switch (call.call) {
      case CallId::Compiler_ensureSourceLoadedInActiveJit: return raisingForSource(call);
      case CallId::Compiler_ensureObjectBundleLoadedInActiveJit:
        return sentence(SentenceId::pluginFailed, {{"plugin", plugin()}, type, text});
      case CallId::Compiler_precompileSources:
        return sentence(SentenceId::precompilingFailed, {{"sources", sources(call)}, type, text});
      case CallId::ClassLoader_materializeRuntimeGenericType:
        return sentence(SentenceId::instanceFailed, {named(), type, text});
      case CallId::ClassLoader_sourceFileForClass: return sentence(SentenceId::searchFailed, {named(), type, text});
      case CallId::Orva_allocObject: return sentence(SentenceId::objectFailed, {type, text});
      default: return sentence(SentenceId::callFailed, {{"call", described(call)}, type, text});
    }
  }

  static std::string sources(const Event& precompiling) {
    const std::string files = quotedTexts(at(precompiling.arguments, 0));
    return files.empty() ? "an empty list" : files;
  }

  std::string raisingForSource(const Event& load) const {
    const Filling source{"source", textOf(at(load.arguments, 0))};
    const Filling type{"type", typeOf(load)};
    const Filling text{"message", message()};
    switch (native_.call) {
      case CallId::orva_ClassLoader_getSystem: return sentence(SentenceId::libraryFailed, {source, type, text});
      case CallId::orva_ClassLoader_loadSourceClass:
        return sentence(SentenceId::pluginFailed, {{"plugin", plugin()}, type, text});
      case CallId::orva_SystemClassLoader_loadPackageTypes: {
        const auto before = allOf(CallId::Compiler_ensureSourceLoadedInActiveJit).size() - 1;
        return sentence(SentenceId::packageFileFailed,
                        {source, named("package"), type, text, {"loaded", std::to_string(before)}});
      }
      default: return sentence(SentenceId::sourceFailed, {source, named(), type, text});
    }
  }

  std::string raisingOfLookUp() const {
    if (const Scan* scan = ambiguousScan()) {
      return sentence(SentenceId::ambiguousName, {named(), {"matches", typesOf(*scan)}});
    }
    if (hasCalls() || !scans().empty() || !has('<') || !has('>')) return failingItself();
    return sentence(SentenceId::unreadTable, {named(), {"message", message()}});
  }

  /// The scan that found a second type; it is the last thing ahead of the raise.
  const Scan* ambiguousScan() const {
    if (last() == nullptr || last()->kind != EventKind::scan) return nullptr;
    const Scan& scan = last()->scan;
    if (!isMatched(scan) || isQualified(scan)) return nullptr;
    // If many entries of one name come first, the second name is not kept.
    const bool isSecondLost = scan.shortNames + scan.tails + scan.fullNames > scan.matches.size();
    const bool isToldSo = beginsWith(at(raise_->arguments, 1).text, "Ambiguous plugin entry type");
    return distinctMatches(scan).size() > 1 || (isSecondLost && isToldSo) ? &scan : nullptr;
  }

  std::string raisingOfRoot(const std::string& raised) const {
    if (raised == "ValueException") return missing("class path root", name());
    return sentence(SentenceId::refusedRoot, {named("root")});
  }

  std::string raisingOfPlugin(const std::string& raised) const {
    if (raised == "ValueException") return missingOfPlugin();
    if (raised == "IllegalStateException" && !scans().empty()) {
      return sentence(SentenceId::alreadyRegistered, {named(), {"match", resolved(*scans().back())}});
    }
    if (raised == "ClassNotFoundException" && scans().size() > 1)
      return unregistered(*scans().front(), *scans().back());
    if (const Scan* scan = ambiguousScan()) return ambiguousEntry(*scan);
    return raisingOfLists();
  }

  std::string missingOfPlugin() const {
    const bool isBundle = native_.call == CallId::orva_ClassLoader_loadObjectBundle;
    const Value& first = at(native_.arguments, 0);
    const Value& second = at(native_.arguments, 1);
    if (isNull(first) || isEmpty(first))
      return missing(isBundle ? "list of object paths" : "plugin's source file", first);
    if (isBundle && isNull(second)) return missing("list of source identities", second);
    return missing("entry type", name());
  }

  std::string unregistered(const Scan& before, const Scan& after) const {
    const Filling loaded{"plugin", plugin()};
    const Filling types{"before", countOf(before)};
    if (after.count <= before.count || after.count <= 0) {
      return sentence(SentenceId::nothingRegistered, {named(), loaded, types});
    }
    return sentence(SentenceId::othersRegistered, {named(), loaded, types, {"after", countOf(after)}});
  }

  std::string ambiguousEntry(const Scan& scan) const {
    const Filling matches{"matches", typesOf(scan)};
    if (scans().size() < 2) return sentence(SentenceId::ambiguousEntry, {named(), matches});
    return sentence(SentenceId::ambiguousLoad, {named(), matches, {"plugin", plugin()}});
  }

  std::string raisingOfLists() const {
    const Event* event = last();
    const Value& first = at(native_.arguments, 0);
    if (event == nullptr && native_.call == CallId::orva_ClassLoader_precompileSources && isNull(first)) {
      return missing("list of source files", first);
    }
    if (isLast(CallId::orva_collections_ArrayList_size)) return raisingAfterSize(*event);
    if (!isLast(CallId::orva_collections_ArrayList_operator_index)) return failingItself();
    if (isNull(at(event->results, 0))) {
      const std::string index = std::to_string(at(event->arguments, 1).number);
      return sentence(SentenceId::nullElement, {{"index", index}, {"list", list()}});
    }
    return raisingOfLengths();
  }

  std::string raisingAfterSize(const Event& size) const {
    const std::int64_t count = at(size.results, 0).number;
    if (count <= 0) return raisingOfLengths();
    return sentence(SentenceId::endlessList,
                    {{"list", list()}, {"count", std::to_string(count)}, {"message", message()}});
  }

  std::string raisingOfLengths() const {
    const auto sizes = allOf(CallId::orva_collections_ArrayList_size);
    if (sizes.size() != 2) return failingItself();
    const std::int64_t objects = std::max<std::int64_t>(at(sizes[0]->results, 0).number, 0);
    const std::int64_t identities = std::max<std::int64_t>(at(sizes[1]->results, 0).number, 0);
    if (objects == identities) return failingItself();
    return sentence(SentenceId::differentLengths,
                    {{"objects", std::to_string(objects)}, {"identities", std::to_string(identities)}});
  }

  std::string raisingOfPackage(const std::string& raised) const {
    const Filling package = named("package");
    if (raised == "ValueException") {
      if (isNull(name()) || isEmpty(name())) return missing("package name", name());
      return sentence(SentenceId::badPackage, {package});
    }
    if (raised == "IOException") return sentence(SentenceId::unreadPackage, {package, {"reason", reason()}});
    const Event* roots = lastOf(CallId::Runtime_getKlassPaths);
    if (raised != "ClassNotFoundException" || roots == nullptr) return failingItself();
    const std::string searched = quotedTexts(at(roots->results, 0));
    if (searched.empty()) return sentence(SentenceId::noRoots, {package});
    return sentence(SentenceId::noPackage, {package, {"roots", searched}});
  }

  /// The system's reason, which follows the package's name in the message.
  std::string reason() const {
    const std::string told = message();
    const std::size_t end = told.find("': ", named().second.size());
    return end == std::string::npos ? told : told.substr(end + 3);
  }

  // Exceptions that leave the native.

  std::string throwing() const {
    if (raise_ != nullptr && raise_->ending == Ending::threw) return throwingOfRaise();
    const Event* call = raise_ == nullptr ? failed() : nullptr;
    if (call == nullptr) {
      return sentence(SentenceId::threwItself, {{"native", nativeName()}, {"type", typeOf(native_)}});
    }
    return sentence(isOutsideOfBridge(*call) ? SentenceId::passed : SentenceId::passedObject,
                    {{"call", described(*call)}, {"type", typeOf(*call)}, {"native", nativeName()}});
  }

  std::string throwingOfRaise() const {
    return sentence(SentenceId::raiseThrew,
                    {{"type", typeOf(*raise_)}, {"class", textOf(at(raise_->arguments, 0))}, {"message", message()}});
  }

  /// Tells whether the native catches nothing that a call throws.
  bool isOutsideOfBridge(const Event& call) const {
    switch (native_.call) {
      case CallId::orva_ClassLoader_objectAbiVersion:
      case CallId::orva_ClassLoader_addSourceRoot:
      case CallId::orva_SystemClassLoader_loadClass: return true;
      case CallId::orva_ClassLoader_getTypeByName: return isOf(call, CallId::Orva_typeByName);
      default: return false;
    }
  }

  const Event& native_;
  std::vector<const Event*> events_;  ///< those before the raise, or all
  const Event* raise_ = nullptr;      ///< the last one; one ahead of it threw
};

}  // namespace

std::string explanationOf(const Event& native) { return native.isNative() ? Story(native).text() : std::string(); }

}  // namespace orva::tracing
