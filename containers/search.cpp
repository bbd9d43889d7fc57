// Pictures anywhere in other bytes, by what their head looks like, and by an end that their opcodes lead to.
#include "containers/finder.h"

namespace containers {
namespace {

constexpr std::string_view kVersion1 = "\x11\x01";
constexpr std::string_view kVersion2("\0\x11\x02\xFF\x0C\0", 6);  // with the header that comes next
constexpr std::size_t kFrameEnd = 10;                             // where the version stands

bool isEmpty(const qd::Rect& frame) { return frame.bottom <= frame.top || frame.right <= frame.left; }

// The part of the bytes that a picture which begins there may take; nothing if none does. In version 1 the size before
// the frame is right, as nothing is larger.
Bytes candidate(Bytes bytes) {
  const auto info = qd::pictureInfo(bytes);
  if (!info || isEmpty(info->frame)) return {};
  if (!hasAt(bytes, kFrameEnd, kVersion1)) return bytes;
  const std::uint16_t size = Cursor(bytes).u16();
  return size <= bytes.size() ? bytes.first(size) : Bytes();
}

}  // namespace

void search(Bytes bytes, const std::string& place, Finder& finder) {
  constexpr std::uint64_t kMostWork = std::uint64_t{1} << 30;  // bytes walked in vain
  constexpr std::size_t kTry = 1 << 16;                        // what beginning takes, in bytes
  std::uint64_t work = 0;
  const std::string_view text = textOf(bytes);
  for (std::size_t at = kFrameEnd; (at = text.find('\x11', at)) != std::string_view::npos && !finder.isFull(); ++at) {
    const bool isVersion2 = text.substr(at - 1).starts_with(kVersion2);
    if (!isVersion2 && !text.substr(at).starts_with(kVersion1)) continue;
    const std::size_t front = kFrameEnd + (isVersion2 ? 1 : 0);
    if (at < front) continue;
    const std::size_t begin = at - front;
    const Bytes picture = candidate(bytes.subspan(begin));
    if (picture.empty()) continue;
    const qd::PictureExtent extent = qd::pictureExtent(picture);
    if (extent.isWhole && (isVersion2 || extent.bytes == picture.size())) {
      finder.found(place + "@" + std::to_string(begin), "", picture.first(extent.bytes));
      at = begin + extent.bytes - 1;
      continue;
    }
    work += extent.bytes + kTry;
    if (work > kMostWork) {
      return finder.note(place,
                         "The search ends at byte " + std::to_string(at) +
                             ", as too much looks like a picture and is none; a smaller part would be searched.");
    }
  }
}

}  // namespace containers
