#include "platform/language/lexer.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdlib>

#include "platform/runtime/declaration.h"

namespace language {
namespace {

bool isDigit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }
bool isAlnum(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; }
bool isNameStart(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0 || c == '_'; }
bool isNamePart(char c) { return isAlnum(c) || c == '_'; }
bool isContinuation(char c) { return (c & 0xC0) == 0x80; }  // of a character in UTF-8

constexpr std::size_t kLongestName = 255;

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
      if (at_ - from > kLongestName) {
        throw Error(place(from), "The name has " + std::to_string(at_ - from) + " characters; up to " +
                                     std::to_string(kLongestName) + " would work.");
      }
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
      throw Error(place(from),
                  strange() + " means nothing here; a name, a number, a string or an operator would work.");
    }
    ++at_;
    add(Token::Kind::symbol, from);
  }

  // A character that is no part of the language: itself, or its number if it can't be shown.
  std::string strange() const {
    std::size_t length = 1;
    while (length < 4 && isContinuation(peek(length))) ++length;
    const auto lead = static_cast<unsigned char>(peek());
    if (lead < 0x80 ? std::isprint(lead) != 0 : lead >= 0xC2 && length > 1)
      return inQuotes(source_.substr(at_, length));
    return "The byte " + std::to_string(lead);
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
    // What is too small for a number is 0, as it is where it is computed.
    const double real = std::strtod(std::string(source_.substr(from, at_ - from)).c_str(), nullptr);
    if (real == HUGE_VAL) {
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
    throw Error(place(from), inQuotes(source_.substr(from, at_ - from)) +
                                 " is no number; &cFF8000, &hFF, &b101 or &o17 would work.");
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

std::string inQuotes(std::string_view text) {
  constexpr std::size_t kMost = 60;
  std::size_t length = std::min(text.size(), kMost);
  while (length < text.size() && length > 0 && isContinuation(text[length])) --length;
  std::string shown(text.substr(0, length));
  std::replace_if(
      shown.begin(), shown.end(), [](unsigned char c) { return c < 0x80 && std::isprint(c) == 0; }, '?');
  return "\"" + shown + (length < text.size() ? "...\"" : "\"");
}

std::vector<Token> tokensOf(std::string_view source) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (source.starts_with(kByteOrderMark)) source.remove_prefix(kByteOrderMark.size());
  return Lexer(source).all();
}

}  // namespace language
