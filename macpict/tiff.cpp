#include "macpict/tiff.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "tools/deflate.h"

namespace {

constexpr std::size_t kStripBytes = 1 << 18;

void append(std::string& out, std::uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out += static_cast<char>(value >> 8 * i);
}

// The file's head, its only directory, and what doesn't fit into the directory's fields.
class Directory {
 public:
  enum Type { kText = 2, kWord = 3, kLong = 4, kRatio = 5 };

  // The software's name comes first of what doesn't fit, so that a look at the file's head finds it.
  explicit Directory(std::size_t fields) : fields_(fields), more_(kSoftware, std::strlen(kSoftware) + 1) {
    more_ += std::string(more_.size() % 2, '\0');
  }

  void addSoftware() {
    head(305, kText, std::strlen(kSoftware) + 1);
    append(directory_, static_cast<std::uint32_t>(size() - more_.size()), 4);
  }

  // Fields come in the order of their tags.
  void add(int tag, Type type, const std::vector<std::uint32_t>& values) {
    std::string bytes;
    for (const std::uint32_t value : values) append(bytes, value, type == kWord ? 2 : 4);
    head(tag, type, type == kRatio ? values.size() / 2 : values.size());
    if (bytes.size() > 4) {
      append(directory_, static_cast<std::uint32_t>(size()), 4);
      more_ += bytes + std::string(bytes.size() % 2, '\0');
    } else {
      directory_ += bytes + std::string(4 - bytes.size(), '\0');
    }
  }
  // Of all of it, so far as it has been added.
  std::size_t size() const { return 8 + 2 + fields_ * 12 + 4 + more_.size(); }
  std::string bytes() const {
    std::string head = "II*";
    head += '\0';
    append(head, 8, 4);
    append(head, static_cast<std::uint32_t>(fields_), 2);
    return head + directory_ + std::string(4, '\0') + more_;
  }

 private:
  void head(int tag, Type type, std::size_t count) {
    append(directory_, static_cast<std::uint32_t>(tag), 2);
    append(directory_, type, 2);
    append(directory_, static_cast<std::uint32_t>(count), 4);
  }

  std::size_t fields_;
  std::string directory_, more_;
};

}  // namespace

void writeTIFF(OutputFile& file, const ImageRows& image) {
  const auto channels = static_cast<std::size_t>(image.channels);
  const auto height = static_cast<std::size_t>(image.height);
  const std::size_t stripRows = std::clamp<std::size_t>(kStripBytes / image.rowBytes(), 1, height);
  std::vector<std::string> strips;
  std::vector<std::uint8_t> row(image.rowBytes());
  for (std::size_t top = 0; top < height; top += stripRows) {
    const std::size_t rows = std::min(stripRows, height - top);
    std::string& strip = strips.emplace_back();
    Deflater deflater(rows * row.size(), [&strip](std::string_view piece) { strip += piece; });
    for (std::size_t y = top; y < top + rows; ++y) {
      image.read(static_cast<int>(y), row);
      for (std::size_t at = row.size() - 1; at >= channels; --at)
        row[at] = static_cast<std::uint8_t>(row[at] - row[at - channels]);
      deflater.put(row);
    }
  }

  const auto number = [](auto value) { return std::vector{static_cast<std::uint32_t>(value)}; };
  const auto perInch = [](double dots) {
    return std::vector{static_cast<std::uint32_t>(std::lround(dots * 65536)), std::uint32_t{65536}};
  };
  const bool hasResolution = image.resolution.h > 0 && image.resolution.v > 0;
  const auto describe = [&](const std::vector<std::uint32_t>& offsets, const std::vector<std::uint32_t>& sizes) {
    using enum Directory::Type;
    Directory directory(12 + (hasResolution ? 3 : 0) + (channels == 4 ? 1 : 0));
    directory.add(256, kLong, number(image.width));
    directory.add(257, kLong, number(image.height));
    directory.add(258, kWord, std::vector<std::uint32_t>(channels, 8));  // bits
    directory.add(259, kWord, number(8));                                // a zlib stream
    directory.add(262, kWord, number(2));                                // red, green, blue
    directory.add(273, kLong, offsets);
    directory.add(277, kWord, number(channels));
    directory.add(278, kLong, number(stripRows));
    directory.add(279, kLong, sizes);
    if (hasResolution) {
      directory.add(282, kRatio, perInch(image.resolution.h));
      directory.add(283, kRatio, perInch(image.resolution.v));
    }
    directory.add(284, kWord, number(1));                     // a pixel's components lie together
    if (hasResolution) directory.add(296, kWord, number(2));  // inches
    directory.addSoftware();
    directory.add(317, kWord, number(2));                     // differences from the pixel before
    if (channels == 4) directory.add(338, kWord, number(2));  // opacity that isn't in the colours
    return directory;
  };

  std::vector<std::uint32_t> offsets, sizes;
  for (const std::string& strip : strips) sizes.push_back(static_cast<std::uint32_t>(strip.size()));
  offsets = sizes;
  auto at = static_cast<std::uint32_t>(describe(offsets, sizes).size());
  for (std::size_t i = 0; i < sizes.size(); at += sizes[i++]) offsets[i] = at;
  file.write(describe(offsets, sizes).bytes());
  for (const std::string& strip : strips) file.write(strip);
}
