// The records in which a plug-in hands its classes, methods and properties to the host. Sequences of 32-bit words; a
// string word points to terminated characters, a table word to the first row. Words without a name are 0.
#pragma once

#include <cstddef>
#include <cstdint>

using REALhandler = void (*)();

struct REALattribute {
  const char* name;
  const char* value;
};

struct REALmethodDefinition {
  REALhandler handler;
  REALhandler setter;  // of a row that stands for a property
  const char* declaration;
  std::uint32_t flags;
  std::uint32_t attributeCount;
  const REALattribute* attributes;
};

struct REALproperty {
  std::uint32_t none0;
  const char* name;
  const char* type;
  std::uint32_t none3;
  std::int32_t getter;      // kREALstandardAccess: the host itself reads the field
  std::int32_t setter;      // kREALstandardAccess, or 0 for a property that can't be set
  std::uint32_t parameter;  // the field's offset in the class data
  std::uint32_t none7[5];
};

constexpr std::int32_t kREALstandardAccess = -1;

struct REALclassDefinition {
  std::uint32_t version = {};
  const char* name = {};  // in a class extension, the name of the extended class
  std::uint32_t none2 = {};
  std::uint32_t dataSize = {};
  std::uint32_t dataOffset = {};  // written by the host: where the class data begins in an instance
  REALhandler constructor = {};
  REALhandler destructor = {};
  REALproperty* properties = {};
  std::uint32_t propertyCount = {};
  REALmethodDefinition* methods = {};
  std::uint32_t methodCount = {};
  std::uint32_t none11[5] = {};
  const REALattribute* attributes = {};
  std::uint32_t attributeCount = {};
  std::uint32_t none18[11] = {};
};

#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(REALattribute) == 2 * 4);
static_assert(sizeof(REALmethodDefinition) == 6 * 4 && offsetof(REALmethodDefinition, declaration) == 2 * 4 &&
              offsetof(REALmethodDefinition, attributeCount) == 4 * 4);
static_assert(sizeof(REALproperty) == 12 * 4 && offsetof(REALproperty, getter) == 4 * 4 &&
              offsetof(REALproperty, parameter) == 6 * 4);
static_assert(sizeof(REALclassDefinition) == 29 * 4 && offsetof(REALclassDefinition, dataOffset) == 4 * 4 &&
              offsetof(REALclassDefinition, properties) == 7 * 4 && offsetof(REALclassDefinition, methods) == 9 * 4 &&
              offsetof(REALclassDefinition, attributes) == 16 * 4);
#endif

// Marks what new code should no longer use.
inline constexpr REALattribute DeprecatedAttributes[] = {{"Deprecated", ""}};

// Handlers of every signature stand in the records as one type of word.
#define REAL_HANDLER(function) reinterpret_cast<REALhandler>(function)
