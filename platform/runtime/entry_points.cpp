// The host's entry points, under the names by which plug-ins ask for them.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/memory/memory.h"
#include "platform/quickdraw/operations.h"
#include "platform/runtime/host.h"

namespace runtime {
namespace {

namespace entry {
#define ENTRY_POINT(wrapper, name, result, arguments) result wrapper arguments;
#include "contract/entry_points.def"
}  // namespace entry

std::int32_t LenB(REALstringStruct* string) { return static_cast<std::int32_t>(bytesOf(string).size()); }

PictureObject* pictureOf(REALpictureStruct* picture) { return as<PictureObject>(picture); }

REALpictureStruct* newPictureObject(std::unique_ptr<PictureObject> picture, std::int32_t takeOver) {
  picture->owns = takeOver != 0;
  return reinterpret_cast<REALpictureStruct*>(newObject(std::move(picture)));
}

// The frame of a picture stands behind the word of its size, big-endian.
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

void* Host::resolve(const char* name) {
  const std::string wanted = name;
  if (!running().has(wanted)) return nullptr;
#define ENTRY_POINT(wrapper, known, result, arguments) \
  if (wanted == known) return reinterpret_cast<void*>(&entry::wrapper);
#include "contract/entry_points.def"
  return nullptr;
}

namespace {

void entry::RegisterPluginVersion(std::int32_t version) { Host::running().tell(version); }
double entry::REALGetRBVersion() { return Host::running().version(); }
void entry::REALRegisterClassExtension(REALclassDefinition* record) { Host::running().addClass(record, true); }
void entry::REALRegisterClass(REALclassDefinition* record) { Host::running().addClass(record, false); }
void entry::REALRegisterMethod(REALmethodDefinition* row) { Host::running().addGlobalMethod(row); }

void entry::REALLockObject(REALobjectStruct* object) { lock(object); }
void entry::REALUnlockObject(REALobjectStruct* object) { unlock(object); }
REALobjectStruct* entry::REALnewInstance(const char* className) { return Host::running().instanceOf(className); }

void entry::REALSetPropValueString(REALobjectStruct* object, const char* property, REALstringStruct* value) {
  auto* exception = as<ExceptionObject>(object);
  if (exception != nullptr && sameName(property, "Message")) exception->message = bytesOf(value);
}
void entry::REALSetPropValueInt(REALobjectStruct* object, const char* property, std::int32_t value) {
  auto* exception = as<ExceptionObject>(object);
  if (exception != nullptr && sameName(property, "ErrorNumber")) exception->number = value;
}
void entry::REALRaiseException(REALobjectStruct* exception) {
  if (as<ExceptionObject>(exception) != nullptr) Host::running().raise(exception);
}

void entry::REALLockString(REALstringStruct* string) { lock(string); }
void entry::REALUnlockString(REALstringStruct* string) { unlock(string); }
REALstringStruct* entry::REALBuildString(const void* bytes, std::int32_t length) {
  if (length < 0) return nullptr;
  return newString({static_cast<const char*>(bytes), static_cast<std::size_t>(length)}, kTextEncodingUnknown);
}
void entry::REALSetStringEncoding(REALstringStruct* string, std::uint32_t encoding) { setEncoding(string, encoding); }
std::uint32_t entry::REALGetStringEncoding(REALstringStruct* string) { return encodingOf(string); }
REALstringStruct* entry::REALConvertString(REALstringStruct* string, std::uint32_t encoding) {
  return converted(string, encoding);
}

// The bytes are those of a string that the record keeps locked, in the first of the host's own words. Where there is no
// call to give them back a plug-in frees them, so they are a block of their own.
unsigned char entry::PluginGetStringData(REALstringStruct* string, std::uint32_t encoding, REALstringData* out) {
  if (!isString(string)) return 0;
  String source(encoding == kTextEncodingUnknown ? string : converted(string, encoding));
  if (encoding == kTextEncodingUnknown) lock(string);
  if (!source) return 0;
  const std::string_view bytes = bytesOf(source.get());
  *out = {bytes.data(), static_cast<std::uint32_t>(bytes.size()), encoding, {}};
  if (!Host::running().has("PluginDisposeStringData")) {
    auto* copy = static_cast<char*>(std::calloc(bytes.size() + 1, 1));
    if (copy == nullptr) return 0;
    std::copy(bytes.begin(), bytes.end(), copy);
    out->data = copy;
    return 1;
  }
  REALstringStruct* const kept = source.release();
  std::memcpy(&out->none[0], &kept, sizeof kept);
  return 1;
}
void entry::PluginDisposeStringData(REALstringData* record) {
  REALstringStruct* source = nullptr;
  std::memcpy(&source, &record->none[0], sizeof source);
  unlock(source);
}
const char* entry::StringGetCString(REALstringStruct* string) { return isString(string) ? string->text() : nullptr; }
void* entry::REALLoadFrameworkMethod(void*, const char* declaration) {
  const bool isLenB = std::strcmp(declaration, "LenB( s as string ) as integer") == 0;
  return isLenB ? reinterpret_cast<void*>(&LenB) : nullptr;
}

REALmemoryBlockStruct* entry::REALNewMemoryBlock(std::int32_t size) {
  if (size < 0) return nullptr;
  auto block = std::make_unique<MemoryBlock>();
  try {
    block->bytes.resize(static_cast<std::size_t>(size));
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
  return reinterpret_cast<REALmemoryBlockStruct*>(newObject(std::move(block)));
}
void* entry::REALMemoryBlockGetPtr(REALmemoryBlockStruct* block) {
  auto* payload = as<MemoryBlock>(block);
  return payload != nullptr && !payload->bytes.empty() ? payload->bytes.data() : nullptr;
}
std::int32_t entry::REALMemoryBlockGetSize(REALmemoryBlockStruct* block) {
  const auto* payload = as<MemoryBlock>(block);
  return payload != nullptr ? static_cast<std::int32_t>(payload->bytes.size()) : 0;
}

void entry::REALLockPictureDescription(REALpictureStruct* picture, REALpictureDescription* description) {
  PictureObject* object = pictureOf(picture);
  if (object == nullptr) return;
  ++object->descriptionLocks;
  void* data = object->kind == kPictureKindPICT ? static_cast<void*>(object->pict) : object->world;
  *description = {object->kind, data, object->width, object->height, {}};
}
void entry::REALUnlockPictureDescription(REALpictureStruct* picture) {
  PictureObject* object = pictureOf(picture);
  if (object != nullptr && object->descriptionLocks > 0) --object->descriptionLocks;
}
void entry::REALDrawPicturePrimitive(REALpictureStruct* picture, const Rect* frame, std::int32_t) {
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
REALpictureStruct* entry::REALBuildPictureFromPicHandle(PicHandle pict, std::int32_t takeOver) {
  if (pict == nullptr) return nullptr;
  auto picture = std::make_unique<PictureObject>();
  const Rect frame = frameOf(pict);
  picture->kind = kPictureKindPICT;
  picture->pict = pict;
  picture->width = frame.right - frame.left;
  picture->height = frame.bottom - frame.top;
  return newPictureObject(std::move(picture), takeOver);
}
REALpictureStruct* entry::REALBuildPictureFromGWorld(GWorldPtr world, std::int32_t takeOver) {
  if (world == nullptr) return nullptr;
  auto picture = std::make_unique<PictureObject>();
  Rect bounds = {};
  GetPortBounds(world, &bounds);
  picture->kind = kPictureKindGWorld;
  picture->world = world;
  picture->width = bounds.right - bounds.left;
  picture->height = bounds.bottom - bounds.top;
  return newPictureObject(std::move(picture), takeOver);
}

void entry::REALSelectGraphics(REALgraphicsStruct* graphics) {
  if (const auto* object = as<Graphics>(graphics)) SetGWorld(object->port, nullptr);
}

std::int32_t entry::REALGetArrayUBound(REALarrayInteger* array) {
  const auto* object = as<IntegerArray>(array);
  return object != nullptr ? static_cast<std::int32_t>(object->elements.size()) - 1 : -1;
}
std::int32_t entry::REALGetArrayInt(REALarrayInteger* array, std::int32_t index) {
  const auto* object = as<IntegerArray>(array);
  const auto at = static_cast<std::size_t>(index);
  return object != nullptr && index >= 0 && at < object->elements.size() ? object->elements[at] : 0;
}

}  // namespace
}  // namespace runtime
