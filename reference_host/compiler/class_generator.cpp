// Methods, natives, invokers, and the descriptor that the initialiser passes to the registry.
#include "reference_host/compiler/class_generator.h"

#include "reference_host/compiler/method_generator.h"
#include "reference_host/compiler/module_builder.h"
#include "reference_host/compiler/native_methods.h"
#include "reference_host/language/foreign_constructs.h"

namespace orva::compiler {

using language::ClassDeclaration;
using language::MethodDeclaration;
using language::SourceFile;
using language::TypeName;
using runtime::MethodSignature;

static constexpr std::string_view initialiserPrefix = "orva.initialise:";

std::string classOfInitialiser(const std::string& symbol) {
  const bool isOurs = symbol.compare(0, initialiserPrefix.size(), initialiserPrefix) == 0;
  return isOurs ? symbol.substr(initialiserPrefix.size()) : symbol;
}

namespace {

class ClassGenerator {
 public:
  ClassGenerator(const ClassInput& input, const ClassCatalog& catalog, llvm::LLVMContext& context,
                 std::vector<language::Diagnostic>& diagnostics)
      : file_(input.file),
        declared_(input.declared),
        name_{input.declared.name, input.arguments, {}},
        builder_(file_.qualify(name_.text()), input.source, file_, context),
        scope_{Scope::of(file_, declared_, input.arguments),
               file_.qualify(name_.text()),
               catalog,
               builder_,
               {},
               diagnostics,
               {file_.qualify(name_.text()), {}}} {}

  GeneratedClass generate() {
    GeneratedClass generated;
    generated.fullName = scope_.fullName;
    generated.initialiser = std::string(initialiserPrefix) + scope_.fullName;
    const bool isCalled = isInstance() || declared_.typeParameters.empty();
    if (hasOwnNames() && isCalled) {
      summarise();
      for (const MethodSignature& signature : signatures_) addFunction(signature);
      for (std::size_t i = 0; i < signatures_.size(); ++i) generateMethod(i, generated.natives);
    }
    buildInitialiser(generated.initialiser);
    generated.module = builder_.take();
    return generated;
  }

 private:
  bool isInstance() const { return !name_.arguments.empty(); }

  /// Refuses a class if it or one of its parameters has the name of a built-in type: nobody could tell which of them is
  /// meant.
  bool hasOwnNames() {
    const std::size_t before = scope_.diagnostics.size();
    const auto refuse = [this](const std::string& name, language::Position position, const char* what) {
      if (!runtime::isBuiltInName(name)) return;
      scope_.diagnostics.push_back({position, "'" + name + "' is a built-in type: " + what});
    };
    refuse(declared_.name, declared_.position, "choose another name for the class");
    for (const language::TypeParameter& parameter : declared_.typeParameters) {
      refuse(parameter.name, parameter.position, "choose another name for the type parameter");
    }
    return scope_.diagnostics.size() == before;
  }

  void summarise() {
    for (const MethodDeclaration& method : declared_.methods) {
      signatures_.push_back(scope_.catalog.signatureOf(method, scope_.names));
      scope_.own.methods.emplace(method.name, signatures_.back());
    }
  }

  void addFunction(const MethodSignature& signature) {
    scope_.functions[signature.name] =
        builder_.addFunction(builder_.functionType(signature), "method:" + scope_.fullName + "." + signature.name);
  }

  void generateMethod(std::size_t index, std::vector<NativeBinding>& natives) {
    const MethodDeclaration& method = declared_.methods[index];
    if (!hasKnownTypes(method)) return;
    if (!method.isNative) {
      MethodGenerator(scope_, method, signatures_[index]).generate();
      return;
    }
    if (isInstance()) {
      scope_.diagnostics.push_back({method.position, "a generic class cannot have native methods"});
      return;
    }
    natives.push_back({scope_.fullName + "." + method.name, nativeSymbol(declared_.name, method.name),
                       describe(signatures_[index]), method.position});
    generateNative(signatures_[index], natives.back().symbol);
  }

  bool hasKnownTypes(const MethodDeclaration& method) {
    const std::size_t before = scope_.diagnostics.size();
    requireType(method.result);
    for (const language::Parameter& parameter : method.parameters) {
      requireType(parameter.type);
      if (parameter.type.text() == "void") {
        scope_.diagnostics.push_back({parameter.type.position, "a parameter cannot be void"});
      }
    }
    return scope_.diagnostics.size() == before;
  }

  void requireType(const TypeName& type) {
    if (!scope_.catalog.resolveType(type, scope_.names)) {
      scope_.diagnostics.push_back({type.position, scope_.catalog.problemWith(type, scope_.names)});
    }
  }

  llvm::BasicBlock* entryOf(llvm::Function* function) {
    return llvm::BasicBlock::Create(builder_.module().getContext(), "entry", function);
  }

  /// Calls the C function and throws the exception that it left pending, if any.
  void generateNative(const MethodSignature& signature, const std::string& symbol) {
    llvm::Function* function = scope_.functions.at(signature.name);
    llvm::IRBuilder<> ir(entryOf(function));
    builder_.call(ir, op::enterNative);
    std::vector<llvm::Value*> arguments;
    std::vector<llvm::Type*> types;
    for (std::size_t i = 0; i + 1 < function->arg_size(); ++i) {
      arguments.push_back(function->getArg(static_cast<unsigned>(i)));
      types.push_back(arguments.back()->getType());
    }
    auto* type = llvm::FunctionType::get(builder_.typeOf(signature.result), types, false);
    llvm::Value* result = ir.CreateCall(builder_.module().getOrInsertFunction(symbol, type), arguments);
    builder_.call(ir, op::leaveNative, function->getArg(static_cast<unsigned>(function->arg_size() - 1)));
    if (signature.result == "void") {
      ir.CreateRetVoid();
    } else if (signature.result == "boolean") {
      ir.CreateRet(ir.CreateZExt(ir.CreateICmpNE(result, builder_.number(0)), builder_.word()));
    } else {
      ir.CreateRet(result);
    }
  }

  /// A function that passes receiver, arguments and result as words, for calls whose method is found at run time.
  llvm::Constant* invoker(const MethodSignature& signature) {
    auto* type = llvm::FunctionType::get(builder_.word(), {builder_.pointer(), builder_.pointer()}, false);
    llvm::Function* function = builder_.addFunction(type, "invoke:" + signature.name);
    llvm::IRBuilder<> ir(entryOf(function));
    llvm::Function* method = scope_.functions.at(signature.name);
    std::vector<llvm::Value*> arguments;
    for (unsigned i = 0; i + 1 < method->arg_size(); ++i) {
      llvm::Value* place = ir.CreateConstInBoundsGEP1_64(builder_.word(), function->getArg(0), i);
      llvm::Value* word = ir.CreateLoad(builder_.word(), place);
      const bool isPointer = method->getArg(i)->getType()->isPointerTy();
      arguments.push_back(isPointer ? ir.CreateIntToPtr(word, builder_.pointer()) : word);
    }
    arguments.push_back(function->getArg(1));
    llvm::Value* result = ir.CreateCall(method, arguments);
    ir.CreateRet(signature.result == "void" ? builder_.number(0) : builder_.toWord(ir, result));
    return function;
  }

  void buildInitialiser(const std::string& symbol) {
    std::vector<llvm::Constant*> methods;
    for (const MethodSignature& signature : signatures_) {
      methods.push_back(
          builder_.structure({builder_.text(signature.name), builder_.text(joinTypes(signature.parameters)),
                              builder_.text(signature.result), builder_.number(signature.isStatic ? 1 : 0),
                              scope_.functions.at(signature.name), invoker(signature)}));
    }
    llvm::Constant* descriptor = builder_.constant(
        builder_.structure({builder_.text(name_.text()), builder_.text(scope_.fullName),
                            builder_.number(static_cast<int64_t>(methods.size())), builder_.array(methods)}));
    llvm::Function* function = builder_.addFunction(llvm::FunctionType::get(builder_.typeOf("void"), false), symbol,
                                                    llvm::GlobalValue::ExternalLinkage);
    llvm::IRBuilder<> ir(entryOf(function));
    builder_.call(ir, op::registerType, descriptor);
    ir.CreateRetVoid();
  }

  const SourceFile& file_;
  const ClassDeclaration& declared_;
  const TypeName name_;  // without the package
  ModuleBuilder builder_;
  ClassScope scope_;
  std::vector<MethodSignature> signatures_;
};

}  // namespace

GeneratedClass generateClass(const ClassInput& input, const ClassCatalog& catalog, llvm::LLVMContext& context,
                             std::vector<language::Diagnostic>& diagnostics) {
  return ClassGenerator(input, catalog, context, diagnostics).generate();
}

}  // namespace orva::compiler
