// Decodes any bytes by a codec of QuickTime's: as a file, or as the operands of a picture's image, in which size, depth
// and colours stand beside the data.
#include "engine/pict/quicktime.h"
#include "fuzz/image.h"

namespace {

void decodeByCodec(const qd::ImageSource& source) {
  decode([](const qd::ImageSource& from, std::string& why) { return qd::openCodec(CODEC, from, why); }, source);
}

}  // namespace

void feed(qd::Bytes input) {
  if constexpr (IS_IN_PICTURE) {
    static qd::ColorTables tables;
    qd::ByteReader in(input);
    if (const auto image = qd::readQuickTimeImage(in, tables)) decodeByCodec(image->source);
  } else {
    decodeByCodec({input, {}});
  }
}
