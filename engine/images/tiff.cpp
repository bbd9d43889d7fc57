// TIFF by libtiff: a row of a strip after another, or those pieces at once that lie side by side, which are planes and
// tiles. What isn't plain samples the library converts itself. It is loaded when there is a TIFF. Where
// it isn't installed, our own decoder serves.
#include <tiffio.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <vector>

#include "engine/images/decoders.h"
#include "engine/images/tiff_samples.h"
#include "engine/loaded.h"

namespace qd {
namespace {

struct LibTiff : LoadedLibrary {
  LibTiff() : LoadedLibrary(LIBTIFF) {}

  LOADED(TIFFOpenOptionsAlloc);
  LOADED(TIFFOpenOptionsFree);
  LOADED(TIFFOpenOptionsSetMaxSingleMemAlloc);
  LOADED(TIFFOpenOptionsSetErrorHandlerExtR);
  LOADED(TIFFOpenOptionsSetWarningHandlerExtR);
  LOADED(TIFFClientOpenExt);
  LOADED(TIFFClose);
  LOADED(TIFFGetField);
  LOADED(TIFFGetFieldDefaulted);
  LOADED(TIFFSetField);
  LOADED(TIFFIsTiled);
  LOADED(TIFFScanlineSize64);
  LOADED(TIFFStripSize64);
  LOADED(TIFFTileSize64);
  LOADED(TIFFTileRowSize64);
  LOADED(TIFFComputeStrip);
  LOADED(TIFFReadScanline);
  LOADED(TIFFReadEncodedStrip);
  LOADED(TIFFReadTile);
  LOADED(TIFFRGBAImageOK);
  LOADED(TIFFRGBAImageBegin);
  LOADED(TIFFRGBAImageGet);
  LOADED(TIFFRGBAImageEnd);
};

// What scanners, fax machines and programs for printing write.
constexpr std::uint16_t kPackings[] = {COMPRESSION_NONE,      COMPRESSION_CCITTRLE,      COMPRESSION_CCITTRLEW,
                                       COMPRESSION_CCITTFAX3, COMPRESSION_CCITTFAX4,     COMPRESSION_LZW,
                                       COMPRESSION_JPEG,      COMPRESSION_ADOBE_DEFLATE, COMPRESSION_DEFLATE,
                                       COMPRESSION_PACKBITS,  COMPRESSION_NEXT,          COMPRESSION_THUNDERSCAN};

// Of a pixel: four inks and something beside them.
constexpr int kMostSamples = 6;
// What the library may take at once, beside a file's bytes.
constexpr tmsize_t kMostBytesAtOnce = tmsize_t{1} << 28;
// What may stand in for bytes that are cut off.
constexpr std::size_t kMostBytesMissing = std::size_t{1} << 25;

class TiffReader final : public ImageReader {
 public:
  TiffReader(const LibTiff& library, Bytes data) : library_(library), data_(data) {}
  ~TiffReader() override {
    if (isConverted_) library_.TIFFRGBAImageEnd(&image_);
    if (tiff_ != nullptr) library_.TIFFClose(tiff_);
  }

  bool open(std::string& why) {
    if (!openFile()) {
      why = kSenseless;
      return false;
    }
    const auto width = field<std::uint32_t>(TIFFTAG_IMAGEWIDTH, 0);
    const auto height = field<std::uint32_t>(TIFFTAG_IMAGELENGTH, 0);
    if (!hasPossibleSize(width, height, why)) return false;
    format_.width = static_cast<int>(width);
    format_.height = static_cast<int>(height);
    packing_ = field<std::uint16_t>(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    if (std::ranges::find(kPackings, packing_) == std::end(kPackings)) {
      why = "it is packed in a way that isn't decoded, number " + std::to_string(packing_);
      return false;
    }
    readSamples();
    if (!isPlain() && !convert()) {
      why = "it has " + std::to_string(samples_) + " samples of " + std::to_string(bits_) +
            " bits a pixel, whose meaning, number " + std::to_string(meaning_) + ", isn't decoded";
      return false;
    }
    format_.hasAlpha = alpha_ != TiffAlpha::none;
    isOpen_ = measurePieces(why);
    return isOpen_;
  }

  bool next(std::span<std::uint32_t> row) override {
    if (row_ < rowsThere_ && row_ % pieceRows_ == 0) readPieces();
    if (rowsThere_ == 0) return false;
    if (row_ >= rowsThere_) {
      isDamaged_ = true;
      std::ranges::fill(row, 0U);
    } else if (!row.empty()) {
      putRow(row);
    }
    ++row_;
    return true;
  }

 private:
  // ---- the file

  static TiffReader& of(void* reader) { return *static_cast<TiffReader*>(reader); }

  bool openFile() {
    TIFFOpenOptions* const options = library_.TIFFOpenOptionsAlloc();
    if (options == nullptr) return false;
    const TIFFErrorHandlerExtR listen = [](TIFF*, void* reader, const char*, const char*, va_list) {
      of(reader).isDamaged_ |= of(reader).isOpen_;
      return 1;  // nobody else has to be told
    };
    library_.TIFFOpenOptionsSetMaxSingleMemAlloc(options, static_cast<tmsize_t>(data_.size()) + kMostBytesAtOnce);
    library_.TIFFOpenOptionsSetErrorHandlerExtR(options, listen, this);
    library_.TIFFOpenOptionsSetWarningHandlerExtR(options, listen, this);
    tiff_ = library_.TIFFClientOpenExt(
        "", "rm", this, [](thandle_t reader, void* to, tmsize_t count) { return of(reader).read(to, count); },
        [](thandle_t, void*, tmsize_t) -> tmsize_t { return 0; },
        [](thandle_t reader, toff_t offset, int from) { return of(reader).seek(offset, from); },
        [](thandle_t) { return 0; }, [](thandle_t reader) -> toff_t { return of(reader).data_.size(); }, nullptr,
        nullptr, options);
    library_.TIFFOpenOptionsFree(options);
    return tiff_ != nullptr;
  }

  // Strips that are cut off go on with zeros: what is there of them would be lost otherwise.
  tmsize_t read(void* to, tmsize_t wanted) {
    const auto count = static_cast<std::size_t>(wanted);
    const Bytes there = at_ < data_.size() ? data_.subspan(at_, std::min(count, data_.size() - at_)) : Bytes();
    auto* const end = std::ranges::copy(there, static_cast<std::uint8_t*>(to)).out;
    const std::size_t missing = count - there.size();
    at_ += there.size();
    if (!isOpen_ || missing == 0 || missing > bytesMissing_) return static_cast<tmsize_t>(there.size());
    std::fill_n(end, missing, std::uint8_t{0});
    bytesMissing_ -= missing;
    isDamaged_ = true;
    return wanted;
  }
  toff_t seek(toff_t offset, int from) {
    at_ = offset + (from == SEEK_CUR ? at_ : from == SEEK_END ? data_.size() : 0);
    return at_;
  }

  template <class Number>
  Number field(std::uint32_t tag, Number otherwise) const {
    Number number = otherwise;
    return library_.TIFFGetFieldDefaulted(tiff_, tag, &number) == 1 ? number : otherwise;
  }

  // ---- samples

  void readSamples() {
    bits_ = field<std::uint16_t>(TIFFTAG_BITSPERSAMPLE, 1);
    samples_ = field<std::uint16_t>(TIFFTAG_SAMPLESPERPIXEL, 1);
    isInPlanes_ = samples_ > 1 && field<std::uint16_t>(TIFFTAG_PLANARCONFIG, 1) == PLANARCONFIG_SEPARATE;
    meaning_ = samples_ < 3 ? kBlackIsZero : kDeep;
    library_.TIFFGetField(tiff_, TIFFTAG_PHOTOMETRIC, &meaning_);
    if (packing_ == COMPRESSION_JPEG && meaning_ == PHOTOMETRIC_YCBCR && !isInPlanes_) {
      library_.TIFFSetField(tiff_, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
      meaning_ = kDeep;
    }
    std::uint16_t count = 0;
    std::uint16_t* extra = nullptr;
    library_.TIFFGetFieldDefaulted(tiff_, TIFFTAG_EXTRASAMPLES, &count, &extra);
    if (meaning_ == kDeep && samples_ >= 4 && count > 0 && extra[0] <= EXTRASAMPLE_UNASSALPHA)
      alpha_ = static_cast<TiffAlpha>(extra[0]);
  }

  // Whether samples are whole numbers that stand for greys, indices, or amounts of light or inks.
  bool isPlain() {
    const auto kind = field<std::uint16_t>(TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
    if ((kind != SAMPLEFORMAT_UINT && kind != SAMPLEFORMAT_VOID) || samples_ > kMostSamples) return false;
    const bool isBytes = bits_ == 8 || bits_ == 16;
    if (meaning_ == kDeep) return samples_ >= 3 && isBytes;
    if (meaning_ == PHOTOMETRIC_SEPARATED)
      return samples_ >= 4 && isBytes && field<std::uint16_t>(TIFFTAG_INKSET, INKSET_CMYK) == INKSET_CMYK;
    const bool isSmall = (bits_ == 1 || bits_ == 2 || bits_ == 4) && (samples_ == 1 || isInPlanes_);
    std::uint16_t* palette[3] = {};
    if (meaning_ > kPalette || !(isSmall || isBytes)) return false;
    if (meaning_ == kPalette &&
        (bits_ > 8 || library_.TIFFGetField(tiff_, TIFFTAG_COLORMAP, &palette[0], &palette[1], &palette[2]) != 1))
      return false;
    table_ = tiffTable(std::min<std::uint32_t>(bits_, 8), meaning_,
                       [&palette](std::size_t c, std::size_t i) { return palette[c][i]; });
    return true;
  }

  // Lets the library make colours of them.
  bool convert() {
    char words[1024];
    if (library_.TIFFRGBAImageOK(tiff_, words) != 1 || library_.TIFFRGBAImageBegin(&image_, tiff_, 1, words) != 1)
      return false;
    image_.req_orientation = image_.orientation;  // from the top, as rows are
    isConverted_ = true;
    return true;
  }

  // ---- pieces

  bool measurePieces(std::string& why) {
    const auto width = static_cast<std::uint32_t>(format_.width);
    const auto height = static_cast<std::uint32_t>(format_.height);
    isTiled_ = library_.TIFFIsTiled(tiff_) != 0;
    const auto rowsPerStrip = std::min(field<std::uint32_t>(TIFFTAG_ROWSPERSTRIP, height), height);
    std::uint32_t rows = isTiled_                      ? field<std::uint32_t>(TIFFTAG_TILELENGTH, 0)
                         : isInPlanes_ || isConverted_ ? rowsPerStrip
                                                       : 1;
    if (isConverted_) rows = std::min(rows, height);
    const std::uint32_t across = isTiled_ && !isConverted_ ? field<std::uint32_t>(TIFFTAG_TILEWIDTH, 0) : width;
    constexpr std::int64_t kMostPixelsPerByte = kMostLzwPerByte * 8;
    if (!mayBeHeldWhole(width, rows, data_.size(), kMostPixelsPerByte, why) ||
        !mayBeHeldWhole(across, rows, data_.size(), kMostPixelsPerByte, why)) {
      return false;
    }
    pieceWidth_ = across;
    pieceRows_ = static_cast<int>(rows);
    const std::size_t samplesInPiece = isInPlanes_ ? 1 : samples_;
    if (isConverted_) {
      rowBytes_ = std::size_t{width} * sizeof(std::uint32_t);
    } else {
      rowBytes_ = isTiled_ ? library_.TIFFTileRowSize64(tiff_) : library_.TIFFScanlineSize64(tiff_);
      planes_ = !isInPlanes_                        ? 1
                : meaning_ == PHOTOMETRIC_SEPARATED ? 4
                : meaning_ != kDeep                 ? 1
                : format_.hasAlpha                  ? 4
                                                    : 3;
    }
    pieceBytes_ = rowBytes_ * rows;
    const std::uint64_t told = isConverted_ || rows == 1 ? pieceBytes_
                               : isTiled_                ? library_.TIFFTileSize64(tiff_)
                                                         : library_.TIFFStripSize64(tiff_);
    if (told != pieceBytes_ || (!isConverted_ && rowBytes_ != (samplesInPiece * bits_ * across + 7) / 8)) {
      why = kSenseless;
      return false;
    }
    const std::size_t columns = (width + across - 1) / across;
    bytes_.resize(columns * static_cast<std::size_t>(planes_) * pieceBytes_);
    rowsThere_ = static_cast<int>(std::min<std::size_t>(height, mostRows()));
    return true;
  }

  // How many rows so many bytes can be: of a fax one of each bit.
  std::size_t mostRows() const {
    constexpr std::size_t kFew = 32;
    const bool isFax = packing_ >= COMPRESSION_CCITTRLE && packing_ <= COMPRESSION_CCITTFAX4;
    return kFew + data_.size() * 8 + (isFax ? 0 : data_.size() * std::size_t{kMostLzwPerByte} / rowBytes_);
  }

  // Those of the next rows. A piece that can't be unpacked as a whole is left out, and these rows are the last.
  void readPieces() {
    std::ranges::fill(bytes_, std::uint8_t{0});
    const auto y = static_cast<std::uint32_t>(row_);
    bool isWhole = true;
    if (isConverted_) {
      image_.row_offset = row_;
      isWhole = library_.TIFFRGBAImageGet(&image_, reinterpret_cast<std::uint32_t*>(bytes_.data()), pieceWidth_,
                                          static_cast<std::uint32_t>(std::min(pieceRows_, format_.height - row_))) == 1;
    } else {
      std::uint8_t* to = bytes_.data();
      for (std::uint32_t x = 0; x < static_cast<std::uint32_t>(format_.width); x += pieceWidth_) {
        for (int plane = 0; plane < planes_; ++plane, to += pieceBytes_) {
          if (readPiece(x, y, static_cast<std::uint16_t>(plane), to)) continue;
          std::fill_n(to, pieceBytes_, std::uint8_t{0});
          isWhole = false;
        }
      }
    }
    if (isWhole) return;
    isDamaged_ = true;
    const bool isBlank = std::ranges::all_of(bytes_, [](std::uint8_t byte) { return byte == 0; });
    rowsThere_ = isBlank ? row_ : std::min(rowsThere_, row_ + pieceRows_);
  }

  bool readPiece(std::uint32_t x, std::uint32_t y, std::uint16_t plane, std::uint8_t* to) {
    const auto size = static_cast<tmsize_t>(pieceBytes_);
    if (isTiled_) return library_.TIFFReadTile(tiff_, to, x, y, 0, plane) >= 0;
    if (!isInPlanes_) return library_.TIFFReadScanline(tiff_, to, y, 0) == 1;
    return library_.TIFFReadEncodedStrip(tiff_, library_.TIFFComputeStrip(tiff_, y, plane), to, size) >= 0;
  }

  void putRow(std::span<std::uint32_t> row) {
    const std::uint8_t* from = bytes_.data() + static_cast<std::size_t>(row_ % pieceRows_) * rowBytes_;
    for (; !row.empty(); from += static_cast<std::size_t>(planes_) * pieceBytes_) {
      const auto part = row.first(std::min<std::size_t>(pieceWidth_, row.size()));
      isConverted_ ? putConverted(from, part) : putSamples(from, part);
      row = row.subspan(part.size());
    }
  }

  static void putConverted(const std::uint8_t* from, std::span<std::uint32_t> row) {
    for (std::uint32_t& pixel : row) {
      std::memcpy(&pixel, from, sizeof(pixel));
      pixel = TIFFGetR(pixel) << 16 | TIFFGetG(pixel) << 8 | TIFFGetB(pixel);
      from += sizeof(pixel);
    }
  }

  // The upper byte of each sample.
  void putSamples(const std::uint8_t* from, std::span<std::uint32_t> row) const {
    if (bits_ < 8) {
      unpackPixels(bits_, from, 0, row);
      for (std::uint32_t& pixel : row) pixel = table_[pixel];
      return;
    }
    const std::size_t size = bits_ / 8;
    const std::size_t toNext = isInPlanes_ ? size : size * samples_;
    const std::size_t toSample = isInPlanes_ ? pieceBytes_ : size;
    if (std::endian::native == std::endian::little) from += size - 1;
    for (std::uint32_t& pixel : row) {
      const auto sample = [=](int i) { return from[static_cast<std::size_t>(i) * toSample]; };
      pixel = meaning_ == kDeep      ? tiffColor(alpha_, sample)
              : meaning_ <= kPalette ? table_[sample(0)]
                                     : lightOf(sample);
      from += toNext;
    }
  }

  template <class Sample>
  static std::uint32_t lightOf(const Sample& inks) {
    const auto light = [&](int i) { return ((255U - inks(i)) * (255U - inks(3)) + 127) / 255; };
    return light(0) << 16 | light(1) << 8 | light(2);
  }

  const LibTiff& library_;
  Bytes data_;
  std::size_t at_ = 0, bytesMissing_ = kMostBytesMissing;
  TIFF* tiff_ = nullptr;
  bool isOpen_ = false;

  std::uint16_t packing_ = 0, bits_ = 0, samples_ = 0, meaning_ = 0;
  bool isInPlanes_ = false, isTiled_ = false, isConverted_ = false;
  TiffAlpha alpha_ = TiffAlpha::none;
  std::array<std::uint32_t, 256> table_ = {};
  TIFFRGBAImage image_ = {};

  std::uint32_t pieceWidth_ = 0;
  int pieceRows_ = 1, planes_ = 1;
  std::size_t rowBytes_ = 0, pieceBytes_ = 0;
  std::vector<std::uint8_t> bytes_;  // of the pieces of some rows: by columns, and in a column by planes
  int row_ = 0, rowsThere_ = 0;
};

}  // namespace

std::unique_ptr<ImageReader> openTiff(const ImageSource& source, std::string& why) {
  const LibTiff* const library = LoadedLibrary::get<LibTiff>();
  if (library == nullptr) return openOwnTiff(source, why);
  auto reader = std::make_unique<TiffReader>(*library, source.data);
  if (!reader->open(why)) return nullptr;
  return reader;
}

}  // namespace qd
