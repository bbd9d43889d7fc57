#include "platform/language/library.h"

#include <cmath>

#include "platform/quickdraw/operations.h"
#include "platform/runtime/declaration.h"

namespace language {
namespace {

template <auto function>
Value math(Call& call) {
  return function(realOf(call.arguments[0], call.place));
}

template <bool isLess>
Value extreme(Call& call) {
  Value best = call.arguments[0];
  for (const Value& value : call.arguments) {
    if ((realOf(value, call.place) < realOf(best, call.place)) == isLess) best = value;
  }
  return best;
}

Value makeArray(Call& call) { return call.arrays.make("variant", std::move(call.arguments)); }

Value lastIndex(Call& call) {
  const auto* array = std::get_if<std::shared_ptr<Array>>(&call.arguments[0]);
  if (array == nullptr) throw Error(call.place, "This is " + kindOf(call.arguments[0]) + "; an array would work.");
  return static_cast<std::int32_t>((*array)->elements.size()) - 1;
}

Value length(Call& call) { return static_cast<std::int32_t>(printed(call.arguments[0], call.place).size()); }

Value string(Call& call) { return required(call.host.string(printed(call.arguments[0], call.place))); }

Value rgb(Call& call) { return (call.integer(0) & 255) << 16 | (call.integer(1) & 255) << 8 | (call.integer(2) & 255); }

Value newPicture(Call& call) {
  return required(
      call.host.newPicture(call.integer(0), call.integer(1), call.arguments.size() > 2 ? call.integer(2) : 32));
}

Value newMemoryBlock(Call& call) {
  const std::int32_t size = call.integer(0);
  constexpr std::int32_t kMost = 1 << 28;
  if (size < 0 || size > kMost) {
    throw Error(call.place, "A block of " + std::to_string(size) + " bytes can't be made; 0 to 268435456 would work.");
  }
  return required(call.host.zeroedBlock(static_cast<std::size_t>(size)));
}

Value print(Call& call) {
  std::string line;
  for (const Value& value : call.arguments) {
    const std::string text = printed(value, call.place);
    runtime::requireStringOf(line.size() + text.size());
    line += text;
  }
  call.surroundings.print(line);
  return {};
}

std::string fileName(const Call& call, std::size_t i) {
  constexpr std::size_t kMost = 4095;  // bytes, as the system takes it
  std::string name = printed(call.arguments[i], call.place);
  if (name.size() <= kMost) return name;
  throw Error(call.place, "A file's name can't have " + std::to_string(name.size()) + " bytes; up to " +
                              std::to_string(kMost) + " would work.");
}

Value open(Call& call) {
  return required(call.host.string(call.surroundings.open(fileName(call, 0)), kTextEncodingUnknown));
}

Value save(Call& call) {
  call.surroundings.save(toHost(call.arguments[0], call.host, call.place), fileName(call, 1));
  return {};
}

constexpr Function kFunctions[] = {
    {"Abs", 1, 1, math<static_cast<double (*)(double)>(std::fabs)>},
    {"Sin", 1, 1, math<static_cast<double (*)(double)>(std::sin)>},
    {"Cos", 1, 1, math<static_cast<double (*)(double)>(std::cos)>},
    {"Sqrt", 1, 1, math<static_cast<double (*)(double)>(std::sqrt)>},
    {"Floor", 1, 1, math<static_cast<double (*)(double)>(std::floor)>},
    {"Ceil", 1, 1, math<static_cast<double (*)(double)>(std::ceil)>},
    {"Round", 1, 1, math<static_cast<double (*)(double)>(std::round)>},
    {"Min", 1, kAny, extreme<true>},
    {"Max", 1, kAny, extreme<false>},
    {"Array", 0, kAny, makeArray},
    {"Ubound", 1, 1, lastIndex},
    {"LenB", 1, 1, length},
    {"Str", 1, 1, string},
    {"RGB", 3, 3, rgb},
    {"NewPicture", 2, 3, newPicture},
    {"NewMemoryBlock", 1, 1, newMemoryBlock},
    {"Print", 0, kAny, print},
    {"Open", 1, 1, open},
    {"Save", 2, 2, save},
};

// ---- members

const runtime::PictureObject& pictureOf(const runtime::Object& object) {
  return *runtime::as<runtime::PictureObject>(object.get());
}

template <std::int32_t runtime::PictureObject::*field>
Value pictureField(Call&, const runtime::Object& object) {
  return pictureOf(object).*field;
}

Value graphics(Call& call, const runtime::Object& object) { return required(call.host.graphicsOf(object)); }

Value world(Call& call, const runtime::Object& object) { return call.host.worldOf(object); }

// Selects a graphics object's port while it is drawn on.
class Selected {
 public:
  explicit Selected(const runtime::Object& graphics) {
    GetGWorld(&port_, &device_);
    SetGWorld(runtime::as<runtime::Graphics>(graphics.get())->port, nullptr);
  }
  ~Selected() { SetGWorld(port_, device_); }
  Selected(const Selected&) = delete;
  Selected& operator=(const Selected&) = delete;

 private:
  CGrafPtr port_ = nullptr;
  GDHandle device_ = nullptr;
};

Value foreColor(Call&, const runtime::Object& graphics) {
  const Selected selected(graphics);
  RGBColor color = {};
  GetForeColor(&color);
  return (color.red >> 8) << 16 | (color.green >> 8) << 8 | color.blue >> 8;
}

void setForeColor(Call& call, const runtime::Object& graphics) {
  const Selected selected(graphics);
  const std::int32_t rgb = call.integer(0);
  const auto component = [rgb](int shift) { return static_cast<std::uint16_t>((rgb >> shift & 255) * 0x101); };
  const RGBColor color = {component(16), component(8), component(0)};
  RGBForeColor(&color);
}

template <void (*paint)(const Rect*)>
Value fill(Call& call, const runtime::Object& graphics) {
  const Selected selected(graphics);
  const auto low = [](std::int64_t number) { return static_cast<std::int16_t>(number); };
  const std::int64_t left = call.integer(0);
  const std::int64_t top = call.integer(1);
  const Rect area = {low(top), low(left), low(top + call.integer(3)), low(left + call.integer(2))};
  paint(&area);
  return {};
}

runtime::MemoryBlock& blockOf(const runtime::Object& object) {
  return *runtime::as<runtime::MemoryBlock>(object.get());
}

Value size(Call&, const runtime::Object& object) { return static_cast<std::int32_t>(blockOf(object).bytes.size()); }

char& byteAt(Call& call, const runtime::Object& object) {
  auto& bytes = blockOf(object).bytes;
  const std::int32_t at = call.integer(0);
  if (at < 0 || static_cast<std::size_t>(at) >= bytes.size()) {
    throw Error(call.place, "OutOfBoundsException: there is no byte " + std::to_string(at) + " in a block of " +
                                std::to_string(bytes.size()) + ".");
  }
  return bytes[static_cast<std::size_t>(at)];
}

Value byte(Call& call, const runtime::Object& object) {
  return static_cast<std::int32_t>(static_cast<unsigned char>(byteAt(call, object)));
}

void setByte(Call& call, const runtime::Object& object) { byteAt(call, object) = static_cast<char>(call.integer(1)); }

constexpr Member kMembers[] = {
    {"Picture", "Width", 0, pictureField<&runtime::PictureObject::width>, nullptr},
    {"Picture", "Height", 0, pictureField<&runtime::PictureObject::height>, nullptr},
    {"Picture", "Graphics", 0, graphics, nullptr},
    {"Picture", "GWorldHandle", 0, world, nullptr},
    {"Graphics", "ForeColor", 0, foreColor, setForeColor},
    {"Graphics", "FillRect", 4, fill<PaintRect>, nullptr},
    {"Graphics", "FillOval", 4, fill<PaintOval>, nullptr},
    {"MemoryBlock", "Size", 0, size, nullptr},
    {"MemoryBlock", "Byte", 1, byte, setByte},
};

}  // namespace

const Function* findFunction(std::string_view name) {
  for (const Function& function : kFunctions) {
    if (runtime::sameName(function.name, name)) return &function;
  }
  return nullptr;
}

const Member* findMember(const runtime::Object& object, std::string_view name) {
  const std::string owner = classOf(object);
  for (const Member& member : kMembers) {
    if (owner == member.owner && runtime::sameName(member.name, name)) return &member;
  }
  return nullptr;
}

}  // namespace language
