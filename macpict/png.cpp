#include "macpict/png.h"

#define STBI_WRITE_NO_STDIO
#include <stb/stb_image_write.h>

#include "macpict/files.h"
#include "platform/runtime/host.h"

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
