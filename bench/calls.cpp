// What a call through the plug-in costs above a call of QuickDraw's own function: with the platform's QuickDraw, and
// with a QuickDraw and a host whose functions do nothing.
#include <dlfcn.h>

#include <cstring>
#include <map>

#include "bench/hosted.h"
#include "contract/system.h"
#include "platform/quickdraw/operations.h"
#include "platform/visibility.h"

using bench::Side;
using bench::Table;
using runtime::Host;
using runtime::Object;

namespace {

bool isEmpty = false;                // operations come from below, not from the framework
std::map<std::string, int> lookups;  // of operations
long allocations = 0;
bool isCounted = false;  // functions that do nothing count their calls
long calls = 0;
std::int32_t coordinates[200];
constexpr int kCorners = 100;
constexpr std::string_view kWord = "Hello";

// ---- functions that do nothing

template <class Signature>
struct Nothing;
template <class Result, class... Arguments>
struct Nothing<Result(Arguments...)> {
  static Result call(Arguments...) {
    if constexpr (std::is_pointer_v<Result>) {
      static int something;
      return reinterpret_cast<Result>(&something);
    } else if constexpr (!std::is_void_v<Result>) {
      return Result{};
    }
  }
};

template <auto Function>
struct Counted;
template <class Result, class... Arguments, Result (*Function)(Arguments...)>
struct Counted<Function> {
  static Result call(Arguments... arguments) {
    ++calls;
    return Function(arguments...);
  }
};
template <auto Function>
void* addressOf() {
  return reinterpret_cast<void*>(isCounted ? &Counted<Function>::call : Function);
}

void* nothingFor(const std::string& wanted) {
#define OPERATION(name, result, arguments) \
  if (wanted == #name) return addressOf<&Nothing<result arguments>::call>();
#include "contract/operations.def"
  return nullptr;
}

void selectNothing(REALgraphicsStruct*) {}
std::int32_t lastCoordinate(REALarrayInteger*) { return 2 * kCorners - 1; }
std::int32_t coordinate(REALarrayInteger*, std::int32_t index) { return coordinates[index]; }
unsigned char wordData(REALstringStruct*, std::uint32_t encoding, REALstringData* out) {
  *out = {kWord.data(), kWord.size(), encoding, {}};
  return 1;
}
void noData(REALstringData*) {}
void noLock(REALstringStruct*) {}
std::uint32_t macRoman(REALstringStruct*) { return kCFStringEncodingMacRoman; }

// Of the entry points that handlers call, those that do nothing in place of the platform's.
void* resolveNothing(const char* name) {
  const std::map<std::string_view, void*> kEntries = {
      {"SelectGraphics", addressOf<&selectNothing>()},
      {"RuntimeUBound", addressOf<&lastCoordinate>()},
      {"RuntimeDirectReadIntArray", addressOf<&coordinate>()},
      {"PluginGetStringData", addressOf<&wordData>()},
      {"PluginDisposeStringData", addressOf<&noData>()},
      {"REALLockString", addressOf<&noLock>()},
      {"REALUnlockString", addressOf<&noLock>()},
      {"REALGetStringEncoding", addressOf<&macRoman>()},
  };
  const auto found = kEntries.find(name);
  return found != kEntries.end() ? found->second : Host::resolve(name);
}

}  // namespace

// The plug-in finds operations by this; what stands in the program comes before the framework's own.
extern "C" PLATFORM_EXPORT void* CFBundleGetFunctionPointerForName(CFBundleRef bundle, CFStringRef name) {
  static const auto real = reinterpret_cast<decltype(&CFBundleGetFunctionPointerForName)>(
      dlsym(RTLD_NEXT, "CFBundleGetFunctionPointerForName"));
  const auto* text = reinterpret_cast<const ConstantString*>(name);
  const std::string wanted(text->characters, text->length);
  void* const nothing = nothingFor(wanted);
  if (nothing != nullptr) ++lookups[wanted];
  return isEmpty && nothing != nullptr ? nothing : real(bundle, name);
}

// Counts the program's allocations, the plug-in's and the platform's among them.
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
PLATFORM_EXPORT void* malloc(std::size_t size) {
  ++allocations;
  return __libc_malloc(size);
}
PLATFORM_EXPORT void* calloc(std::size_t count, std::size_t size) {
  ++allocations;
  return __libc_calloc(count, size);
}
PLATFORM_EXPORT void* realloc(void* block, std::size_t size) {
  ++allocations;
  return __libc_realloc(block, size);
}
}

namespace {

// The host with its plug-in, and a recorder that holds a finished picture: its shapes are drawn on the current port.
class Stage {
 public:
  explicit Stage(bool empty) : hosted_(setUp(empty)) {
    Host& host = hosted_.host();
    canvas_ = host.newPicture(256, 256);
    graphics_ = host.graphicsOf(canvas_);
    points_ = host.integers({coordinates, coordinates + 2 * kCorners});
    word_ = host.string(kWord, kCFStringEncodingMacRoman);
    recorder_ = host.make("MacPictTVK");
    host.call(recorder_, "CreatePicture", {256, 256});
    host.call(recorder_, "ClosePicture");
    SetGWorld(reinterpret_cast<GWorldPtr>(host.worldOf(canvas_)), nullptr);
  }
  ~Stage() {
    if (isEmpty)
      hosted_.host().set(recorder_, "PicHandle", 0);  // what an empty operation gave is no picture to dispose of
  }

  // The address that the plug-in registered for a method, or for the setting of a property.
  template <class Function>
  Function* handler(const char* className, const char* name) const {
    const runtime::Method& method = hosted_.method(className, name);
    return reinterpret_cast<Function*>(method.setter != nullptr ? method.setter : method.handler);
  }
  REALobjectStruct* recorder() const { return recorder_.get(); }
  REALobjectStruct* graphics() const { return graphics_.get(); }
  REALobjectStruct* points() const { return points_.get(); }
  REALstringStruct* word() const { return word_.get(); }
  std::string pixels() const {
    const PixMapHandle map = GetGWorldPixMap(reinterpret_cast<GWorldPtr>(hosted_.host().worldOf(canvas_)));
    return {GetPixBaseAddr(map), static_cast<std::size_t>(GetPixRowBytes(map)) * 256};
  }

 private:
  // Before the plug-in is loaded.
  static Host::Resolver setUp(bool empty) {
    isEmpty = empty;
    return empty ? &resolveNothing : &Host::resolve;
  }

  bench::Hosted hosted_;
  Object canvas_, graphics_, points_, recorder_;
  runtime::String word_;
};

// An operation by its address, as the plug-in calls it.
template <class Signature>
Signature* found(const char* name, Signature* real) {
  return isEmpty ? reinterpret_cast<Signature*>(nothingFor(name)) : real;
}
#define FOUND(name) name = found(#name, &::name)

struct Pair {
  const char* name;
  Side plugin, direct;
  bool isShape = false;
  bool draws = true;
};

using Int = std::int32_t;
using ShapeHandler = void(REALobjectStruct*, Int, Int, Int, Int);

std::vector<Pair> pairs(const Stage& stage) {
  const Rect area = MakeRect(20, 30, 16, 16);
  const auto shape = [](ShapeHandler* handler, REALobjectStruct* object) {
    return [handler, object] { handler(object, 20, 30, 16, 16); };
  };
  const auto setColor = stage.handler<void(REALobjectStruct*, std::uint32_t)>("MacPictTVK", "ForeColor");
  const auto drawString =
      stage.handler<void(REALobjectStruct*, REALstringStruct*, Int, Int)>("MacPictTVK", "DrawString");
  const auto paintPoly = stage.handler<void(REALobjectStruct*, REALobjectStruct*)>("MacPictTVK", "PaintPoly");
  REALobjectStruct* const recorder = stage.recorder();
  return {
      {"rectangle of a graphics, its port saved",
       {"", shape(stage.handler<ShapeHandler>("graphics", "InvertRectTVK"), stage.graphics())},
       {"", [area, FOUND(MacInvertRect)] { MacInvertRect(&area); }},
       true},
      {"oval of a graphics",
       {"", shape(stage.handler<ShapeHandler>("graphics", "InvertOvalTVK"), stage.graphics())},
       {"", [area, FOUND(InvertOval)] { InvertOval(&area); }},
       true},
      {"rectangle of a recorder",
       {"", shape(stage.handler<ShapeHandler>("MacPictTVK", "PaintRect"), recorder)},
       {"", [area, FOUND(PaintRect)] { PaintRect(&area); }},
       true},
      {"colour of a recorder",
       {"", [=] { setColor(recorder, 0x336699); }},
       {"",
        [FOUND(RGBForeColor)] {
          const RGBColor color = {0x3333, 0x6666, 0x9999};
          RGBForeColor(&color);
        }},
       false,
       false},
      {"text of a recorder",
       {"", [=, word = stage.word()] { drawString(recorder, word, 20, 40); }},
       {"",
        [FOUND(MoveTo), FOUND(DrawText)] {
          MoveTo(20, 40);
          DrawText(kWord.data(), 0, kWord.size());
        }}},
      {"polygon of 100 points",
       {"", [=, points = stage.points()] { paintPoly(recorder, points); }},
       {"",
        [FOUND(OpenPoly), FOUND(MoveTo), FOUND(LineTo), FOUND(ClosePoly), FOUND(PaintPoly), FOUND(KillPoly)] {
          const PolyHandle polygon = OpenPoly();
          const auto at = [](int i) { return Low16(coordinates[i]); };
          for (int i = 0; i < 2 * kCorners - 2; i += 2) {
            MoveTo(at(i), at(i + 1));
            LineTo(at(i + 2), at(i + 3));
          }
          ClosePoly();
          PaintPoly(polygon);
          KillPoly(polygon);
        }}},
  };
}
#undef FOUND

// The pixels and the colour that a call leaves on a white canvas.
std::string traceOf(const Stage& stage, const Side& side) {
  const RGBColor black = {0, 0, 0};
  const Rect all = MakeRect(0, 0, 256, 256);
  RGBForeColor(&black);
  EraseRect(&all);
  side.run(1);
  RGBColor color = {};
  GetForeColor(&color);
  return stage.pixels() + std::to_string(color.red) + std::to_string(color.green) + std::to_string(color.blue);
}

long allocationsOf(const Side& side) {
  side.run(1);
  const long before = allocations;
  side.run(1);
  return allocations - before;
}

// How many functions a method calls, and how many are called directly.
void countCalls(Table& table) {
  isCounted = true;
  const Stage stage(true);
  const auto callsOf = [](const Side& side) {
    side.run(1);
    const long before = calls;
    side.run(1);
    return std::to_string(calls - before);
  };
  for (const Pair& pair : pairs(stage)) {
    table.note(std::string(pair.name) + ", nothing done: calls", callsOf(pair.plugin), callsOf(pair.direct));
  }
  isCounted = false;
}

void measure(Table& table, bool empty) {
  lookups.clear();
  const Stage stage(empty);
  const std::string kind = empty ? ", nothing done" : ", drawn";
  const std::string blank = traceOf(stage, {"", [] {}});
  for (const Pair& pair : pairs(stage)) {
    const std::string what = pair.name + kind;
    if (!empty) {
      const std::string left = traceOf(stage, pair.plugin);
      if (left == blank || left != traceOf(stage, pair.direct))
        bench::fail(what + ": through the plug-in something else comes out.");
    }
    const std::vector<double> taken = bench::takeTurns({pair.plugin, pair.direct});
    const std::string ours = bench::duration(taken[0]);
    const std::string direct = bench::duration(taken[1]);
    if (empty || pair.draws) {
      table.row(what, ours, direct, taken[0] / taken[1], bench::atMost(empty ? 3 : 1.1));
    } else {
      table.note(what, ours, direct);
    }
    const long made = allocationsOf(pair.plugin);
    const long madeDirectly = allocationsOf(pair.direct);
    const std::string counted = what + ": allocations";
    if (pair.isShape) {
      table.row(counted, std::to_string(made), std::to_string(madeDirectly), static_cast<double>(made - madeDirectly),
                bench::atMost(0));
    } else {
      table.note(counted, std::to_string(made), std::to_string(madeDirectly));
    }
  }
  int most = 0;
  for (const auto& [name, times] : lookups) most = std::max(most, times);
  table.row("look-ups of an operation, at most" + kind, std::to_string(most), "1", most, bench::atMost(1));
}

}  // namespace

int main() {
  bench::Random random;
  for (std::int32_t& c : coordinates) c = static_cast<std::int32_t>(random(256));
  Table table("Calls",
              "The handler that the plug-in registered for a method, against QuickDraw's functions called by their "
              "address with prepared arguments, at 32 bits. \"Drawn\" is 16x16 pixels on the platform's QuickDraw; "
              "with \"nothing done\" QuickDraw and the host's entry points are empty functions. The ratio is ours by "
              "the other side's, and of counts the difference.",
              "ours / other");
  measure(table, false);
  measure(table, true);
  countCalls(table);
}
