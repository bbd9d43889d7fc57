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

namespace {

std::string sizeInWords(std::int64_t width, std::int64_t height) {
  return std::to_string(width) + "x" + std::to_string(height) + " pixels";
}

}  // namespace

bool hasPossibleSize(std::int64_t width, std::int64_t height, std::string& why) {
  const auto fits = [](std::int64_t side) { return side > 0 && side <= kMostPixelsASide; };
  if (fits(width) && fits(height)) return true;
  why = "it has " + sizeInWords(width, height) + ", and 1 to " + std::to_string(kMostPixelsASide) +
        " a side can be decoded";
  return false;
}

bool mayBeHeldWhole(std::int64_t width, std::int64_t height, std::size_t bytes, std::int64_t mostPixelsPerByte,
                    std::string& why) {
  if (!hasPossibleSize(width, height, why)) return false;
  constexpr std::int64_t kPlausiblePerByte = 64;
  constexpr std::int64_t kSmall = 1'000'000;  // not worth a doubt
  const std::int64_t pixels = width * height;
  const auto size = static_cast<std::int64_t>(bytes);
  if (pixels <= std::max(kMostPixelsAtOnce, size * kPlausiblePerByte) &&
      pixels <= std::max(kSmall, size * mostPixelsPerByte)) {
    return true;
  }
  why = "it tells of " + sizeInWords(width, height) + ", too many to be decoded at once from " + std::to_string(bytes) +
        " bytes";
  return false;
}

}  // namespace qd
