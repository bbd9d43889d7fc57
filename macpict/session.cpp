#include "macpict/session.h"

#include <cstdlib>

namespace fs = std::filesystem;
using runtime::Object;
using runtime::String;
using runtime::Value;

namespace {

// The bundle lies beside the program's folder, unless the environment names another.
fs::path bundlePath() {
  if (const char* named = std::getenv("MACPICT_BUNDLE")) return named;
  return fs::read_symlink("/proc/self/exe").parent_path().parent_path() / "QuickDrawTVK.bundle";
}

}  // namespace

Session::Session() { host_.load(bundlePath()); }

Object Session::record(int width, int height) {
  Object recorder = host_.make("MacPictTVK");
  host_.call(recorder, "CreatePicture", {width, height});
  return recorder;
}

Object Session::recorderWith(std::string_view picture) {
  Object recorder = host_.make("MacPictTVK");
  host_.set(recorder, "PicHandleData", host_.string(picture, kTextEncodingUnknown));
  return recorder;
}

std::string Session::bytesOf(const Object& recorder) {
  const Value value = host_.get(recorder, "PicHandleData");
  const auto* string = std::get_if<String>(&value);
  return string != nullptr ? std::string(runtime::bytesOf(string->get())) : std::string();
}

Object Session::picture(int width, int height) { return host_.newPicture(width, height); }

Object Session::picture(int width, int height, int depth, bool isGray) {
  const Value made = host_.call(isGray ? "NewGrayPictureTVK" : "NewColorPictureTVK", {width, height, depth, false});
  const auto* picture = std::get_if<Object>(&made);
  if (picture == nullptr) {
    throw runtime::Error("A picture of " + std::to_string(width) + "x" + std::to_string(height) + " pixels at depth " +
                         std::to_string(depth) + " can't be made; depths 1, 2, 4, 8, 16, 24 and 32 would work.");
  }
  return *picture;
}

void Session::play(const Object& recorder, const Object& picture, int x, int y, int width, int height) {
  host_.call(recorder, "DrawpictureIntoGWorld", {host_.worldOf(picture), x, y, width, height});
}

void Session::copy(const Object& from, const Object& to, int x, int y) {
  const auto [width, height] = sizeOf(from);
  host_.call(to, "DrawPictureTVK", {from, 0, 0, width, height, x, y, width, height, 0});
}

Session::Size Session::sizeOf(const Object& picture) {
  const auto* object = runtime::as<runtime::PictureObject>(picture.get());
  return {object->width, object->height};
}

Image Session::imageOf(const Object& picture) {
  const auto [width, height] = sizeOf(picture);
  Object deep = this->picture(width, height);
  copy(picture, deep, 0, 0);
  const Value data = host_.get(deep, "GWorldPixelDataTVK");
  const auto* block = std::get_if<Object>(&data);
  if (block == nullptr) throw runtime::Error("The picture's pixels can't be read.");
  const auto rowBytes = static_cast<std::size_t>(std::get<std::int32_t>(host_.get(deep, "GWorldPixelRowBytesTVK")));
  const auto& bytes = runtime::as<runtime::MemoryBlock>(block->get())->bytes;

  Image image{width, height, {}};
  image.rgb.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3);
  for (std::size_t y = 0; y < static_cast<std::size_t>(height); ++y) {
    const char* pixel = bytes.data() + y * rowBytes;
    for (int x = 0; x < width; ++x, pixel += 4) image.rgb.append(pixel + 1, 3);
  }
  return image;
}
