// Object files: what their header says, that every check is made, and that nobody ever sees a partial object.
#include "reference_host/compiler/object_file.h"

#include <elf.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <random>
#include <set>
#include <thread>

#include "changed_object.h"
#include "reference_host/compiler/context.h"
#include "tests/scripted_host/temporary_folder.h"
#include "workspace.h"

namespace fs = std::filesystem;
using orva::compiler::activeContext;
using orva::compiler::checkObject;
using orva::compiler::ObjectFile;
using orva::compiler::readObject;
using orva::compiler::sourceIdentity;
using orva::compiler::writeObject;

static const std::string identityOfNothing = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";
static const std::string source =
    "class A { static native void fail(); static String text() { return \"text\"; } }\nclass B { }\n";

/// Writes and compiles A.ov; returns the bytes of A.o.
static std::string compiled(const std::string& text = source) {
  writeFile("A.ov", text);
  activeContext().loader.precompile("A.ov");
  return readFile("A.o");
}

/// Fuzzing starts with these objects and damages them.
TEST(ObjectFile, OfTheCorpusIsOfThisFormat) {
  const Workspace workspace;
  std::size_t count = 0;
  for (const fs::directory_entry& entry : fs::directory_iterator(FUZZ_CORPUS "/object_bundle")) {
    if (entry.path().filename().string().rfind("whole_", 0) != 0) continue;
    ++count;
    const ObjectFile object = readObject(entry.path());
    checkObject(object, object.identity, object.target);
    // The process does not define the natives of the others.
    const bool isLinked = object.natives.empty() && object.target == activeContext().engine.target();
    if (isLinked) activeContext().loader.loadBundle({object.path}, {object.identity});
  }
  EXPECT_EQ(count, 4U);
}

TEST(ObjectFile, IdentitiesAreSha256) {
  EXPECT_EQ(sourceIdentity(""), identityOfNothing);
  EXPECT_EQ(sourceIdentity("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(ObjectFile, LiesBesideItsSource) {
  EXPECT_EQ(orva::compiler::objectPathOf("a/b.c/Circle.ov"), "a/b.c/Circle.o");
  EXPECT_EQ(orva::compiler::objectPathOf("A.ov.ov"), "A.ov.o");
  for (const char* path : {"", "A", "A.o", "A.OV", "A.ov/", ".ov", "a.ov/A"}) {
    EXPECT_EQ(failureOf([&] { orva::compiler::objectPathOf(path); }),
              "'" + std::string(path) + "' is not a source file: expected a class name followed by '.ov'");
  }
}

TEST(ObjectFile, HeaderTellsWhatItWasBuiltFromAndFor) {
  const Workspace workspace;
  compiled();
  const ObjectFile object = readObject("A.o");
  EXPECT_EQ(object.path, "A.o");
  EXPECT_EQ(object.identity, sourceIdentity(source));
  EXPECT_EQ(object.abi, 3);
  EXPECT_EQ(object.dialect, "1");
  EXPECT_EQ(object.target, activeContext().engine.target());
  EXPECT_EQ(object.initialisers, (std::vector<std::string>{"orva.initialise:A", "orva.initialise:B"}));
  const std::map<std::string, std::string> natives = {{"orva_A_fail", "static void fail()"}};
  EXPECT_EQ(object.natives, natives);
}

TEST(ObjectFile, EachDifferenceIsToldWithBothValues) {
  const Workspace workspace;
  compiled();
  ObjectFile object = readObject("A.o");
  const std::string target = object.target;
  checkObject(object, object.identity, target);
  EXPECT_EQ(failureOf([&] { checkObject(object, "x", target); }),
            "'A.o' was built from a different source: expected 'x', found '" + sourceIdentity(source) + "'");
  EXPECT_EQ(failureOf([&] { checkObject(object, object.identity, "moon"); }),
            "'A.o' was built for a different target: expected 'moon', found '" + target + "'");
  object.dialect = "2";
  EXPECT_EQ(failureOf([&] { checkObject(object, "x", "moon"); }),
            "'A.o' was built for a different dialect version: expected '1', found '2'");
  object.abi = 7;
  EXPECT_EQ(failureOf([&] { checkObject(object, "x", "moon"); }),
            "'A.o' was built for a different ABI version: expected '3', found '7'");
}

TEST(ObjectFile, WithAnotherHeaderIsNotLinked) {
  const Workspace workspace;
  const std::string text = "class A { }";
  const std::string target = activeContext().engine.target();
  const std::string noText = "'A.o' is damaged: its header has no text ";
  const std::vector<std::array<std::string, 3>> changes = {
      {"\"abi\":3", "\"abi\":1", "'A.o' was built for a different ABI version: expected '3', found '1'"},
      {"\"dialect\":\"1\"", "\"dialect\":\"0\"",
       "'A.o' was built for a different dialect version: expected '1', found '0'"},
      {"\"target\":\"" + target, "\"target\":\"z" + target.substr(1),
       "'A.o' was built for a different target: expected '" + target + "', found 'z" + target.substr(1) + "'"},
      {"\"identity\":", "\"xdentity\":", noText + "'identity'"},
      {"\"target\":", "\"xarget\":", noText + "'target'"},
      {"\"dialect\":", "\"xialect\":", noText + "'dialect'"},
      {"\"initialisers\":", "\"xnitialisers\":", "'A.o' is damaged: its header has no list 'initialisers'"},
      {"\"natives\":", "\"xatives\":", "'A.o' is damaged: its header has no object 'natives'"},
      {"[\"orva.initialise:A\"", "[\"orva.initialise:X\"", refersTo("orva.initialise:X")},
  };
  for (const auto& [from, to, message] : changes) {
    compiled(text);
    changeObject("A.o", from, to);
    EXPECT_EQ(loadingFails(text), message);
  }
}

TEST(ObjectFile, AHeaderThatIsNestedTooDeeplyIsDamaged) {
  const Workspace workspace;
  std::string bytes = compiled();
  const std::size_t begin = bytes.find("{\"");
  const std::size_t end = bytes.find('}', bytes.find("\"target\":")) + 1;
  writeFile("A.o", bytes.replace(begin, end - begin, end - begin, '['));
  EXPECT_EQ(failureOf([] { readObject("A.o"); }), "'A.o' is damaged: its header is nested too deeply");
}

TEST(ObjectFile, AHeaderThatIsNoJsonObjectIsDamaged) {
  const Workspace workspace;
  std::string bytes = compiled();
  const std::size_t header = bytes.find("{\"abi\":");
  const std::size_t size = bytes.find('}', bytes.find("\"target\":")) + 1 - header;
  writeFile("A.o", bytes.replace(header, size, "7" + std::string(size - 1, ' ')));
  EXPECT_EQ(loadingFails(source), "'A.o' is damaged: its header is not a JSON object");
}

TEST(ObjectFile, ADigestThatIsNotSpelledAsItWasWrittenIsDamaged) {
  const Workspace workspace;
  compiled();
  std::string bytes = readFile("A.o");
  replaceOnce(bytes, "\"digest\":\"", "\"digest\": \"");
  bytes.erase(bytes.find('"', bytes.find("\"digest\": \"") + 11) - 1, 1);
  writeFile("A.o", bytes);
  EXPECT_EQ(loadingFails(source), "'A.o' is damaged: the digest is missing");
}

TEST(ObjectFile, IsNotWrittenFromWhatIsNone) {
  const Workspace workspace;
  ObjectFile object;
  object.path = "A.o";
  EXPECT_EQ(failureOf([&] { writeObject(object, "text"); }), "the digest is missing");
  EXPECT_FALSE(fs::exists("A.o"));
}

TEST(ObjectFile, EveryByteThatChangedIsFound) {
  const Workspace workspace;
  const std::string whole = compiled();
  const std::string identity = readObject("A.o").identity;
  const std::string target = activeContext().engine.target();
  for (std::size_t at = 0; at < whole.size(); ++at) {
    std::string bytes = whole;
    bytes[at] = static_cast<char>(bytes[at] ^ (1 << at % 8));
    writeFile("A.o", bytes);
    // Only the ABI version is used before the digest is checked, and a different version is found too.
    ASSERT_NE(failureOf([&] { checkObject(readObject("A.o"), identity, target); }), "nothing") << "byte " << at;
  }
}

/// The bytes that say where everything is, which are the ELF header without the magic number and the section table.
static std::vector<std::size_t> layoutBytes(const std::string& bytes) {
  uint64_t table = 0;
  std::memcpy(&table, &bytes[offsetof(Elf64_Ehdr, e_shoff)], sizeof table);
  std::vector<std::size_t> places;
  for (std::size_t at = SELFMAG; at < sizeof(Elf64_Ehdr); ++at) places.push_back(at);
  for (std::size_t at = table; at < bytes.size(); ++at) places.push_back(at);
  return places;
}

/// Writes A.o with a matching digest of the whole file, and returns the error from loading it.
static std::string refusalOf(const std::string& bytes) {
  const std::string blank = withDigits(bytes, "digest", noDigits());
  writeFile("A.o", withDigits(bytes, "digest", orva::compiler::objectDigest(blank)));
  return failureOf([] { activeContext().loader.loadBundle({"A.o"}, {sourceIdentity(source)}); });
}

TEST(ObjectFile, EveryChangeOfTheLayoutIsRefusedThoughTheDigestFits) {
  const Workspace workspace;
  const std::string whole = compiled();
  for (const std::size_t at : layoutBytes(whole)) {
    // One bit, a different one from byte to byte, and all bits.
    for (const int bits : {1 << at % 8, 0xFF}) {
      std::string bytes = whole;
      bytes[at] = static_cast<char>(bytes[at] ^ bits);
      const std::string refusal = refusalOf(bytes);
      // Some leave nothing that can be read as an object.
      ASSERT_EQ(refusal.rfind("'A.o' is ", 0), 0U) << "byte " << at << ", bits " << bits << ": " << refusal;
    }
  }
  EXPECT_EQ(typeCounts(), (std::vector<std::size_t>{0, 0}));
}

TEST(ObjectFile, RandomChangesOfTheLayoutAreRefusedThoughTheDigestFits) {
  const Workspace workspace;
  const std::string whole = compiled();
  const std::vector<std::size_t> places = layoutBytes(whole);
  std::minstd_rand random(1);
  const auto below = [&random](std::size_t size) {
    return std::uniform_int_distribution<std::size_t>(0, size - 1)(random);
  };
  for (int round = 0; round < 3000; ++round) {
    std::string bytes = whole;
    // Runs of up to eight bytes, the size of a field, with one value and with random values.
    for (std::size_t changes = 1 + below(4); changes > 0; --changes) {
      const std::size_t first = below(places.size());
      const std::size_t end = std::min(first + 1 + below(8), places.size());
      const auto filler = static_cast<char>(below(256));
      for (std::size_t i = first; i < end; ++i)
        bytes[places[i]] = round % 2 == 0 ? filler : static_cast<char>(below(256));
    }
    if (bytes == whole) continue;
    const std::string refusal = refusalOf(bytes);
    ASSERT_EQ(refusal.rfind("'A.o' is ", 0), 0U) << "round " << round << ": " << refusal;
  }
  EXPECT_EQ(typeCounts(), (std::vector<std::size_t>{0, 0}));
}

TEST(ObjectFile, IsDamagedWhenItIsCutShortWhileItIsRead) {
  const Workspace workspace;
  // Large enough for LLVM to map it.
  std::string methods;
  for (int i = 0; i < 300; ++i) methods += "static int m" + std::to_string(i) + "(int a) { return a + 1; }\n";
  const std::string whole = compiled("class A { " + methods + " }");
  ASSERT_GT(whole.size(), 100000U);
  std::atomic<bool> isOver{false};
  std::thread cutter([&] {
    while (!isOver) {
      writeFile("A.o", whole);
      for (std::size_t size = whole.size(); size > 0 && !isOver; size /= 2) fs::resize_file("A.o", size);
    }
  });
  std::set<std::string> seen;
  for (int round = 0; round < 500; ++round) {
    seen.insert(failureOf([] { readObject("A.o"); }).substr(0, 9));
  }
  isOver = true;
  cutter.join();
  // Damaged, or no object at all, such as an empty file.
  seen.erase("nothing");
  EXPECT_EQ(seen, std::set<std::string>{"'A.o' is "});
  // What was read stays readable, whatever happens to the file.
  writeFile("A.o", whole);
  const ObjectFile object = readObject("A.o");
  fs::resize_file("A.o", 0);
  EXPECT_EQ(object.bytes->getBuffer(), whole);
}

TEST(ObjectFile, IsNotWrittenOverWhatIsNotOurs) {
  const Workspace workspace;
  const std::string bytes = compiled();
  const std::string refused = "'A.o' is not an object of this compiler, and was not overwritten";
  const auto compile = [] { activeContext().loader.precompile("A.ov"); };
  std::string foreign = bytes;
  replaceOnce(foreign, ".orva.object", ".orva.things");
  for (const std::string& text : {std::string(), std::string("text"), foreign}) {
    writeFile("A.o", text);
    EXPECT_EQ(failureOf(compile), refused);
    EXPECT_EQ(readFile("A.o"), text);
  }
  fs::remove("A.o");
  fs::create_directory("A.o");
  EXPECT_EQ(failureOf(compile), refused);
  fs::remove("A.o");
  ASSERT_EQ(mkfifo("A.o", S_IRUSR | S_IWUSR), 0);
  EXPECT_EQ(failureOf(compile), refused);
  fs::remove("A.o");
  fs::create_symlink("nowhere", "A.o");
  EXPECT_EQ(failureOf(compile), refused);
  EXPECT_FALSE(fs::exists("nowhere"));
  fs::remove("A.o");
  fs::create_symlink("A.o", "A.o");
  EXPECT_EQ(failureOf(compile), "Cannot read 'A.o': Too many levels of symbolic links");
}

TEST(ObjectFile, ThatMayNotBeReadIsNotCalledAForeignOne) {
  const Workspace workspace;
  compiled();
  fs::permissions(".", fs::perms::owner_all | fs::perms::group_all | fs::perms::others_all);
  fs::permissions("A.o", fs::perms::none);
  const WithoutRights nobody;
  EXPECT_EQ(failureOf([] { activeContext().loader.precompile("A.ov"); }), "Cannot read 'A.o': Permission denied");
  EXPECT_EQ(failureOf([] { readObject("A.o"); }), "Cannot read 'A.o': Permission denied");
}

TEST(ObjectFile, TakesThePlaceOfALinkAndNotOfWhatItLeadsTo) {
  const Workspace workspace;
  const std::string whole = compiled();
  writeFile("B.ov", "class B { }");
  fs::rename("A.o", "Elsewhere.o");
  fs::create_symlink("Elsewhere.o", "B.o");
  activeContext().loader.precompile("B.ov");
  EXPECT_FALSE(fs::is_symlink("B.o"));
  EXPECT_EQ(readFile("Elsewhere.o"), whole);
}

TEST(ObjectFile, IsWrittenOverADamagedOneOfOurs) {
  const Workspace workspace;
  const std::string whole = compiled();
  std::string damaged = whole;
  damaged[damaged.find("\"digest\":\"") + 10] = 'x';
  writeFile("A.o", damaged);
  EXPECT_EQ(failureOf([] { readObject("A.o"); }), "'A.o' is damaged: its bytes have changed since it was written");
  EXPECT_EQ(compiled(), whole);
}

TEST(ObjectFile, EveryTruncationIsFoundAndIsNotWrittenOver) {
  const Workspace workspace;
  const std::string whole = compiled();
  const std::string foreign = "'A.o' is not an object of this compiler";
  const std::string advice = "; it was not overwritten: delete it to have it rebuilt";
  for (std::size_t size = 0; size < whole.size(); ++size) {
    writeFile("A.o", whole.substr(0, size));
    const std::string read = failureOf([] { readObject("A.o"); });
    ASSERT_NE(read, "nothing") << size;
    if (size > 100 && size % 50 != 0) continue;
    const bool isForeign = read.substr(0, foreign.size()) == foreign;
    ASSERT_EQ(isForeign, size < 4) << size;
    ASSERT_EQ(failureOf([] { activeContext().loader.precompile("A.ov"); }),
              isForeign ? foreign + ", and was not overwritten" : read + advice)
        << size;
    ASSERT_EQ(readFile("A.o"), whole.substr(0, size));
  }
}

TEST(ObjectFile, ThatCannotBeWrittenLeavesTheOldOneAndNothingElse) {
  const Workspace workspace;
  writeFile("sealed/A.ov", "package sealed; class A { }");
  const auto compile = [] { activeContext().loader.precompile("sealed/A.ov"); };
  compile();
  const std::string before = readFile("sealed/A.o");
  constexpr auto readOnly = static_cast<fs::perms>(0555);
  fs::permissions("sealed", readOnly);
  fs::permissions(".", readOnly);
  {
    const WithoutRights nobody;
    EXPECT_EQ(failureOf(compile), "Cannot write 'sealed/A.o': Permission denied");
  }
  fs::permissions("sealed", fs::perms::owner_all);
  fs::permissions(".", fs::perms::owner_all);
  EXPECT_EQ(readFile("sealed/A.o"), before);
  EXPECT_EQ(std::distance(fs::directory_iterator("sealed"), fs::directory_iterator()), 2);
}

TEST(ObjectFile, AKilledWriterLeavesNoHalfObject) {
  const Workspace workspace;
  const std::string whole = compiled();
  for (int round = 0; round < 20; ++round) {
    const pid_t child = fork();
    if (child == 0) {
      for (;;) activeContext().loader.precompile("A.ov");
    }
    usleep(static_cast<useconds_t>(3000 * (round + 1)));
    kill(child, SIGKILL);
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    ASSERT_EQ(readFile("A.o"), whole);
  }
  // What a killed writer may have left beside the object does no harm.
  EXPECT_EQ(compiled(), whole);
}
