// The words of a picture's text: what the lister writes and the assembler reads.
//
// A line is a word and its operands. Numbers are decimal, or hexadecimal after 0x; points and rectangles stand in
// parentheses; bytes are pairs of hexadecimal digits, or a text in quotes. Commas are as good as spaces, a semicolon
// begins a comment, and between braces lines don't end.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/pict/bytes.h"

namespace qd {

// One cursor. The first word that doesn't fit ends it there; every later one reads as nothing, and the caller asks
// once.
class TextReader {
 public:
  explicit TextReader(std::string_view text) : text_(text) { advance(); }

  bool good() const { return !error_; }
  const std::optional<TextError>& error() const { return error_; }
  // The next word doesn't fit: it "is no colour; #FF8000 would work".
  void fail(const std::string& what);
  // What came before it doesn't.
  void failBefore(const std::string& what);

  bool atEnd() const { return next_.kind == Kind::end; }
  bool atLineEnd() const { return atEnd() || next_.kind == Kind::line; }
  bool at(char mark) const { return next_.kind == Kind::mark && next_.text[0] == mark; }
  // The next word, if it is one.
  std::string_view peek() const { return next_.kind == Kind::word ? next_.text : std::string_view(); }

  void takeLineEnd() { advance(); }
  std::string_view takeWord();
  bool take(std::string_view word);
  bool take(char mark);
  void expect(char mark);

  std::int64_t integer(std::int64_t least, std::int64_t most);
  Fixed fixed();
  Point point();
  Rect rect();
  RGBColor color();
  // Bytes stay where they are as long as the reader lives.
  Bytes bytes();
  Bytes keep(std::vector<std::uint8_t> bytes);

 private:
  enum class Kind { end, line, word, quoted, mark };
  struct Token {
    Kind kind = Kind::end;
    std::string_view text;
    std::size_t at = 0;
  };
  void advance();
  void failAt(std::size_t at, const std::string& what);
  void addHex(std::vector<std::uint8_t>& bytes);
  void addQuoted(std::vector<std::uint8_t>& bytes);

  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t lastAt_ = 0;  // of the token before the next
  int depth_ = 0;           // of braces
  Token next_;
  std::optional<TextError> error_;
  std::deque<std::vector<std::uint8_t>> kept_;
};

// Puts words into lines, of some length at most where lines may end.
class TextWriter {
 public:
  void word(std::string_view word);
  void open();
  void close();
  // A word on a line of its own.
  void row(std::string_view word);
  void bytes(Bytes bytes);
  std::string take() { return std::move(text_); }

 private:
  void newLine();

  std::string text_;
  std::size_t lineBegin_ = 0;
  std::size_t depth_ = 0;
  bool hasRows_ = false;
};

// How numbers and their likes are written, here and in short listings.
std::string textOf(Point p);
std::string textOf(const Rect& r);
std::string textOf(const RGBColor& color);
std::string hexOf(Bytes bytes);
std::string quoted(Bytes bytes);
// As many digits as it takes to read the same again.
std::string fixedText(Fixed value);

// GCC and Clang look whether the arguments fit.
__attribute__((format(printf, 1, 2))) std::string format(const char* pattern, ...);

}  // namespace qd
