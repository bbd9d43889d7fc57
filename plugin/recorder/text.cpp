// Text on the current port, as MacRoman bytes.
#include "plugin/host/strings.h"
#include "plugin/recorder/handlers.h"

namespace {

// What `operation` gives for the text's bytes. QuickDraw counts them in 16 bits: a longer text is cut, not wrapped.
template <class Operation>
std::int16_t WithText(REALobjectStruct* object, REALstringStruct* string, Operation operation) {
  if (!HasPicture(object) || string == nullptr) return 0;
  rbText text(string);
  const char* bytes = text.MacRomanBytes();
  const std::int32_t length = text.MacRomanLength();
  return operation(bytes, static_cast<std::int16_t>(length < INT16_MAX ? length : INT16_MAX));
}

}  // namespace

void rbMacDrawText(REALobjectStruct* object, REALstringStruct* string) {
  WithText(object, string, [](const char* bytes, std::int16_t count) -> std::int16_t {
    quickdraw::DrawText(bytes, 0, count);
    return 0;
  });
}

// The pen moves first, with a picture or without.
void rbMacDrawTextXY(REALobjectStruct* object, REALstringStruct* string, std::int32_t x, std::int32_t y) {
  quickdraw::MoveTo(Low16(x), Low16(y));
  rbMacDrawText(object, string);
}

std::int32_t rbTextWidth(REALobjectStruct* object, REALstringStruct* string) {
  return WithText(object, string,
                  [](const char* bytes, std::int16_t count) { return quickdraw::TextWidth(bytes, 0, count); });
}
