// Text in the encodings that the host knows: UTF-8, MacRoman and ASCII.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace runtime {

// Nothing if the bytes are no text in their encoding, or one of the encodings is none of these. A character that the
// other encoding doesn't have becomes a question mark.
std::optional<std::string> convert(std::string_view bytes, std::uint32_t from, std::uint32_t to);

}  // namespace runtime
