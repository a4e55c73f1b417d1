// Turns bytes into the parts of a world.
#include "made_worlds.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <optional>
#include <string>

#include "file_rules.h"

namespace model {
using Text = std::optional<std::string>;

namespace {

class Maker {
 public:
  explicit Maker(const std::vector<uint8_t>& bytes) : bytes_(bytes) {}

  Story story(bool withGetSystem) {
    Story story;
    story.world = world();
    const std::size_t calls = 1 + below(6);
    for (std::size_t made = 0; made < calls; ++made) story.calls.push_back(call(withGetSystem));
    return story;
  }

 private:
  // Choices. When the bytes run out, the first thing is chosen.

  std::size_t below(std::size_t bound) { return next_ < bytes_.size() ? bytes_[next_++] % bound : 0; }

  bool oneIn(std::size_t number) { return below(number) == number - 1; }

  template <typename Thing>
  Thing oneOf(const std::vector<Thing>& things) {
    return things[below(things.size())];
  }

  template <typename Thing>
  std::vector<Thing> some(std::size_t most, Thing (Maker::*make)()) {
    std::vector<Thing> things(below(most + 1));
    for (Thing& thing : things) thing = (this->*make)();
    return things;
  }

  // Names. There are few words, so that they often match.

  std::string word() {
    static const std::vector<std::string> words{
        "A",  "B",  "p.A", "q.A", "p.B", "p.q.A", "A<B>",   "A< B >", ".",        "A.",     ".A",      "B<A>",
        "A<", "A>", " A",  "A B", "<",   ">",     "p.A<B>", "a<b>",   "\tA<B>\n", "A<B,C>", "A<B, C>", "\xC3\xA9"};
    return oneOf(words);
  }

  std::string name() {
    std::string name = word();
    while (oneIn(6)) name += word();
    while (oneIn(16)) name += static_cast<char>(1 + below(255));
    return name;
  }

  Text nameOrNone() {
    if (oneIn(8)) return std::nullopt;
    return oneIn(8) ? "" : name();
  }

  Entry entry() {
    Entry entry;
    entry.shortName = nameOrNone();
    entry.fullName = nameOrNone();
    return entry;
  }

  Record record() {
    Record record;
    for (std::string& each : record.names) each = nameOrNone().value_or("");
    record.hasPointer = !oneIn(4);
    record.hasMembers = !oneIn(4);
    return record;
  }

  // Files.

  std::string root() { return oneOf<std::string>({"r", "s", "r/", "t//", "./r", "s/../r", "none", ""}); }

  std::string package() {
    return oneOf<std::string>({"a", "a.b", "a.b.c", "b", "a..b", ".a", "a.b.", "none", "", ".", "a/b", "a b"});
  }

  File file() {
    static const std::vector<std::string> folders{"r/a/", "r/a/b/", "s/a/", "s/a/b/", "t/a/", "a/", "r/", "s/b/"};
    static const std::vector<std::string> names{"A.ov", "B.ov", "a.ov", "b", "c", "x.OV", ".ov", "x.y.ov", "a"};
    static const std::vector<std::string> targets{"A.ov", "b", "../A.ov", "none", ".", "..", "b/A.ov", "c"};
    static const std::vector<FileKind> kinds{FileKind::file,   FileKind::file, FileKind::link,
                                             FileKind::folder, FileKind::fifo, FileKind::closedFolder};
    File file;
    file.path = oneOf(folders) + oneOf(names);
    file.kind = oneOf(kinds);
    if (file.kind == FileKind::link) file.target = oneOf(targets);
    return file;
  }

  std::vector<File> files() {
    std::vector<File> files;
    for (const File& made : some(6, &Maker::file)) {
      const auto fits = [&made](const File& file) { return fitTogether(file, made); };
      if (std::all_of(files.begin(), files.end(), fits)) files.push_back(made);
    }
    return files;
  }

  // Answers.

  Answer answer() {
    Answer answer;
    answer.ending = oneOf<Ending>({Ending::returns, Ending::returns, Ending::returns, Ending::returns,
                                   Ending::throwsException, Ending::throwsOther});
    answer.number = oneOf<int64_t>({1, 0, 2, 7});
    answer.text = oneOf<std::string>({"", "s.ov", "text", "\xFF"});
    answer.entries = some(oneIn(3) ? 3 : 0, &Maker::entry);
    answer.records = some(oneIn(6) ? 2 : 0, &Maker::record);
    return answer;
  }

  void addAnswers(World& world) {
    for (std::size_t scripted = below(7); scripted > 0; --scripted) {
      std::vector<Answer>& answers = world.answers[below(operationCount)];
      answers = some(4, &Maker::answer);
    }
  }

  void addErrors(World& world) {
    if (oneIn(12)) world.lockError = oneOf<int>({EDEADLK, EINVAL, EAGAIN});
    if (oneIn(16)) world.openingError = oneOf<int>({EIO, EACCES, EMFILE});
    if (!oneIn(16)) return;
    world.readingError = EIO;
    world.readingsUntilError = static_cast<int>(1 + below(6));
  }

  World world() {
    World world;
    addAnswers(world);
    world.registry = some(oneIn(4) ? 40 : 5, &Maker::entry);
    world.table = some(oneIn(4) ? 20 : 3, &Maker::record);
    world.roots = some(4, &Maker::root);
    if (oneIn(4)) world.files = files();
    if (oneIn(16)) world.count = static_cast<int32_t>(below(world.registry.size() + 1)) - 1;
    addErrors(world);
    world.typesHidden = oneIn(8);
    return world;
  }

  // Calls.

  Text element() { return oneIn(12) ? std::nullopt : Text(oneOf<std::string>({"x", "", "y.o", "\xFF x", "x"})); }

  std::optional<List> list() {
    if (oneIn(12)) return std::nullopt;
    List list{some(oneIn(6) ? 30 : 3, &Maker::element), std::nullopt};
    if (oneIn(8)) list.size = oneOf<int64_t>({0, -1, 1, 2, 3, 40, INT64_MIN, INT64_MAX});
    return list;
  }

  /// Any native; getSystem only if the process is fresh.
  Native native(bool withGetSystem) {
    if (withGetSystem && oneIn(2)) return Native::getSystem;
    const auto any = static_cast<Native>(below(nativeCount));
    return any == Native::getSystem ? Native::getTypeByName : any;
  }

  Call call(bool withGetSystem) {
    Call call;
    call.native = native(withGetSystem);
    if (call.native == Native::loadPackageTypes) {
      call.name = oneIn(16) ? std::nullopt : Text(package());
    } else if (call.native == Native::addSourceRoot) {
      call.name = oneIn(16) ? std::nullopt : Text(root());
    } else {
      call.name = nameOrNone();
    }
    if (call.native == Native::loadSourceClass) call.sourceFile = element();
    if (call.native == Native::precompileSources || call.native == Native::loadObjectBundle) call.files = list();
    if (call.native == Native::loadObjectBundle) call.identities = list();
    return call;
  }

  const std::vector<uint8_t>& bytes_;
  std::size_t next_ = 0;
};

}  // namespace

Story storyOf(const std::vector<uint8_t>& bytes) { return Maker(bytes).story(false); }

Story freshStoryOf(const std::vector<uint8_t>& bytes) { return Maker(bytes).story(true); }

}  // namespace model
