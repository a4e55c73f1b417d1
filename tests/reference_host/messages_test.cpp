// How messages show paths: whatever bytes a path contains, the message stays on one line and cannot control a terminal.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>

#include "reference_host/compiler/context.h"
#include "reference_host/compiler/files.h"
#include "reference_host/compiler/object_file.h"
#include "reference_host/compiler/private_folder.h"
#include "reference_host/language/printable_text.h"
#include "workspace.h"

namespace fs = std::filesystem;
namespace compiler = orva::compiler;
using compiler::activeContext;

static const std::string folder = "a\nb\x1B[31m\xFF\u202E/";

/// Compiles a class of the folder to an object.
static compiler::ObjectFile objectOf(const std::string& file, const std::string& text) {
  writeFile(folder + file + ".ov", text);
  activeContext().loader.precompile(folder + file + ".ov");
  return compiler::readObject(folder + file + ".o");
}

static void loadOneClassTwice() {
  const std::string one = objectOf("One", "class Same { }").identity;
  const std::string two = objectOf("Two", "class Same { } ").identity;
  activeContext().loader.loadBundle({folder + "One.o", folder + "Two.o"}, {one, two});
}

static void loadUnknownNative() {
  const std::string identity = objectOf("Native", "class Native { static native void nowhere(); }").identity;
  activeContext().loader.loadBundle({folder + "Native.o"}, {identity});
}

static const std::map<std::string, std::function<void()>> failures = {
    {"reading nothing", [] { compiler::readFile(folder + "absent"); }},
    {"reading a folder", [] { compiler::readFile(folder); }},
    {"writing", [] { compiler::writeFile(folder + "absent/file", ""); }},
    {"loading nothing", [] { activeContext().loader.load(folder + "Absent.ov", orva::runtime::Origin::named); }},
    {"a wrong extension", [] { activeContext().loader.precompile(folder + "Source.txt"); }},
    {"a foreign object", [] { objectOf("Foreign", "class Foreign { }"); }},
    {"no object", [] { compiler::readObject(folder + "Foreign.o"); }},
    {"a damaged object", [] { compiler::readObject(folder + "Damaged.o"); }},
    {"another source",
     [] { compiler::checkObject(objectOf("A", "class A { }"), "other", activeContext().engine.target()); }},
    {"one class twice", loadOneClassTwice},
    {"an unknown native", loadUnknownNative},
    {"a root", [] { activeContext().classPath.add(folder + "loop"); }},
    {"the temporary folder", [] { compiler::privateFolder(); }},
};

TEST(Messages, ShowPathsInOneLine) {
  const Workspace workspace;
  writeFile(folder + "Foreign.o", "text");
  writeFile(folder + "Damaged.o",
            "\x7F"
            "ELF");
  fs::create_symlink("loop", folder + "loop");
  setenv("TMPDIR", (folder + "absent").c_str(), 1);
  for (const auto& [name, fail] : failures) {
    const std::string message = failureOf(fail);
    EXPECT_EQ(message, orva::language::printable(message)) << name;
    EXPECT_NE(message.find("a\\nb\\x1B[31m\\xFF\\u202E/"), std::string::npos) << name << ": " << message;
  }
}
