#include "platform/runtime/registry.h"

#include <cstring>

#include "platform/runtime/error.h"

namespace runtime {
namespace {

constexpr std::int32_t kFirstRecordsWithAttributes = 10;

// Rows of older hosts are shorter, in words.
struct RowWords {
  std::size_t method, property;
};
constexpr RowWords kRows = {6, 12};
constexpr RowWords kRowsWithoutAttributes = {4, 10};

void callWith(REALhandler handler, REALobjectStruct* object) {
  if (handler != nullptr) reinterpret_cast<void (*)(REALobjectStruct*)>(handler)(object);
}

Method readMethod(const std::uint32_t* row, bool hasAttributes) {
  REALmethodDefinition record = {};
  std::memcpy(&record, row, (hasAttributes ? kRows : kRowsWithoutAttributes).method * sizeof *row);
  const auto declaration = record.declaration != nullptr ? parseDeclaration(record.declaration) : std::nullopt;
  if (!declaration) {
    throw Error(std::string("The plug-in's declaration \"") +
                (record.declaration != nullptr ? record.declaration : "") +
                "\" can't be read; one like \"Name(x as integer) as string\" would work.");
  }
  if (record.handler == nullptr) throw Error("The plug-in's method " + declaration->name + " has no handler.");
  if (record.attributes == nullptr && record.attributeCount != 0) {
    throw Error("The plug-in's method " + declaration->name + " counts attributes that aren't there.");
  }
  Method method = {*declaration, record.handler, record.setter, {}};
  for (std::uint32_t i = 0; i < record.attributeCount; ++i) {
    method.attributes.emplace_back(record.attributes[i].name, record.attributes[i].value);
  }
  return method;
}

}  // namespace

void Instance::end(Heap&, REALobjectStruct* object) { callWith(info->destructor, object); }

REALobjectStruct* newInstance(Heap& heap, const ClassInfo& info) {
  REALobjectStruct* const object = heap.newObject(std::make_unique<Instance>(info), info.dataSize);
  callWith(info.constructor, object);
  return object;
}

bool Registry::hasAttributes() const { return recordVersion_ >= kFirstRecordsWithAttributes; }

void Registry::addGlobalMethod(const REALmethodDefinition& row) {
  globalMethods_.push_back(readMethod(reinterpret_cast<const std::uint32_t*>(&row), hasAttributes()));
}

// Record words are read by their place, as far as the told record version has them.
void Registry::addClass(REALclassDefinition& record, bool isExtension) {
  if (recordVersion_ == 0) recordVersion_ = static_cast<std::int32_t>(record.version);  // nobody told it
  if (record.version != static_cast<std::uint32_t>(recordVersion_)) {
    throw Error("The plug-in's class record is of version " + std::to_string(record.version) + ", but it told " +
                std::to_string(recordVersion_) + ".");
  }
  if (record.name == nullptr || record.methodCount > 10000 || record.propertyCount > 10000 ||
      (record.methods == nullptr && record.methodCount != 0) ||
      (record.properties == nullptr && record.propertyCount != 0) ||
      (hasAttributes() && record.attributes == nullptr && record.attributeCount != 0)) {
    throw Error("The plug-in's class record makes no sense: it has no name, or counts rows that aren't there.");
  }
  const RowWords words = hasAttributes() ? kRows : kRowsWithoutAttributes;
  ClassInfo info;
  info.name = record.name;
  info.dataSize = record.dataSize;
  info.constructor = record.constructor;
  info.destructor = record.destructor;
  const auto* method = reinterpret_cast<const std::uint32_t*>(record.methods);
  for (std::uint32_t i = 0; i < record.methodCount; ++i, method += words.method) {
    info.methods.push_back(readMethod(method, hasAttributes()));
  }
  const auto* property = reinterpret_cast<const std::uint32_t*>(record.properties);
  for (std::uint32_t i = 0; i < record.propertyCount; ++i, property += words.property) {
    const auto* row = reinterpret_cast<const REALproperty*>(property);
    if (row->name == nullptr) throw Error("A property of the plug-in's class " + info.name + " has no name.");
    if (row->getter == kREALstandardAccess && std::uint64_t{row->parameter} + sizeof(std::int32_t) > info.dataSize) {
      throw Error("The plug-in's property \"" + std::string(row->name) + "\" lies outside its class's data.");
    }
    info.properties.push_back({row->name, row->setter == kREALstandardAccess, row->parameter});
  }
  if (hasAttributes()) {
    for (std::uint32_t i = 0; i < record.attributeCount; ++i) {
      info.attributes.emplace_back(record.attributes[i].name, record.attributes[i].value);
    }
  }
  classes_.insert_or_assign(record.name, std::move(info));
  if (!isExtension) record.dataOffset = kDataOffset;
}

const ClassInfo* Registry::find(std::string_view className) const {
  const auto found = classes_.find(className);
  return found != classes_.end() ? &found->second : nullptr;
}

}  // namespace runtime
