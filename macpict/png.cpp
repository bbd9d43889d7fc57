#include "macpict/png.h"

#include <zlib.h>

#include <cstdlib>

#include "macpict/files.h"
#include "platform/runtime/host.h"

namespace {

// zlib's own compressor in place of the small one that comes with the writer.
unsigned char* compressWithZlib(unsigned char* data, int size, int* compressedSize, int) {
  uLongf bound = compressBound(static_cast<uLong>(size));
  auto* out = static_cast<unsigned char*>(std::malloc(bound));
  if (out == nullptr || compress2(out, &bound, data, static_cast<uLong>(size), 6) != Z_OK) {
    std::free(out);
    return nullptr;
  }
  *compressedSize = static_cast<int>(bound);
  return out;
}

}  // namespace

#define STBIW_ZLIB_COMPRESS compressWithZlib
#define STBI_WRITE_NO_STDIO
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb/stb_image_write.h>

void writePNG(const std::filesystem::path& path, const Image& image) {
  std::string bytes;
  const auto append = [](void* to, void* data, int size) {
    static_cast<std::string*>(to)->append(static_cast<const char*>(data), static_cast<std::size_t>(size));
  };
  if (stbi_write_png_to_func(append, &bytes, image.width, image.height, 3, image.rgb.data(), image.width * 3) == 0) {
    throw runtime::Error("There is no memory to compress \"" + path.string() + "\".");
  }
  writeFile(path, bytes);
}
