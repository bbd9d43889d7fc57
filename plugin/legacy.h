// The class records in the layout of hosts at record version 9: 25 words, with shorter rows and without attributes.
#pragma once

#include "contract/records.h"

inline constexpr int kLegacyClassWords = 25;
struct LegacyClass {
  std::uint32_t words[kLegacyClassWords];
};

// A new legacy record, which the caller frees. Its tables are new too, and last as long as the process. Null where
// there is no memory for all of it.
LegacyClass* FixClass(REALclassDefinition* record);

// A new table of legacy rows, or null for none.
void* FixProperties(const REALproperty* table, std::int32_t count);

// The record version in force: 9, 10, 11 or 12.
extern std::int32_t CurrentREALControlVersion;
