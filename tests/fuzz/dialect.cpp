// Any text must compile to a module that LLVM accepts, or be refused with diagnostics that point into it.
#include <llvm/IR/LLVMContext.h>
#include <llvm/IR/Module.h>
#include <llvm/IR/Verifier.h>
#include <llvm/Linker/Linker.h>
#include <llvm/Support/raw_ostream.h>

#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>
#include <vector>

#include "finding.h"
#include "reference_host/compiler/class_catalog.h"
#include "reference_host/compiler/class_generator.h"
#include "reference_host/language/parser.h"
#include "reference_host/language/printable_text.h"
#include "target.h"

using namespace orva::compiler;
using namespace orva::language;

static std::vector<std::string_view> splitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  for (std::size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
    lines.push_back(text.substr(0, end));
    text.remove_prefix(end + 1);
  }
  lines.push_back(text);
  return lines;
}

/// Removes `prefix` from the start of a text; returns false if the text does not begin with it.
static bool take(std::string_view& text, std::string_view prefix) {
  if (text.substr(0, prefix.size()) != prefix) return false;
  text.remove_prefix(prefix.size());
  return true;
}

/// Removes a number from the start of a text and returns it; 0 if the text does not begin with one.
static std::size_t takeNumber(std::string_view& text) {
  std::size_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return error == std::errc() ? number : 0;
}

/// Returns a line without the carriage return at its end.
static std::string_view trimmed(std::string_view line) {
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

/// Tells whether a diagnostic shows a line as it is, neither cut nor escaped.
static bool isPlain(std::string_view line) {
  const auto isPrintable = [](char byte) { return byte == '\t' || (byte >= ' ' && byte <= '~'); };
  const auto tabs = static_cast<std::size_t>(std::count(line.begin(), line.end(), '\t'));
  return line.size() + 7 * tabs <= 120 && std::all_of(line.begin(), line.end(), isPrintable);
}

/// Returns whitespace and a caret below the column.
static std::string caret(std::string_view line, std::size_t column) {
  std::string text(line.substr(0, column - 1));
  std::replace_if(text.begin(), text.end(), [](char byte) { return byte != '\t'; }, ' ');
  return text + '^';
}

/// Checks the line that a diagnostic shows, and the caret below it.
static void checkExcerpt(std::string_view line, std::size_t column, std::string_view shown, std::string_view mark) {
  require(take(shown, "  ") && take(mark, "  ") && !mark.empty() && mark.back() == '^',
          "a diagnostic lacks its line, or the caret below it");
  if (isPlain(line)) {
    require(shown == line, "a diagnostic shows another line: " + std::string(shown));
    require(mark == caret(line, column), "a caret is at another column: " + std::string(mark));
  }
  // 120 characters of four bytes, with a mark on either side.
  constexpr std::size_t mostBytes = 488;
  require(shown.size() <= mostBytes && mark.size() <= 123, "a diagnostic shows too much of a line");
}

/// Checks that a refusal is printable, and that it has a block of three lines for each of the first 20 errors (place
/// and message, line, caret) and one line that counts the others.
static void checkRefusal(const SourceText& source, const std::string& refusal) {
  require(refusal == printable(refusal, "\n\t"), "a diagnostic is not printable:\n" + refusal);
  std::vector<std::string_view> blocks = splitLines(refusal);
  const std::vector<std::string_view> lines = splitLines(std::string_view(source.text).substr(source.start()));
  if (blocks.size() == 3 * 20 + 1 && take(blocks.back(), "and ") && takeNumber(blocks.back()) > 0) blocks.pop_back();
  require(blocks.size() % 3 == 0 && blocks.size() <= 60, "a diagnostic is not three lines:\n" + refusal);
  for (std::size_t i = 0; i < blocks.size(); i += 3) {
    std::string_view head = blocks[i];
    require(take(head, source.path + ":"), "a diagnostic does not name the file:\n" + refusal);
    const std::size_t line = takeNumber(head);
    const std::size_t column = take(head, ":") ? takeNumber(head) : 0;
    require(take(head, ": error: ") && !head.empty(), "a diagnostic has no message:\n" + refusal);
    require(line >= 1 && line <= lines.size(), "a diagnostic points to no line:\n" + refusal);
    const std::string_view text = lines[line - 1];
    require(column >= 1 && column <= text.size() + 1, "a diagnostic points past the end of its line:\n" + refusal);
    checkExcerpt(trimmed(text), column, blocks[i + 1], blocks[i + 2]);
  }
}

static void verify(const llvm::Module& module) {
  std::string problem;
  llvm::raw_string_ostream out(problem);
  if (!llvm::verifyModule(module, &out)) return;
  module.print(out, nullptr);
  finding("LLVM refuses the module: " + out.str());
}

/// Returns instances of the file's generic classes. Their arguments are built-in types, classes and other instances.
static std::vector<ClassInput> instances(const SourceText& source, const SourceFile& file) {
  static const std::vector<TypeName> arguments = {
      {"int", {}, {}}, {"orva.Console", {}, {}}, {"Box", {{"String", {}, {}}}, {}}};
  std::vector<ClassInput> all;
  for (const ClassDeclaration& declared : file.classes) {
    for (std::size_t first = 0; !declared.typeParameters.empty() && first < arguments.size(); ++first) {
      all.push_back({source, file, declared, {}});
      while (all.back().arguments.size() < declared.typeParameters.size()) {
        all.back().arguments.push_back(arguments[(first + all.back().arguments.size()) % arguments.size()]);
      }
    }
  }
  return all;
}

/// Generates all classes of a file and instances of the generic ones, and links them as for an object file. Throws
/// `SourceError`.
static void compile(const SourceText& source, const SourceFile& file, const ClassCatalog& catalog) {
  llvm::LLVMContext context;
  std::vector<Diagnostic> diagnostics;
  std::vector<GeneratedClass> classes;
  std::vector<ClassInput> inputs = instances(source, file);
  for (const ClassDeclaration& declared : file.classes) inputs.push_back({source, file, declared, {}});
  for (const ClassInput& input : inputs) classes.push_back(generateClass(input, catalog, context, diagnostics));
  if (!diagnostics.empty()) throw SourceError(source, diagnostics);
  llvm::Module whole(source.path, context);
  for (GeneratedClass& generated : classes) {
    verify(*generated.module);
    require(generated.module->getFunction(generated.initialiser) != nullptr, "no function " + generated.initialiser);
    require(!llvm::Linker::linkModules(whole, std::move(generated.module)), "the classes cannot be linked");
  }
  verify(whole);
}

static void play(const SourceText& source) {
  static ClassPath classPath(ORVA_STANDARD_LIBRARY);
  try {
    const SourceFile file = parseSource(source);
    compile(source, file, ClassCatalog(classPath, file));
  } catch (const SourceError& refusal) {
    checkRefusal(source, refusal.what());
  }
}

int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  play({"Fuzzed.ov", {reinterpret_cast<const char*>(data), size}});
  return 0;
}
