#include "platform/runtime/host.h"

#include <array>
#include <cstring>
#include <utility>

#include "contract/system.h"
#include "platform/frameworks/bundle.h"
#include "platform/memory/memory.h"
#include "platform/quickdraw/operations.h"

namespace runtime {
namespace {

Host* runningHost = nullptr;

constexpr std::int32_t kFirstRecordsWithAttributes = 10;
constexpr std::size_t kMostArguments = 12;  // words, the object among them

// Rows of older hosts are shorter.
struct RowWords {
  std::size_t method, property;
};
RowWords rowWords(std::int32_t recordVersion) {
  return recordVersion >= kFirstRecordsWithAttributes ? RowWords{6, 12} : RowWords{4, 10};
}

template <std::size_t>
using Word = std::uint32_t;

template <std::size_t... Index>
std::uint32_t callWith(REALhandler handler, const std::array<std::uint32_t, kMostArguments>& words,
                       std::index_sequence<Index...>) {
  return reinterpret_cast<std::uint32_t (*)(Word<Index>...)>(handler)(words[Index]...);
}

// All arguments are words on the stack, which the caller takes off again: a handler reads as many as it declares.
std::uint32_t callHandler(REALhandler handler, const std::array<std::uint32_t, kMostArguments>& words) {
  return callWith(handler, words, std::make_index_sequence<kMostArguments>());
}

std::uint32_t wordOf(const void* pointer) {
  return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(pointer));
}

const char* kindOf(const Value& value) {
  static constexpr std::array<const char*, 5> kKinds = {"nil", "an integer", "a boolean", "a string", "an object"};
  return kKinds[value.index()];
}

// The word that an argument goes over as; nothing if it isn't of the type.
std::optional<std::uint32_t> wordOf(const Value& value, Type type) {
  const bool isReference = type != Type::integer && type != Type::color && type != Type::boolean;
  if (std::holds_alternative<Nil>(value)) return isReference ? std::optional<std::uint32_t>(0) : std::nullopt;
  if (const auto* number = std::get_if<std::int32_t>(&value)) {
    if (type == Type::integer || type == Type::color) return static_cast<std::uint32_t>(*number);
    return std::nullopt;
  }
  if (const auto* flag = std::get_if<bool>(&value)) {
    return type == Type::boolean ? std::optional<std::uint32_t>(*flag ? 1 : 0) : std::nullopt;
  }
  if (const auto* string = std::get_if<String>(&value)) {
    return type == Type::string ? std::optional(wordOf(string->get())) : std::nullopt;
  }
  const void* object = std::get<Object>(value).get();
  const bool fits = object == nullptr            ? isReference
                    : type == Type::picture      ? as<PictureObject>(object) != nullptr
                    : type == Type::graphics     ? as<Graphics>(object) != nullptr
                    : type == Type::memoryBlock  ? as<MemoryBlock>(object) != nullptr
                    : type == Type::integerArray ? as<IntegerArray>(object) != nullptr
                                                 : false;
  return fits ? std::optional(wordOf(object)) : std::nullopt;
}

Value valueOf(std::uint32_t word, Type type) {
  switch (type) {
    case Type::none:
      return Nil();
    case Type::integer:
    case Type::color:
      return static_cast<std::int32_t>(word);
    case Type::boolean:
      return (word & 0xFF) != 0;
    case Type::string:
      if (word == 0) return Nil();
      return String(reinterpret_cast<REALstringStruct*>(word));
    default:
      if (word == 0) return Nil();
      return Object(reinterpret_cast<REALobjectStruct*>(word));
  }
}

Method readMethod(const std::uint32_t* row, bool hasAttributes) {
  REALmethodDefinition record = {};
  std::memcpy(&record, row, (hasAttributes ? 6 : 4) * sizeof(std::uint32_t));
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

void destroyInstance(const Instance& instance, REALobjectStruct* object) {
  if (instance.info->destructor == nullptr) return;
  reinterpret_cast<void (*)(REALobjectStruct*)>(instance.info->destructor)(object);
}

Host& Host::running() {
  if (runningHost == nullptr) throw Error("No host is running.");
  return *runningHost;
}

Host::Host(std::optional<double> version) : version_(version) {
  if (runningHost != nullptr) throw Error("A host is running already; there can be one at a time.");
  runningHost = this;
  if (!version_) take("REALGetRBVersion");
}

Host::~Host() { runningHost = nullptr; }

void Host::Unload::operator()(void* bundle) const { CFRelease(bundle); }

void Host::load(const std::filesystem::path& path, Resolver resolver) {
  static constinit const ConstantString kEntryPoint("REALPluginMain");
  const std::filesystem::path whole = std::filesystem::absolute(path);
  if (!std::filesystem::is_directory(whole)) {
    throw Error("\"" + path.string() + "\" is no plug-in: there is no bundle at that place.");
  }
  FSRef root = {};
  // The frameworks' folder is as good a place to start from as any: an absolute component replaces it.
  if (FSFindFolder(kOnAppropriateDisk, kFrameworksFolderType, 1, &root) != 0)
    throw Error("The platform's frameworks can't be found.");
  const CFURLRef folder = CFURLCreateFromFSRef(kCFAllocatorSystemDefault, &root);
  const std::string text = whole.string();
  ConstantString name("");
  name.characters = text.c_str();
  name.length = static_cast<std::uint32_t>(text.size());
  const CFURLRef url = CFURLCreateCopyAppendingPathComponent(kCFAllocatorSystemDefault, folder, name.ref(), 1);
  CFRelease(folder);
  std::unique_ptr<void, Unload> bundle(CFBundleCreate(kCFAllocatorSystemDefault, url));
  CFRelease(url);
  auto* const ref = static_cast<CFBundleRef>(bundle.get());
  if (CFBundleLoadExecutable(ref) == 0) {
    throw Error("The plug-in \"" + path.string() + "\" can't be loaded: " + loadErrorOf(ref) + ".");
  }
  void* const entry = CFBundleGetFunctionPointerForName(ref, kEntryPoint.ref());
  if (entry == nullptr) throw Error("The plug-in \"" + path.string() + "\" has no REALPluginMain.");
  bundles_.push_back(std::move(bundle));
  reinterpret_cast<void (*)(Resolver)>(entry)(resolver);
  if (const auto refusal = takeRefusal()) throw Error(*refusal);
}

void Host::addClass(REALclassDefinition* record, bool isExtension) {
  try {
    readClass(record, isExtension);
  } catch (const Error& error) {
    refused_ = error.what();
  }
}

void Host::addGlobalMethod(const REALmethodDefinition* row) {
  try {
    const bool hasAttributes = recordVersion_ >= kFirstRecordsWithAttributes;
    globalMethods_.push_back(readMethod(reinterpret_cast<const std::uint32_t*>(row), hasAttributes));
  } catch (const Error& error) {
    refused_ = error.what();
  }
}

// Record words are read by their place, as far as the told record version has them.
void Host::readClass(REALclassDefinition* record, bool isExtension) {
  if (recordVersion_ == 0) recordVersion_ = static_cast<std::int32_t>(record->version);  // nobody told it
  const bool hasAttributes = recordVersion_ >= kFirstRecordsWithAttributes;
  const RowWords words = rowWords(recordVersion_);
  if (record->version != static_cast<std::uint32_t>(recordVersion_)) {
    throw Error("The plug-in's class record is of version " + std::to_string(record->version) + ", but it told " +
                std::to_string(recordVersion_) + ".");
  }
  if (record->name == nullptr || record->methodCount > 10000 || record->propertyCount > 10000 ||
      (record->methods == nullptr && record->methodCount != 0) ||
      (record->properties == nullptr && record->propertyCount != 0) ||
      (hasAttributes && record->attributes == nullptr && record->attributeCount != 0)) {
    throw Error("The plug-in's class record makes no sense: it has no name, or counts rows that aren't there.");
  }
  ClassInfo info;
  info.name = record->name;
  info.dataSize = record->dataSize;
  info.constructor = record->constructor;
  info.destructor = record->destructor;
  const auto* method = reinterpret_cast<const std::uint32_t*>(record->methods);
  for (std::uint32_t i = 0; i < record->methodCount; ++i, method += words.method) {
    info.methods.push_back(readMethod(method, hasAttributes));
  }
  const auto* property = reinterpret_cast<const std::uint32_t*>(record->properties);
  for (std::uint32_t i = 0; i < record->propertyCount; ++i, property += words.property) {
    const auto* row = reinterpret_cast<const REALproperty*>(property);
    if (row->name == nullptr) throw Error("A property of the plug-in's class " + info.name + " has no name.");
    if (row->getter == kREALstandardAccess && std::uint64_t{row->parameter} + sizeof(std::int32_t) > info.dataSize) {
      throw Error("The plug-in's property \"" + std::string(row->name) + "\" lies outside its class's data.");
    }
    info.properties.push_back({row->name, row->setter == kREALstandardAccess, row->parameter});
  }
  if (hasAttributes) {
    for (std::uint32_t i = 0; i < record->attributeCount; ++i) {
      info.attributes.emplace_back(record->attributes[i].name, record->attributes[i].value);
    }
  }
  if (!isExtension) record->dataOffset = kDataOffset;
  classes_[info.name] = std::move(info);
}

REALobjectStruct* Host::instanceOf(const std::string& className) {
  if (!has(className)) return nullptr;
  const auto found = classes_.find(className);
  if (found != classes_.end()) {
    auto instance = std::make_unique<Instance>();
    instance->info = &found->second;
    REALobjectStruct* object = newObject(std::move(instance), found->second.dataSize);
    if (found->second.constructor != nullptr) {
      reinterpret_cast<void (*)(REALobjectStruct*)>(found->second.constructor)(object);
    }
    return object;
  }
  if (!std::string_view(className).ends_with("Exception")) return nullptr;
  auto exception = std::make_unique<ExceptionObject>();
  exception->className = className;
  return newObject(std::move(exception));
}

Object Host::make(const std::string& className) {
  for (const auto& [name, info] : classes_) {
    if (sameName(name, className) && info.dataSize != 0) return Object(instanceOf(name));
  }
  throw Error("There is no class \"" + className + "\" to make an object of.");
}

const ClassInfo* Host::classOf(const Object& object) const {
  const void* const reference = object.get();
  if (const auto* instance = as<Instance>(reference)) return instance->info;
  const char* name = as<PictureObject>(reference) != nullptr ? "Picture"
                     : as<Graphics>(reference) != nullptr    ? "graphics"
                                                             : "";
  const auto found = classes_.find(name);
  return found != classes_.end() ? &found->second : nullptr;
}

const Method* Host::findMethod(const Object& object, const std::string& name) const {
  const ClassInfo* info = classOf(object);
  if (info == nullptr)
    throw Error("Nothing can be called \"" + name + "\" on this value; an object of a plug-in's class would work.");
  for (const Method& method : info->methods) {
    if (sameName(method.declaration.name, name)) return &method;
  }
  return nullptr;
}

void Host::throwRaised() {
  if (const auto raised = takeRaised()) throw Exception(*raised);
}

Value Host::invoke(const Method& method, REALhandler handler, const Object* self, const std::vector<Value>& arguments) {
  std::array<std::uint32_t, kMostArguments> words = {};
  std::size_t count = 0;
  if (self != nullptr) words[count++] = wordOf(self->get());
  const auto& parameters = method.declaration.parameters;
  if (arguments.size() != parameters.size()) {
    throw Error(method.declaration.name + " takes " + std::to_string(parameters.size()) + " arguments, not " +
                std::to_string(arguments.size()) + ".");
  }
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const auto word = wordOf(arguments[i], parameters[i].type);
    if (!word) {
      throw Error(method.declaration.name + " takes " + nameOf(parameters[i].type) + " for \"" + parameters[i].name +
                  "\", not " + kindOf(arguments[i]) + ".");
    }
    words.at(count++) = *word;
  }
  Value result = valueOf(callHandler(handler, words), method.declaration.result);
  throwRaised();
  return result;
}

Value Host::call(const Object& object, const std::string& name, const std::vector<Value>& arguments) {
  const Method* method = findMethod(object, name);
  if (method == nullptr) throw Error("The class " + classOf(object)->name + " has no method \"" + name + "\".");
  return invoke(*method, method->handler, &object, arguments);
}

Value Host::call(const std::string& name, const std::vector<Value>& arguments) {
  for (const Method& method : globalMethods_) {
    if (sameName(method.declaration.name, name)) return invoke(method, method.handler, nullptr, arguments);
  }
  throw Error("There is no global method \"" + name + "\".");
}

Value Host::get(const Object& object, const std::string& name) {
  if (const Method* method = findMethod(object, name)) return invoke(*method, method->handler, &object, {});
  for (const Property& property : classOf(object)->properties) {
    if (!sameName(property.name, name)) continue;
    std::int32_t field = 0;
    std::memcpy(&field, reinterpret_cast<const char*>(object.get()) + kDataOffset + property.offset, sizeof field);
    return field;
  }
  throw Error("The class " + classOf(object)->name + " has no property \"" + name + "\".");
}

void Host::set(const Object& object, const std::string& name, const Value& value) {
  if (const Method* method = findMethod(object, name)) {
    if (method->setter == nullptr) throw Error("\"" + method->declaration.name + "\" can't be set.");
    const Method setter = {
        {method->declaration.name, {{"value", method->declaration.result}}, Type::none}, method->setter, nullptr, {}};
    invoke(setter, setter.handler, &object, {value});
    return;
  }
  for (const Property& property : classOf(object)->properties) {
    if (!sameName(property.name, name)) continue;
    if (!property.canSet) throw Error("\"" + property.name + "\" can't be set.");
    const auto word = wordOf(value, Type::integer);
    if (!word) throw Error("\"" + property.name + "\" takes an integer, not " + kindOf(value) + ".");
    std::memcpy(reinterpret_cast<char*>(object.get()) + kDataOffset + property.offset, &*word, sizeof *word);
    return;
  }
  throw Error("The class " + classOf(object)->name + " has no property \"" + name + "\".");
}

String Host::string(std::string_view bytes, std::uint32_t encoding) const { return String(newString(bytes, encoding)); }

Object Host::block(std::string_view bytes) const {
  auto block = std::make_unique<MemoryBlock>();
  block->bytes.assign(bytes.begin(), bytes.end());
  return Object(newObject(std::move(block)));
}

Object Host::integers(std::vector<std::int32_t> elements) const {
  auto array = std::make_unique<IntegerArray>();
  array->elements = std::move(elements);
  const std::int32_t* storage = array->elements.data();
  REALobjectStruct* object = newObject(std::move(array));
  if (arraysShowStorage) showStorage(object, storage);
  return Object(object);
}

Object Host::newPicture(int width, int height, int depth) const {
  const Rect bounds = MakeRect(0, 0, width, height);
  GWorldPtr world = nullptr;
  if (NewGWorld(&world, static_cast<std::int16_t>(depth), &bounds, nullptr, nullptr, 0) != 0) {
    throw Error("A picture of " + std::to_string(width) + "x" + std::to_string(height) + " pixels at depth " +
                std::to_string(depth) +
                " can't be made; one of a few thousand pixels a side at 1, 2, 4, 8, 16 or 32 would work.");
  }
  auto picture = std::make_unique<PictureObject>();
  picture->kind = kPictureKindGWorld;
  picture->world = world;
  picture->owns = true;
  picture->width = width;
  picture->height = height;
  return Object(newObject(std::move(picture)));
}

Object Host::strangePicture(int width, int height) const {
  Object object = newPicture(width, height);
  as<PictureObject>(object.get())->kind = 2;
  return object;
}

Object Host::graphicsOf(const Object& picture) const {
  const auto* object = as<PictureObject>(picture.get());
  if (object == nullptr || object->world == nullptr) throw Error("Only a picture with pixels has a graphics object.");
  auto graphics = std::make_unique<Graphics>();
  graphics->port = object->world;
  graphics->picture = picture.get();
  lock(picture.get());
  return Object(newObject(std::move(graphics)));
}

std::int32_t Host::worldOf(const Object& picture) const {
  const auto* object = as<PictureObject>(picture.get());
  return object != nullptr ? static_cast<std::int32_t>(wordOf(object->world)) : 0;
}

std::vector<std::string> audit() {
  std::vector<std::string> lines;
  const auto report = [&lines](std::size_t count, const char* what) {
    if (count != 0) lines.push_back(std::to_string(count) + " " + what);
  };
  const HeapAudit heap = auditHeap();
  const memory::Audit handles = memory::audit();
  report(heap.objects, "objects alive");
  report(heap.strings, "strings alive");
  report(heap.descriptionLocks, "locks on picture descriptions");
  report(handles.handles, "handles alive");
  report(handles.locked, "handles locked");
  report(qd::livePorts(), "worlds alive");
  return lines;
}

}  // namespace runtime
