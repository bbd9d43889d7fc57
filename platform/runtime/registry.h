// The classes and global methods that plug-ins registered, read from their records in the layout of the version that
// was told.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "contract/records.h"
#include "platform/runtime/declaration.h"
#include "platform/runtime/heap.h"

namespace runtime {

// What the host knows of one method row.
struct Method {
  Declaration declaration;
  REALhandler handler = nullptr, setter = nullptr;
  std::vector<std::pair<std::string, std::string>> attributes;
};

struct Property {
  std::string name;
  bool canSet;
  std::uint32_t offset;
};

struct ClassInfo {
  std::string name;
  std::uint32_t dataSize = 0;
  REALhandler constructor = nullptr, destructor = nullptr;
  std::vector<Method> methods;
  std::vector<Property> properties;
  std::vector<std::pair<std::string, std::string>> attributes;
};

// An object of a registered class.
struct Instance : Payload {
  explicit Instance(const ClassInfo& of) : info(&of) {}
  void end(Heap&, REALobjectStruct* object) override;
  const ClassInfo* info;
};

class Registry {
 public:
  void tell(std::int32_t recordVersion) { recordVersion_ = recordVersion; }
  // These throw Error, and add nothing, where a record makes no sense. A class that is no extension is told where its
  // data begins.
  void addClass(REALclassDefinition& record, bool isExtension);
  void addGlobalMethod(const REALmethodDefinition& row);

  using Classes = std::map<std::string, ClassInfo, std::less<>>;
  const Classes& classes() const { return classes_; }
  const std::vector<Method>& globalMethods() const { return globalMethods_; }
  // Null if there is none of this very name.
  const ClassInfo* find(std::string_view className) const;

 private:
  bool hasAttributes() const;

  std::int32_t recordVersion_ = 0;
  Classes classes_;
  std::vector<Method> globalMethods_;
};

// Makes an object of a class, and has its constructor called.
REALobjectStruct* newInstance(Heap& heap, const ClassInfo& info);

}  // namespace runtime
