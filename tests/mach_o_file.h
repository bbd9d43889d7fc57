// A small Mach-O bundle, put together by hand: code that answers 42, eight words of data, and what fixes them up. The
// fuzzers begin with it too.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

struct MachOFile {
  static constexpr std::uint32_t kAddress = 0x10000, kPage = 0x1000;
  static constexpr std::uint32_t kCode = 0x1A0, kData = 0x1C0, kLinks = 0x1E0;  // in the file

  template <std::size_t Size>
  static std::string text(const char (&characters)[Size]) {
    return {characters, Size - 1};
  }

  std::uint32_t magic = 0xFEEDFACE, cpu = 7, kind = 8;
  std::uint32_t textProtection = 5, textSection = 0;
  std::uint32_t dataProtection = 3, dataAddress = kAddress + kPage, dataSize = kPage;
  std::uint32_t relocations = 0, lastCommand = 0x1B;
  // The first word is the code's address, the second HLock's, the third that and 5, the fourth that of nothing.
  std::string rebase = text("\x11\x21\0\x51\0");
  std::string bind = text("\x11\x40_HLock\0\x51\x71\x04\x90\x60\x05\x90\x41_NoSuchThing\0\x90\0");
  std::string lazy;
  std::string exports = names("answer");

  // What exports the code by this name, and the data as "words": a tree's root, then a node for each.
  static std::string names(const std::string& code) {
    const auto end = static_cast<char>(code.size() + 13);
    return text("\0\x02_") + code + '\0' + end + text("_words\0") + static_cast<char>(end + 5) +
           text("\x03\0\xA0\x03\0") + text("\x03\0\x80\x20\0");
  }

  std::vector<std::uint8_t> bytes() const {
    std::string out;
    const auto words = [&out](std::initializer_list<std::uint32_t> values) {
      for (const std::uint32_t value : values) {
        for (int shift = 0; shift < 32; shift += 8) out += static_cast<char>(value >> shift);
      }
    };
    const auto name = [&out](std::string of) {
      of.resize(16);
      out += of;
    };
    const std::string* const links[] = {&rebase, &bind, &lazy, &exports};
    std::uint32_t size = 0;
    for (const std::string* part : links) size += static_cast<std::uint32_t>(part->size());

    words({magic, cpu, 3, kind, 6, 372, 0x85});
    words({1, 56 + 68});
    name("__TEXT");
    words({kAddress, kPage, 0, kData, 7, textProtection, 1, 0});
    name("__text");
    name("__TEXT");
    words({kAddress + kCode, 6, kCode, 0, 0, 0, textSection, 0, 0});
    words({1, 56});
    name("__DATA");
    words({dataAddress, dataSize, kData, kLinks - kData, 7, dataProtection, 0, 0});
    words({1, 56});
    name("__LINKEDIT");
    words({kAddress + 4 * kPage, kPage, kLinks, size, 7, 1, 0, 0});
    words({0x80000022, 48});
    std::uint32_t at = kLinks;
    for (const std::string* part : links) {
      if (part == &lazy) words({0, 0});  // nothing is bound weakly
      words({part->empty() ? 0 : at, static_cast<std::uint32_t>(part->size())});
      at += static_cast<std::uint32_t>(part->size());
    }
    words({0xB, 80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, relocations});
    words({lastCommand, 8});
    out.resize(kCode);
    out += text("\xB8\x2A\0\0\0\xC3");  // mov eax, 42; ret
    out.resize(kData);
    words({kAddress + kCode});
    out.resize(kLinks);
    for (const std::string* part : links) out += *part;
    return {out.begin(), out.end()};
  }
};
