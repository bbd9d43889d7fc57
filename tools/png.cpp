#include "tools/png.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <vector>

#include "tools/deflate.h"

namespace {

void append32(std::string& out, std::uint32_t value) {
  for (const int shift : {24, 16, 8, 0}) out += static_cast<char>(value >> shift);
}

void writeChunk(OutputFile& file, const char* kind, std::string_view data) {
  std::string head, end;
  append32(head, static_cast<std::uint32_t>(data.size()));
  head += kind;
  uLong checksum = crc32_z(0, reinterpret_cast<const Bytef*>(head.data()) + 4, 4);
  // Without bytes it would begin anew.
  if (!data.empty()) checksum = crc32_z(checksum, reinterpret_cast<const Bytef*>(data.data()), data.size());
  append32(end, static_cast<std::uint32_t>(checksum));
  file.write(head);
  file.write(data);
  file.write(end);
}

// ---- how pixels are stored

enum ColorType { kGrey = 0, kDeep = 2, kPalette = 3, kDeepWithAlpha = 6 };

// Up to 256 colours, numbered as they come.
class Palette {
 public:
  static constexpr std::size_t kMost = 256;

  // Nothing for one that has no room.
  std::optional<std::size_t> add(std::uint32_t color) {
    if (!colors_.empty() && color == colors_[last_]) return last_;
    std::size_t at = color * 0x9E3779B1U >> (32 - kBits);
    while (slots_[at] != 0 && colors_[slots_[at] - 1U] != color) at = (at + 1) % slots_.size();
    if (slots_[at] == 0) {
      if (colors_.size() == kMost) return std::nullopt;
      colors_.push_back(color);
      slots_[at] = static_cast<std::uint16_t>(colors_.size());
    }
    return last_ = slots_[at] - 1U;
  }
  const std::vector<std::uint32_t>& colors() const { return colors_; }

 private:
  static constexpr int kBits = 10;
  std::array<std::uint16_t, 1 << kBits> slots_ = {};  // a colour's number and 1
  std::vector<std::uint32_t> colors_;
  std::size_t last_ = 0;
};

constexpr std::uint32_t colorOf(const std::uint8_t* pixel) {
  return static_cast<std::uint32_t>(pixel[0] << 16 | pixel[1] << 8 | pixel[2]);
}

struct Form {
  ColorType type;
  int depth = 8;
  Palette palette = {};

  std::size_t pixelBytes() const { return type == kDeep ? 3 : type == kDeepWithAlpha ? 4 : 1; }
  bool isSmall() const { return depth < 8 || type == kPalette; }
  std::size_t rowBytes(int width) const {
    const auto pixels = static_cast<std::size_t>(width) * pixelBytes();
    return (pixels * static_cast<std::size_t>(depth) + 7) / 8;
  }
};

// The fewest bits in which each of these greys is a level; nothing if one of them is a colour.
std::optional<int> greyDepth(const std::vector<std::uint32_t>& colors) {
  std::uint32_t step = 255;
  for (const std::uint32_t color : colors) {
    const std::uint32_t level = color & 0xFF;
    if (color != level * 0x010101) return std::nullopt;
    while (level % step != 0) step = step == 255 ? 85 : step == 85 ? 17 : 1;
  }
  return step == 255 ? 1 : step == 85 ? 2 : step == 17 ? 4 : 8;
}

Form formOf(const ImageRows& image) {
  if (image.channels == 4) return {kDeepWithAlpha};
  Form form{kPalette};
  std::vector<std::uint8_t> row(image.rowBytes());
  for (int y = 0; y < image.height; ++y) {
    image.read(y, row);
    for (std::size_t at = 0; at < row.size(); at += 3) {
      if (!form.palette.add(colorOf(&row[at]))) return {kDeep};
    }
  }
  const std::size_t count = form.palette.colors().size();
  form.depth = count <= 2 ? 1 : count <= 4 ? 2 : count <= 16 ? 4 : 8;
  const auto grey = greyDepth(form.palette.colors());
  if (grey && *grey <= form.depth) form = {kGrey, *grey};
  return form;
}

// A row as the form has it.
void pack(Form& form, std::span<const std::uint8_t> from, std::span<std::uint8_t> to) {
  if (form.pixelBytes() > 1) return void(std::ranges::copy(from, to.begin()));
  std::ranges::fill(to, std::uint8_t{0});
  const auto depth = static_cast<std::size_t>(form.depth);
  const int step = 255 / ((1 << depth) - 1);
  for (std::size_t x = 0; 3 * x < from.size(); ++x) {
    const std::uint8_t* const pixel = &from[3 * x];
    const std::size_t value =
        form.type == kGrey ? static_cast<std::size_t>(pixel[0] / step) : form.palette.add(colorOf(pixel)).value_or(0);
    to[x * depth / 8] |= static_cast<std::uint8_t>(value << (8 - depth - x * depth % 8));
  }
}

// ---- rows as what they differ in from what is foretold

int paeth(int left, int above, int corner) {
  const int toLeft = std::abs(above - corner);
  const int toAbove = std::abs(left - corner);
  const int toCorner = std::abs(left + above - 2 * corner);
  if (toLeft <= toAbove && toLeft <= toCorner) return left;
  return toAbove <= toCorner ? above : corner;
}

class RowFilter {
 public:
  // Numbers of colours, and pixels that share a byte, foretell nothing.
  RowFilter(std::size_t bytes, const Form& form)
      : pixel_(form.pixelBytes()), isPlain_(form.isSmall()), padded_(pixel_ + bytes), above_(pixel_ + bytes) {
    for (auto& tried : tried_) tried.resize(bytes + 1);
  }

  // With the filter's number in front: the one that leaves the least.
  std::span<const std::uint8_t> filter(std::span<const std::uint8_t> row) {
    std::ranges::copy(row, padded_.begin() + static_cast<std::ptrdiff_t>(pixel_));
    std::size_t best = 0;
    if (isPlain_) {
      attempt<0>();
    } else {
      const std::array<std::uint64_t, 5> sums = {attempt<0>(), attempt<1>(), attempt<2>(), attempt<3>(), attempt<4>()};
      best = static_cast<std::size_t>(std::min_element(sums.begin(), sums.end()) - sums.begin());
    }
    padded_.swap(above_);
    return tried_[best];
  }

 private:
  // The sum of the differences by one filter, which stand in its row afterwards.
  template <std::size_t Kind>
  std::uint64_t attempt() {
    std::uint8_t* const out = tried_[Kind].data();
    const std::size_t count = tried_[Kind].size() - 1;
    const std::uint8_t* const row = padded_.data() + pixel_;
    const std::uint8_t* const before = padded_.data();
    const std::uint8_t* const above = above_.data() + pixel_;
    const std::uint8_t* const corner = above_.data();
    out[0] = static_cast<std::uint8_t>(Kind);
    for (std::size_t i = 0; i < count; ++i) {
      int foretold = 0;
      if constexpr (Kind == 1) foretold = before[i];
      if constexpr (Kind == 2) foretold = above[i];
      if constexpr (Kind == 3) foretold = (before[i] + above[i]) / 2;
      if constexpr (Kind == 4) foretold = paeth(before[i], above[i], corner[i]);
      out[i + 1] = static_cast<std::uint8_t>(row[i] - foretold);
    }
    std::uint64_t sum = 0;
    for (std::size_t i = 1; i <= count; ++i) sum += static_cast<unsigned>(std::abs(static_cast<std::int8_t>(out[i])));
    return sum;
  }

  std::size_t pixel_;
  bool isPlain_;
  std::vector<std::uint8_t> padded_, above_;  // a pixel of zeros stands in front of each
  std::array<std::vector<std::uint8_t>, 5> tried_;
};

void writeHead(OutputFile& file, const ImageRows& image, const Form& form) {
  file.write("\x89PNG\r\n\x1A\n");
  std::string head;
  append32(head, static_cast<std::uint32_t>(image.width));
  append32(head, static_cast<std::uint32_t>(image.height));
  head += static_cast<char>(form.depth);
  head += static_cast<char>(form.type);
  writeChunk(file, "IHDR", head + std::string(3, '\0'));
  writeChunk(file, "tEXt", std::string("Software") + '\0' + kSoftware);
  if (image.resolution.h > 0 && image.resolution.v > 0) {
    constexpr double kInch = 0.0254;  // of a metre
    std::string dots;
    for (const double perInch : {image.resolution.h, image.resolution.v})
      append32(dots, static_cast<std::uint32_t>(std::lround(perInch / kInch)));
    writeChunk(file, "pHYs", dots + '\x01');
  }
  if (form.type == kPalette) {
    std::string colors;
    for (const std::uint32_t color : form.palette.colors()) {
      for (const int shift : {16, 8, 0}) colors += static_cast<char>(color >> shift);
    }
    writeChunk(file, "PLTE", colors);
  }
}

}  // namespace

void writePNG(OutputFile& file, const ImageRows& image) {
  Form form = formOf(image);
  writeHead(file, image, form);
  std::vector<std::uint8_t> row(image.rowBytes());
  std::vector<std::uint8_t> packed(form.rowBytes(image.width));
  RowFilter filter(packed.size(), form);
  Deflater deflater((packed.size() + 1) * static_cast<std::size_t>(image.height),
                    [&file](std::string_view piece) { writeChunk(file, "IDAT", piece); });
  for (int y = 0; y < image.height; ++y) {
    image.read(y, row);
    pack(form, row, packed);
    deflater.put(filter.filter(packed));
  }
  writeChunk(file, "IEND", {});
}

void writePNG(const std::filesystem::path& path, const Image& image) {
  OutputFile file(path);
  writePNG(file, image.rows());
  file.commit();
}
