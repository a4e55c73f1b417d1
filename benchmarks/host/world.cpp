// Making and leaving the folder, and what a typical class looks like.
#include "world.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include "reference_host/compiler/context.h"

namespace fs = std::filesystem;

World::World() {
  std::string pattern = (fs::temp_directory_path() / "orva-benchmarks-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("Cannot make the directory " + pattern);
  path_ = pattern;
  fs::current_path(path_);
  fs::create_directory("shop");
  orva::compiler::startHost(STANDARD_LIBRARY);
  orva::compiler::Runtime::getInstance().addKlassPath(".");
}

World::~World() {
  fs::current_path("/");
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

void writeText(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary);
  out << text;
  out.close();
  if (!out) throw std::runtime_error("Cannot write " + path);
}

static std::string accountSource(const std::string& name) {
  return "package shop;\n\n"
         "// The account of one customer.\n"
         "public class " +
         name +
         " {\n"
         "  static int balance(int before, int paid) {\n"
         "    return before + paid;\n"
         "  }\n\n"
         "  static String describe(String owner, int amount) {\n"
         "    if (amount == 0) {\n"
         "      return owner + \" owes nothing\";\n"
         "    }\n"
         "    return owner + \" owes \" + amount;\n"
         "  }\n\n"
         "  static void check(String owner) {\n"
         "    if (owner == \"\") {\n"
         "      throw new ValueException(\"An account needs an owner\");\n"
         "    }\n"
         "  }\n\n"
         "  static ArrayList<String> statement(String owner, int before, int paid) {\n"
         "    " +
         name +
         ".check(owner);\n"
         "    int now = " +
         name +
         ".balance(before, paid);\n"
         "    return [\"Statement\", " +
         name + ".describe(owner, before), " + name +
         ".describe(owner, now)];\n"
         "  }\n\n"
         "  static String title(String owner) {\n"
         "    try {\n"
         "      return " +
         name +
         ".statement(owner, 0, 0).get(0);\n"
         "    } catch (ValueException e) {\n"
         "      return e.message();\n"
         "    }\n"
         "  }\n"
         "}\n";
}

FreshClass writeFreshClass() {
  static int count = 0;
  const std::string name = "Account" + std::to_string(count++);
  FreshClass fresh{"shop." + name, "shop/" + name + ".ov"};
  writeText(fresh.path, accountSource(name));
  return fresh;
}
