#include "platform/runtime/host.h"

#include <array>
#include <cstring>
#include <utility>

#include "contract/system.h"
#include "platform/guarded.h"
#include "platform/memory/memory.h"
#include "platform/quickdraw/operations.h"

namespace runtime {
namespace {

// The one thing that is global: a plug-in calls entry points as it calls functions, without saying whose they are.
Host* runningHost = nullptr;

constexpr std::size_t kMostArguments = 12;  // words, the object among them

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

// Host code learns in its own way that there is no memory for a value.
constexpr const char* kOutOfMemory = "OutOfMemoryException";

template <class Make>
auto making(std::string_view what, Make make) {
  return qd::withinMemory(make, [what]() -> std::invoke_result_t<Make> {
    throw Exception(ExceptionObject(kOutOfMemory, "There is not enough memory for " + std::string(what) + "."));
  });
}

std::string tooLong(std::size_t bytes) {
  return "A string can't have " + std::to_string(bytes) + " bytes; up to " + std::to_string(kLongestString) +
         " would work.";
}

}  // namespace

void requireStringOf(std::size_t bytes) {
  if (bytes > kLongestString) throw Exception(ExceptionObject(kOutOfMemory, tooLong(bytes)));
}

void lock(REALobjectStruct* object) {
  if (runningHost != nullptr) runningHost->heap().lock(object);
}
void unlock(REALobjectStruct* object) {
  if (runningHost != nullptr) runningHost->heap().unlock(object);
}
void lock(REALstringStruct* string) {
  if (runningHost != nullptr) runningHost->heap().lock(string);
}
void unlock(REALstringStruct* string) {
  if (runningHost != nullptr) runningHost->heap().unlock(string);
}
std::string_view bytesOf(const REALstringStruct* string) {
  return runningHost != nullptr ? runningHost->heap().bytesOf(string) : std::string_view();
}

Host* Host::running() { return runningHost; }

Host::Host(std::optional<double> version) : version_(version) {
  if (runningHost != nullptr) throw Error("A host is running already; there can be one at a time.");
  runningHost = this;
  if (!version_) withdraw("REALGetRBVersion");
}

Host::~Host() {
  raised_ = {};
  runningHost = nullptr;
}

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
  const std::string text = whole.string();
  ConstantString name("");
  name.characters = text.c_str();
  name.length = static_cast<std::uint32_t>(text.size());
  OwnedBundle bundle = bundleIn(root, name.ref());
  auto* const ref = static_cast<CFBundleRef>(bundle.get());
  if (CFBundleLoadExecutable(ref) == 0) {
    throw Error("The plug-in \"" + path.string() + "\" can't be loaded: " + loadErrorOf(ref) + ".");
  }
  void* const entry = CFBundleGetFunctionPointerForName(ref, kEntryPoint.ref());
  if (entry == nullptr) throw Error("The plug-in \"" + path.string() + "\" has no REALPluginMain.");
  bundles_.push_back(std::move(bundle));
  reinterpret_cast<void (*)(Resolver)>(entry)(resolver);
  throwRefused();
}

template <class Add>
void Host::adding(Add add) {
  try {
    add();
  } catch (...) {
    refused_ = std::current_exception();
  }
}

void Host::addClass(REALclassDefinition* record, bool isExtension) {
  adding([&] { registry_.addClass(*record, isExtension); });
}

void Host::addGlobalMethod(const REALmethodDefinition* row) {
  adding([&] { registry_.addGlobalMethod(*row); });
}

void Host::throwRefused() {
  if (const auto refused = std::exchange(refused_, nullptr)) std::rethrow_exception(refused);
}

REALobjectStruct* Host::instanceOf(std::string_view className) {
  if (!has(className)) return nullptr;
  if (const ClassInfo* const info = registry_.find(className)) return newInstance(heap_, *info);
  if (!className.ends_with("Exception")) return nullptr;
  return heap_.newObject(std::make_unique<ExceptionObject>(className));
}

// Holds the object rather than what it says: that takes no memory.
void Host::raise(REALobjectStruct* exception) {
  if (heap_.as<ExceptionObject>(exception) == nullptr) return;
  heap_.lock(exception);
  raised_ = Object(exception);
}

void Host::raiseStringTooLong(std::size_t bytes) {
  raised_ = Object(heap_.newObject(std::make_unique<ExceptionObject>(kOutOfMemory, tooLong(bytes))));
}

Object Host::make(const std::string& className) {
  for (const auto& [name, info] : classes()) {
    if (sameName(name, className) && info.dataSize != 0)
      return making("an object", [this, &name = name] { return Object(instanceOf(name)); });
  }
  throw Error("There is no class \"" + className + "\" to make an object of.");
}

const ClassInfo* Host::classOf(const Object& object) const {
  const void* const reference = object.get();
  if (const auto* instance = as<Instance>(reference)) return instance->info;
  const char* name = as<PictureObject>(reference) != nullptr ? "Picture"
                     : as<Graphics>(reference) != nullptr    ? "graphics"
                                                             : "";
  return registry_.find(name);
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
  const Object raised = takeRaised();
  if (const auto* exception = as<ExceptionObject>(raised.get())) throw Exception(*exception);
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
  for (const Method& method : globalMethods()) {
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

String Host::string(std::string_view bytes, std::uint32_t encoding) const {
  requireStringOf(bytes.size());
  return making("a string", [&] { return String(heap_.newString(bytes, encoding)); });
}

Object Host::block(std::string_view bytes) const {
  Object made = zeroedBlock(bytes.size());
  bytes.copy(as<MemoryBlock>(made.get())->bytes.data(), bytes.size());
  return made;
}

Object Host::zeroedBlock(std::size_t size) const {
  return making("a memory block", [&] {
    auto block = std::make_unique<MemoryBlock>();
    block->bytes.resize(size);
    return Object(heap_.newObject(std::move(block)));
  });
}

Object Host::integers(std::vector<std::int32_t> elements) const {
  return making("an array", [&] {
    auto array = std::make_unique<IntegerArray>();
    array->elements = std::move(elements);
    const std::int32_t* storage = array->elements.data();
    REALobjectStruct* object = heap_.newObject(std::move(array));
    if (arraysShowStorage) Heap::showStorage(object, storage);
    return Object(object);
  });
}

Object Host::newPicture(int width, int height, int depth) const {
  constexpr OSErr kNoMemory = -108;  // memFullErr
  constexpr OSErr kNoSize = -50;     // paramErr
  const auto make = [&](const std::string& what) {
    const Rect bounds = MakeRect(0, 0, width, height);
    const auto word = static_cast<std::int16_t>(depth);
    auto picture = std::make_unique<PictureObject>();
    // QuickDraw's numbers are words: a larger one would come to it as another.
    const bool fits = bounds.right == width && bounds.bottom == height && word == depth;
    const OSErr error = fits ? NewGWorld(&picture->world, word, &bounds, nullptr, nullptr, 0) : kNoSize;
    if (error == kNoMemory) throw std::bad_alloc();
    if (error != 0) {
      throw Error("There can't be " + what +
                  "; one of a few thousand pixels a side at 1, 2, 4, 8, 16 or 32 would work.");
    }
    picture->kind = kPictureKindGWorld;
    picture->owns = true;
    picture->width = width;
    picture->height = height;
    return Object(heap_.newObject(std::move(picture)));
  };
  return making("a picture", [&] {
    const std::string what = "a picture of " + std::to_string(width) + "x" + std::to_string(height) +
                             " pixels at depth " + std::to_string(depth);
    return making(what, [&] { return make(what); });
  });
}

Object Host::strangePicture(int width, int height) const {
  Object object = newPicture(width, height);
  as<PictureObject>(object.get())->kind = 2;
  return object;
}

Object Host::graphicsOf(const Object& picture) const {
  const auto* object = as<PictureObject>(picture.get());
  if (object == nullptr || object->world == nullptr) throw Error("Only a picture with pixels has a graphics object.");
  return making("a graphics object", [&] {
    auto graphics = std::make_unique<Graphics>();
    graphics->port = object->world;
    graphics->picture = picture.get();
    REALobjectStruct* const handle = heap_.newObject(std::move(graphics));
    heap_.lock(picture.get());
    return Object(handle);
  });
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
  const Heap::Audit heap = runningHost != nullptr ? runningHost->heap().audit() : Heap::Audit{};
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
