// The small decoder of JPEG and PNG. What it leaves unset is zero, and no part of an image takes more than a share of a
// processor's of 32 bits.
#include <cstdlib>

namespace {
constexpr std::size_t kMostBytes = std::size_t{1} << 28;
void* bytes(std::size_t size) { return size <= kMostBytes ? std::calloc(1, size) : nullptr; }
void* moreBytes(void* old, std::size_t size) { return size <= kMostBytes ? std::realloc(old, size) : nullptr; }
}  // namespace

#define STBI_MALLOC(size) bytes(size)
#define STBI_REALLOC(old, size) moreBytes(old, size)
#define STBI_FREE(pointer) std::free(pointer)
#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_JPEG
#define STBI_ONLY_PNG
#define STBI_NO_STDIO
#define STBI_MAX_DIMENSIONS 32767
#include <stb/stb_image.h>
