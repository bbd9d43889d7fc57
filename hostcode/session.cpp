#include "hostcode/session.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "contract/system.h"
#include "platform/frameworks/bundle.h"
#include "platform/quickdraw/operations.h"
#include "tools/failure.h"
#include "tools/files.h"
#include "tools/png.h"

namespace fs = std::filesystem;
using runtime::Object;
using runtime::String;
using runtime::Value;

namespace {

std::string contentOf(const Value& value) {
  if (const auto* string = std::get_if<String>(&value)) return std::string(runtime::bytesOf(string->get()));
  const auto* object = std::get_if<Object>(&value);
  const auto* block = object != nullptr ? runtime::as<runtime::MemoryBlock>(object->get()) : nullptr;
  return block != nullptr ? std::string(block->bytes.begin(), block->bytes.end()) : std::string();
}

}  // namespace

// They lie beside the program's folder.
fs::path installed(const char* name) { return fs::read_symlink("/proc/self/exe").parent_path().parent_path() / name; }

Session::Session(double hostVersion) : host_(hostVersion) {
  const char* named = std::getenv("MACPICT_BUNDLE");
  host_.load(named != nullptr ? fs::path(named) : installed("QuickDrawTVK.bundle"));
}

// Looks as the plug-in does.
void Session::requireQuickDraw() {
  static const ConstantString kName("ApplicationServices.framework");
  std::string why = "there is no folder of frameworks";
  FSRef folder;
  if (FSFindFolder(kOnAppropriateDisk, kFrameworksFolderType, 1, &folder) == 0) {
    const OwnedBundle bundle = bundleIn(folder, kName.ref());
    auto* const ref = static_cast<CFBundleRef>(bundle.get());
    if (CFBundleLoadExecutable(ref) != 0) return;
    const std::string refusal = loadErrorOf(ref);
    why = refusal.empty() ? "it isn't in the folder of frameworks" : refusal;
  }
  throw runtime::Error("QuickDraw's framework can't be loaded, so that nothing would be drawn: " + why + ".");
}

Object Session::recorderWith(std::string_view picture) {
  Object recorder = host_.make("MacPictTVK");
  host_.set(recorder, "PicHandleData", host_.string(picture, kTextEncodingUnknown));
  return recorder;
}

Object Session::picture(int width, int height) { return host_.newPicture(width, height); }

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
  const auto* object = runtime::as<runtime::PictureObject>(picture.get());
  Object deep = picture;
  if (GetPixDepth(GetGWorldPixMap(object->world)) != 32) {
    deep = this->picture(width, height);
    copy(picture, deep, 0, 0);
  }
  const PixMapHandle map = GetGWorldPixMap(runtime::as<runtime::PictureObject>(deep.get())->world);
  const char* row = GetPixBaseAddr(map);
  const std::int32_t rowBytes = GetPixRowBytes(map);

  Image image{width, height, {}};
  image.rgb.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3);
  char* out = image.rgb.data();
  for (int y = 0; y < height; ++y, row += rowBytes) {
    const char* pixel = row;
    for (int x = 0; x < width; ++x, pixel += 4, out += 3) std::copy_n(pixel + 1, 3, out);
  }
  return image;
}

std::string Session::exported(const Object& picture) { return contentOf(host_.get(picture, "PicHandleDataTVK")); }

void Session::save(const Value& value, const fs::path& path) {
  const auto* object = std::get_if<Object>(&value);
  const bool isPicture = object != nullptr && runtime::as<runtime::PictureObject>(object->get()) != nullptr;
  const bool isBytes = !isPicture && (object != nullptr || std::holds_alternative<String>(value));
  if (!isPicture && !isBytes) throw runtime::Error("Save takes a picture, a string or a memory block.");
  const std::string ending = path.extension().string();
  if (ending == ".pict" || ending == ".pct")
    return writePicture(path, isPicture ? exported(*object) : contentOf(value));
  if (ending != ".png") {
    if (isPicture) throw runtime::Error("A picture is saved as .png, .pict or .pct, not as \"" + ending + "\".");
    return writeFile(path, contentOf(value));
  }
  if (isPicture && runtime::as<runtime::PictureObject>(object->get())->world != nullptr)
    return writePNG(path, imageOf(*object));
  const std::string bytes = isPicture ? exported(*object) : contentOf(value);
  writePNG(path, imageOf(played("What is to be shown", bytes)));
}

Object Session::played(const std::string& name, const std::string& pict, int most) {
  const auto [width, height] = playSize(name, asBytes(pict), {.most = most});
  Object canvas = picture(width, height);
  play(recorderWith(pict), canvas, 0, 0, width, height);
  if (const std::string fault = faultOf(qd::lastPlayback()); !fault.empty()) throw Failure(name + " " + fault + ".");
  return canvas;
}

language::Surroundings Session::surroundings(const fs::path& folder) {
  // Host code is told of a file that fails as of anything else, with its place.
  const auto told = [](const auto& work) {
    try {
      return work();
    } catch (const Failure& failure) {
      throw runtime::Error(failure.what());
    }
  };
  return {
      [](const std::string& line) {
        std::fwrite(line.data(), 1, line.size(), stdout);
        std::putchar('\n');
      },
      [folder, told](const std::string& name) {
        return told([&] {
          std::string file = readFile(folder / name, runtime::kLongestString);
          cutToPicture(file);
          return file;
        });
      },
      [this, folder, told](const Value& value, const std::string& name) { told([&] { save(value, folder / name); }); }};
}
