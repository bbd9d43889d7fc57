#include "macpict/sizes.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>

#include "tools/failure.h"

namespace {

// All of a text as a number above 0; nothing if it is none.
template <class Number>
std::optional<Number> number(std::string_view text) {
  Number value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || !(value > 0)) return std::nullopt;
  return value;
}

// "640x480", "640x" or "x480".
bool parseSize(std::string_view text, SizeOptions& options) {
  const std::size_t cross = text.find('x');
  if (cross == std::string_view::npos || text.size() == 1) return false;
  const auto side = [](std::string_view digits) { return digits.empty() ? 0 : number<int>(digits).value_or(-1); };
  options.width = side(text.substr(0, cross));
  options.height = side(text.substr(cross + 1));
  const auto fits = [](int pixels) { return pixels >= 0 && pixels <= kMostSide; };
  return fits(options.width) && fits(options.height);
}

// "0.5" or "50%".
bool parseScale(std::string_view text, SizeOptions& options) {
  const bool isPercent = text.ends_with('%');
  if (isPercent) text.remove_suffix(1);
  const double scale = number<double>(text).value_or(0) / (isPercent ? 100 : 1);
  options.scale = scale;
  return scale > 0 && scale <= 1000;
}

}  // namespace

void addSizes(CLI::App& command, SizeOptions& options) {
  CLI::Option* const size =
      addParsed(command, "--size", "As large as fits into so many pixels; one side alone goes with the other",
                "a width, a height or both, of 1 to 32767", "640x480, 640x or x480 would work",
                [&options](const std::string& text) { return parseSize(text, options); })
          ->type_name("WxH");
  command.add_flag("--stretch", options.isStretched, "Both sides of --size, whatever the picture's shape")->needs(size);
  addParsed(command, "--scale", "Larger or smaller than it is by this factor", "a factor above 0 and up to 1000",
            "0.5 or 50% would work", [&options](const std::string& text) { return parseScale(text, options); })
      ->type_name("F")
      ->excludes(size);
  command
      .add_flag("--points", options.isInPoints,
                "As large as it is on the page at 72 dots per inch, not with all of its dots")
      ->excludes(size);
}

PlaySize wantedSize(const std::string& what, qd::Bytes picture, const SizeOptions& options) {
  constexpr int kAny = std::numeric_limits<int>::max();
  PlaySize size = playSize(what, picture, {options.scale, options.isInPoints, kAny});
  if (options.isStretched && options.width > 0 && options.height > 0) return {options.width, options.height};
  if (options.width > 0 || options.height > 0) {
    // The shape is the one that it has on the page.
    const PlaySize page = playSize(what, picture, {.isInPoints = true, .most = kAny});
    constexpr double kOpen = std::numeric_limits<double>::infinity();
    const double byWidth = options.width > 0 ? double(options.width) / page.width : kOpen;
    const double byHeight = options.height > 0 ? double(options.height) / page.height : kOpen;
    const auto side = [scale = std::min(byWidth, byHeight)](int points) {
      return static_cast<int>(std::clamp(std::round(points * scale), 1.0, double(kAny)));
    };
    size = {side(page.width), side(page.height)};
  }
  if (std::max(size.width, size.height) > kMostSide) {
    throw Failure(what + " would be " + std::to_string(size.width) + "x" + std::to_string(size.height) +
                  " pixels, and QuickDraw counts " + std::to_string(kMostSide) + " a side; a smaller size would work.");
  }
  return size;
}
