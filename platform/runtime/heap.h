// The heap of a host: strings, and objects with counted locks. A plug-in sees the records behind the references, and
// may hand in any word as one: what isn't alive is left alone.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <typeinfo>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "contract/handles.h"
#include "contract/host.h"

namespace runtime {

class Heap;

// What an object is besides its record.
struct Payload {
  Payload() = default;
  Payload(const Payload&) = delete;
  Payload& operator=(const Payload&) = delete;
  virtual ~Payload() = default;
  // Its last lock is gone, and its record still whole.
  virtual void end(Heap&, REALobjectStruct*) {}
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
  void end(Heap& heap, REALobjectStruct*) override;
  GWorldPtr port = nullptr;
  REALobjectStruct* picture = nullptr;  // whose pixels the port is, and which it holds a lock on
};

struct PictureObject : Payload {
  PictureObject() = default;
  // Hands over what the other one owns.
  PictureObject(PictureObject&& other) noexcept
      : kind(other.kind),
        pict(other.pict),
        world(other.world),
        owns(std::exchange(other.owns, false)),
        width(other.width),
        height(other.height) {}
  ~PictureObject() override;
  std::uint32_t kind = 0;
  PicHandle pict = nullptr;
  GWorldPtr world = nullptr;
  bool owns = false;
  std::int32_t width = 0, height = 0;
  int descriptionLocks = 0;
};

struct ExceptionObject : Payload {
  explicit ExceptionObject(std::string_view className, std::string message = {})
      : className(className), message(std::move(message)) {}
  std::string className, message;
  std::int32_t number = 0;
};

// The most bytes of one string. A host of 32 bits has one address space for all of them, and a string needs a whole
// piece of it, beside those that it is made of: better one that is refused here, early and always, than one that
// happens to find no room when everything else has lost its own.
constexpr std::size_t kLongestString = 64 << 20;

// Data of a class lies after the record, which is four words long.
constexpr std::uint32_t kDataOffset = 4 * sizeof(void*);

class Heap {
 public:
  Heap() = default;
  Heap(const Heap&) = delete;
  Heap& operator=(const Heap&) = delete;
  ~Heap();  // takes what was left behind with it

  // What is new has one lock, and data that is zeroed. Without memory, and for a string that is too long, these throw
  // std::bad_alloc.
  REALobjectStruct* newObject(std::unique_ptr<Payload> payload, std::uint32_t dataSize = 0);
  REALstringStruct* newString(std::string_view bytes, std::uint32_t encoding);
  // The string in another encoding, with a lock; null if it has no text in that one.
  REALstringStruct* converted(REALstringStruct* string, std::uint32_t encoding);

  // The last lock takes the thing with it.
  void lock(REALobjectStruct* object);
  void unlock(REALobjectStruct* object);
  void lock(REALstringStruct* string);
  void unlock(REALstringStruct* string);

  // What an object is; null for nil, for what isn't alive, and for what is something else.
  template <class Kind>
  Kind* as(const void* reference) const {
    Payload* const payload = payloadOf(reference);
    return payload != nullptr && typeid(*payload) == typeid(Kind) ? static_cast<Kind*>(payload) : nullptr;
  }
  int locksOf(const REALobjectStruct* object) const;
  // Shows the elements of an array in its record.
  static void showStorage(REALobjectStruct* array, const std::int32_t* elements);

  bool isString(const void* reference) const {
    return strings_.contains(static_cast<const REALstringStruct*>(reference));
  }
  std::string_view bytesOf(const REALstringStruct* string) const;
  std::uint32_t encodingOf(const REALstringStruct* string) const;
  void setEncoding(const REALstringStruct* string, std::uint32_t encoding);

  struct Audit {
    std::size_t objects, strings, descriptionLocks;
  };
  Audit audit() const;

 private:
  struct StringInfo {
    int locks;
    std::uint32_t encoding;
  };
  Payload* payloadOf(const void* reference) const;
  StringInfo* infoOf(const REALstringStruct* string);

  std::unordered_set<const void*> objects_;
  std::unordered_map<const REALstringStruct*, StringInfo> strings_;
};

}  // namespace runtime
