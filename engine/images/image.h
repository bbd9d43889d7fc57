// Images in formats from elsewhere, as rows of pixels.
#pragma once

#include <memory>
#include <span>
#include <string>

#include "engine/pixels/pixels.h"
#include "qdraw/qdraw.h"

namespace qd {

struct ImageFormat {
  int width = 0, height = 0;
  int depth = 32;         // that of a map
  ColorTablePtr colors;   // of indices
  bool hasAlpha = false;  // pixels of 32 bits have their opacity in the highest byte
};

// Where an image comes from. What a picture tells beside the data is for codecs whose data don't tell it themselves.
struct ImageSource {
  Bytes data;
  ImageFormat told;
};

// Gives an image's rows one after another, from the top. It reads the data, which outlive it, as far as rows are asked
// for.
class ImageReader {
 public:
  ImageReader() = default;
  virtual ~ImageReader() = default;
  ImageReader(const ImageReader&) = delete;
  ImageReader& operator=(const ImageReader&) = delete;

  const ImageFormat& format() const { return format_; }
  // The next row, as many pixels as the image is wide; an empty one passes over a row. False where the data make no
  // sense.
  virtual bool next(std::span<std::uint32_t> row) = 0;
  // Whether rows that were given are partly made up.
  bool isDamaged() const { return isDamaged_; }

 protected:
  ImageFormat format_;
  bool isDamaged_ = false;
};

// Null, and in words why, for what isn't decoded.
using OpenImage = std::unique_ptr<ImageReader> (*)(const ImageSource& source, std::string& why);

// Why, for what can't be told more closely.
inline constexpr const char* kSenseless = "its data make no sense";

inline constexpr const char* kTooShort = "it ends too early";

// Pixels of red, green, blue, a byte each, and of opacity if they have four.
void unpackComponents(const std::uint8_t* from, int count, std::span<std::uint32_t> row);

// ---- limits

// Pictures count pixels in 16 bits with a sign.
constexpr int kMostPixelsASide = 32767;
// Of a progressive JPEG. Encoders make about ten.
constexpr int kMostScans = 64;

// Of an image that must be in memory as a whole, unless its bytes make more plausible.
constexpr std::int64_t kMostPixelsAtOnce = 64'000'000;

// Says why, and answers false, if an image has none of these depths.
bool hasDepth(int depth, std::initializer_list<int> depths, std::string& why);
// The same if no image has that size.
bool hasPossibleSize(std::int64_t width, std::int64_t height, std::string& why);
// The same for an image whose pixels must all be in memory before the first row is known. They may be many if its bytes
// are many too, however large the canvas; but more than bytes can hold are not there.
bool mayBeHeldWhole(std::int64_t width, std::int64_t height, std::size_t bytes, std::int64_t mostPixelsPerByte,
                    std::string& why);

// A block of 64 pixels takes two bits at least, one of its mean and one that says that there is no more; of components
// whose samples lie apart in both directions, blocks stand for 128 pixels.
constexpr std::int64_t kMostJpegPixelsPerByte = 512;
// A byte of deflate gives at most 1032.
constexpr std::int64_t kMostInflatedPerByte = 1032;
// A code of LZW gives 4096 at most.
constexpr std::int64_t kMostLzwPerByte = 4096;

}  // namespace qd
