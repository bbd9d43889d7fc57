#include "plugin/legacy.h"

#include <cstdlib>
#include <cstring>

constinit std::int32_t CurrentREALControlVersion = 12;

namespace {

constexpr int kWordSize = 4;

// A table of the class record: the word of its address (the count follows), and the words of a row, old and legacy.
struct Table {
  int word;
  int rowWords;
  int legacyRowWords;
  bool linked;  // each old row's second word is pointed to its legacy row
};

constexpr Table kTables[] = {
    {7, 12, 10, false},                                          // properties
    {9, 6, 4, false},                                            // methods
    {11, 4, 2, true},   {18, 5, 3, false}, {21, 12, 10, false},  // properties again
    {23, 6, 4, false},                                           // methods again
};

constexpr int kVersionWord = 0;
constexpr int kAttributesWord = 16;

std::uint32_t* Rows(std::uint32_t word) { return reinterpret_cast<std::uint32_t*>(static_cast<std::uintptr_t>(word)); }
std::uint32_t Word(const void* address) {
  return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(address));
}

// The leading words of each row in a new table; null for no rows, or without memory.
std::uint32_t* FixTable(std::uint32_t* rows, std::uint32_t count, const Table& table) {
  if (rows == nullptr || count == 0) return nullptr;
  auto* legacy =
      static_cast<std::uint32_t*>(std::calloc(count, static_cast<std::size_t>(table.legacyRowWords) * kWordSize));
  if (legacy == nullptr) return nullptr;
  std::uint32_t* to = legacy;
  for (std::uint32_t i = 0; i < count; ++i, rows += table.rowWords, to += table.legacyRowWords) {
    std::memcpy(to, rows, static_cast<std::size_t>(table.legacyRowWords) * kWordSize);
    if (table.linked) rows[1] = Word(to);
  }
  return legacy;
}

}  // namespace

void* FixProperties(const REALproperty* table, std::int32_t count) {
  return FixTable(Rows(Word(table)), static_cast<std::uint32_t>(count), kTables[0]);
}

LegacyClass* FixClass(REALclassDefinition* record) {
  auto* legacy = static_cast<LegacyClass*>(std::calloc(1, sizeof(LegacyClass)));
  if (legacy == nullptr) return nullptr;
  std::uint32_t* words = legacy->words;
  std::memcpy(words, record, sizeof legacy->words);
  words[kVersionWord] = static_cast<std::uint32_t>(CurrentREALControlVersion);
  words[kAttributesWord] = words[kAttributesWord + 1] = 0;

  bool complete = true;
  for (const Table& table : kTables) {
    std::uint32_t* rows = Rows(words[table.word]);
    const std::uint32_t count = words[table.word + 1];
    words[table.word] = Word(FixTable(rows, count, table));
    if (rows != nullptr && count != 0 && words[table.word] == 0) complete = false;
  }
  if (complete) return legacy;

  for (const Table& table : kTables) std::free(Rows(words[table.word]));
  std::free(legacy);
  return nullptr;
}
