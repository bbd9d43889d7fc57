// Names from elsewhere, made harmless: they are shown on terminals, and become names of files.
#include <algorithm>
#include <filesystem>

#include "containers/finder.h"

namespace containers {
namespace {

// How many bytes a text's first character takes in UTF-8; 0 if it is none that may be shown.
std::size_t shownLength(std::string_view text) {
  const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  constexpr char32_t kLeast[] = {0, 0x20, 0xA0, 0x800, 0x10000};  // in so many bytes, and no control
  const std::size_t length = byte(0) < 0x80 ? 1 : byte(0) < 0xC0 ? 0 : byte(0) < 0xE0 ? 2 : byte(0) < 0xF0 ? 3 : 4;
  if (length == 0 || length > text.size()) return 0;
  char32_t c = length == 1 ? byte(0) : byte(0) & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
    c = c << 6 | (byte(i) & 0x3F);
  }
  return c >= kLeast[length] && c != 0x7F && c <= 0x10FFFF && (c < 0xD800 || c > 0xDFFF) ? length : 0;
}

// What is before an ending of a few letters.
std::string_view withoutEnding(std::string_view name) {
  constexpr std::size_t kMost = 5;  // with its dot
  const std::size_t dot = name.rfind('.');
  const bool isEnding = dot != std::string_view::npos && dot > 0 && name.size() - dot <= kMost &&
                        name.find_first_of("#@/", dot) == std::string_view::npos;
  return isEnding ? name.substr(0, dot) : name;
}

}  // namespace

std::string shown(std::string_view text) {
  std::string out;
  while (!text.empty()) {
    const std::size_t length = shownLength(text);
    out += length > 0 ? text.substr(0, length) : "?";
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return out;
}

std::string pathIn(const std::string& place, std::string_view path) {
  std::string whole = place;
  while (!path.empty()) {
    const std::string_view part = path.substr(0, path.find_first_of("/\\"));
    path.remove_prefix(std::min(path.size(), part.size() + 1));
    if (part.empty() || part == "." || part == "..") continue;
    if (!whole.empty()) whole += '/';
    whole += shown(part);
  }
  if (whole.size() == place.size()) whole += place.empty() ? "?" : "/?";
  return whole;
}

std::string ofBytes(std::uint64_t there, std::uint64_t told) {
  return std::to_string(there) + " of " + std::to_string(told) + " bytes";
}

std::string FileNames::of(const std::string& file, const Found& found) {
  constexpr std::size_t kMost = 150;  // bytes of a part, so that the whole is a name that a folder can hold
  const auto cut = [](std::string text) {
    if (text.size() > kMost) text = shown(text.substr(0, kMost));
    return text;
  };
  std::string name = std::filesystem::path(file).filename().string();
  // Files that carry another's fork have its name after "._".
  name.erase(0, name.starts_with("._") ? 2 : name.starts_with('.') ? 1 : 0);
  name = cut(std::string(withoutEnding(name)));
  if (!found.place.empty()) {
    std::string place(withoutEnding(found.place));
    std::ranges::replace(place, '/', '-');
    if (place[0] != '#' && place[0] != '@') name += '-';
    name += cut(std::move(place));
  }
  std::string unlike = name;
  for (int i = 2; !given_.insert(unlike).second; ++i) unlike = name + "-" + std::to_string(i);
  return unlike;
}

}  // namespace containers
