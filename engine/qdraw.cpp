// The library's interface over the engine's parts.
#include "qdraw/qdraw.h"

#include <algorithm>
#include <bit>

#include "engine/images/decoders.h"
#include "engine/pict/player.h"
#include "engine/pict/writer.h"
#include "engine/pixels/copy.h"
#include "engine/port/command.h"

namespace qd {

static_assert(std::endian::native == std::endian::little, "the loops over pixels read their words so");

System::System(std::filesystem::path fonts) : resources_(std::make_unique<Resources>(std::move(fonts))) {}
System::~System() = default;

std::optional<PictureInfo> pictureInfo(Bytes picture) {
  const PictureReader reader(picture);
  if (reader.error()) return std::nullopt;
  const PictureHeader& header = reader.header();
  return PictureInfo{header.version, header.frame, toRect(header.source), header.hRes, header.vRes};
}

std::optional<GWorld> GWorld::make(System& system, int width, int height, int depth, int colorTable) {
  if (width > INT16_MAX || height > INT16_MAX) return std::nullopt;
  return make(system, MakeRect(0, 0, width, height), depth, colorTable);
}

std::optional<GWorld> GWorld::make(System& system, const Rect& bounds, int depth, int colorTable) {
  constexpr int kDepths[] = {1, 2, 4, 8, 16, 32};
  if (Box(bounds).empty() || std::ranges::find(kDepths, depth) == std::end(kDepths)) return std::nullopt;
  ColorTablePtr colors;
  if (depth <= 8) {
    ColorTables& tables = system.resources_->tables;
    colors = colorTable != 0 ? tables.byId(colorTable) : tables.standard(depth);
    if (colors == nullptr || colors->colors().size() > std::size_t{1} << depth) return std::nullopt;
  }
  auto pixels = whitePixels(Box(bounds), depth, colors);
  if (!pixels) return std::nullopt;
  return GWorld(std::make_unique<Port>(std::move(*pixels), *system.resources_));
}

namespace {

// A pixel with its opacity, laid on an opaque one.
std::uint32_t laidOn(std::uint32_t background, std::uint32_t pixel) {
  const std::uint32_t alpha = alphaOf(pixel);
  std::uint32_t laid = 0;
  for (const int shift : {16, 8, 0}) {
    const auto component = [shift](std::uint32_t p) { return p >> shift & 0xFF; };
    laid |= (component(pixel) * alpha + component(background) * (255 - alpha) + 127) / 255 << shift;
  }
  return laid;
}

}  // namespace

std::optional<GWorld> GWorld::ofImage(System& system, Bytes file, std::string& why, const Transparency& transparency) {
  const auto image = openFile({file, {}}, why);
  if (image == nullptr) return std::nullopt;
  const auto& [width, height, depth, colors, hasAlpha] = image->format();
  auto pixels = OwnedPixels::make(Box(0, 0, height, width), 32, nullptr);
  if (!pixels) {
    why = "there is no memory for " + std::to_string(width) + "x" + std::to_string(height) + " pixels";
    return std::nullopt;
  }
  pixels->map.hasAlpha = hasAlpha && transparency.isKept;
  const std::uint32_t background = deepPixel(transparency.background);
  std::vector<std::uint32_t> row(static_cast<std::size_t>(width));
  for (int y = 0; y < height; ++y) {
    if (!image->next(row)) {
      why = "it is damaged in row " + std::to_string(y);
      return std::nullopt;
    }
    if (hasAlpha && !transparency.isKept) {
      for (std::uint32_t& pixel : row) pixel = laidOn(background, pixel);
    }
    pixels->map.put(y, 0, row);
  }
  why = image->isDamaged() ? "it is damaged, and parts of it are made up" : "";
  return GWorld(std::make_unique<Port>(std::move(*pixels), *system.resources_));
}

GWorld::GWorld(std::unique_ptr<Port> port) : port_(std::move(port)) {}
GWorld::GWorld(GWorld&&) noexcept = default;
GWorld& GWorld::operator=(GWorld&&) noexcept = default;
GWorld::~GWorld() = default;

int GWorld::width() const { return port_->map().bounds.width(); }
int GWorld::height() const { return port_->map().bounds.height(); }
int GWorld::depth() const { return port_->map().depth; }
std::size_t GWorld::rowBytes() const { return static_cast<std::size_t>(port_->map().rowBytes); }
std::span<std::uint8_t> GWorld::row(int y) { return {port_->map().row(y), rowBytes()}; }
Bytes GWorld::row(int y) const { return {port_->map().row(y), rowBytes()}; }

void GWorld::rgb(int y, std::span<std::uint8_t> triplets) const {
  const PixelMap& map = port_->map();
  std::vector<std::uint32_t> pixels(static_cast<std::size_t>(width()));
  map.get(y, map.bounds.left, pixels);
  auto out = triplets.begin();
  for (const std::uint32_t pixel : pixels) {
    const std::uint32_t deep = map.depth == 32 ? pixel : deepPixel(map.colorOf(pixel));
    for (const int shift : {16, 8, 0}) *out++ = static_cast<std::uint8_t>(deep >> shift);
  }
}

void GWorld::setRGB(int y, Bytes triplets) {
  std::uint8_t* out = port_->map().row(y);
  for (std::size_t i = 0; i + 3 <= triplets.size() && i < static_cast<std::size_t>(width()) * 3; i += 3, out += 4) {
    std::ranges::copy(triplets.subspan(i, 3), out + 1);
  }
}

void GWorld::copy(const GWorld& source, const Rect& from, const Rect& to) {
  const PixelMap& map = port_->map();
  copyBits(source.port_->map(), map, Box(from), Box(to), srcCopy, Region(map.bounds), TransferColors{});
}

Playback GWorld::play(Bytes picture, const Rect& target) {
  Fonts& fonts = port_->resources().fonts;
  fonts.takeLost();  // by another playback that memory ended
  Playback playback = qd::play(*port_, picture, target);
  const Fonts::Lost lost = fonts.takeLost();
  playback.drawn -= lost.texts;
  playback.played -= lost.texts;
  playback.undrawn += lost.texts;
  playback.remarks.insert(playback.remarks.end(), lost.faults.begin(), lost.faults.end());
  return playback;
}
Playback GWorld::play(Bytes picture) { return play(picture, toRect(port_->map().bounds)); }

bool GWorld::playOpacity(Bytes picture, const Rect& target) {
  perform(*port_, ShapeCommand{.shape = Shape::rect, .verb = Verb::paint, .rect = toRect(port_->map().bounds)});
  return playFourth(*port_, picture, target);
}

bool VectorSink::append(Bytes bytes, std::size_t spare) {
  const std::size_t needed = bytes_.size() + bytes.size() + spare;
  if (needed > bytes_.capacity()) bytes_.reserve(std::max(needed, 2 * bytes_.capacity()));
  bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
  return true;
}
void VectorSink::replace(std::size_t at, Bytes bytes) {
  std::ranges::copy(bytes, bytes_.begin() + static_cast<std::ptrdiff_t>(at));
}

struct Recorder::Parts {
  Parts(Resources& resources, const OpenCPicParams& params, ByteSink& sink) : writer(params, sink, resources.fonts) {}

  PortState state;
  PictureWriter writer;

  void shape(Verb verb, ShapeCommand command) {
    command.verb = verb;
    writer.write(state, command);
  }
};

Recorder::Recorder(System& system, const OpenCPicParams& params, ByteSink& sink)
    : parts_(std::make_unique<Parts>(*system.resources_, params, sink)) {}
Recorder::~Recorder() = default;

void Recorder::foreColor(const RGBColor& color) { parts_->state.colors.foreground = color; }
void Recorder::backColor(const RGBColor& color) { parts_->state.colors.background = color; }
void Recorder::penSize(Point size) { parts_->state.penSize = size; }
void Recorder::penMode(int mode) { parts_->state.penMode = mode; }
void Recorder::penPattern(const PatternBits& bits) { parts_->state.penPattern = {bits, nullptr}; }
void Recorder::backPattern(const PatternBits& bits) { parts_->state.backPattern = {bits, nullptr}; }
void Recorder::fillPattern(const PatternBits& bits) { parts_->state.fillPattern = {bits, nullptr}; }
void Recorder::font(int number, int size, std::uint8_t face, int mode) {
  TextState& text = parts_->state.text;
  text.font = Low16(number);
  text.size = Low16(size);
  text.face = face;
  text.mode = Low16(mode);
}
void Recorder::clip(const Rect& rect) { parts_->state.clip = Region(Box(rect)); }

void Recorder::line(Point from, Point to) { parts_->writer.write(parts_->state, LineCommand{from, to}); }
void Recorder::rect(Verb verb, const Rect& rect) { parts_->shape(verb, {.shape = Shape::rect, .rect = rect}); }
void Recorder::roundRect(Verb verb, const Rect& rect, Point ovalSize) {
  parts_->shape(verb, {.shape = Shape::roundRect, .rect = rect, .ovalSize = ovalSize});
}
void Recorder::oval(Verb verb, const Rect& rect) { parts_->shape(verb, {.shape = Shape::oval, .rect = rect}); }
void Recorder::arc(Verb verb, const Rect& rect, int start, int arc) {
  parts_->shape(verb, {.shape = Shape::arc, .rect = rect, .wedge = {start, arc}});
}
void Recorder::polygon(Verb verb, std::span<const Point> points) {
  if (points.size() >= 2) parts_->shape(verb, {.shape = Shape::polygon, .points = points});
}
void Recorder::text(Point at, std::string_view macRoman) {
  if (!macRoman.empty()) parts_->writer.write(parts_->state, TextCommand{at, macRoman});
}
void Recorder::image(const GWorld& world, const Rect& from, const Rect& to, int mode) {
  parts_->writer.write(parts_->state, BitsCommand{&world.port_->map(), from, to, Low16(mode), nullptr});
}

bool Recorder::isFull() const { return parts_->writer.isFull(); }
bool Recorder::close() {
  parts_->writer.close();
  return !isFull();
}

}  // namespace qd
