// Any file is read as an object of this compiler, or refused with an error that names it; nothing of it is linked.
// Each input is read twice: as it is, and with a digest that fits, so that what lies behind the digest is reached too.
#include <algorithm>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "finding.h"
#include "reference_host/compiler/context.h"
#include "reference_host/compiler/object_file.h"
#include "target.h"
#include "tests/reference_host/workspace.h"

namespace fs = std::filesystem;
using namespace orva::compiler;

extern "C" {
// libFuzzer's own mutation; the replay has none and never asks for it.
__attribute__((weak)) std::size_t LLVMFuzzerMutate(uint8_t* data, std::size_t size, std::size_t maxSize);
std::size_t LLVMFuzzerCustomMutator(uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed);
}

static constexpr std::size_t digestSize = 64;

/// Where the digits of a digest begin; npos when there are none.
static std::size_t findDigest(const std::string& bytes, const std::string& name = "digest") {
  const std::string key = "\"" + name + "\":\"";
  const std::size_t at = bytes.find(key);
  if (at == std::string::npos || at + key.size() + digestSize > bytes.size()) return std::string::npos;
  return at + key.size();
}

static std::string withDigest(std::string bytes, std::size_t at, const std::string& digest) {
  return bytes.replace(at, digestSize, digest);
}

static const std::string& noDigest() {
  static const std::string zeros(digestSize, '0');
  return zeros;
}

/// The bytes with a digest that fits them; unchanged when they have no place for one.
static std::string repaired(const std::string& bytes) {
  const std::size_t at = findDigest(bytes);
  if (at == std::string::npos) return bytes;
  return withDigest(bytes, at, objectDigest(withDigest(bytes, at, noDigest())));
}

namespace {

/// A started host in a folder of its own, and whole objects that it made there.
class Objects {
 public:
  /// The one of this process.
  static const Objects& get() {
    static const Objects objects;
    return objects;
  }

  /// The file that inputs are put into.
  const std::string& path() const { return path_; }

  const std::vector<std::string>& whole() const { return whole_; }

 private:
  Objects() : path_(workspace_.path() / "Fuzzed.o") {
    for (const char* source :
         {"class A { }", "class A { static native void orva(); }",
          "package a.b; class C { static int m() { return 1; } static native int n(); } class D { }"}) {
      const std::string file = workspace_.path() / "Whole.ov";
      writeFile(file, source);
      activeContext().loader.precompile(file);
      whole_.push_back(readFile(workspace_.path() / "Whole.o"));
    }
    // Whoever feeds inputs names them below its own working directory.
    fs::current_path(before_);
  }

  const fs::path before_ = fs::current_path();
  const Workspace workspace_;
  const std::string path_;
  std::vector<std::string> whole_;
};

}  // namespace

/// What a function throws; nothing when it throws nothing. A text that does not name the file is a finding.
template <typename Function>
static bool isRefused(const Function& function) {
  try {
    function();
  } catch (const std::runtime_error& refusal) {
    const std::string text = refusal.what();
    require(text.find(Objects::get().path()) != std::string::npos, "a refusal does not name the file: " + text);
    return true;
  }
  return false;
}

/// Reads the file. Of this version of the format, only what was written is believed.
static bool isRead(const std::string& bytes, ObjectFile& object) {
  const bool refused = isRefused([&] { object = readObject(Objects::get().path()); });
  if (refused || object.abi != currentObjectAbi) return !refused;
  require(bytes == repaired(bytes), "an object is believed whose digest does not fit");
  require(object.bytes != nullptr && object.bytes->getBuffer() == bytes, "an object has other bytes than its file");
  return true;
}

/// An object is believed to be of one source, target, dialect and version only.
static void checkValues(const ObjectFile& object) {
  const std::string target = activeContext().engine.target();
  const bool fits = object.abi == currentObjectAbi && object.dialect == currentDialect && object.target == target;
  require(isRefused([&] { checkObject(object, object.identity, target); }) != fits, "a check decides otherwise");
  require(isRefused([&] { checkObject(object, object.identity + "x", target); }), "another source is believed");
}

/// A bundle whose second object is missing is refused before anything of the first is linked.
static void checkBundle(const ObjectFile& object) {
  const std::string& path = Objects::get().path();
  const auto load = [&] { activeContext().loader.loadBundle({path, path + ".missing"}, {object.identity, ""}); };
  require(isRefused(load), "a bundle without its second object is loaded");
  require(typeCounts() == std::vector<std::size_t>{0, 0}, "a refused bundle registers a type");
}

/// A file is written over by an object of this compiler only when it is one too.
static void checkWriting(const std::string& bytes, bool isObject) {
  const std::string& whole = Objects::get().whole().front();
  std::string blank = whole;
  for (const char* name : {"digest", "layout"}) blank = withDigest(blank, findDigest(blank, name), noDigest());
  ObjectFile object;
  object.path = Objects::get().path();
  const bool refused = isRefused([&] { writeObject(object, blank); });
  require(readFile(object.path) == (refused ? bytes : whole), "a refused file is changed, or another one is not");
  require(!refused || !isObject, "an object is not written over");
  require(refused || bytes.find(".orva.object") != std::string::npos, "a file that is no object is written over");
}

static void play(const std::string& bytes) {
  writeFile(Objects::get().path(), bytes);
  ObjectFile object;
  const bool isObject = isRead(bytes, object);
  if (isObject) checkValues(object);
  checkBundle(object);
  checkWriting(bytes, isObject);
}

/// Mutates a part of the bytes in its place, so that everything around it still fits; blanks fill what is left over.
static void mutatePart(uint8_t* part, std::size_t size) {
  const std::size_t left = LLVMFuzzerMutate(part, size, size);
  std::fill(part + left, part + size, ' ');
}

int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  play(bytes);
  if (repaired(bytes) != bytes) play(repaired(bytes));
  return 0;
}

/// Begins again with a whole object, or mutates the header or anything else of the one at hand.
std::size_t LLVMFuzzerCustomMutator(uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed) {
  std::minstd_rand random(seed);
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const std::size_t begin = bytes.find("{\"");
  const std::size_t end = bytes.rfind('}');
  switch (random() % 8) {
    case 0: {
      const auto& whole = Objects::get().whole();
      const std::string& fresh = whole[random() % whole.size()];
      if (fresh.size() > maxSize) break;
      std::copy(fresh.begin(), fresh.end(), data);
      size = fresh.size();
      break;
    }
    case 1:
    case 2:
    case 3:
      if (begin == std::string::npos || end == std::string::npos || end < begin) break;
      mutatePart(data + begin, end + 1 - begin);
      return size;
    default: break;
  }
  return LLVMFuzzerMutate(data, size, maxSize);
}
