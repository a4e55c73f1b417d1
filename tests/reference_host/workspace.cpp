// Starts the host, and calls what it has loaded.
#include "workspace.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <mutex>

#include "reference_host/compiler/context.h"
#include "reference_host/runtime/type_registry.h"
#include "runtime_api/reflection.h"

namespace fs = std::filesystem;

Workspace::Workspace(const std::string& standardLibrary) {
  fs::current_path(folder_.path());
  orva::compiler::startHost(standardLibrary);
  EXPECT_TRUE(orva::compiler::Runtime::getInstance().addKlassPath("."));
}

Workspace::~Workspace() { fs::current_path("/"); }

void writeFile(const std::string& path, const std::string& text) {
  const fs::path folder = fs::path(path).parent_path();
  if (!folder.empty()) fs::create_directories(folder);
  std::ofstream out(path, std::ios::binary);
  out << text;
  out.close();
  EXPECT_TRUE(out.good()) << path;
}

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in.good()) << path;
  return {std::istreambuf_iterator<char>(in), {}};
}

int64_t callMethod(const std::string& fullName, const std::string& method, const std::vector<int64_t>& arguments) {
  const orva::runtime::Type* type = orva::runtime::findTypeByFullName(fullName);
  if (type == nullptr || type->find(method) == nullptr) throw std::logic_error("no method " + fullName + "." + method);
  return type->find(method)->call(arguments.data(), nullptr);
}

std::string callText(const std::string& fullName, const std::string& method, const std::vector<int64_t>& arguments) {
  return reinterpret_cast<const char*>(callMethod(fullName, method, arguments));
}

std::vector<std::size_t> typeCounts() {
  const auto registered = static_cast<std::size_t>(Reflection_getTypeCount());
  const std::lock_guard<std::mutex> lock(gReflectionMutex);
  return {registered, gTypes.size()};
}
