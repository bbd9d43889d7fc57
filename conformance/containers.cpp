#include "conformance/entry.h"
#include "tests/containers/files.h"

namespace conformance {
namespace {

Bytes bare(const Bytes& picture) { return picture; }
Bytes twoHeaders(const Bytes& picture) { return Bytes(1024, '\0') + picture; }
Bytes inFork(const Bytes& picture) { return files::fork({{128, "A picture", picture}}); }
Bytes doubleFile(const Bytes& picture) { return files::appleFile(0x00051607, "", inFork(picture)); }
Bytes singleFile(const Bytes& picture) { return files::appleFile(0x00051600, "", inFork(picture)); }
Bytes singleWithData(const Bytes& picture) { return files::appleFile(0x00051600, files::kHeader + picture, ""); }
template <int Version>
Bytes binary(const Bytes& picture) {
  return files::macBinary(files::kHeader + picture, "", Version);
}
Bytes binaryFork(const Bytes& picture) { return files::macBinary("", inFork(picture), 3); }
Bytes gzipped(const Bytes& picture) { return files::gzip(files::kHeader + picture); }
Bytes gzippedBare(const Bytes& picture) { return files::gzip(picture); }
Bytes zipped(const Bytes& picture) { return files::zip({{"picture.pict", files::kHeader + picture}}); }
Bytes slides(const Bytes& picture) {
  return files::zip(
      {{"[Content_Types].xml", "<?xml version=\"1.0\"?>"}, {"ppt/media/image1.pict", files::kHeader + picture}});
}
Bytes oldSlides(const Bytes& picture) { return files::compound({{"Pictures", files::blip(picture, false, true)}}); }

}  // namespace

std::vector<Entry> containers() {
  struct Container {
    const char* name;
    const char* shows;
    const char* rule;
    Bytes (*wrap)(const Bytes& picture);
    const char* ending;
  };
  constexpr const char* kSingle = "AppleSingle/AppleDouble Formats for Foreign Files, version 2";
  constexpr const char* kBinary = "MacBinary III, the description of its header";
  const Container all[] = {
      {"bare", "A picture without 512 bytes in front, as it lies in a resource or on the clipboard.", rule::kPictures,
       bare, "pict"},
      {"two-headers", "A picture with 512 bytes in front twice.", rule::kPictures, twoHeaders, "pict"},
      {"resource-fork", "A PICT resource in a resource fork.", rule::kToolbox, inFork, "rsrc"},
      {"apple-double", "A PICT resource in an AppleDouble file, as unpackers lay beside a file without data.", kSingle,
       doubleFile, "adf"},
      {"apple-single", "A PICT resource in an AppleSingle file.", kSingle, singleFile, "as"},
      {"apple-single-data", "A picture file in an AppleSingle file, as its data.", kSingle, singleWithData, "as"},
      {"mac-binary-1", "A picture file in MacBinary, in its first version.", kBinary, binary<1>, "bin"},
      {"mac-binary-2", "A picture file in MacBinary II, with a second header.", kBinary, binary<2>, "bin"},
      {"mac-binary-3", "A picture file in MacBinary III.", kBinary, binary<3>, "bin"},
      {"mac-binary-fork", "A PICT resource in MacBinary, without data.", kBinary, binaryFork, "bin"},
      {"gzip", "A picture file packed by gzip.", "RFC 1952, GZIP", gzipped, "pict.gz"},
      {"gzip-bare", "A picture without a header, packed by gzip, as office programs have it.", "RFC 1952, GZIP",
       gzippedBare, "pcz"},
      {"zip", "A picture file in a zip archive.", "APPNOTE, .ZIP File Format", zipped, "zip"},
      {"slides", "A picture in a zip archive that is a document of slides.", "APPNOTE, .ZIP File Format", slides,
       "pptx"},
      {"old-slides", "A picture in an older document of slides, without its header and packed.",
       "[MS-ODRAW], 2.2.26 OfficeArtBlipPICT", oldSlides, "ppt"},
  };
  std::vector<Entry> entries;
  for (const auto& [name, shows, rule, wrap, ending] : all) {
    Entry entry = {name,
                   shows,
                   rule,
                   {fore(kYellow), paint({0, 0, 32, 24}), fore(kBlue), model::penSize({2, 2}),
                    model::shape(Verb::frame, Shape::oval, {2, 2, 30, 22}), fore(kRed), model::line({5, 5}, {25, 17})}};
    entry.wrap = wrap;
    entry.ending = ending;
    entries.push_back(entry);
  }
  return entries;
}

}  // namespace conformance
