// QuickDraw's operations as the framework exports them. Each works on the current port, or on what it is given; what is
// no port, handle or picture is left alone. Where memory is missing an operation does nothing more, and answers so.
#include "platform/quickdraw/operations.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <memory>
#include <unordered_map>
#include <unordered_set>

#include "engine/pict/player.h"
#include "engine/pict/writer.h"
#include "engine/pixels/colors.h"
#include "engine/pixels/copy.h"
#include "engine/port/command.h"
#include "engine/text/text.h"
#include "platform/guarded.h"
#include "platform/memory/memory.h"

using namespace qd;

namespace {

enum : OSErr { noErr = 0, paramErr = -50, memFullErr = -108, cDepthErr = -157 };

constexpr std::size_t kMostPoints = 16381;  // of a polygon, whose size in bytes is a word

// The screen of the host: what is drawn on before anything else is selected.
constexpr int kScreenWidth = 640;
constexpr int kScreenHeight = 480;

// A recording goes into a handle, which holds all that was recorded so far at every moment.
class HandleSink final : public ByteSink {
 public:
  explicit HandleSink(Handle handle) : handle_(handle) {}
  Handle handle() const { return handle_; }

  bool append(Bytes bytes, std::size_t spare) override {
    const auto size = static_cast<std::size_t>(GetHandleSize(handle_));
    if (bytes.size() + spare > INT32_MAX - size) return false;
    // A handle that has shrunk keeps its room.
    if (!resize(size + bytes.size() + spare) || !resize(size + bytes.size())) return false;
    std::copy(bytes.begin(), bytes.end(), *handle_ + size);
    return true;
  }
  void replace(std::size_t at, Bytes bytes) override { std::copy(bytes.begin(), bytes.end(), *handle_ + at); }

 private:
  bool resize(std::size_t size) { return SetHandleSize(handle_, static_cast<std::int32_t>(size)); }

  Handle handle_;
};

// A port as the operations know it.
struct GrafPort {
  GrafPort(OwnedPixels pixels, Resources& resources) : port(std::move(pixels), resources), mapMaster(&port.map()) {}

  Port port;
  std::optional<HandleSink> sink;             // of its recording
  std::optional<std::vector<Point>> polygon;  // while one is open: the points of the lines
  Handle polygonHandle = nullptr;             // which it goes into
  const PixelMap* mapMaster;                  // the address of this is the port's PixMapHandle
};

// The fonts lie where the program for pictures has them, unless the environment names another folder: beside the
// frameworks in the build tree, two folders above where they are installed.
std::filesystem::path fontsFolder() {
  if (const char* named = std::getenv("MACPICT_FONTS")) return named;
  Dl_info self = {};
  if (dladdr(reinterpret_cast<void*>(&fontsFolder), &self) == 0) return {};
  const auto root = std::filesystem::absolute(self.dli_fname).parent_path().parent_path().parent_path();
  const auto folder = root / "share/qdraw/fonts";
  return std::filesystem::exists(folder) ? folder : root / "../../share/qdraw/fonts";
}

struct Worlds {
  Worlds() {
    auto pixels = whitePixels(Box(0, 0, kScreenHeight, kScreenWidth), 32, nullptr);
    if (!pixels) throw std::bad_alloc();
    screen = current = add(std::move(*pixels));
  }

  GrafPort* add(OwnedPixels pixels) {
    auto port = std::make_unique<GrafPort>(std::move(pixels), resources);
    GrafPort* const world = port.get();
    const PixelMap* const map = &world->port.map();
    try {
      maps.emplace(map, map);
      maps.emplace(&world->mapMaster, map);
      alive.emplace(world, std::move(port));
    } catch (const std::bad_alloc&) {
      forget(*world);
      throw;
    }
    return world;
  }

  void forget(const GrafPort& port) {
    maps.erase(&port.port.map());
    maps.erase(&port.mapMaster);
    alive.erase(&port);
  }

  Resources resources{fontsFolder()};
  std::unordered_map<const GrafPort*, std::unique_ptr<GrafPort>> alive;
  std::unordered_map<const void*, const PixelMap*> maps;  // by the map's address, and by that of its master
  GrafPort* screen = nullptr;
  GrafPort* current = nullptr;
  Playback lastPlayback;
  std::vector<std::string> remarks;
};

// The operations name no QuickDraw: there is one, as there is on a Mac.
Worlds& worlds() {
  static Worlds all;
  return all;
}

GrafPort& currentPort() { return *worlds().current; }
Port& current() { return currentPort().port; }

GrafPort* grafPortOf(CGrafPtr ref) {
  auto* port = reinterpret_cast<GrafPort*>(ref);
  return worlds().alive.contains(port) ? port : nullptr;
}
Port* portOf(CGrafPtr ref) {
  GrafPort* const port = grafPortOf(ref);
  return port != nullptr ? &port->port : nullptr;
}
CGrafPtr refOf(GrafPort* port) { return reinterpret_cast<CGrafPtr>(port); }

// There is one device, which nothing looks into.
GDHandle theDevice() {
  static GDevice* device = nullptr;
  return &device;
}

// PixMapHandles and BitMapPtrs are made from ports that are alive, and go bad with them.
const PixelMap* mapOf(const void* ref) {
  const auto found = worlds().maps.find(ref);
  return found != worlds().maps.end() ? found->second : nullptr;
}

struct Tables {
  std::unordered_map<const void*, ColorTablePtr> alive;
  ColorTablePtr of(CTabHandle handle) const {
    const auto found = alive.find(handle);
    return found != alive.end() ? found->second : nullptr;
  }
};
Tables& tables() {
  static Tables all;
  return all;
}

// A polygon in a handle: size, box, points.
constexpr std::int32_t kPolygonHead = 10;

std::vector<Point> pointsOf(PolyHandle polygon) {
  const auto handle = reinterpret_cast<Handle>(polygon);
  const std::int32_t size = GetHandleSize(handle) - kPolygonHead;
  std::vector<Point> points(static_cast<std::size_t>(std::max(size, 0)) / sizeof(Point));
  if (!points.empty()) std::memcpy(points.data(), *handle + kPolygonHead, points.size() * sizeof(Point));
  return points;
}

template <class Command>
void draw(const Command& command) {
  guarded([&command] { perform(current(), command); });
}

void shape(Shape kind, Verb verb, const Rect* area, Point ovalSize = {}, Wedge wedge = {}) {
  ShapeCommand command;
  command.shape = kind;
  command.verb = verb;
  command.rect = *area;
  command.ovalSize = ovalSize;
  command.wedge = wedge;
  draw(command);
}

void polygon(Verb verb, PolyHandle handle) {
  guarded([=] {
    const std::vector<Point> points = pointsOf(handle);
    if (points.size() < 2) return;
    ShapeCommand command;
    command.shape = Shape::polygon;
    command.verb = verb;
    command.points = points;
    perform(current(), command);
  });
}

void lineTo(Point to) {
  PortState& state = current().state;
  const Point from = state.pen;
  state.pen = to;
  std::optional<std::vector<Point>>& polygon = currentPort().polygon;
  if (!polygon) return draw(LineCommand{from, to});
  guarded([&] {
    if (polygon->empty()) polygon->push_back(from);
    if (polygon->size() < kMostPoints) polygon->push_back(to);
  });
}

Point fromPen(std::int16_t dh, std::int16_t dv) {
  const Point pen = current().state.pen;
  return {Low16(pen.v + dv), Low16(pen.h + dh)};
}

std::string_view partOf(const void* bytes, std::int16_t first, std::int16_t count) {
  if (bytes == nullptr || count <= 0) return {};
  return {static_cast<const char*>(bytes) + first, static_cast<std::size_t>(count)};
}

// Ends a port's recording, whose picture goes on to exist or not as the caller sees to.
void endRecording(GrafPort& graf) {
  if (!graf.sink) return;
  graf.port.recording->close();
  graf.port.recording.reset();
  graf.sink.reset();
  ++graf.port.state.penVisibility;
}

}  // namespace

// ---- ports

void GetPort(CGrafPtr* port) { *port = refOf(worlds().current); }

void GetGWorld(CGrafPtr* port, GDHandle* device) {
  *port = refOf(worlds().current);
  *device = theDevice();
}

void SetGWorld(CGrafPtr port, GDHandle) {
  if (GrafPort* const selected = grafPortOf(port)) worlds().current = selected;
}

std::int16_t GetPortTextSize(CGrafPtr ref) {
  const Port* port = portOf(ref);
  return port != nullptr ? port->state.text.size : std::int16_t{0};
}

Style GetPortTextFace(CGrafPtr ref) {
  const Port* port = portOf(ref);
  return port != nullptr ? port->state.text.face : Style{0};
}

std::int16_t GetPortTextMode(CGrafPtr ref) {
  const Port* port = portOf(ref);
  return port != nullptr ? port->state.text.mode : std::int16_t{0};
}

BitMapPtr GetPortBitMapForCopyBits(CGrafPtr ref) {
  const Port* port = portOf(ref);
  return port != nullptr ? reinterpret_cast<BitMapPtr>(&port->map()) : nullptr;
}

Point* GetPortPenSize(CGrafPtr ref, Point* size) {
  const Port* port = portOf(ref);
  *size = port != nullptr ? port->state.penSize : Point{0, 0};
  return size;
}

void SetPortPenSize(CGrafPtr ref, Point size) {
  if (Port* const port = portOf(ref)) port->state.penSize = size;
}

// ---- pixels

PixMapHandle GetGWorldPixMap(GWorldPtr world) {
  GrafPort* const port = grafPortOf(world);
  return port != nullptr ? reinterpret_cast<PixMapHandle>(const_cast<PixelMap**>(&port->mapMaster)) : nullptr;
}

Boolean LockPixels(PixMapHandle pixels) { return mapOf(pixels) != nullptr ? 1 : 0; }  // they don't move

void UnlockPixels(PixMapHandle) {}

std::int32_t GetPixRowBytes(PixMapHandle pixels) {
  const PixelMap* map = mapOf(pixels);
  return map != nullptr ? map->rowBytes : 0;
}

Ptr GetPixBaseAddr(PixMapHandle pixels) {
  const PixelMap* map = mapOf(pixels);
  return map != nullptr ? reinterpret_cast<Ptr>(map->base) : nullptr;
}

std::int16_t GetPixDepth(PixMapHandle pixels) {
  const PixelMap* map = mapOf(pixels);
  return static_cast<std::int16_t>(map != nullptr ? map->depth : 0);
}

Rect* GetPortBounds(CGrafPtr ref, Rect* bounds) {
  const Port* port = portOf(ref);
  *bounds = port != nullptr ? toRect(port->map().bounds) : Rect{};
  return bounds;
}

// ---- colours

void ForeColor(std::int32_t color) { current().state.colors.foreground = classicColor(color); }
void BackColor(std::int32_t color) { current().state.colors.background = classicColor(color); }
void GetForeColor(RGBColor* color) { *color = current().state.colors.foreground; }
void GetBackColor(RGBColor* color) { *color = current().state.colors.background; }
void RGBForeColor(const RGBColor* color) { current().state.colors.foreground = *color; }
void RGBBackColor(const RGBColor* color) { current().state.colors.background = *color; }

// ---- pictures

PicHandle OpenCPicture(const OpenCPicParams* params) {
  GrafPort& graf = currentPort();
  if (graf.sink) return nullptr;
  const Handle handle = NewHandle(0);
  if (handle == nullptr) return nullptr;
  graf.sink.emplace(handle);
  graf.port.recording =
      guarded([&] { return std::make_unique<PictureWriter>(*params, *graf.sink, worlds().resources.fonts); });
  if (graf.port.recording != nullptr && !graf.port.recording->isFull()) {
    --graf.port.state.penVisibility;
    return reinterpret_cast<PicHandle>(handle);
  }
  graf.port.recording.reset();
  graf.sink.reset();
  DisposeHandle(handle);
  return nullptr;
}

void ClosePicture() { endRecording(currentPort()); }

void KillPicture(PicHandle picture) {
  const auto handle = reinterpret_cast<Handle>(picture);
  // A picture that some port still records can't outlive its handle.
  for (const auto& [ref, graf] : worlds().alive) {
    if (graf->sink && graf->sink->handle() == handle) endRecording(*graf);
  }
  DisposeHandle(handle);
}

void DrawPicture(PicHandle picture, const Rect* target) {
  const auto handle = reinterpret_cast<Handle>(picture);
  const std::int32_t size = GetHandleSize(handle);
  Playback& last = worlds().lastPlayback;
  last = {};
  if (size <= 0) return;
  const bool isPlayed = guarded([&] {
    // What is played may be what is being recorded: its bytes would move.
    std::vector<std::uint8_t> copy;
    Bytes bytes(reinterpret_cast<const std::uint8_t*>(*handle), static_cast<std::size_t>(size));
    if (currentPort().sink && currentPort().sink->handle() == handle) {
      copy.assign(bytes.begin(), bytes.end());
      bytes = copy;
    }
    last = play(current(), bytes, *target);
    std::vector<std::string>& remarks = worlds().remarks;
    std::ranges::copy_if(last.remarks, std::back_inserter(remarks), [&remarks](const std::string& remark) {
      return std::ranges::find(remarks, remark) == remarks.end();
    });
    return true;
  });
  if (!isPlayed) last.error.emplace();
}

// ---- worlds, colour tables, regions

OSErr NewGWorld(GWorldPtr* world, std::int16_t depth, const Rect* bounds, CTabHandle colors, GDHandle, std::uint32_t) {
  *world = nullptr;
  if (depth == 24) depth = 32;
  if (depth != 1 && depth != 2 && depth != 4 && depth != 8 && depth != 16 && depth != 32) return cDepthErr;
  if (Box(*bounds).empty()) return paramErr;
  return guarded<memFullErr>([&] {
    ColorTablePtr table;
    if (depth <= 8) {
      table = tables().of(colors);
      if (table == nullptr || table->colors().size() > std::size_t{1} << depth)
        table = worlds().resources.tables.standard(depth);
    }
    auto pixels = whitePixels(Box(*bounds), depth, table);
    if (!pixels) return memFullErr;
    *world = refOf(worlds().add(std::move(*pixels)));
    return noErr;
  });
}

void DisposeGWorld(GWorldPtr world) {
  GrafPort* const port = grafPortOf(world);
  if (port == nullptr || port == worlds().screen) return;
  if (worlds().current == port) worlds().current = worlds().screen;
  worlds().forget(*port);
}

CTabHandle GetCTable(std::int16_t id) {
  const ColorTablePtr table = guarded([id] { return worlds().resources.tables.byId(id); });
  if (table == nullptr) return nullptr;
  const Handle handle = NewHandle(0);
  if (handle == nullptr || guarded([&] { return tables().alive.emplace(handle, table).second; }))
    return reinterpret_cast<CTabHandle>(handle);
  DisposeHandle(handle);
  return nullptr;
}

void DisposeCTable(CTabHandle colors) {
  if (tables().alive.erase(colors) != 0) DisposeHandle(reinterpret_cast<Handle>(colors));
}

RgnHandle NewRgn() {
  const Handle handle = NewHandle(0);
  const auto region = reinterpret_cast<RgnHandle>(handle);
  if (handle == nullptr || guarded([region] { return setRegion(region, Region()); })) return region;
  DisposeHandle(handle);
  return nullptr;
}

void DisposeRgn(RgnHandle region) { DisposeHandle(reinterpret_cast<Handle>(region)); }

bool setRegion(RgnHandle handle, const Region& region) {
  const auto words = region.inversionPoints();
  const auto size = static_cast<std::int32_t>(words.size() * sizeof words[0]);
  if (!SetHandleSize(reinterpret_cast<Handle>(handle), size)) return false;
  std::memcpy(*handle, words.data(), static_cast<std::size_t>(size));
  return true;
}

Region regionOf(RgnHandle handle) {
  const std::int32_t size = GetHandleSize(reinterpret_cast<Handle>(handle));
  constexpr std::size_t kHead = 5;
  std::vector<std::int16_t> words(static_cast<std::size_t>(size) / sizeof(std::int16_t));
  if (words.size() < kHead) return {};
  std::memcpy(words.data(), *handle, words.size() * sizeof words[0]);
  const Box bounds(words[1], words[2], words[3], words[4]);
  return Region::fromInversionPoints(bounds, std::span(words).subspan(kHead)).value_or(Region());
}

// Moves what the clip shows of the area; what is uncovered is erased, and is the update region.
void ScrollRect(const Rect* area, std::int16_t dh, std::int16_t dv, RgnHandle update) {
  guarded([=] {
    Port& port = current();
    const Region visible = intersect(port.visible(), Region(Box(*area)));
    const Region moved = intersect(visible.offset(dh, dv), visible);
    const Region uncovered = subtract(visible, moved);
    if (update != nullptr) setRegion(update, uncovered);
    if (port.state.penVisibility < 0) return;
    const Box from = moved.bounds().offset(-dh, -dv);
    copyBits(port.map(), port.map(), from, moved.bounds(), srcCopy, moved, TransferColors{});
    Painter eraser(port.map(), uncovered, port.state.backPattern, patCopy, port.state.colors);
    uncovered.emit(eraser, uncovered.bounds());
  });
}

// ---- copies

void CopyBits(BitMapPtr source, BitMapPtr destination, const Rect* from, const Rect* to, std::int16_t mode,
              RgnHandle mask) {
  const PixelMap* const sourceMap = mapOf(source);
  const PixelMap* const destinationMap = mapOf(destination);
  if (sourceMap == nullptr || destinationMap == nullptr) return;
  guarded([=] {
    Port& port = current();
    const Region within = mask != nullptr ? regionOf(mask) : Region();
    const Region* const limit = mask != nullptr ? &within : nullptr;
    // Onto the current port it is a drawing like any other; onto another map the current port only lends its colours.
    if (destinationMap == &port.map()) return perform(port, BitsCommand{sourceMap, *from, *to, mode, limit});
    Region clip(destinationMap->bounds);
    if (limit != nullptr) clip = intersect(clip, *limit);
    copyBits(*sourceMap, *destinationMap, Box(*from), Box(*to), mode, clip, port.state.colors);
  });
}

// Not recorded, onto whatever map.
void CopyMask(BitMapPtr source, BitMapPtr mask, BitMapPtr destination, const Rect* from, const Rect* maskFrom,
              const Rect* to) {
  const PixelMap* const sourceMap = mapOf(source);
  const PixelMap* const maskMap = mapOf(mask);
  const PixelMap* const destinationMap = mapOf(destination);
  if (sourceMap == nullptr || maskMap == nullptr || destinationMap == nullptr) return;
  guarded([=] {
    Port& port = current();
    const bool isOwn = destinationMap == &port.map();
    if (isOwn && port.state.penVisibility < 0) return;
    const Region clip = isOwn ? port.visible() : Region(destinationMap->bounds);
    copyMask(*sourceMap, *maskMap, *destinationMap, Box(*from), Box(*maskFrom), Box(*to), clip, port.state.colors);
  });
}

// ---- shapes

void MacFrameRect(const Rect* area) { shape(Shape::rect, Verb::frame, area); }
void PaintRect(const Rect* area) { shape(Shape::rect, Verb::paint, area); }
void EraseRect(const Rect* area) { shape(Shape::rect, Verb::erase, area); }
void MacInvertRect(const Rect* area) { shape(Shape::rect, Verb::invert, area); }

void FrameOval(const Rect* area) { shape(Shape::oval, Verb::frame, area); }
void PaintOval(const Rect* area) { shape(Shape::oval, Verb::paint, area); }
void EraseOval(const Rect* area) { shape(Shape::oval, Verb::erase, area); }
void InvertOval(const Rect* area) { shape(Shape::oval, Verb::invert, area); }

#define ARC(name, verb) \
  void name(const Rect* area, std::int16_t start, std::int16_t arc) { shape(Shape::arc, verb, area, {}, {start, arc}); }
ARC(FrameArc, Verb::frame)
ARC(PaintArc, Verb::paint)
ARC(EraseArc, Verb::erase)
ARC(InvertArc, Verb::invert)
#undef ARC

#define ROUND_RECT(name, verb)                                           \
  void name(const Rect* area, std::int16_t width, std::int16_t height) { \
    shape(Shape::roundRect, verb, area, {height, width});                \
  }
ROUND_RECT(FrameRoundRect, Verb::frame)
ROUND_RECT(PaintRoundRect, Verb::paint)
ROUND_RECT(EraseRoundRect, Verb::erase)
ROUND_RECT(InvertRoundRect, Verb::invert)
#undef ROUND_RECT

// ---- polygons

PolyHandle OpenPoly() {
  GrafPort& graf = currentPort();
  if (graf.polygon) return nullptr;
  const Handle handle = NewHandle(kPolygonHead);
  if (handle == nullptr) return nullptr;
  graf.polygon.emplace();
  graf.polygonHandle = handle;
  --graf.port.state.penVisibility;
  return reinterpret_cast<PolyHandle>(handle);
}

void ClosePoly() {
  GrafPort& graf = currentPort();
  if (!graf.polygon) return;
  ++graf.port.state.penVisibility;
  const std::vector<Point> points = std::move(*graf.polygon);
  graf.polygon.reset();
  const auto size = static_cast<std::int32_t>(points.size() * sizeof(Point)) + kPolygonHead;
  const Handle handle = graf.polygonHandle;
  if (!SetHandleSize(handle, size)) return;
  Box bounds;
  for (const Point& p : points) {
    const Box at(p.v, p.h, p.v, p.h);
    bounds = &p == &points[0] ? at
                              : Box(std::min(bounds.top, at.top), std::min(bounds.left, at.left),
                                    std::max(bounds.bottom, at.bottom), std::max(bounds.right, at.right));
  }
  const auto words = static_cast<std::uint16_t>(size);
  const Rect box = toRect(bounds);
  std::memcpy(*handle, &words, sizeof words);
  std::memcpy(*handle + sizeof words, &box, sizeof box);
  if (!points.empty()) std::memcpy(*handle + kPolygonHead, points.data(), points.size() * sizeof(Point));
}

void FramePoly(PolyHandle handle) { polygon(Verb::frame, handle); }
void PaintPoly(PolyHandle handle) { polygon(Verb::paint, handle); }
void ErasePoly(PolyHandle handle) { polygon(Verb::erase, handle); }
void InvertPoly(PolyHandle handle) { polygon(Verb::invert, handle); }
void KillPoly(PolyHandle handle) { DisposeHandle(reinterpret_cast<Handle>(handle)); }

// ---- the pen

void MoveTo(std::int16_t h, std::int16_t v) { current().state.pen = {v, h}; }
void Move(std::int16_t dh, std::int16_t dv) { current().state.pen = fromPen(dh, dv); }
void LineTo(std::int16_t h, std::int16_t v) { lineTo({v, h}); }
void Line(std::int16_t dh, std::int16_t dv) { lineTo(fromPen(dh, dv)); }
void PenSize(std::int16_t width, std::int16_t height) { current().state.penSize = {height, width}; }
void ShowPen() { ++current().state.penVisibility; }
void HidePen() { --current().state.penVisibility; }

void PenNormal() {
  PortState& state = current().state;
  state.penSize = {1, 1};
  state.penMode = patCopy;
  state.penPattern = {kBlack, nullptr};
}

// ---- text

void TextSize(std::int16_t size) { current().state.text.size = size; }
void TextFace(std::int16_t face) { current().state.text.face = static_cast<std::uint8_t>(face); }
void TextMode(std::int16_t mode) { current().state.text.mode = mode; }

void DrawText(const void* bytes, std::int16_t first, std::int16_t count) {
  Port& port = current();
  const std::string_view text = partOf(bytes, first, count);
  if (text.empty()) return;
  draw(TextCommand{port.state.pen, text});
  port.state.pen.h = Low16(port.state.pen.h + TextWidth(bytes, first, count));
}

std::int16_t TextWidth(const void* bytes, std::int16_t first, std::int16_t count) {
  return guarded(
      [=] { return Low16(textWidth(worlds().resources.fonts, current().state.text, partOf(bytes, first, count))); });
}

namespace qd {

const Playback& lastPlayback() { return worlds().lastPlayback; }
std::vector<std::string> takeRemarks() { return std::exchange(worlds().remarks, {}); }
Fonts::Lost lostTexts() { return worlds().resources.fonts.takeLost(); }

std::size_t livePorts() { return worlds().alive.size() - 1; }

void resetCurrentPort() {
  worlds().current = worlds().screen;
  endRecording(*worlds().screen);
  currentPort().polygon.reset();
  current().state = PortState{};
}

}  // namespace qd
