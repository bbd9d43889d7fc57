#include "platform/language/lexer.h"

#include <array>
#include <cctype>
#include <charconv>

#include "platform/runtime/declaration.h"

namespace language {
namespace {

bool isDigit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }
bool isAlnum(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; }
bool isNameStart(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0 || c == '_'; }
bool isNamePart(char c) { return isAlnum(c) || c == '_'; }

class Lexer {
 public:
  explicit Lexer(std::string_view source) : source_(source) {}

  std::vector<Token> all() {
    while (skipBlanks()) next();
    add(Token::Kind::endOfLine, at_);
    add(Token::Kind::end, at_);
    return std::move(tokens_);
  }

 private:
  char peek(std::size_t ahead = 0) const { return at_ + ahead < source_.size() ? source_[at_ + ahead] : '\0'; }
  bool atLineEnd() const { return at_ == source_.size() || peek() == '\n' || peek() == '\r'; }
  Place place(std::size_t at) const { return {line_, static_cast<int>(at - lineStart_) + 1}; }
  void add(Token::Kind kind, std::size_t from, Literal literal = {}) {
    tokens_.push_back({kind, place(from), std::string(source_.substr(from, at_ - from)), std::move(literal)});
  }

  void endLine() {
    if (peek() == '\r' && peek(1) == '\n') ++at_;
    ++at_;
    ++line_;
    lineStart_ = at_;
  }
  void skipToLineEnd() {
    while (!atLineEnd()) ++at_;
  }
  bool continues() const {
    if (peek() != '_') return false;
    std::size_t i = at_ + 1;
    while (i < source_.size() && (source_[i] == ' ' || source_[i] == '\t')) ++i;
    return i < source_.size() && (source_[i] == '\n' || source_[i] == '\r');
  }
  // Spaces, comments and continuations; false at the end.
  bool skipBlanks() {
    while (at_ < source_.size()) {
      if (peek() == ' ' || peek() == '\t') {
        ++at_;
      } else if (peek() == '\'' || (peek() == '/' && peek(1) == '/')) {
        skipToLineEnd();
      } else if (continues()) {
        skipToLineEnd();
        endLine();
      } else {
        return true;
      }
    }
    return false;
  }

  void next() {
    const std::size_t from = at_;
    if (atLineEnd()) {
      add(Token::Kind::endOfLine, from);
      return endLine();
    }
    if (isNameStart(peek())) {
      while (isNamePart(peek())) ++at_;
      if (runtime::sameName(source_.substr(from, at_ - from), "rem")) return skipToLineEnd();
      return add(Token::Kind::name, from);
    }
    if (isDigit(peek()) || (peek() == '.' && isDigit(peek(1)))) return number();
    if (peek() == '"') return string();
    if (peek() == '&') return based();
    for (const std::string_view symbol : {"<=", ">=", "<>"}) {
      if (source_.substr(at_, 2) == symbol) {
        at_ += 2;
        return add(Token::Kind::symbol, from);
      }
    }
    if (std::string_view("+-*/\\^=<>(),.").find(peek()) == std::string_view::npos) {
      throw Error(place(from), std::string("\"") + peek() +
                                   "\" means nothing here; a name, a number, a string or an operator would work.");
    }
    ++at_;
    add(Token::Kind::symbol, from);
  }

  void number() {
    const std::size_t from = at_;
    while (isDigit(peek())) ++at_;
    bool isWhole = true;
    if (peek() == '.' && isDigit(peek(1))) {
      isWhole = false;
      ++at_;
      while (isDigit(peek())) ++at_;
    }
    if ((peek() == 'e' || peek() == 'E') &&
        (isDigit(peek(1)) || ((peek(1) == '-' || peek(1) == '+') && isDigit(peek(2))))) {
      isWhole = false;
      at_ += 2;
      while (isDigit(peek())) ++at_;
    }
    const char* const first = source_.data() + from;
    std::int32_t integer = 0;
    if (isWhole && std::from_chars(first, source_.data() + at_, integer).ec == std::errc()) {
      return add(Token::Kind::literal, from, {integer});
    }
    double real = 0;
    if (std::from_chars(first, source_.data() + at_, real).ec != std::errc()) {
      throw Error(place(from), "The number is too large; one up to 1e308 would work.");
    }
    add(Token::Kind::literal, from, {real});
  }

  // &cRRGGBB, &hFF, &b101 and &o17.
  void based() {
    const std::size_t from = at_;
    constexpr std::array<std::pair<char, int>, 4> kBases = {{{'c', 16}, {'h', 16}, {'b', 2}, {'o', 8}}};
    const char letter = static_cast<char>(std::tolower(static_cast<unsigned char>(peek(1))));
    at_ += 2;
    const std::size_t digits = at_;
    while (isAlnum(peek())) ++at_;
    for (const auto& [known, base] : kBases) {
      std::uint32_t value = 0;
      const char* const last = source_.data() + at_;
      if (letter != known || digits >= at_) continue;
      const auto [end, error] = std::from_chars(source_.data() + digits, last, value, base);
      const bool isColor = letter == 'c';
      if (error == std::errc() && end == last && (!isColor || at_ - digits == 6)) {
        return add(Token::Kind::literal, from, {static_cast<std::int32_t>(value)});
      }
    }
    throw Error(place(from), "\"" + std::string(source_.substr(from, at_ - from)) +
                                 "\" is no number; &cFF8000, &hFF, &b101 or &o17 would work.");
  }

  void string() {
    const std::size_t from = at_++;
    std::string text;
    while (true) {
      if (atLineEnd()) throw Error(place(from), "The string has no end; a \" at its end would work.");
      if (peek() == '"') {
        ++at_;
        if (peek() != '"') break;
      }
      text += source_[at_++];
    }
    add(Token::Kind::literal, from, {text});
  }

  std::string_view source_;
  std::size_t at_ = 0, lineStart_ = 0;
  int line_ = 1;
  std::vector<Token> tokens_;
};

}  // namespace

std::vector<Token> tokensOf(std::string_view source) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (source.starts_with(kByteOrderMark)) source.remove_prefix(kByteOrderMark.size());
  return Lexer(source).all();
}

}  // namespace language
