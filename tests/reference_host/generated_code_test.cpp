// What the code generator hands to LLVM.
#include <gtest/gtest.h>
#include <llvm/IR/InstrTypes.h>
#include <llvm/IR/LLVMContext.h>
#include <llvm/IR/Module.h>
#include <llvm/IR/Verifier.h>
#include <llvm/Support/raw_ostream.h>

#include <algorithm>

#include "reference_host/compiler/class_generator.h"
#include "reference_host/compiler/class_path.h"
#include "reference_host/language/parser.h"

using namespace orva;

/// A class `A` with a method that contains these statements.
static std::string classWith(const std::string &statements) {
  return "class A {\n"
         "  static String f() { return \"f\"; }\n"
         "  static void run(Type type, ArrayList<String> list, String x) {\n"
         "    boolean b = true; String s = x; int i = 0;\n" +
         statements + "  }\n}\n";
}

static std::string times(int count, const std::string &text) {
  std::string all;
  for (int i = 0; i < count; ++i) {
    std::string each = text;
    for (std::size_t at = each.find('#'); at != std::string::npos; at = each.find('#')) {
      each.replace(at, 1, std::to_string(i));
    }
    all += each;
  }
  return all;
}

/// The most calls in one basic block of the class. Also checks that LLVM finds the code well-formed: above all, each
/// call of an operation passes values of the machine types that its function takes.
static std::size_t mostCallsInBlock(const std::string &text) {
  const language::SourceText source{"A.ov", text};
  const language::SourceFile file = language::parseSource(source);
  const compiler::ClassPath classPath("");
  const compiler::ClassCatalog catalog(classPath, file);
  llvm::LLVMContext context;
  std::vector<language::Diagnostic> diagnostics;
  const auto generated =
      compiler::generateClass({source, file, file.classes.front(), {}}, catalog, context, diagnostics);
  EXPECT_TRUE(diagnostics.empty()) << diagnostics.front().message;
  EXPECT_FALSE(llvm::verifyModule(*generated.module, &llvm::errs()));
  std::size_t most = 0;
  for (const llvm::Function &function : *generated.module) {
    for (const llvm::BasicBlock &block : function) {
      const auto isCall = [](const llvm::Instruction &each) { return llvm::isa<llvm::CallBase>(each); };
      most = std::max(most, static_cast<std::size_t>(std::count_if(block.begin(), block.end(), isCall)));
    }
  }
  return most;
}

// LLVM's time for a block is quadratic in the number of its calls.
TEST(GeneratedCode, HasNoBlockOfManyCallsWhateverAMethodIsMadeOf) {
  constexpr int many = 2000;
  for (const std::string each :
       {"s = \"a\" + x;\n", "String v# = \"\" + #;\n", "list.add(x);\n", "type.call(\"f\");\n", "b = x == \"q\";\n",
        "A.f();\n", "s = A.f();\n", "late.B.f();\n", "i = late.B.f() + 1;\n", "late.B.f().g();\n",
        "if (b) { s = A.f(); }\n", "try { A.f(); } catch (Exception e) { A.f(); }\n",
        "try { throw new Odd(x); } catch (Odd odd) { }\n"}) {
    EXPECT_LE(mostCallsInBlock(classWith(times(many, each))), 70U) << each;
    EXPECT_LE(mostCallsInBlock(
                  classWith("try {" + times(many, each) + "} catch (Exception other) {" + times(many, each) + "}")),
              70U)
        << each;
  }
  EXPECT_LE(mostCallsInBlock(classWith("s = x" + times(many, " + x") + ";")), 70U);
  EXPECT_LE(mostCallsInBlock(classWith("list = [x" + times(many, ", x") + "];")), 70U);
  EXPECT_LE(mostCallsInBlock(classWith("late.B.f()" + times(many, ".g()") + ";")), 70U);
}
