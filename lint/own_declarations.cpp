// A plugin for clang-tidy: its checks look at what the project declares, and not at what system headers declare.
#include <clang/AST/ASTConsumer.h>
#include <clang/AST/ASTContext.h>
#include <clang/Frontend/FrontendPluginRegistry.h>

#include <memory>
#include <string>
#include <vector>

namespace {

class OwnDeclarations : public clang::ASTConsumer {
 public:
  void HandleTranslationUnit(clang::ASTContext& context) override {
    std::vector<clang::Decl*> own;
    for (clang::Decl* declaration : context.getTranslationUnitDecl()->decls()) {
      if (!context.getSourceManager().isInSystemHeader(declaration->getLocation())) {
        own.push_back(declaration);
      }
    }
    context.setTraversalScope(own);
  }
};

class Plugin : public clang::PluginASTAction {
 public:
  ActionType getActionType() override { return AddBeforeMainAction; }

 protected:
  std::unique_ptr<clang::ASTConsumer> CreateASTConsumer(clang::CompilerInstance& /*instance*/,
                                                        llvm::StringRef /*file*/) override {
    return std::make_unique<OwnDeclarations>();
  }
  bool ParseArgs(const clang::CompilerInstance& /*instance*/, const std::vector<std::string>& /*options*/) override {
    return true;
  }
};

const clang::FrontendPluginRegistry::Add<Plugin> plugin("own-declarations", "Skips what system headers declare");

}  // namespace
