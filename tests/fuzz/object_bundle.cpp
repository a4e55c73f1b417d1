// Any file must be read as an object of this compiler, or be refused with an error that names it; none is linked.
// Each input is read twice: as it is, and with a correct digest, to reach the code after the check of the digest.
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
// libFuzzer's own mutation. It is weak because the replay does not define it, and never calls it.
__attribute__((weak)) std::size_t LLVMFuzzerMutate(uint8_t* data, std::size_t size, std::size_t maxSize);
std::size_t LLVMFuzzerCustomMutator(uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed);
}

static constexpr std::size_t digestSize = 64;

/// Returns where the digits of a digest begin, or npos if there are none.
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

/// Returns the bytes with their correct digest, or unchanged if they have no place for one.
static std::string repaired(const std::string& bytes) {
  const std::size_t at = findDigest(bytes);
  if (at == std::string::npos) return bytes;
  return withDigest(bytes, at, objectDigest(withDigest(bytes, at, noDigest())));
}

namespace {

/// A host that was started in its own folder, and complete objects that it built there.
class Objects {
 public:
  /// The one of this process.
  static const Objects& get() {
    static const Objects objects;
    return objects;
  }

  /// The file that inputs are written to.
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
    // libFuzzer and the replay name inputs relative to the working directory in which they were started.
    fs::current_path(before_);
  }

  const fs::path before_ = fs::current_path();
  const Workspace workspace_;
  const std::string path_;
  std::vector<std::string> whole_;
};

}  // namespace

/// Tells whether a function throws a `std::runtime_error`. A text that does not name the file is a finding.
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

/// Reads the file. An object of the current ABI version may only be accepted if its digest is correct.
static bool isRead(const std::string& bytes, ObjectFile& object) {
  const bool refused = isRefused([&] { object = readObject(Objects::get().path()); });
  if (refused || object.abi != currentObjectAbi) return !refused;
  require(bytes == repaired(bytes), "an object with a wrong digest is accepted");
  require(object.bytes != nullptr && object.bytes->getBuffer() == bytes, "an object has other bytes than its file");
  return true;
}

/// Checks that an object is accepted for one source, target, dialect and version only.
static void checkValues(const ObjectFile& object) {
  const std::string target = activeContext().engine.target();
  const bool fits = object.abi == currentObjectAbi && object.dialect == currentDialect && object.target == target;
  require(isRefused([&] { checkObject(object, object.identity, target); }) != fits,
          fits ? "an object that fits is refused" : "an object that does not fit is accepted");
  require(isRefused([&] { checkObject(object, object.identity + "x", target); }), "another source is accepted");
}

/// Checks that a bundle whose second object is missing is refused before the first is linked.
static void checkBundle(const ObjectFile& object) {
  const std::string& path = Objects::get().path();
  const auto load = [&] { activeContext().loader.loadBundle({path, path + ".missing"}, {object.identity, ""}); };
  require(isRefused(load), "a bundle without its second object is loaded");
  require(typeCounts() == std::vector<std::size_t>{0, 0}, "a refused bundle registers a type");
}

/// Checks that writing an object overwrites only objects of this compiler.
static void checkWriting(const std::string& bytes, bool isObject) {
  const std::string& whole = Objects::get().whole().front();
  std::string blank = whole;
  for (const char* name : {"digest", "layout"}) blank = withDigest(blank, findDigest(blank, name), noDigest());
  ObjectFile object;
  object.path = Objects::get().path();
  const bool refused = isRefused([&] { writeObject(object, blank); });
  require(readFile(object.path) == (refused ? bytes : whole), "a refused file is changed, or another one is not");
  require(!refused || !isObject, "an object is not overwritten");
  require(refused || bytes.find(".orva.object") != std::string::npos, "a file that is not an object is overwritten");
}

static void play(const std::string& bytes) {
  writeFile(Objects::get().path(), bytes);
  ObjectFile object;
  const bool isObject = isRead(bytes, object);
  if (isObject) checkValues(object);
  checkBundle(object);
  checkWriting(bytes, isObject);
}

/// Mutates a part of the bytes in place and pads it with blanks, so that everything around it stays where it is.
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

/// Starts over with a complete object, or mutates the header or any other part of this one.
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
