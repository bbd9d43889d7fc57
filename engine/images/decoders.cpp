#include "engine/images/decoders.h"

#include <algorithm>

namespace qd {
namespace {

// Builds without the system's libraries (32 bits, other processors) decode by what is brought along.
#ifdef QDRAW_SYSTEM_CODECS
#define SYSTEM_OR(system, own) system
#else
#define SYSTEM_OR(system, own) own
#endif

struct Decoder {
  std::string_view codec;  // of QuickTime
  std::string_view head;   // how a file begins; empty for what is never a file
  OpenImage open;
};

using namespace std::string_view_literals;
constexpr Decoder kDecoders[] = {
    {"jpeg", "\xFF\xD8\xFF"sv, SYSTEM_OR(openJpeg, openCheckedJpeg)},
    {"png ", "\x89PNG\r\n\x1A\n"sv, SYSTEM_OR(openPng, openCheckedPng)},
    {"raw ", "", openRaw},
    {"rpza", "", openRpza},
    {"cvid", "", openCinepak},
    {"rle ", "", openRle},
    {"smc ", "", openSmc},
    {"8BPS", "", openPlanar},
    {"tga ", "", openTarga},
    {"WRLE", "BM", openBmp},
    {".BMP", "", openBmp},
    {"gif ", "GIF8", SYSTEM_OR(openGif, openOwnGif)},
    {"tiff", "II*\0"sv, SYSTEM_OR(openTiff, openOwnTiff)},
    {"tiff", "MM\0*"sv, SYSTEM_OR(openTiff, openOwnTiff)},
};

template <class Serves>
std::unique_ptr<ImageReader> open(const ImageSource& source, std::string& why, const Serves& serves) {
  const auto* const decoder = std::ranges::find_if(kDecoders, serves);
  if (decoder != std::end(kDecoders)) return decoder->open(source, why);
  why = "its format is none that is known";
  return nullptr;
}

}  // namespace

std::unique_ptr<ImageReader> openCodec(std::string_view codec, const ImageSource& source, std::string& why) {
  return open(source, why, [codec](const Decoder& decoder) { return decoder.codec == codec; });
}

std::unique_ptr<ImageReader> openFile(const ImageSource& source, std::string& why) {
  const std::string_view file(reinterpret_cast<const char*>(source.data.data()), source.data.size());
  return open(source, why,
              [file](const Decoder& decoder) { return !decoder.head.empty() && file.starts_with(decoder.head); });
}

}  // namespace qd
