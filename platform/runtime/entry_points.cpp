// The host's entry points, under the names by which plug-ins ask for them.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/guarded.h"
#include "platform/memory/memory.h"
#include "platform/quickdraw/operations.h"
#include "platform/runtime/host.h"

namespace runtime {
namespace {

// One method for each, with the running host at hand.
struct EntryPoints {
  Host& host;
  Heap& heap;

#define ENTRY_POINT(wrapper, name, result, arguments) result wrapper arguments;
#include "contract/entry_points.def"

  PictureObject* pictureOf(REALpictureStruct* picture) const { return heap.as<PictureObject>(picture); }
  REALpictureStruct* newPicture(PictureObject picture, const Rect& frame, std::int32_t takeOver);
};

// What a plug-in calls. It answers nothing when no host runs, and when there is no memory.
template <auto method>
struct Door;
template <class Result, class... Arguments, Result (EntryPoints::*method)(Arguments...)>
struct Door<method> {
  static Result call(Arguments... arguments) noexcept {
    Host* const host = Host::running();
    if (host == nullptr) return Result();
    return guarded([&] { return (EntryPoints{*host, host->heap()}.*method)(arguments...); });
  }
};

std::int32_t LenB(REALstringStruct* string) { return static_cast<std::int32_t>(bytesOf(string).size()); }

// The frame of a picture stands after the word of its size, big-endian.
Rect frameOf(PicHandle pict) {
  constexpr std::int32_t kFrameEnd = 10;
  const auto handle = reinterpret_cast<Handle>(pict);
  if (GetHandleSize(handle) < kFrameEnd) return {};
  const auto word = [handle](int at) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(*handle) + at;
    return static_cast<std::int16_t>(bytes[0] << 8 | bytes[1]);
  };
  return {word(2), word(4), word(6), word(8)};
}

}  // namespace

void* Host::resolve(const char* name) noexcept {
  const std::string_view wanted = name;
  if (running() == nullptr || !running()->has(wanted)) return nullptr;
#define ENTRY_POINT(wrapper, known, result, arguments) \
  if (wanted == known) return reinterpret_cast<void*>(&Door<&EntryPoints::wrapper>::call);
#include "contract/entry_points.def"
  return nullptr;
}

namespace {

void EntryPoints::RegisterPluginVersion(std::int32_t version) { host.tell(version); }
double EntryPoints::REALGetRBVersion() { return host.version(); }
void EntryPoints::REALRegisterClassExtension(REALclassDefinition* record) { host.addClass(record, true); }
void EntryPoints::REALRegisterClass(REALclassDefinition* record) { host.addClass(record, false); }
void EntryPoints::REALRegisterMethod(REALmethodDefinition* row) { host.addGlobalMethod(row); }

void EntryPoints::REALLockObject(REALobjectStruct* object) { heap.lock(object); }
void EntryPoints::REALUnlockObject(REALobjectStruct* object) { heap.unlock(object); }
REALobjectStruct* EntryPoints::REALnewInstance(const char* className) { return host.instanceOf(className); }

void EntryPoints::REALSetPropValueString(REALobjectStruct* object, const char* property, REALstringStruct* value) {
  auto* exception = heap.as<ExceptionObject>(object);
  if (exception != nullptr && sameName(property, "Message")) exception->message = heap.bytesOf(value);
}
void EntryPoints::REALSetPropValueInt(REALobjectStruct* object, const char* property, std::int32_t value) {
  auto* exception = heap.as<ExceptionObject>(object);
  if (exception != nullptr && sameName(property, "ErrorNumber")) exception->number = value;
}
void EntryPoints::REALRaiseException(REALobjectStruct* exception) { host.raise(exception); }

void EntryPoints::REALLockString(REALstringStruct* string) { heap.lock(string); }
void EntryPoints::REALUnlockString(REALstringStruct* string) { heap.unlock(string); }
REALstringStruct* EntryPoints::REALBuildString(const void* bytes, std::int32_t length) {
  if (length < 0) return nullptr;
  const auto size = static_cast<std::size_t>(length);
  if (size > kLongestString) {
    host.raiseStringTooLong(size);
    return nullptr;
  }
  return heap.newString({static_cast<const char*>(bytes), size}, kTextEncodingUnknown);
}
void EntryPoints::REALSetStringEncoding(REALstringStruct* string, std::uint32_t encoding) {
  heap.setEncoding(string, encoding);
}
std::uint32_t EntryPoints::REALGetStringEncoding(REALstringStruct* string) { return heap.encodingOf(string); }
REALstringStruct* EntryPoints::REALConvertString(REALstringStruct* string, std::uint32_t encoding) {
  return heap.converted(string, encoding);
}

// The bytes are those of a string that the record keeps locked, in the first of the host's own words. Where there is no
// call to give them back a plug-in frees them, so they are a block of their own.
unsigned char EntryPoints::PluginGetStringData(REALstringStruct* string, std::uint32_t encoding, REALstringData* out) {
  if (!heap.isString(string)) return 0;
  String source(encoding == kTextEncodingUnknown ? string : heap.converted(string, encoding));
  if (encoding == kTextEncodingUnknown) heap.lock(string);
  if (!source) return 0;
  const std::string_view bytes = heap.bytesOf(source.get());
  *out = {bytes.data(), static_cast<std::uint32_t>(bytes.size()), encoding, {}};
  if (!host.has("PluginDisposeStringData")) {
    auto* copy = static_cast<char*>(std::calloc(bytes.size() + 1, 1));
    if (copy == nullptr) return 0;
    std::copy(bytes.begin(), bytes.end(), copy);
    out->data = copy;
    return 1;
  }
  REALstringStruct* const shared = source.release();
  std::memcpy(&out->none[0], &shared, sizeof shared);
  return 1;
}
void EntryPoints::PluginDisposeStringData(REALstringData* record) {
  REALstringStruct* source = nullptr;
  std::memcpy(&source, &record->none[0], sizeof source);
  heap.unlock(source);
}
const char* EntryPoints::StringGetCString(REALstringStruct* string) {
  return heap.isString(string) ? string->text() : nullptr;
}
void* EntryPoints::REALLoadFrameworkMethod(void*, const char* declaration) {
  const bool isLenB = std::strcmp(declaration, "LenB( s as string ) as integer") == 0;
  return isLenB ? reinterpret_cast<void*>(&LenB) : nullptr;
}

REALmemoryBlockStruct* EntryPoints::REALNewMemoryBlock(std::int32_t size) {
  if (size < 0) return nullptr;
  auto block = std::make_unique<MemoryBlock>();
  block->bytes.resize(static_cast<std::size_t>(size));
  return reinterpret_cast<REALmemoryBlockStruct*>(heap.newObject(std::move(block)));
}
void* EntryPoints::REALMemoryBlockGetPtr(REALmemoryBlockStruct* block) {
  auto* payload = heap.as<MemoryBlock>(block);
  return payload != nullptr && !payload->bytes.empty() ? payload->bytes.data() : nullptr;
}
std::int32_t EntryPoints::REALMemoryBlockGetSize(REALmemoryBlockStruct* block) {
  const auto* payload = heap.as<MemoryBlock>(block);
  return payload != nullptr ? static_cast<std::int32_t>(payload->bytes.size()) : 0;
}

void EntryPoints::REALLockPictureDescription(REALpictureStruct* picture, REALpictureDescription* description) {
  PictureObject* object = pictureOf(picture);
  if (object == nullptr) return;
  ++object->descriptionLocks;
  void* data = object->kind == kPictureKindPICT ? static_cast<void*>(object->pict) : object->world;
  *description = {object->kind, data, object->width, object->height, {}};
}
void EntryPoints::REALUnlockPictureDescription(REALpictureStruct* picture) {
  PictureObject* object = pictureOf(picture);
  if (object != nullptr && object->descriptionLocks > 0) --object->descriptionLocks;
}
void EntryPoints::REALDrawPicturePrimitive(REALpictureStruct* picture, const Rect* frame, std::int32_t) {
  const PictureObject* object = pictureOf(picture);
  if (object == nullptr) return;
  if (object->kind == kPictureKindPICT) return DrawPicture(object->pict, frame);
  if (object->world == nullptr) return;
  CGrafPtr port = nullptr;
  GetPort(&port);
  Rect bounds = {};
  GetPortBounds(object->world, &bounds);
  CopyBits(GetPortBitMapForCopyBits(object->world), GetPortBitMapForCopyBits(port), &bounds, frame, 0, nullptr);
}
// What the host takes over is its own from here on, and goes with the picture if there is no memory for the object.
REALpictureStruct* EntryPoints::newPicture(PictureObject picture, const Rect& frame, std::int32_t takeOver) {
  picture.owns = takeOver != 0;
  picture.width = frame.right - frame.left;
  picture.height = frame.bottom - frame.top;
  return reinterpret_cast<REALpictureStruct*>(heap.newObject(std::make_unique<PictureObject>(std::move(picture))));
}
REALpictureStruct* EntryPoints::REALBuildPictureFromPicHandle(PicHandle pict, std::int32_t takeOver) {
  if (pict == nullptr) return nullptr;
  PictureObject picture;
  picture.kind = kPictureKindPICT;
  picture.pict = pict;
  return newPicture(std::move(picture), frameOf(pict), takeOver);
}
REALpictureStruct* EntryPoints::REALBuildPictureFromGWorld(GWorldPtr world, std::int32_t takeOver) {
  if (world == nullptr) return nullptr;
  Rect bounds = {};
  GetPortBounds(world, &bounds);
  PictureObject picture;
  picture.kind = kPictureKindGWorld;
  picture.world = world;
  return newPicture(std::move(picture), bounds, takeOver);
}

void EntryPoints::REALSelectGraphics(REALgraphicsStruct* graphics) {
  if (const auto* object = heap.as<Graphics>(graphics)) SetGWorld(object->port, nullptr);
}

std::int32_t EntryPoints::REALGetArrayUBound(REALarrayInteger* array) {
  const auto* object = heap.as<IntegerArray>(array);
  return object != nullptr ? static_cast<std::int32_t>(object->elements.size()) - 1 : -1;
}
std::int32_t EntryPoints::REALGetArrayInt(REALarrayInteger* array, std::int32_t index) {
  const auto* object = heap.as<IntegerArray>(array);
  const auto at = static_cast<std::size_t>(index);
  return object != nullptr && index >= 0 && at < object->elements.size() ? object->elements[at] : 0;
}

}  // namespace
}  // namespace runtime
