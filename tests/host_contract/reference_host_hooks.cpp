// The kit's hooks for the reference host.
#include <filesystem>
#include <stdexcept>

#include "host_contract/hooks.h"
#include "reference_host/compiler/context.h"
#include "reference_host/compiler/files.h"
#include "reference_host/compiler/object_file.h"
#include "reference_host/runtime/pending_exception.h"
#include "reference_host/runtime/type_registry.h"
#include "reference_host/runtime/values.h"

using orva::host_contract::Hooks;
using orva::host_contract::Raised;

namespace compiler = orva::compiler;
namespace runtime = orva::runtime;

/// What the program's native does. A global is enough, because each check has its own process.
static void (*nativeToCall)();

extern "C" void orva_KitsProgram_probe() { nativeToCall(); }

namespace {

class ReferenceHostHooks : public Hooks {
 public:
  void start(const std::string& folder) override {
    folder_ = folder;
    compiler::startHost(ORVA_STANDARD_LIBRARY);
  }

  std::optional<Raised> takePending() override {
    const auto pending = runtime::takePendingException();
    if (!pending) return std::nullopt;
    return Raised{pending->className, pending->message};
  }

  void* newStringList(const std::vector<const char*>& elements) override {
    runtime::ArrayList* list = runtime::newList();
    for (const char* element : elements) {
      list->elements.push_back(element == nullptr ? nullptr : runtime::newText(element));
    }
    return list;
  }

  bool callNative(void (*native)()) override {
    nativeToCall = native;
    const std::string file = folder_ + "/KitsProgram.ov";
    compiler::writeFile(file,
                        "class KitsProgram {\n"
                        "  static native void probe();\n"
                        "  static void main() { KitsProgram.probe(); }\n"
                        "}\n");
    compiler::activeContext().loader.load(file, runtime::Origin::named);
    runtime::findTypeByFullName("KitsProgram")->find("main")->call(nullptr, nullptr);
    return true;
  }

  std::string classSource(const std::string& packageName, const std::string& className) override {
    return "package " + packageName + ";\npublic class " + className + " {\n}\n";
  }

  std::string brokenSource(const std::string& packageName, const std::string& className) override {
    return classSource(packageName, className) + "class Second {\n  static int two() { return missing; }\n}\n";
  }

  std::string genericSource(const std::string& packageName, const std::string& className) override {
    return "package " + packageName + ";\npublic class " + className + "<T> {\n}\n";
  }

  std::string objectFile(const std::string& sourceFile) override { return compiler::objectPathOf(sourceFile); }

  std::string sourceIdentity(const std::string& sourceFile) override {
    return compiler::sourceIdentity(compiler::readSource(sourceFile).text);
  }

 private:
  std::string folder_;
};

}  // namespace

Hooks& orva::host_contract::hostHooks() {
  static ReferenceHostHooks hooks;
  return hooks;
}
