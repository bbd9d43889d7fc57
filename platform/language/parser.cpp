#include "platform/language/parser.h"

#include <algorithm>
#include <cctype>
#include <initializer_list>
#include <utility>

#include "platform/language/lexer.h"
#include "platform/runtime/declaration.h"

namespace language {
namespace {

using Kind = Expression::Kind;

// Operators from the loosest to the tightest; all of them lean to the left.
constexpr std::initializer_list<std::initializer_list<const char*>> kOperators = {
    {"or", "xor"}, {"and"}, {"=", "<>", "<", ">", "<=", ">=", "is"}, {"+", "-"}, {"*", "/", "\\", "mod"}, {"^"}};
constexpr auto* kComparisons = kOperators.begin() + 2;  // Not goes for a whole comparison
constexpr auto* kPowers = kOperators.begin() + 5;       // and a minus for a whole power

constexpr std::initializer_list<const char*> kReserved = {
    "dim",   "as",   "new", "if", "then", "else", "elseif", "end", "for", "to",   "downto", "step", "next",
    "while", "wend", "and", "or", "xor",  "not",  "mod",    "is",  "nil", "true", "false",  "exit", "call"};

constexpr int kDeepest = 200;  // brackets and blocks, each of which is a call of this parser

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
    const Token& token = tokens_[std::min(at_ + ahead, tokens_.size() - 1)];
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
    throw Error(token().place, (isEnd ? "The end of the line" : "\"" + token().text + "\"") + " " + what + ".");
  }
  void expect(std::string_view word) {
    if (!take(word)) fail("is out of place; " + std::string(word) + " would work");
  }
  void endLine() {
    if (token().kind == Token::Kind::end) return;
    if (token().kind != Token::Kind::endOfLine) fail("is out of place; the end of the line would work");
    ++at_;
  }
  bool isReserved() const {
    return std::any_of(kReserved.begin(), kReserved.end(), [this](const char* word) { return isWord(word); });
  }
  std::string name(const char* what) {
    if (token().kind != Token::Kind::name || isReserved())
      fail("is out of place; " + std::string(what) + " would work");
    return tokens_[at_++].text;
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
      if (std::any_of(ends.begin(), ends.end(), [this](const char* word) { return isWord(word); })) break;
      statement(block);
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
    simple(block);
    endLine();
  }

  void simple(Block& block) {
    const Place place = token().place;
    if (take("dim")) {
      do dim(block, place);
      while (take(","));
      return;
    }
    if (take("if")) return block.push_back(condition(place));
    if (take("for")) return loopFor(block, place);
    if (isWord("exit") && loops_ == 0) fail("is out of place; a loop around it would work");
    if (take("exit")) return block.push_back({Statement::Kind::leave, place, {}, {}, false, {}, {}});
    if (take("while")) {
      Statement loop{Statement::Kind::loopWhile, place, {}, {}, false, {expression()}, {}};
      loop.blocks.push_back(body("wend"));
      return block.push_back(std::move(loop));
    }
    take("call");
    block.push_back(assignmentOrCall(place));
  }

  // a, b() As Type [= value]; c(9) As Type; d As New Type
  void dim(Block& block, Place place) {
    const std::size_t first = block.size();
    do {
      Statement variable{Statement::Kind::dim, token().place, {}, {}, false, {}, {}};
      variable.name = name("a variable's name");
      if (take("(")) {
        variable.isArray = true;
        variable.expressions.push_back(isWord(")") ? literal(token().place, -1) : expression());
        expect(")");
      }
      block.push_back(std::move(variable));
    } while (take(","));
    expect("as");
    const bool isNew = take("new");
    const Place typePlace = token().place;
    const std::string type = name("a type");
    const std::size_t last = block.size();
    for (std::size_t i = first; i < last; ++i) block[i].type = type;
    if (!isNew && !take("=")) return;
    const Expression value = isNew ? Expression{Kind::construct, typePlace, type, {}, {}} : expression();
    for (std::size_t i = first; i < last; ++i) {
      const Expression variable{Kind::name, block[i].place, block[i].name, {}, {}};
      block.push_back({Statement::Kind::assign, place, {}, {}, false, {variable, value}, {}});
    }
  }

  Statement condition(Place place) {
    Statement choice{Statement::Kind::condition, place, {}, {}, false, {expression()}, {}};
    expect("then");
    if (token().kind != Token::Kind::endOfLine) {  // all on one line
      simple(choice.blocks.emplace_back());
      if (take("else")) simple(choice.blocks.emplace_back());
      return choice;
    }
    choice.blocks.push_back(statements({"elseif", "else", "end"}));
    while (take("elseif")) {
      choice.expressions.push_back(expression());
      expect("then");
      endLine();
      choice.blocks.push_back(statements({"elseif", "else", "end"}));
    }
    if (take("else")) {
      endLine();
      choice.blocks.push_back(statements({"end"}));
    }
    expect("end");
    expect("if");
    return choice;
  }

  void loopFor(Block& block, Place place) {
    Statement loop{Statement::Kind::loopFor, place, name("a variable's name"), {}, false, {}, {}};
    if (take("as")) block.push_back({Statement::Kind::dim, place, loop.name, name("a type"), false, {}, {}});
    expect("=");
    loop.expressions.push_back(expression());
    const bool isDown = take("downto");
    if (!isDown) expect("to");
    loop.expressions.push_back(expression());
    Expression step = take("step") ? expression() : literal(token().place, 1);
    loop.expressions.push_back(isDown ? Expression{Kind::unary, step.place, "-", {}, {step}} : step);
    loop.blocks.push_back(body("next"));
    if (token().kind == Token::Kind::name && !take(loop.name)) fail("is out of place; " + loop.name + " would work");
    block.push_back(std::move(loop));
  }

  // A value that is followed by = is assigned to; arguments of a call may stand without brackets.
  Statement assignmentOrCall(Place place) {
    lastBracket_ = 0;
    const std::size_t start = at_;
    Expression target = postfix();
    if (take("=")) return {Statement::Kind::assign, place, {}, {}, false, {std::move(target), expression()}, {}};
    const auto isDone = [this] {
      return token().kind == Token::Kind::endOfLine || token().kind == Token::Kind::end || isWord("else");
    };
    if (!isDone()) {
      if (target.kind == Kind::call && lastBracket_ > start) {  // the bracket belongs to the first argument
        at_ = lastBracket_;
        target = Expression(target.parts[0]);
      }
      if (target.kind != Kind::name && target.kind != Kind::member) fail("is out of place; a method's name would work");
      Expression call{Kind::call, target.place, {}, {}, {std::move(target)}};
      do call.parts.push_back(expression());
      while (take(","));
      target = std::move(call);
    }
    return {Statement::Kind::call, place, {}, {}, false, {std::move(target)}, {}};
  }

  // ---- expressions
  static Expression literal(Place place, Literal value) { return {Kind::literal, place, {}, std::move(value), {}}; }

  Expression expression() {
    const Level level(*this);
    return binary(kOperators.begin());
  }

  Expression binary(const std::initializer_list<const char*>* operators) {
    if (operators == kOperators.end()) return operand();
    if (operators == kComparisons && isWord("not")) return prefixed(operators);
    if (operators == kPowers && isWord("-")) return prefixed(operators);
    Expression left = binary(operators + 1);
    while (true) {
      const auto found =
          std::find_if(operators->begin(), operators->end(), [this](const char* word) { return isWord(word); });
      if (found == operators->end()) return left;
      const Place place = tokens_[at_++].place;
      Expression right = binary(operators + 1);
      left = {Kind::binary, place, *found, {}, {std::move(left), std::move(right)}};
    }
  }

  // Not, or a minus, and what it goes for.
  Expression prefixed(const std::initializer_list<const char*>* operators) {
    const Level level(*this);
    const Token& sign = tokens_[at_++];
    return {Kind::unary, sign.place, sign.text == "-" ? "-" : "not", {}, {binary(operators)}};
  }

  Expression operand() {
    if (isWord("-")) return prefixed(kPowers);
    take("+");
    return postfix();
  }

  Expression postfix() {
    Expression value = primary();
    while (true) {
      const Place place = token().place;
      if (take(".")) {
        // Any word can be a member's name.
        if (token().kind != Token::Kind::name) fail("is out of place; a member's name would work");
        value = {Kind::member, token().place, token().text, {}, {std::move(value)}};
        ++at_;
      } else if ((value.kind == Kind::name || value.kind == Kind::member) && isWord("(")) {
        lastBracket_ = at_++;
        const std::size_t bracket = lastBracket_;
        Expression call{Kind::call, place, {}, {}, {std::move(value)}};
        if (!take(")")) {
          do call.parts.push_back(expression());
          while (take(","));
          expect(")");
        }
        value = std::move(call);
        lastBracket_ = bracket;
      } else {
        return value;
      }
    }
  }

  Expression primary() {
    const Place place = token().place;
    if (token().kind == Token::Kind::literal) return literal(place, tokens_[at_++].literal);
    if (take("nil")) return literal(place, {});
    if (take("true")) return literal(place, true);
    if (take("false")) return literal(place, false);
    if (take("new")) {
      Expression made{Kind::construct, place, name("a class"), {}, {}};
      if (take("(")) expect(")");
      return made;
    }
    if (take("(")) {
      Expression inner = expression();
      expect(")");
      return inner;
    }
    return {Kind::name, place, name("a value"), {}, {}};
  }

  std::vector<Token> tokens_;
  std::size_t at_ = 0;
  int loops_ = 0;                // around the statement
  std::size_t lastBracket_ = 0;  // where the arguments of the last call begin
  int depth_ = 0;
};

}  // namespace

Block parse(std::string_view source) { return Parser(source).program(); }

}  // namespace language
