// What bytes are that hold no picture, in the words of a person who has such a file.
#include <algorithm>

#include "containers/finder.h"

namespace containers {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kRecord = "macpict record makes a PICT of it";
constexpr std::string_view kConvert = "saved as a PNG file it becomes a PICT by macpict record";
constexpr std::string_view kUnpack = "unar may unpack it";
constexpr std::string_view kMount = "opened as a disk, its files can be copied out of it";

constexpr int kAnywhere = -1000;  // in the first 2000 bytes

struct Signature {
  int at;  // below 0: from the end
  std::string_view bytes;
  Kind kind;
};
// What tells more comes first.
constexpr Signature kSignatures[] = {
    {0, "\x89PNG\r\n\x1A\n", {"a PNG file", kRecord, "png"}},
    {0, "\xFF\xD8\xFF", {"a JPEG file", kRecord, "jpg"}},
    {0, "GIF8", {"a GIF file", kRecord, "gif"}},
    {0, "II*\0"sv, {"a TIFF file", kRecord, "tif"}},
    {0, "MM\0*"sv, {"a TIFF file", kRecord, "tif"}},
    {8, "WEBP", {"a WebP file", kConvert, "webp"}},
    {4, "jP  \r\n\x87\n", {"a JPEG 2000 file", kConvert, "jp2"}},
    {0, "8BPS\0\1"sv, {"a Photoshop file", kConvert, "psd"}},
    {0, "icns", {"a file of icons", kConvert}},
    {8, "AVI LIST", {"an AVI film", "a picture of it may be saved as a PNG file"}},
    {4, "moov", {"a QuickTime film", "a picture of it may be saved as a PNG file"}},
    {4, "mdat", {"a QuickTime film", "a picture of it may be saved as a PNG file"}},
    {4, "ftyp", {"a film or an image in MPEG-4's format", kConvert}},
    {0, "%PDF-", {"a PDF file", kConvert}},
    {0, "%!PS", {"a PostScript file", kConvert}},
    {0, "\xC5\xD0\xD3\xC6", {"a PostScript file", kConvert}},
    {0, "\xD7\xCD\xC6\x9A", {"a Windows metafile", kConvert}},
    {0, "\1\0\x09\0\0\3"sv, {"a Windows metafile", kConvert}},
    {40, " EMF", {"a Windows metafile", kConvert}},
    {0, "SIT!", {"a StuffIt archive", kUnpack}},
    {0, "StuffIt (c)", {"a StuffIt archive", kUnpack}},
    {0, "StuffIt!", {"a StuffIt X archive", kUnpack}},
    {10, "rLau", {"a StuffIt archive", kUnpack}},
    {kAnywhere, "(This file must be converted with BinHex", {"a BinHex file", kUnpack}},
    {257, "ustar", {"a tar archive", "tar xf unpacks it"}},
    {0, "7z\xBC\xAF\x27\x1C", {"a 7-Zip archive", kUnpack}},
    {0, "Rar!\x1A\7", {"a RAR archive", kUnpack}},
    {0, "BZh", {"a file packed by bzip2", "bunzip2 unpacks it"}},
    {0,
     "\xFD"
     "7zXZ\0"sv,
     {"a file packed by xz", "unxz unpacks it"}},
    {0, "\x28\xB5\x2F\xFD", {"a file packed by zstd", "unzstd unpacks it"}},
    {-512, "koly", {"a disk image", kMount}},
    // After zeros, which end what a disk starts from; in Disk Copy's images 84 bytes come first.
    {1020, "\0\0\0\0BD"sv, {"a disk image", kMount}},
    {1104, "\0\0\0\0BD"sv, {"a disk image", kMount}},
    {1024, "H+\0\4"sv, {"a disk image", kMount}},
    {512, "PM\0\0"sv, {"a disk image", kMount}},
    {32769, "CD001", {"a disk image", kMount}},
    {0,
     "\x7F"
     "ELF",
     {"a program"}},
    {0, "MZ\x90\0"sv, {"a Windows program"}},
    {0, "{\\rtf", {"a rich text file"}},
    {0, "<!DOCTYPE html", {"a web page"}},
    {0, "<html", {"a web page"}},
    {kAnywhere, "<svg", {"an SVG file", kConvert}},
    {0, "<?xml", {"an XML file"}},
};

constexpr std::string_view kCopy = "another copy of it may be whole";
constexpr Kind kEmpty = {"an empty file", kCopy};
constexpr Kind kZeros = {"a file of nothing but zeros", kCopy};
constexpr Kind kBmp = {"a BMP file", kRecord, "bmp"};  // whose two letters may begin a text
constexpr Kind kText = {"plain text", "macpict assemble makes a PICT of a listing"};

bool isThere(const Signature& signature, Bytes file) {
  constexpr std::size_t kHead = 2000;
  if (signature.at == kAnywhere)
    return textOf(Cursor(file).upTo(kHead)).find(signature.bytes) != std::string_view::npos;
  const auto offset = static_cast<std::uint64_t>(signature.at < 0 ? signature.at + std::ssize(file) : signature.at);
  return hasAt(file, offset, signature.bytes);
}

bool isText(Bytes file) {
  constexpr std::size_t kHead = 4096;
  return std::ranges::all_of(Cursor(file).upTo(kHead),
                             [](std::uint8_t byte) { return byte >= 0x20 || (byte >= '\t' && byte <= '\r'); });
}

}  // namespace

const Kind* knownKind(Bytes file) {
  if (file.empty()) return &kEmpty;
  for (const Signature& signature : kSignatures) {
    if (isThere(signature, file)) return &signature.kind;
  }
  if (std::ranges::all_of(file, [](std::uint8_t byte) { return byte == 0; })) return &kZeros;
  if (isText(file)) return &kText;
  return hasAt(file, 0, "BM") ? &kBmp : nullptr;
}

}  // namespace containers
