// The host application: loads plug-ins, knows their classes, and runs host code, here written in C++.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "contract/records.h"
#include "platform/runtime/declaration.h"
#include "platform/runtime/heap.h"

namespace runtime {

// A mistake in host code or in what is loaded: one sentence for a person.
class Error : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

// An exception of the host's language that a handler raised.
class Exception : public std::runtime_error {
 public:
  explicit Exception(const ExceptionObject& raised)
      : std::runtime_error(raised.className + ": " + raised.message),
        className(raised.className),
        message(raised.message),
        number(raised.number) {}
  std::string className, message;
  std::int32_t number;
};

// A counted reference to a string or an object, or nil.
template <class Struct>
class Reference {
 public:
  Reference() = default;
  // Takes over the one lock that a new thing has.
  explicit Reference(Struct* adopted) : struct_(adopted) {}
  Reference(const Reference& other) : struct_(other.struct_) { lock(struct_); }
  Reference(Reference&& other) noexcept : struct_(std::exchange(other.struct_, nullptr)) {}
  Reference& operator=(Reference other) noexcept {
    std::swap(struct_, other.struct_);
    return *this;
  }
  ~Reference() {
    if (struct_ != nullptr) unlock(struct_);
  }
  Struct* get() const { return struct_; }
  Struct* release() { return std::exchange(struct_, nullptr); }
  explicit operator bool() const { return struct_ != nullptr; }

 private:
  Struct* struct_ = nullptr;
};
using String = Reference<REALstringStruct>;
using Object = Reference<REALobjectStruct>;

using Nil = std::monostate;
using Value = std::variant<Nil, std::int32_t, bool, String, Object>;

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

// Called when the last lock of an instance goes.
void destroyInstance(const Instance& instance, REALobjectStruct* object);

// One host at a time is the running one, from construction to destruction.
class Host {
 public:
  // Without a version the host lacks the call that tells it.
  explicit Host(std::optional<double> version = 2014.0);
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  using Resolver = void* (*)(const char* name);
  // The plug-in gets its entry points from the resolver.
  void load(const std::filesystem::path& bundle, Resolver resolver = &Host::resolve);

  // Takes an entry point or a class of the host's own away, and gives it back.
  void take(const std::string& name) { taken_.insert(name); }
  void give(const std::string& name) { taken_.erase(name); }
  // Whether arrays show their elements in their record.
  bool arraysShowStorage = true;

  // ---- host code
  Object make(const std::string& className);
  Value call(const Object& object, const std::string& method, const std::vector<Value>& arguments = {});
  Value call(const std::string& globalMethod, const std::vector<Value>& arguments);
  Value get(const Object& object, const std::string& property);
  void set(const Object& object, const std::string& property, const Value& value);

  String string(std::string_view bytes, std::uint32_t encoding = kCFStringEncodingUTF8) const;
  Object block(std::string_view bytes) const;
  Object integers(std::vector<std::int32_t> elements) const;
  Object newPicture(int width, int height, int depth = 32) const;
  // A picture whose storage is of a kind that plug-ins don't know.
  Object strangePicture(int width, int height) const;
  Object graphicsOf(const Object& picture) const;
  // The world behind a picture, as the integer that host code passes on.
  std::int32_t worldOf(const Object& picture) const;

  const std::map<std::string, ClassInfo>& classes() const { return classes_; }
  const std::vector<Method>& globalMethods() const { return globalMethods_; }
  std::int32_t recordVersion() const { return recordVersion_; }

  // ---- what the entry points need
  static Host& running();
  static void* resolve(const char* name);
  bool has(std::string_view name) const { return !taken_.contains(name); }
  double version() const { return version_.value_or(0.0); }
  void tell(std::int32_t recordVersion) { recordVersion_ = recordVersion; }
  void addClass(REALclassDefinition* record, bool isExtension);
  void addGlobalMethod(const REALmethodDefinition* row);
  REALobjectStruct* instanceOf(const std::string& className);
  void raise(REALobjectStruct* exception) { raised_ = *as<ExceptionObject>(exception); }
  // What was wrong with a record, till somebody asks.
  std::optional<std::string> takeRefusal() { return std::exchange(refused_, std::nullopt); }
  // The exception that was raised since somebody last asked.
  std::optional<ExceptionObject> takeRaised() { return std::exchange(raised_, std::nullopt); }

 private:
  const Method* findMethod(const Object& object, const std::string& name) const;
  const ClassInfo* classOf(const Object& object) const;
  Value invoke(const Method& method, REALhandler handler, const Object* self, const std::vector<Value>& arguments);
  void throwRaised();
  void readClass(REALclassDefinition* record, bool isExtension);

  std::optional<double> version_;
  std::int32_t recordVersion_ = 0;
  std::set<std::string, std::less<>> taken_;
  std::map<std::string, ClassInfo> classes_;
  std::vector<Method> globalMethods_;
  std::optional<ExceptionObject> raised_;
  std::optional<std::string> refused_;  // nothing is thrown through a plug-in
  struct Unload {
    void operator()(void* bundle) const;
  };
  std::vector<std::unique_ptr<void, Unload>> bundles_;
};

// What is still alive: one line for each kind, nothing if all is in balance.
std::vector<std::string> audit();

}  // namespace runtime
