// Makes and leaves the folder, and writes typical classes into it.
#include "world.h"

#include <filesystem>
#include <fstream>
#include <regex>
#include <stdexcept>

#include "reference_host/compiler/context.h"

namespace fs = std::filesystem;

World::World() {
  fs::current_path(folder_.path());
  fs::create_directory("shop");
  orva::compiler::startHost(STANDARD_LIBRARY);
  orva::compiler::Runtime::getInstance().addKlassPath(".");
}

World::~World() { fs::current_path("/"); }

void writeText(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary);
  out << text;
  out.close();
  if (!out) throw std::runtime_error("Cannot write " + path);
}

/// A typical class, with `NAME` in place of its name.
static constexpr const char* accountSource = R"(package shop;

// The account of one customer.
public class NAME {
  static int balance(int before, int paid) {
    return before + paid;
  }

  static String describe(String owner, int amount) {
    if (amount == 0) {
      return owner + " owes nothing";
    }
    return owner + " owes " + amount;
  }

  static void check(String owner) {
    if (owner == "") {
      throw new ValueException("An account needs an owner");
    }
  }

  static ArrayList<String> statement(String owner, int before, int paid) {
    NAME.check(owner);
    int now = NAME.balance(before, paid);
    return ["Statement", NAME.describe(owner, before), NAME.describe(owner, now)];
  }

  static String title(String owner) {
    try {
      return NAME.statement(owner, 0, 0).get(0);
    } catch (ValueException e) {
      return e.message();
    }
  }
}
)";

FreshClass writeFreshClass() {
  static int count = 0;
  const std::string name = "Account" + std::to_string(count++);
  FreshClass fresh{"shop." + name, "shop/" + name + ".ov"};
  writeText(fresh.path, std::regex_replace(accountSource, std::regex("NAME"), name));
  return fresh;
}
