#include "engine/pict/notation.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "engine/text/mac_roman.h"

namespace qd {
namespace {

constexpr std::size_t kLineLength = 100;
constexpr std::size_t kIndent = 4;
constexpr std::size_t kShortBytes = 32;  // go into the line they belong to

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == ','; }
bool isMark(char c) { return c == '(' || c == ')' || c == '{' || c == '}'; }

int digitOf(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  const char lower = static_cast<char>(c | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

bool isHex(std::string_view word) {
  return word.size() % 2 == 0 && std::all_of(word.begin(), word.end(), [](char c) { return digitOf(c) >= 0; });
}

std::uint8_t byteOf(std::string_view digits) {
  return static_cast<std::uint8_t>(digitOf(digits[0]) << 4 | digitOf(digits[1]));
}

// The character at the front of a text in UTF-8, which it is taken from.
char32_t takeCharacter(std::string_view& text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  const std::size_t length = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  char32_t character = length == 1 ? lead : lead & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length && i < text.size(); ++i) {
    character = character << 6 | (static_cast<unsigned char>(text[i]) & 0x3F);
  }
  text.remove_prefix(std::min(length, text.size()));
  return character;
}

}  // namespace

void TextReader::advance() {
  lastAt_ = next_.at;
  const auto skip = [this](auto isIn) {
    const std::size_t begin = at_;
    while (at_ < text_.size() && isIn(text_[at_])) ++at_;
    return text_.substr(begin, at_ - begin);
  };
  for (;;) {
    skip(isSpace);
    if (at_ < text_.size() && text_[at_] == ';') skip([](char c) { return c != '\n'; });
    if (depth_ == 0 || at_ == text_.size() || text_[at_] != '\n') break;
    ++at_;
  }
  const std::size_t begin = at_;
  const auto token = [&](Kind kind) { next_ = {kind, text_.substr(begin, at_ - begin), begin}; };
  if (at_ == text_.size()) return token(Kind::end);
  const char c = text_[at_];
  if (c == '\n' || isMark(c)) {
    ++at_;
    if (c == '{') ++depth_;
    if (c == '}' && depth_ > 0) --depth_;
    return token(c == '\n' ? Kind::line : Kind::mark);
  }
  if (c != '"') {
    skip([](char d) { return !isSpace(d) && !isMark(d) && d != '\n' && d != '"' && d != ';'; });
    return token(Kind::word);
  }
  ++at_;
  while (at_ < text_.size() && text_[at_] != '"' && text_[at_] != '\n') at_ += text_[at_] == '\\' ? 2 : 1;
  at_ = std::min(at_, text_.size());
  if (at_ == text_.size() || text_[at_] != '"') {
    failAt(begin, "the text isn't closed; a \" at its end would work");
    return;
  }
  ++at_;
  token(Kind::quoted);
}

void TextReader::failAt(std::size_t at, const std::string& what) {
  if (!error_) {
    const std::string_view before = text_.substr(0, at);
    const std::size_t lineBegin = before.rfind('\n') + 1;  // 0 if there is none
    error_ = TextError{static_cast<int>(std::count(before.begin(), before.end(), '\n')) + 1,
                       static_cast<int>(at - lineBegin) + 1, what};
  }
  at_ = text_.size();
  next_ = {Kind::end, {}, at_};
}

void TextReader::fail(const std::string& what) {
  const bool isThere = !atLineEnd();
  std::string sentence = atEnd() ? "the end of the text" : isThere ? "\"" : "the end of the line";
  if (isThere) sentence.append(next_.text).append("\"");
  failAt(next_.at, sentence + " " + what);
}

void TextReader::failBefore(const std::string& what) { failAt(lastAt_, what); }

std::string_view TextReader::takeWord() {
  const std::string_view word = peek();
  if (word.empty()) {
    fail("stands where a word is expected");
  } else {
    advance();
  }
  return word;
}

bool TextReader::take(std::string_view word) {
  if (peek() != word) return false;
  advance();
  return true;
}

bool TextReader::take(char mark) {
  if (!at(mark)) return false;
  advance();
  return true;
}

void TextReader::expect(char mark) {
  if (!take(mark)) fail(std::string("stands where \"") + mark + "\" would work");
}

std::int64_t TextReader::integer(std::int64_t least, std::int64_t most) {
  std::string_view digits = peek();
  const bool isHex = digits.starts_with("0x");
  if (isHex) digits.remove_prefix(2);
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, isHex ? 16 : 10);
  if (digits.empty() || error != std::errc() || end != digits.data() + digits.size() || value < least || value > most) {
    fail("is no number from " + std::to_string(least) + " to " + std::to_string(most));
    return 0;
  }
  advance();
  return value;
}

Fixed TextReader::fixed() {
  const std::string_view digits = peek();
  double value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (digits.empty() || error != std::errc() || end != digits.data() + digits.size() || !(std::abs(value) <= 32768)) {
    fail("is no number from -32768 to 32768; 1.5 would work");
    return 0;
  }
  advance();
  return static_cast<Fixed>(std::clamp<std::int64_t>(std::llround(value * 65536), INT32_MIN, INT32_MAX));
}

Point TextReader::point() {
  expect('(');
  const auto h = static_cast<std::int16_t>(integer(INT16_MIN, INT16_MAX));
  const auto v = static_cast<std::int16_t>(integer(INT16_MIN, INT16_MAX));
  expect(')');
  return {v, h};
}

Rect TextReader::rect() {
  std::array<std::int16_t, 4> edges = {};
  expect('(');
  for (std::int16_t& edge : edges) edge = static_cast<std::int16_t>(integer(INT16_MIN, INT16_MAX));
  expect(')');
  return {edges[1], edges[0], edges[3], edges[2]};
}

RGBColor TextReader::color() {
  std::string_view digits = peek();
  const bool isLong = digits.size() == 13;
  if (!digits.starts_with('#') || !(isLong || digits.size() == 7) || !isHex(digits.substr(1))) {
    fail("is no colour; #FF8000 or #FFFF80000000 would work");
    return {};
  }
  advance();
  const auto component = [&](std::size_t i) {
    const int high = byteOf(digits.substr(1 + (isLong ? 4 : 2) * i));
    return static_cast<std::uint16_t>(high << 8 | (isLong ? byteOf(digits.substr(3 + 4 * i)) : high));
  };
  return {component(0), component(1), component(2)};
}

void TextReader::addHex(std::vector<std::uint8_t>& bytes) {
  const std::string_view word = peek();
  if (word.empty() || !isHex(word)) {
    return fail("is no run of bytes; pairs of hexadecimal digits, or a text in quotes, would work");
  }
  for (std::size_t i = 0; i < word.size(); i += 2) bytes.push_back(byteOf(word.substr(i)));
  advance();
}

void TextReader::addQuoted(std::vector<std::uint8_t>& bytes) {
  std::string_view text = next_.text.substr(1, next_.text.size() - 2);
  while (!text.empty()) {
    if (text[0] != '\\') {
      const auto byte = macRomanByteOf(takeCharacter(text));
      if (!byte) return fail("has a character that MacRoman has not");
      bytes.push_back(*byte);
    } else if (text.size() >= 4 && text[1] == 'x' && isHex(text.substr(2, 2))) {
      bytes.push_back(byteOf(text.substr(2)));
      text.remove_prefix(4);
    } else if (text.size() >= 2 && (text[1] == '\\' || text[1] == '"')) {
      bytes.push_back(static_cast<std::uint8_t>(text[1]));
      text.remove_prefix(2);
    } else {
      return fail("has a \\ without a meaning; \\\\, \\\" or \\x8E would work");
    }
  }
  advance();
}

Bytes TextReader::bytes() {
  std::vector<std::uint8_t> bytes;
  const auto add = [&] { next_.kind == Kind::quoted ? addQuoted(bytes) : addHex(bytes); };
  if (take('{')) {
    while (good() && !at('}')) add();
    expect('}');
  } else {
    add();
  }
  return keep(std::move(bytes));
}

Bytes TextReader::keep(std::vector<std::uint8_t> bytes) { return kept_.emplace_back(std::move(bytes)); }

void TextWriter::newLine() {
  text_ += '\n';
  lineBegin_ = text_.size();
  text_.append(kIndent + 2 * depth_, ' ');
}

void TextWriter::word(std::string_view word) {
  if (depth_ > 0 && text_.size() - lineBegin_ + 1 + word.size() > kLineLength) {
    newLine();
  } else if (!text_.empty()) {
    text_ += ' ';
  }
  text_ += word;
}

void TextWriter::open() {
  word("{");
  ++depth_;
}

void TextWriter::close() {
  --depth_;
  if (!hasRows_) return word("}");
  newLine();
  text_ += '}';
  hasRows_ = false;
}

void TextWriter::row(std::string_view word) {
  newLine();
  text_ += word;
  hasRows_ = true;
}

void TextWriter::bytes(Bytes bytes) {
  if (!bytes.empty() && bytes.size() <= kShortBytes) return word(hexOf(bytes));
  open();
  for (std::size_t at = 0; at < bytes.size(); at += kShortBytes) {
    row(hexOf(bytes.subspan(at, std::min(kShortBytes, bytes.size() - at))));
  }
  close();
}

std::string format(const char* pattern, ...) {
  std::array<char, 256> text;
  va_list arguments;
  va_start(arguments, pattern);
  // clang-tidy forgets va_start when it looks at a second file. NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
  std::vsnprintf(text.data(), text.size(), pattern, arguments);
  va_end(arguments);
  return text.data();
}

std::string textOf(Point p) { return format("(%d, %d)", p.h, p.v); }
std::string textOf(const Rect& r) { return format("(%d, %d, %d, %d)", r.left, r.top, r.right, r.bottom); }
std::string textOf(const RGBColor& c) { return format("#%04X%04X%04X", c.red, c.green, c.blue); }

std::string hexOf(Bytes bytes) {
  static constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text;
  text.reserve(2 * bytes.size());
  for (const std::uint8_t byte : bytes) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

std::string quoted(Bytes bytes) {
  std::string text = "\"";
  for (const std::uint8_t byte : bytes) {
    if (byte >= 0x20 && byte < 0x7F && byte != '"' && byte != '\\') {
      text += static_cast<char>(byte);
    } else {
      text += format("\\x%02X", byte);
    }
  }
  return text + "\"";
}

std::string fixedText(Fixed value) {
  const double number = value / 65536.0;
  std::string text;
  for (int digits = 0; digits == 0 || std::llround(std::strtod(text.c_str(), nullptr) * 65536) != value; ++digits) {
    text = format("%.*f", digits, number);
  }
  return text;
}

}  // namespace qd
