// A graphics port: pixels to draw on, and the state that drawing goes by.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "engine/port/resources.h"
#include "engine/shapes/paint.h"

namespace qd {

class PictureWriter;

struct TextState {
  std::int16_t font = 0;
  std::string fontName;  // as a picture gave it; empty where only the number is known
  std::uint8_t face = 0;
  std::int16_t mode = srcOr;
  std::int16_t size = 0;            // 0: the default
  Fixed extra = 0;                  // added to each space
  std::int16_t charExtra = 0;       // added to each other character, in 4096ths of the size
  std::uint16_t fraction = 0x8000;  // where the pen stands between two pixels, in 65536ths
  Fixed spacing = 0;                // added to each character of a justified line
  Fixed slack = 0;                  // divided among the spaces of such a line
  bool hasExactWidths = false;      // characters are as wide as their outlines, in fractions of pixels
  Point numerator = {1, 1}, denominator = {1, 1};

  bool operator==(const TextState&) const = default;
};

struct PortState {
  Point pen = {0, 0};
  Point penSize = {1, 1};
  int penMode = patCopy;
  int penVisibility = 0;  // below 0 hides what is drawn, not what is recorded
  Pattern penPattern{kBlack, nullptr};
  Pattern backPattern;
  Pattern fillPattern{kBlack, nullptr};
  TransferColors colors;
  bool highlights = false;  // the next inversion swaps background and highlight colour
  TextState text;
  Region clip = Region::wideOpen();
};

class Port {
 public:
  // The resources outlive it.
  Port(OwnedPixels pixels, Resources& resources);
  ~Port();
  Port(const Port&) = delete;
  Port& operator=(const Port&) = delete;

  Resources& resources() const { return resources_; }
  const PixelMap& map() const { return pixels_.map; }
  // What the clip leaves of the port's pixels, till the clip changes.
  const Region& visible();

  PortState state;
  std::unique_ptr<PictureWriter> recording;
  // Of the last picture that was played, or is being.
  unsigned drawn = 0;  // commands
  Work work;

 private:
  Resources& resources_;
  OwnedPixels pixels_;
  std::optional<Region> visibleFor_;  // the clip
  Region visible_;
};

}  // namespace qd
