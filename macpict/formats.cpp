#include "macpict/formats.h"

#include <jpeglib.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "macpict/tiff.h"
#include "tools/png.h"

namespace {

// PPM: three bytes a pixel. Its resolution has no place in it.
void writePPM(OutputFile& file, const ImageRows& image) {
  file.write(std::string("P6\n# ") + kSoftware + "\n" + std::to_string(image.width) + " " +
             std::to_string(image.height) + "\n255\n");
  std::vector<std::uint8_t> row(image.rowBytes());
  for (int y = 0; y < image.height; ++y) {
    image.read(y, row);
    file.write({reinterpret_cast<const char*>(row.data()), row.size()});
  }
}

// ---- JPEG by libjpeg, which leaves through longjmp: what it calls for has no objects of its own.

constexpr int kQuality = 90;

struct Jpeg {
  jpeg_compress_struct library = {};
  jpeg_error_mgr errors = {};
  std::jmp_buf failed;
  unsigned char* bytes = nullptr;
  unsigned long size = 0;

  Jpeg() {
    library.err = jpeg_std_error(&errors);
    library.client_data = this;
    errors.error_exit = [](j_common_ptr common) { std::longjmp(static_cast<Jpeg*>(common->client_data)->failed, 1); };
    errors.output_message = [](j_common_ptr) {};
  }
  Jpeg(const Jpeg&) = delete;
  Jpeg& operator=(const Jpeg&) = delete;
  ~Jpeg() {
    jpeg_destroy_compress(&library);
    std::free(bytes);
  }

  bool begin(const ImageRows& image) {
    if (setjmp(failed) != 0) return false;
    jpeg_create_compress(&library);
    jpeg_mem_dest(&library, &bytes, &size);
    library.image_width = static_cast<JDIMENSION>(image.width);
    library.image_height = static_cast<JDIMENSION>(image.height);
    library.input_components = 3;
    library.in_color_space = JCS_RGB;
    jpeg_set_defaults(&library);
    jpeg_set_quality(&library, kQuality, TRUE);
    library.comp_info[0].h_samp_factor = library.comp_info[0].v_samp_factor = 1;  // text in colours stays sharp
    if (image.resolution.h > 0 && image.resolution.v > 0) {
      library.density_unit = 1;  // dots per inch
      library.X_density = static_cast<UINT16>(std::lround(image.resolution.h));
      library.Y_density = static_cast<UINT16>(std::lround(image.resolution.v));
    }
    jpeg_start_compress(&library, TRUE);
    jpeg_write_marker(&library, JPEG_COM, reinterpret_cast<const JOCTET*>(kSoftware),
                      static_cast<unsigned>(std::strlen(kSoftware)));
    return true;
  }
  bool put(std::uint8_t* row) {
    if (setjmp(failed) != 0) return false;
    jpeg_write_scanlines(&library, &row, 1);
    return true;
  }
  bool end() {
    if (setjmp(failed) != 0) return false;
    jpeg_finish_compress(&library);
    return true;
  }
};

// There is nothing but memory that it could lack.
void writeJPEG(OutputFile& file, const ImageRows& image) {
  Jpeg jpeg;
  std::vector<std::uint8_t> row(image.rowBytes());
  bool isWell = jpeg.begin(image);
  for (int y = 0; isWell && y < image.height; ++y) {
    image.read(y, row);
    isWell = jpeg.put(row.data());
  }
  if (!isWell || !jpeg.end()) throw std::bad_alloc();
  file.write({reinterpret_cast<const char*>(jpeg.bytes), jpeg.size});
}

constexpr OutputFormat kFormats[] = {
    {"png", ".png", ".png", true, writePNG},
    {"ppm", ".ppm", ".pnm", false, writePPM},
    {"jpg", ".jpg", ".jpeg", false, writeJPEG},
    {"tiff", ".tiff", ".tif", true, writeTIFF},
};

template <class Word>
std::string joined(const char* between, const Word& word) {
  std::string all;
  for (const OutputFormat& format : kFormats) all += (all.empty() ? "" : between) + std::string(word(format));
  return all;
}

}  // namespace

const OutputFormat* formatNamed(std::string_view name) {
  const auto* const found = std::ranges::find(kFormats, name, &OutputFormat::name);
  return found != std::end(kFormats) ? found : nullptr;
}

std::string endingOf(const std::filesystem::path& path) {
  std::string ending = path.extension().string();
  std::ranges::transform(ending, ending.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return ending;
}

const OutputFormat* formatOf(const std::filesystem::path& path) {
  const auto* const found = std::ranges::find_if(kFormats, [ending = endingOf(path)](const OutputFormat& format) {
    return ending == format.ending || ending == format.otherEnding;
  });
  return found != std::end(kFormats) ? found : nullptr;
}

std::string formatNames() {
  return joined("|", [](const OutputFormat& format) { return format.name; });
}
std::string formatEndings() {
  return joined(", ", [](const OutputFormat& format) { return format.ending; });
}

// The mark stands in what describes an image, which comes before its pixels or, in a TIFF, right after its head.
bool hasOurMark(std::string_view head) {
  constexpr std::size_t kWithin = 1024;
  return head.substr(0, kWithin).find(kSoftware) != std::string_view::npos;
}
