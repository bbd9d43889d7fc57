#include "tools/png.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "tools/failure.h"
#include "tools/output.h"

namespace {

// The level at which a photograph takes a quarter of the default level's time, for a tenth more bytes.
constexpr int kLevel = 4;
constexpr std::size_t kPixel = 3;
constexpr std::size_t kPieceBytes = 1 << 16;

void append32(std::string& out, std::uint32_t value) {
  for (const int shift : {24, 16, 8, 0}) out += static_cast<char>(value >> shift);
}

void writeChunk(OutputFile& file, const char* kind, std::string_view data) {
  std::string out;
  append32(out, static_cast<std::uint32_t>(data.size()));
  const std::size_t checked = out.size();
  out += kind;
  out += data;
  const auto* bytes = reinterpret_cast<const Bytef*>(out.data() + checked);
  append32(out, static_cast<std::uint32_t>(crc32_z(0, bytes, out.size() - checked)));
  file.write(out);
}

int paeth(int left, int above, int corner) {
  const int toLeft = std::abs(above - corner);
  const int toAbove = std::abs(left - corner);
  const int toCorner = std::abs(left + above - 2 * corner);
  if (toLeft <= toAbove && toLeft <= toCorner) return left;
  return toAbove <= toCorner ? above : corner;
}

// A row as the difference from what its neighbours foretell, by the filter that leaves the least.
class RowFilter {
 public:
  explicit RowFilter(std::size_t bytes) : above_(bytes) {
    for (auto& tried : tried_) tried.resize(bytes + 1);
  }
  std::span<std::uint8_t> filter(std::span<const std::uint8_t> row) {
    const std::array<std::uint64_t, 5> sums = {attempt<0>(row), attempt<1>(row), attempt<2>(row), attempt<3>(row),
                                               attempt<4>(row)};
    above_.assign(row.begin(), row.end());
    return tried_[static_cast<std::size_t>(std::min_element(sums.begin(), sums.end()) - sums.begin())];
  }

 private:
  // The sum of the differences by one filter, which stand in its row afterwards.
  template <std::size_t Kind>
  std::uint64_t attempt(std::span<const std::uint8_t> row) {
    std::vector<std::uint8_t>& out = tried_[Kind];
    out[0] = static_cast<std::uint8_t>(Kind);
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < row.size(); ++i) {
      const int left = i >= kPixel ? row[i - kPixel] : 0;
      const int above = above_[i];
      const int corner = i >= kPixel ? above_[i - kPixel] : 0;
      int foretold = 0;
      if constexpr (Kind == 1) foretold = left;
      if constexpr (Kind == 2) foretold = above;
      if constexpr (Kind == 3) foretold = (left + above) / 2;
      if constexpr (Kind == 4) foretold = paeth(left, above, corner);
      out[i + 1] = static_cast<std::uint8_t>(row[i] - foretold);
      sum += static_cast<std::uint64_t>(std::abs(static_cast<std::int8_t>(out[i + 1])));
    }
    return sum;
  }

  std::vector<std::uint8_t> above_;
  std::array<std::vector<std::uint8_t>, 5> tried_;
};

class Compressor {
 public:
  explicit Compressor(OutputFile& file) : file_(file) {
    if (deflateInit(&stream_, kLevel) != Z_OK) throw std::bad_alloc();
  }
  Compressor(const Compressor&) = delete;
  Compressor& operator=(const Compressor&) = delete;
  ~Compressor() { deflateEnd(&stream_); }

  void put(std::span<std::uint8_t> bytes, bool isLast) {
    stream_.next_in = bytes.data();
    stream_.avail_in = static_cast<uInt>(bytes.size());
    do {
      std::array<Bytef, kPieceBytes> piece;
      stream_.next_out = piece.data();
      stream_.avail_out = static_cast<uInt>(piece.size());
      deflate(&stream_, isLast ? Z_FINISH : Z_NO_FLUSH);
      pending_.append(reinterpret_cast<const char*>(piece.data()), piece.size() - stream_.avail_out);
    } while (stream_.avail_out == 0);
    if (!isLast && pending_.size() < kPieceBytes) return;
    writeChunk(file_, "IDAT", pending_);
    pending_.clear();
  }

 private:
  OutputFile& file_;
  std::string pending_;
  z_stream stream_ = {};
};

}  // namespace

void writePNG(const std::filesystem::path& path, int width, int height, const ReadRow& read,
              const PNGResolution& resolution) {
  OutputFile file(path);
  file.write("\x89PNG\r\n\x1A\n");
  std::string head;
  append32(head, static_cast<std::uint32_t>(width));
  append32(head, static_cast<std::uint32_t>(height));
  head += std::string("\x08\x02\0\0\0", 5);  // 8 bits, red, green and blue
  writeChunk(file, "IHDR", head);
  if (resolution.h > 0 && resolution.v > 0) {
    constexpr double kInch = 0.0254;  // of a metre
    std::string dots;
    for (const double perInch : {resolution.h, resolution.v})
      append32(dots, static_cast<std::uint32_t>(std::lround(perInch / kInch)));
    writeChunk(file, "pHYs", dots + '\x01');
  }
  std::vector<std::uint8_t> row(static_cast<std::size_t>(width) * kPixel);
  RowFilter filter(row.size());
  Compressor compressor(file);
  for (int y = 0; y < height; ++y) {
    read(y, row);
    compressor.put(filter.filter(row), y + 1 == height);
  }
  writeChunk(file, "IEND", {});
  file.commit();
}

void writePNG(const std::filesystem::path& path, const Image& image) {
  writePNG(path, image.width, image.height, [&image](int y, std::span<std::uint8_t> row) {
    std::memcpy(row.data(), image.rgb.data() + static_cast<std::size_t>(y) * row.size(), row.size());
  });
}
