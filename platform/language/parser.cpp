#include "platform/language/parser.h"

#include <algorithm>
#include <initializer_list>
#include <utility>

#include "platform/language/lexer.h"
#include "platform/language/operators.h"
#include "platform/runtime/declaration.h"

namespace language {
namespace {

constexpr std::initializer_list<const char*> kReserved = {
    "dim",   "as",   "new", "if", "then", "else", "elseif", "end", "for", "to",   "downto", "step", "next",
    "while", "wend", "and", "or", "xor",  "not",  "mod",    "is",  "nil", "true", "false",  "exit", "call"};

constexpr int kDeepest = 200;  // brackets, signs and blocks, each of which is a call of this parser

class Parser {
 public:
  explicit Parser(std::string_view source) : tokens_(tokensOf(source)) {}

  Block program() {
    Block block = statements({});
    if (token().kind != Token::Kind::end) fail("has no beginning");
    return block;
  }

 private:
  // Counts how deep the parser stands, and gives up before the stack does.
  class Level {
   public:
    explicit Level(Parser& parser) : depth_(parser.depth_) {
      if (++depth_ > kDeepest) parser.fail("is nested too deeply; up to 200 levels would work");
    }
    ~Level() { --depth_; }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

   private:
    int& depth_;
  };

  // ---- tokens
  const Token& token() const { return tokens_[at_]; }
  bool isWord(std::string_view word, std::size_t ahead = 0) const {
    const Token& token = tokens_[at_ + ahead];
    const bool canBe = token.kind == Token::Kind::name || token.kind == Token::Kind::symbol;
    return canBe && runtime::sameName(token.text, word);
  }
  bool take(std::string_view word) {
    if (!isWord(word)) return false;
    ++at_;
    return true;
  }
  [[noreturn]] void fail(const std::string& what) const {
    const bool isEnd = token().kind == Token::Kind::end || token().kind == Token::Kind::endOfLine;
    throw Error(token().place, (isEnd ? "The end of the line" : inQuotes(token().text)) + " " + what + ".");
  }
  void expect(std::string_view word) {
    if (!take(word)) fail("is out of place; " + std::string(word) + " would work");
  }
  void endLine() {
    if (token().kind == Token::Kind::end) return;
    if (token().kind != Token::Kind::endOfLine) fail("is out of place; the end of the line would work");
    ++at_;
  }
  bool isOneOf(std::initializer_list<const char*> words) const {
    return std::any_of(words.begin(), words.end(), [this](const char* word) { return isWord(word); });
  }
  // Any word can be a member's name.
  Name word(const char* what) {
    if (token().kind != Token::Kind::name) fail("is out of place; " + std::string(what) + " would work");
    const Token& word = tokens_[at_++];
    return {word.place, word.text};
  }
  Name name(const char* what) {
    if (isOneOf(kReserved)) fail("is out of place; " + std::string(what) + " would work");
    return word(what);
  }
  bool endsStatement(std::size_t ahead = 0) const {
    const Token::Kind kind = tokens_[at_ + ahead].kind;
    return kind == Token::Kind::endOfLine || kind == Token::Kind::end || isWord("else", ahead);
  }

  // ---- statements
  // Up to one of the words, or to the end.
  Block statements(std::initializer_list<const char*> ends) {
    const Level level(*this);
    Block block;
    while (token().kind != Token::Kind::end) {
      if (token().kind == Token::Kind::endOfLine) {
        ++at_;
        continue;
      }
      if (isOneOf(ends)) break;
      statement(block);
      endLine();
    }
    return block;
  }

  // What a loop repeats.
  Block body(const char* end) {
    endLine();
    ++loops_;
    Block block = statements({end});
    --loops_;
    expect(end);
    return block;
  }

  void statement(Block& block) {
    const Place place = token().place;
    if (take("dim")) {
      do block.push_back({place, dim()});
      while (take(","));
    } else if (take("if")) {
      block.push_back({place, condition()});
    } else if (take("for")) {
      loopFor(block, place);
    } else if (take("while")) {
      Expression condition = expression();
      block.push_back({place, While{std::move(condition), body("wend")}});
    } else if (isWord("exit")) {
      if (loops_ == 0) fail("is out of place; a loop around it would work");
      ++at_;
      block.push_back({place, Exit()});
    } else {
      take("call");
      block.push_back(assignmentOrCall(place));
    }
  }

  // a, b() As Type [= value]; c(9) As Type; d As New Type
  Dim dim() {
    Dim dim;
    do {
      Dim::Variable variable{name("a variable's name"), {}};
      if (take("(")) {
        variable.last = isWord(")") ? Expression{token().place, Literal{-1}} : expression();
        expect(")");
      }
      dim.variables.push_back(std::move(variable));
    } while (take(","));
    expect("as");
    const bool isNew = take("new");
    const Name type = name("a type");
    dim.type = type.text;
    if (isNew) dim.value = {type.place, New{type}};
    if (!isNew && take("=")) dim.value = expression();
    return dim;
  }

  If condition() {
    If choice;
    do {
      Expression condition = expression();
      expect("then");
      const bool isOneLine = choice.branches.empty() && token().kind != Token::Kind::endOfLine;
      Block& block = choice.branches.emplace_back(If::Branch{std::move(condition), {}}).block;
      if (isOneLine) {
        const Level level(*this);
        statement(block);
        if (take("else")) statement(choice.otherwise);
        return choice;
      }
      endLine();
      block = statements({"elseif", "else", "end"});
    } while (take("elseif"));
    if (take("else")) {
      endLine();
      choice.otherwise = statements({"end"});
    }
    expect("end");
    expect("if");
    return choice;
  }

  void loopFor(Block& block, Place place) {
    For loop{{place, name("a variable's name").text}, {}, {}, {place, Literal{1}}, {}};
    if (take("as")) {
      Dim dim{{}, name("a type").text, {}};
      dim.variables.push_back({loop.variable, {}});
      block.push_back({place, std::move(dim)});
    }
    expect("=");
    loop.first = expression();
    const bool isDown = take("downto");
    if (!isDown) expect("to");
    loop.last = expression();
    if (take("step")) loop.step = expression();
    if (isDown) loop.step = {loop.step.place, Minus{boxed(std::move(loop.step))}};
    loop.body = body("next");
    if (token().kind == Token::Kind::name && !take(loop.variable.text))
      fail("is out of place; " + loop.variable.text + " would work");
    block.push_back({place, std::move(loop)});
  }

  // A value that is followed by = is assigned to; arguments of a call may stand without brackets.
  Statement assignmentOrCall(Place place) {
    Expression target = postfix(true);
    if (take("=")) return {place, Assign{std::move(target), expression()}};
    if (!endsStatement()) {
      Use* use = std::get_if<Use>(&target.form);
      if (auto* members = std::get_if<Members>(&target.form)) use = &members->chain.back();
      if (use == nullptr || use->arguments) fail("is out of place; a method's name would work");
      use->arguments = {target.place, list()};
    }
    return {place, Do{std::move(target)}};
  }

  // ---- expressions
  Expression expression() {
    const Level level(*this);
    return operation(kAlternative);
  }

  std::vector<Expression> list() {
    std::vector<Expression> values;
    do values.push_back(expression());
    while (take(","));
    return values;
  }

  // With operators that are as tight, or tighter.
  Expression operation(int loosest) {
    Expression left = signedValue(loosest);
    const Operator* next = operatorHere();
    while (next != nullptr && next->precedence >= loosest) {
      const Precedence precedence = next->precedence;
      Binary binary{boxed(std::move(left)), {}};
      for (; next != nullptr && next->precedence == precedence; next = operatorHere()) {
        const Place place = tokens_[at_++].place;
        binary.rest.push_back({next, place, operation(precedence + 1)});
      }
      left = {binary.rest.back().place, std::move(binary)};
    }
    return left;
  }

  const Operator* operatorHere() const {
    return token().kind != Token::Kind::literal ? findOperator(token().text) : nullptr;
  }

  // Not goes for a whole comparison, and a minus for a whole power.
  Expression signedValue(int loosest) {
    if (loosest <= kComparison && isWord("not")) return sign<Not>(kComparison);
    if (isWord("-")) return sign<Minus>(kPower);
    take("+");
    return postfix();
  }

  template <class Sign>
  Expression sign(Precedence loosest) {
    const Level level(*this);
    const Place place = tokens_[at_++].place;
    return {place, Sign{boxed(operation(loosest))}};
  }

  // In a statement, a bracket may belong to what follows it.
  Expression postfix(bool isStatement = false) {
    Expression value = primary();
    if (auto* use = std::get_if<Use>(&value.form)) value.place = brackets(*use, isStatement);
    if (!isWord(".")) return value;
    Members members{boxed(std::move(value)), {}};
    Place place;
    while (take(".")) place = brackets(members.chain.emplace_back(Use{word("a member's name"), {}}), isStatement);
    return {place, std::move(members)};
  }

  // Arguments or an index, and where the use ends.
  Place brackets(Use& use, bool isStatement) {
    const Place place = token().place;
    if (use.arguments) return use.arguments->place;
    if (!isWord("(") || (isStatement && !holdsAll())) return use.name.place;
    ++at_;
    use.arguments = {place, isWord(")") ? std::vector<Expression>() : list()};
    expect(")");
    return place;
  }

  // Whether a bracket holds all arguments: in Print (1) + 2, 3 it doesn't.
  bool holdsAll() const {
    int open = 0;
    std::size_t ahead = 0;
    do {
      if (tokens_[at_ + ahead].kind == Token::Kind::endOfLine) return true;
      open += isWord("(", ahead) ? 1 : isWord(")", ahead) ? -1 : 0;
      ++ahead;
    } while (open > 0);
    return endsStatement(ahead) || isWord(".", ahead) || isWord("=", ahead);
  }

  Expression primary() {
    const Place place = token().place;
    if (token().kind == Token::Kind::literal) return {place, tokens_[at_++].literal};
    if (take("nil")) return {place, Literal()};
    if (take("true")) return {place, Literal{true}};
    if (take("false")) return {place, Literal{false}};
    if (take("new")) {
      const New made{name("a class")};
      if (take("(")) expect(")");
      return {place, made};
    }
    if (take("(")) {
      Expression inner = expression();
      expect(")");
      return inner;
    }
    return {place, Use{name("a value"), {}}};
  }

  std::vector<Token> tokens_;
  std::size_t at_ = 0;
  int loops_ = 0;  // around the statement
  int depth_ = 0;
};

}  // namespace

Block parse(std::string_view source) { return Parser(source).program(); }

}  // namespace language
