// The host application: loads plug-ins, knows their classes, and runs host code, here written in C++.
#pragma once

#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/frameworks/bundle.h"
#include "platform/runtime/error.h"
#include "platform/runtime/heap.h"
#include "platform/runtime/registry.h"

namespace runtime {

// An exception of the host's language, which a handler raised or the host itself.
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

// Throws the exception that there is no memory for a string of so many bytes, where they are more than one may have.
void requireStringOf(std::size_t bytes);

// ---- what is alive in the running host; nothing is when none runs

void lock(REALobjectStruct* object);
void unlock(REALobjectStruct* object);
void lock(REALstringStruct* string);
void unlock(REALstringStruct* string);
std::string_view bytesOf(const REALstringStruct* string);
template <class Kind>
Kind* as(const void* reference);

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
  void withdraw(const std::string& name) { withdrawn_.insert(name); }
  void restore(const std::string& name) { withdrawn_.erase(name); }
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
  Object zeroedBlock(std::size_t size) const;
  Object integers(std::vector<std::int32_t> elements) const;
  Object newPicture(int width, int height, int depth = 32) const;
  // A picture whose storage is of a kind that plug-ins don't know.
  Object strangePicture(int width, int height) const;
  Object graphicsOf(const Object& picture) const;
  // The world behind a picture, as the integer that host code passes on.
  std::int32_t worldOf(const Object& picture) const;

  const Registry::Classes& classes() const { return registry_.classes(); }
  const std::vector<Method>& globalMethods() const { return registry_.globalMethods(); }
  Heap& heap() const { return heap_; }

  // ---- what the entry points need
  static Host* running();  // null if there is none
  static void* resolve(const char* name) noexcept;
  bool has(std::string_view name) const { return !withdrawn_.contains(name); }
  double version() const { return version_.value_or(0.0); }
  void tell(std::int32_t recordVersion) { registry_.tell(recordVersion); }
  // Nothing is thrown through a plug-in: what is wrong with a record waits till somebody asks.
  void addClass(REALclassDefinition* record, bool isExtension);
  void addGlobalMethod(const REALmethodDefinition* row);
  void throwRefused();
  REALobjectStruct* instanceOf(std::string_view className);
  void raise(REALobjectStruct* exception);
  void raiseStringTooLong(std::size_t bytes);
  // The exception that was raised since somebody last asked, or nil.
  Object takeRaised() { return std::exchange(raised_, {}); }

 private:
  const Method* findMethod(const Object& object, const std::string& name) const;
  const ClassInfo* classOf(const Object& object) const;
  Value invoke(const Method& method, REALhandler handler, const Object* self, const std::vector<Value>& arguments);
  void throwRaised();
  template <class Add>
  void adding(Add add);

  std::optional<double> version_;
  std::set<std::string, std::less<>> withdrawn_;
  Registry registry_;
  mutable Heap heap_;  // a host that makes values is the same host
  Object raised_;
  std::exception_ptr refused_;
  std::vector<OwnedBundle> bundles_;
};

template <class Kind>
Kind* as(const void* reference) {
  Host* const host = Host::running();
  return host != nullptr ? host->heap().as<Kind>(reference) : nullptr;
}

// What is still alive, in the running host and beside it: one line for each kind, nothing if all is in balance.
std::vector<std::string> audit();

}  // namespace runtime
