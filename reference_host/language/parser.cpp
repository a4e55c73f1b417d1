// A recursive-descent parser: one function for each rule of the grammar.
#include "reference_host/language/parser.h"

#include <algorithm>
#include <array>
#include <set>
#include <utility>

#include "reference_host/language/foreign_constructs.h"
#include "reference_host/language/lexer.h"

namespace orva::language {

std::string TypeName::text() const {
  std::string spelling = name;
  for (std::size_t i = 0; i < arguments.size(); ++i) spelling += (i == 0 ? "<" : ",") + arguments[i].text();
  return arguments.empty() ? spelling : spelling + ">";
}

const ClassDeclaration* SourceFile::find(const std::string& fullName) const {
  const std::string name = fullName.substr(fullName.rfind('.') + 1);
  const auto found = places.find(name);
  return found != places.end() && qualify(name) == fullName ? &classes[found->second] : nullptr;
}

namespace {

constexpr int deepest = 200;

/// A call cannot pass more arguments.
constexpr std::size_t mostParameters = 255;

class Parser {
 public:
  explicit Parser(const SourceText& source) : source_(source), tokens_(tokenize(source)) {}

  SourceFile file() {
    SourceFile file;
    if (accept("package")) {
      file.packagePosition = peek().position;
      file.package = qualifiedName("a package name");
      expect(";");
    }
    while (peek().kind != TokenKind::end) {
      file.classes.push_back(classDeclaration());
      const ClassDeclaration& last = file.classes.back();
      if (!file.places.emplace(last.name, file.places.size()).second) {
        fail(last.position, "class '" + last.name + "' is declared twice");
      }
    }
    if (file.classes.empty()) fail(peek().position, "expected a class");
    return file;
  }

  TypeName wholeType() {
    if (source_.start() > 0) fail({}, "a type name cannot begin with a byte order mark");
    TypeName parsed = type();
    if (peek().kind != TokenKind::end) failExpected("the end of the type name");
    return parsed;
  }

 private:
  /// Counts how deep the rules are nested, so that no source can exhaust the stack.
  class Level {
   public:
    explicit Level(Parser& parser) : parser_(parser) { parser.checkDepth(++parser.depth_, parser.peek()); }
    ~Level() { --parser_.depth_; }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

   private:
    Parser& parser_;
  };

  void checkDepth(int depth, const Token& token) const {
    if (depth > deepest) fail(token.position, "this is nested too deeply: expected at most 200 levels");
  }

  const Token& peek() const { return tokens_[at_]; }

  /// Consumes the next token; never called at the end.
  Token take() { return tokens_[at_++]; }

  bool accept(std::string_view spelling) {
    if (!peek().is(spelling)) return false;
    ++at_;
    return true;
  }

  void expect(std::string_view spelling) {
    if (!accept(spelling)) failExpected("'" + std::string(spelling) + "'");
  }

  std::string name(const std::string& what) {
    if (isKeywordForName()) refuse(peek(), "expected " + what + ", found '" + peek().text + "'");
    if (peek().kind != TokenKind::name) failExpected(what);
    return take().text;
  }

  /// Tells whether the next token is a keyword in place of a name, going by the token after it.
  bool isKeywordForName() const {
    if (peek().kind != TokenKind::keyword) return false;
    const Token& next = tokens_[at_ + 1];
    return next.is("=") || next.is(",") || next.is("(") || next.is(")") || next.is("{") || next.is(">");
  }

  std::string qualifiedName(const std::string& what) {
    std::string text = name(what);
    while (accept(".")) text += "." + name("a name after '.'");
    return text;
  }

  [[noreturn]] void fail(Position position, const std::string& message) const {
    throw SourceError(source_, position, message);
  }

  /// Notes where a construct begins, so that an error in it can say that it belongs to another language.
  void begin(Place place) {
    place_ = place;
    start_ = at_;
  }

  /// Fails at a token. If the current construct begins like one of another language, fails there instead, with the
  /// advice on that construct.
  [[noreturn]] void refuse(const Token& token, const std::string& message) const {
    const std::string advice = adviceOnStart();
    fail(advice.empty() ? token.position : tokens_[start_].position, advice.empty() ? message : advice);
  }

  [[noreturn]] void failExpected(const std::string& what) const {
    const Token& found = peek();
    if (isWord(found)) refuseForeignWord(found);
    if (found.kind == TokenKind::symbol || found.kind == TokenKind::fault) refuseForeignSymbol(found);
    if (found.kind == TokenKind::fault) refuse(found, found.text);
    const std::string spelling = found.kind == TokenKind::end
                                     ? "the end of the input"
                                     : "'" + source_.text.substr(found.begin, found.end - found.begin) + "'";
    refuse(found, "expected " + what + ", found " + spelling);
  }

  static bool isWord(const Token& token) { return token.kind == TokenKind::name || token.kind == TokenKind::keyword; }

  std::string adviceOnStart() const {
    if (!isWord(tokens_[start_])) return {};
    const Token& next = tokens_[start_ + 1];
    // The program uses the word as a name.
    if (next.is("=") || next.is(".")) return {};
    return adviceOn(place_, tokens_[start_].text);
  }

  void refuseForeignWord(const Token& found) const {
    const bool followsElse = at_ > 0 && tokens_[at_ - 1].is("else");
    const Place head = place_ == Place::member ? Place::inMethodHead : Place::inClassHead;
    const Place place = place_ == Place::statement ? Place::inStatement : head;
    const std::string advice = adviceOn(place, followsElse ? "else_" + found.text : found.text);
    if (!advice.empty()) refuse(found, advice);
  }

  /// A symbol of another language may be several symbols here, the first of which was parsed as an operator.
  void refuseForeignSymbol(const Token& found) const {
    if (at_ == 0) return;
    const Token& before = tokens_[at_ - 1];
    const bool isOfArray = found.is("[") && isWord(before) && place_ == Place::member;
    if (before.is(".") || (place_ != Place::statement && !isOfArray)) return;
    if (found.is("<") && startsInstanceCall()) {
      refuse(found, "call a method of a generic class through its type, as in 'type.call(\"method\")'");
    }
    const std::string_view joined = foreignSymbol(std::string_view(source_.text).substr(before.begin));
    if (before.kind == TokenKind::symbol && before.begin + joined.size() > found.begin) {
      refuse(before, adviceOn(Place::symbol, joined));
    }
    const std::string_view symbol = foreignSymbol(std::string_view(source_.text).substr(found.begin));
    if (!symbol.empty() && found.begin + symbol.size() >= found.end) refuse(found, adviceOn(Place::symbol, symbol));
  }

  /// Tells whether the `<` that comes next belongs to a type whose method is called.
  bool startsInstanceCall() const {
    std::size_t ahead = at_ - 1;
    return skipType(ahead, depth_ + 1) && tokens_[ahead].is(".");
  }

  [[noreturn]] void failBareCall() const {
    const Token& called = peek();
    const std::string advice = adviceOn(Place::call, called.text);
    refuse(called, advice.empty() ? "expected a class before '" + called.text + "': methods are called as 'Class." +
                                        called.text + "(…)'"
                                  : advice);
  }

  /// Reads `[ item { "," item } ] close`.
  template <typename Item>
  void list(std::string_view close, const Item& item) {
    if (accept(close)) return;
    do {
      item();
    } while (accept(","));
    expect(close);
  }

  TypeName type() {
    const Level level(*this);
    TypeName parsed;
    parsed.position = peek().position;
    parsed.name = qualifiedName("a type");
    if (accept("<")) parsed.arguments = typeArguments();
    return parsed;
  }

  std::vector<TypeName> typeArguments() {
    std::vector<TypeName> arguments;
    do {
      arguments.push_back(type());
    } while (accept(","));
    expect(">");
    return arguments;
  }

  struct Modifiers {
    bool isStatic = false;
    bool isNative = false;
  };

  Modifiers modifiers() {
    Modifiers found;
    bool isPublic = false;
    while (peek().is("public") || peek().is("static") || peek().is("native")) {
      const Token token = take();
      bool& flag = token.text == "public" ? isPublic : token.text == "static" ? found.isStatic : found.isNative;
      if (std::exchange(flag, true)) fail(token.position, "duplicate '" + token.text + "'");
    }
    return found;
  }

  ClassDeclaration classDeclaration() {
    ClassDeclaration declared;
    const Position start = peek().position;
    const Modifiers found = modifiers();
    begin(Place::file);
    if (found.isStatic || found.isNative) fail(start, "a class can only be public");
    expect("class");
    declared.position = peek().position;
    declared.name = name("a class name");
    if (accept("<")) addTypeParameters(declared);
    expect("{");
    std::set<std::string> names;
    while (!accept("}")) {
      if (peek().kind == TokenKind::end) failExpected("a method or '}'");
      const MethodDeclaration& added = declared.methods.emplace_back(method());
      if (!names.insert(added.name).second) fail(added.position, "method '" + added.name + "' is declared twice");
    }
    return declared;
  }

  void addTypeParameters(ClassDeclaration& declared) {
    std::set<std::string> names;
    do {
      TypeParameter parameter{{}, peek().position};
      parameter.name = name("a type parameter name");
      if (!names.insert(parameter.name).second) {
        fail(parameter.position, "type parameter '" + parameter.name + "' is declared twice");
      }
      if (parameter.name == declared.name) {
        fail(parameter.position, "type parameter '" + parameter.name + "' has the same name as its class");
      }
      declared.typeParameters.push_back(std::move(parameter));
    } while (accept(","));
    expect(">");
  }

  MethodDeclaration method() {
    MethodDeclaration declared;
    const Modifiers found = modifiers();
    begin(Place::member);
    declared.isStatic = found.isStatic;
    declared.isNative = found.isNative;
    const Token& start = peek();
    declared.result = type();
    if (peek().is("(")) {
      refuse(start, "expected a return type, such as 'void', before '" + declared.result.text() + "'");
    }
    const Token& named = peek();
    declared.position = named.position;
    declared.name = name("a method name");
    if (peek().is(";") || peek().is("=")) refuse(named, "there are no fields: a class contains only methods");
    expect("(");
    list(")", [&] { declared.parameters.push_back(parameter(declared.parameters)); });
    if (declared.isNative) {
      expect(";");
    } else {
      declared.body = block();
    }
    return declared;
  }

  Parameter parameter(const std::vector<Parameter>& before) {
    Parameter declared;
    declared.type = type();
    declared.position = peek().position;
    declared.name = name("a parameter name");
    for (const Parameter& other : before) {
      if (other.name == declared.name) fail(declared.position, "parameter '" + declared.name + "' is declared twice");
    }
    if (before.size() == mostParameters) fail(declared.position, "too many parameters: expected at most 255");
    return declared;
  }

  Block block() {
    const Level level(*this);
    Block statements;
    expect("{");
    while (!accept("}")) statements.push_back(statement());
    return statements;
  }

  Statement statement() {
    const Position position = peek().position;
    begin(Place::statement);
    if (!startsStatement()) failExpected(peek().kind == TokenKind::end ? "a statement or '}'" : "a statement");
    if (accept("return")) return {position, returnStatement()};
    if (accept("if")) return {position, ifStatement()};
    if (accept("try")) return {position, tryStatement()};
    if (accept("throw")) return {position, throwStatement()};
    if (startsDeclaration()) return {position, declaration()};
    if (peek().kind == TokenKind::name && tokens_[at_ + 1].is("=")) {
      std::string target = take().text;
      expect("=");
      return {position, Assignment{std::move(target), valueBefore(";")}};
    }
    return {position, ExpressionStatement{valueBefore(";")}};
  }

  bool startsStatement() const {
    static constexpr std::array<std::string_view, 9> starts = {"return", "if",   "try", "throw", "true",
                                                               "false",  "null", "(",   "["};
    const auto isStart = [this](std::string_view spelling) { return peek().is(spelling); };
    const bool isSpelled = peek().kind == TokenKind::symbol || peek().kind == TokenKind::keyword;
    return peek().kind != TokenKind::end && (!isSpelled || std::any_of(starts.begin(), starts.end(), isStart));
  }

  Expression valueBefore(std::string_view close) {
    Expression value = expression();
    expect(close);
    return value;
  }

  /// A statement is a declaration if a name, or a keyword in its place, follows a complete type. Looks ahead without
  /// consuming anything.
  bool startsDeclaration() const {
    std::size_t ahead = at_;
    if (!skipType(ahead, depth_ + 1)) return false;
    const Token& after = tokens_[ahead];
    return after.kind == TokenKind::name || (after.kind == TokenKind::keyword && tokens_[ahead + 1].is("="));
  }

  bool skipType(std::size_t& ahead, int depth) const {
    checkDepth(depth, tokens_[ahead]);
    if (tokens_[ahead].kind != TokenKind::name) return false;
    ++ahead;
    while (tokens_[ahead].is(".")) {
      if (tokens_[ahead + 1].kind != TokenKind::name) return false;
      ahead += 2;
    }
    if (!tokens_[ahead].is("<")) return true;
    do {
      ++ahead;
      if (!skipType(ahead, depth + 1)) return false;
    } while (tokens_[ahead].is(","));
    return tokens_[ahead++].is(">");
  }

  Declaration declaration() {
    TypeName declaredType = type();
    std::string variable = name("a variable name");
    if (peek().is(";") || peek().is(",")) {
      refuse(peek(), "expected '=' and a value for variable '" + variable + "', found '" + peek().text + "'");
    }
    if (peek().is("(")) {
      refuse(peek(), "expected '=' and a value for variable '" + variable + "', found '('; methods belong in classes");
    }
    expect("=");
    return {std::move(declaredType), std::move(variable), valueBefore(";")};
  }

  Return returnStatement() {
    Return parsed;
    if (accept(";")) return parsed;
    if (peek().is("}")) failExpected("';' or an expression");
    parsed.value = valueBefore(";");
    return parsed;
  }

  If ifStatement() {
    expect("(");
    Expression condition = valueBefore(")");
    Block then = block();
    return {std::move(condition), std::move(then), accept("else") ? block() : Block()};
  }

  Try tryStatement() {
    Try parsed;
    parsed.body = block();
    expect("catch");
    expect("(");
    parsed.exceptionClass = name("an exception class name");
    parsed.variablePosition = peek().position;
    parsed.variable = name("a variable name");
    expect(")");
    parsed.handler = block();
    return parsed;
  }

  Throw throwStatement() {
    if (!accept("new")) failExpected("'new' and an exception, as in 'throw new Name(\"message\");'");
    std::string exceptionClass = name("an exception class name");
    expect("(");
    if (peek().is(")")) failExpected("the message of the exception");
    Expression message = valueBefore(")");
    expect(";");
    return {std::move(exceptionClass), std::move(message)};
  }

  Expression expression() {
    const Level level(*this);
    return operation([this] { return sum(); }, {"==", "!="});
  }

  Expression sum() {
    return operation([this] { return postfix(); }, {"+"});
  }

  template <typename Operand>
  Expression operation(const Operand& operand, std::initializer_list<std::string_view> operators) {
    Expression first = operand();
    const auto isOperator = [&](std::string_view spelling) { return peek().is(spelling); };
    if (std::none_of(operators.begin(), operators.end(), isOperator)) return first;
    const Position position = first.position;
    Operation joined;
    joined.operands.push_back(std::move(first));
    while (std::any_of(operators.begin(), operators.end(), isOperator)) {
      joined.operators.push_back(take().text);
      joined.operands.push_back(operand());
    }
    return {position, std::move(joined)};
  }

  Expression postfix() {
    Expression start = primary();
    if (!peek().is(".")) return start;
    const Position position = start.position;
    MemberChain chain{std::make_unique<Expression>(std::move(start)), {}};
    while (accept(".")) chain.members.push_back(member());
    return {position, std::move(chain)};
  }

  Member member() {
    Member parsed;
    parsed.position = peek().position;
    if (peek().kind == TokenKind::integer && tokens_[at_ - 2].kind == TokenKind::integer) {
      refuse(tokens_[at_ - 2], "there are no fractions: expected an integer");
    }
    parsed.name = name("a name after '.'");
    parsed.isCall = accept("(");
    if (parsed.isCall) list(")", [&] { parsed.arguments.push_back(expression()); });
    return parsed;
  }

  Expression primary() {
    const Position position = peek().position;
    if (accept("(")) return valueBefore(")");
    if (accept("true")) return {position, BooleanLiteral{true}};
    if (accept("false")) return {position, BooleanLiteral{false}};
    if (accept("null")) return {position, NullLiteral{}};
    if (accept("[")) {
      ListLiteral parsed;
      list("]", [&] { parsed.elements.push_back(expression()); });
      return {position, std::move(parsed)};
    }
    switch (peek().kind) {
      case TokenKind::string: return {position, StringLiteral{take().text}};
      case TokenKind::integer: return {position, IntegerLiteral{take().value}};
      case TokenKind::name:
        if (tokens_[at_ + 1].is("(")) failBareCall();
        return {position, NameUse{take().text}};
      default: failExpected("an expression");
    }
  }

  const SourceText& source_;
  std::vector<Token> tokens_;
  std::size_t at_ = 0;
  Place place_ = Place::file;
  std::size_t start_ = 0;  ///< where the current class, method or statement begins, after its modifiers
  int depth_ = 0;
};

}  // namespace

SourceFile parseSource(const SourceText& source) {
  SourceFile file = Parser(source).file();
  file.lineStarts = source.lineStarts();
  return file;
}

TypeName parseTypeName(const std::string& text) {
  const SourceText source{"type name", text};
  return Parser(source).wholeType();
}

}  // namespace orva::language
