#include "platform/runtime/heap.h"

#include <cstring>

#include "platform/quickdraw/operations.h"
#include "platform/runtime/encodings.h"

// Two words of the host's, then the word in which an array shows its elements.
struct REALobjectStruct {
  std::int32_t locks;
  runtime::Payload* payload;
  const std::int32_t* storage;
};
static_assert(sizeof(REALobjectStruct) <= runtime::kDataOffset);
#if UINTPTR_MAX == UINT32_MAX
static_assert(offsetof(REALobjectStruct, storage) == offsetof(REALarrayInteger, storage));
#endif

namespace runtime {
namespace {

// Text is preceded by a byte that is the host's, and ended by zeros that aren't part of it.
constexpr std::size_t kTerminator = 4;

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};

void destroy(const REALstringStruct* string) {
  delete[] string->buffer;
  delete string;
}

void destroy(const REALobjectStruct* object) {
  delete object->payload;
  std::free(const_cast<REALobjectStruct*>(object));
}

}  // namespace

void Graphics::end(Heap& heap, REALobjectStruct*) { heap.unlock(picture); }

PictureObject::~PictureObject() {
  if (!owns) return;
  if (pict != nullptr) KillPicture(pict);
  DisposeGWorld(world);
}

Heap::~Heap() {
  for (const void* object : objects_) destroy(static_cast<const REALobjectStruct*>(object));
  for (const auto& [string, info] : strings_) destroy(string);
}

REALobjectStruct* Heap::newObject(std::unique_ptr<Payload> payload, std::uint32_t dataSize) {
  if (dataSize > UINT32_MAX - kDataOffset) throw std::bad_alloc();
  std::unique_ptr<REALobjectStruct, Free> object(
      static_cast<REALobjectStruct*>(std::calloc(1, kDataOffset + dataSize)));
  if (object == nullptr) throw std::bad_alloc();
  objects_.insert(object.get());
  object->locks = 1;
  object->payload = payload.release();
  return object.release();
}

void Heap::lock(REALobjectStruct* object) {
  if (payloadOf(object) != nullptr) ++object->locks;
}

void Heap::unlock(REALobjectStruct* object) {
  Payload* const payload = payloadOf(object);
  if (payload == nullptr || --object->locks > 0) return;
  payload->end(*this, object);
  objects_.erase(object);
  destroy(object);
}

int Heap::locksOf(const REALobjectStruct* object) const { return payloadOf(object) != nullptr ? object->locks : 0; }

void Heap::showStorage(REALobjectStruct* array, const std::int32_t* elements) { array->storage = elements; }

Payload* Heap::payloadOf(const void* reference) const {
  return objects_.contains(reference) ? static_cast<const REALobjectStruct*>(reference)->payload : nullptr;
}

REALstringStruct* Heap::newString(std::string_view bytes, std::uint32_t encoding) {
  if (bytes.size() > kLongestString) throw std::bad_alloc();
  auto buffer = std::make_unique<char[]>(1 + bytes.size() + kTerminator);
  bytes.copy(buffer.get() + 1, bytes.size());
  auto string =
      std::make_unique<REALstringStruct>(REALstringStruct{0, nullptr, 0, static_cast<std::uint32_t>(bytes.size())});
  strings_.emplace(string.get(), StringInfo{1, encoding});
  string->buffer = buffer.release();
  return string.release();
}

Heap::StringInfo* Heap::infoOf(const REALstringStruct* string) {
  const auto found = strings_.find(string);
  return found != strings_.end() ? &found->second : nullptr;
}

void Heap::lock(REALstringStruct* string) {
  if (StringInfo* const info = infoOf(string)) ++info->locks;
}

void Heap::unlock(REALstringStruct* string) {
  StringInfo* const info = infoOf(string);
  if (info == nullptr || --info->locks > 0) return;
  strings_.erase(string);
  destroy(string);
}

std::string_view Heap::bytesOf(const REALstringStruct* string) const {
  return isString(string) ? std::string_view(string->text(), string->length) : std::string_view();
}

std::uint32_t Heap::encodingOf(const REALstringStruct* string) const {
  const auto found = strings_.find(string);
  return found != strings_.end() ? found->second.encoding : 0;
}

void Heap::setEncoding(const REALstringStruct* string, std::uint32_t encoding) {
  if (StringInfo* const info = infoOf(string)) info->encoding = encoding;
}

REALstringStruct* Heap::converted(REALstringStruct* string, std::uint32_t encoding) {
  if (!isString(string)) return nullptr;
  if (encodingOf(string) == encoding) {
    lock(string);
    return string;
  }
  const auto bytes = convert(bytesOf(string), encodingOf(string), encoding);
  return bytes ? newString(*bytes, encoding) : nullptr;
}

Heap::Audit Heap::audit() const {
  Audit audit = {objects_.size(), strings_.size(), 0};
  for (const void* object : objects_) {
    if (const auto* picture = as<PictureObject>(object)) {
      audit.descriptionLocks += static_cast<std::size_t>(picture->descriptionLocks);
    }
  }
  return audit;
}

}  // namespace runtime
