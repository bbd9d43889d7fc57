// What host code holds: strings, and objects with counted locks. A plug-in sees the records behind the references.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <typeinfo>
#include <vector>

#include "contract/handles.h"
#include "contract/host.h"

namespace runtime {

struct ClassInfo;

// What an object is besides its record.
struct Payload {
  virtual ~Payload() = default;
};

// Memory that comes zeroed, which big pieces of it do untouched.
template <class T>
struct ZeroedMemory {
  using value_type = T;
  T* allocate(std::size_t count) {
    if (void* const memory = std::calloc(count, sizeof(T))) return static_cast<T*>(memory);
    throw std::bad_alloc();
  }
  void deallocate(T* memory, std::size_t) { std::free(memory); }
  void construct(T*) {}
  template <class... Arguments>
  void construct(T* at, Arguments&&... arguments) {
    std::construct_at(at, std::forward<Arguments>(arguments)...);
  }
  bool operator==(const ZeroedMemory&) const = default;
};

struct MemoryBlock : Payload {
  std::vector<char, ZeroedMemory<char>> bytes;  // made in the size that it keeps
};

struct IntegerArray : Payload {
  std::vector<std::int32_t> elements;
};

struct Graphics : Payload {
  Graphics() = default;
  Graphics(const Graphics&) = delete;
  Graphics& operator=(const Graphics&) = delete;
  ~Graphics() override;
  GWorldPtr port = nullptr;
  REALobjectStruct* picture =
      nullptr;  // whose pixels the port is, and which it holds a lock on; or the port is its own
};

struct PictureObject : Payload {
  PictureObject() = default;
  PictureObject(const PictureObject&) = delete;
  PictureObject& operator=(const PictureObject&) = delete;
  ~PictureObject() override;
  std::uint32_t kind = 0;
  PicHandle pict = nullptr;
  GWorldPtr world = nullptr;
  bool owns = false;
  std::int32_t width = 0, height = 0;
  int descriptionLocks = 0;
};

struct ExceptionObject : Payload {
  std::string className, message;
  std::int32_t number = 0;
};

struct Instance : Payload {
  const ClassInfo* info = nullptr;
};

// ---- the heap of the host

// A new object has one lock. Data of a class lies behind the record, zeroed.
constexpr std::uint32_t kDataOffset = 16;
REALobjectStruct* newObject(std::unique_ptr<Payload> payload, std::uint32_t dataSize = 0);
void lock(REALobjectStruct* object);
void unlock(REALobjectStruct* object);  // the last lock takes the object with it
int locksOf(const REALobjectStruct* object);
// Shows the elements of an array in its record, or hides them.
void showStorage(REALobjectStruct* array, const std::int32_t* elements);

// What an object is; null for nil, for what isn't alive, and for what is something else.
Payload* payloadOf(const void* reference);
template <class Kind>
Kind* as(const void* reference) {
  Payload* const payload = payloadOf(reference);
  return payload != nullptr && typeid(*payload) == typeid(Kind) ? static_cast<Kind*>(payload) : nullptr;
}

REALstringStruct* newString(std::string_view bytes, std::uint32_t encoding);
void lock(REALstringStruct* string);
void unlock(REALstringStruct* string);
bool isString(const void* reference);
std::string_view bytesOf(const REALstringStruct* string);
std::uint32_t encodingOf(const REALstringStruct* string);
void setEncoding(REALstringStruct* string, std::uint32_t encoding);
// A string in another encoding with one lock, or null if there is no way from the one to the other.
REALstringStruct* converted(REALstringStruct* string, std::uint32_t encoding);

struct HeapAudit {
  std::size_t objects, strings, descriptionLocks;
};
HeapAudit auditHeap();

}  // namespace runtime
