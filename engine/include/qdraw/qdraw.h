// QuickDraw's pictures (PICT): read, played into pixels, listed and recorded.
//
//   qd::System system("/usr/share/qdraw/fonts");                     // one for each thread
//   const auto picture = qd::pictureInFile(file);                    // the file's bytes, with or without 512 in front
//   const auto info = qd::pictureInfo(*picture);                     // version, frame, resolution
//   auto world = qd::GWorld::make(system, info->width(), info->height());
//   const qd::Playback playback = world->play(*picture);            // what was drawn, and what is missing
//   world->rgb(y, row);                                             // a row as red, green, blue
//
//   std::vector<std::uint8_t> bytes;
//   qd::VectorSink sink(bytes);
//   qd::Recorder recorder(system, qd::PictureParams(200, 100), sink);
//   recorder.rect(qd::Verb::paint, qd::MakeRect(10, 10, 50, 20));
//   const bool isWhole = recorder.close();                           // now bytes are a PICT
//
// Rectangles are top, left, bottom, right, points v, h: in pixels, of 16 bits and signed; the pixels of a rectangle lie
// between its edges. Colours have 16 bits a component. Nothing here throws for what a picture holds; without memory
// std::bad_alloc comes through. What a broken picture has before its first broken opcode is played and listed.
//
// From Imaging With QuickDraw (1994) and Inside Macintosh I and V. Needs a little-endian processor.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "qdraw/types.h"

namespace qd {

using Bytes = std::span<const std::uint8_t>;
class GWorld;
class Port;
class PictureWriter;
struct Resources;

// What pictures refer to and don't hold: the system's fonts, and its colour tables. It outlives what is made with it.
class System {
 public:
  // The fonts lie in that folder; text in one whose file is missing or damaged draws nothing, and playing tells it.
  explicit System(std::filesystem::path fonts);
  ~System();
  System(const System&) = delete;
  System& operator=(const System&) = delete;

 private:
  friend class GWorld;
  friend class Recorder;
  std::unique_ptr<Resources> resources_;
};

// ---- reading

// A picture file begins with bytes for the program that wrote it.
inline constexpr std::size_t kFileHeader = 512;

// Gives what comes after a file's header, or all of the bytes if they are a picture as they stand; nothing if no
// picture begins at either place.
std::optional<Bytes> pictureInFile(Bytes file);

struct PictureInfo {
  int version = 0;                         // 1 or 2
  Rect frame = {};                         // at 72 dpi
  Rect source = {};                        // the space of its coordinates
  Fixed hRes = 0x480000, vRes = 0x480000;  // dots per inch, 16.16

  // Of the source, in pixels.
  int width() const { return source.right - source.left; }
  int height() const { return source.bottom - source.top; }
};

// What a picture is; nothing if it is none.
std::optional<PictureInfo> pictureInfo(Bytes picture);

// How far a picture's opcodes can be read: past its end opcode if it is whole, or up to the first that is broken.
struct PictureExtent {
  std::size_t bytes = 0;
  bool isWhole = false;
};
PictureExtent pictureExtent(Bytes picture);

// An image that a picture holds in a format from elsewhere, by QuickTime.
struct PictureImage {
  std::string codec;  // four characters: "jpeg", "png ", "cvid"
  int width = 0, height = 0;
  int depth = 0;  // 33 to 40: greys of 1 to 8 bits
  Bytes bytes;    // of the picture's own
};
// In their order, up to the picture's end or to what is broken.
std::vector<PictureImage> imagesIn(Bytes picture);

// A font that a picture chooses; without a name where none comes with its number.
struct PictureFont {
  int number;
  std::string name;  // UTF-8
  bool operator==(const PictureFont&) const = default;
};
// Those of a picture in the order in which they come, once each, up to what is broken.
std::vector<PictureFont> fontsIn(Bytes picture);
// "codec "jpeg", depth 32, 40x30, 1234 bytes".
std::string describe(const PictureImage& image);
// "Geneva (3)"; a number that the system gave no font stands alone.
std::string describe(const PictureFont& font);

// What a Mac's own text says, like a name of a font or a resource.
std::string utf8OfMacRoman(std::string_view text);
// The other way; a character that Mac OS Roman hasn't becomes "?".
std::string macRomanOfUtf8(std::string_view text);

// Where and why a picture ended too early.
struct PictureError {
  std::size_t offset = 0;  // of the opcode, in bytes
  std::uint16_t opcode = 0;
  std::string what;  // a sentence without its full stop
};
// "at offset 42, in opcode 0030 FrameRect: its operands ...".
std::string describe(const PictureError& error);

// What drawing took, as far as it grows with what a picture says.
struct Work {
  std::uint64_t runs = 0;    // of rows that shapes were made of, within the clip or not
  std::uint64_t pixels = 0;  // looked at one by one: copied, of patterns with colours, of text
  std::uint64_t bytes = 0;   // of memory for pixels that are copied or decoded

  Work& operator+=(const Work& more) {
    runs += more.runs;
    pixels += more.pixels;
    bytes += more.bytes;
    return *this;
  }
};

// What became of a picture's opcodes.
struct Playback {
  int played = 0;                    // drawn, or taken as state
  int skipped = 0;                   // reserved opcodes and comments, by their length
  int undrawn = 0;                   // known opcodes of drawings that can't be made here, and texts without a font
  int drawn = 0;                     // lines, shapes, texts and images
  std::vector<std::string> remarks;  // what a person should know, once each
  std::optional<PictureError> error;
  Work work;
};

// An opcode, its operands as text.
struct Listing {
  std::size_t offset;  // in bytes
  std::uint16_t number;
  std::string name;
  std::vector<std::string> operands;
};
struct ListingEnd {
  std::optional<PictureError> error;  // where the picture is broken
  std::size_t left;                   // bytes after its end
};
// Calls `opcode` for each up to the end or to what is broken.
ListingEnd listOpcodes(Bytes picture, const std::function<void(const Listing&)>& opcode);

// Calls `line` for each line, without a line end. True if the picture is whole: it ends in its end opcode. Else the
// last line says where and why it broke.
bool listPicture(Bytes picture, const std::function<void(const std::string&)>& line);

// Lists every operand and every byte of a picture, or of a file with its header, so that assemblePicture makes the same
// bytes of it again, whatever they are. What is broken, and what comes after the end, is listed as bytes. Calls `text`
// for a line or several.
ListingEnd listFully(Bytes file, const std::function<void(const std::string&)>& text);

// Where a text is wrong, and why.
struct TextError {
  int line = 0, column = 0;
  std::string what;  // a sentence without its full stop
};
struct Assembled {
  std::vector<std::uint8_t> picture;
  std::optional<TextError> error;  // then there is no picture
};
// Makes a picture of a text, of a listing in full or of one that a person wrote:
//
//     header                                    ; the 512 bytes of a file; zero, unless "hex" and bytes follow
//     picture version 2 frame (0, 0, 40, 32)    ; left, top, right, bottom; the size comes by itself
//     Clip (0, 0, 40, 32)
//     PaintRect (4, 3, 30, 25)
//     OpEndPic
//
// A line is an opcode with its fields in their order, each with or without its name. The word "hex" and bytes may stand
// for all of them, and a line "bytes" for anything. A word that begins with @ is an offset, and passed over.
Assembled assemblePicture(std::string_view text);

// ---- pixels

// What becomes of an image's transparency.
struct Transparency {
  RGBColor background = {0xFFFF, 0xFFFF, 0xFFFF};  // what the image is laid on
  bool isKept = false;  // it is not laid on anything: the unused byte of its pixels is their opacity, and recorded
};

// An offscreen graphics world: pixels to draw on, white at first.
class GWorld {
 public:
  // Depths are 1, 2, 4, 8 (indices into a colour table, the most significant bits first), 16 (big-endian 1-5-5-5) and
  // 32 (bytes unused, red, green, blue). Tables are those of GetCTable: 33, 34, 36, 40 are grey ramps, 66, 68, 72 the
  // standard colours of 2, 4 and 8 bits; 0 is the standard one of the depth. Nothing for what is none of these, for no
  // pixels, and for more than can be counted or had.
  static std::optional<GWorld> make(System& system, int width, int height, int depth = 32, int colorTable = 0);
  // The pixels within bounds; their top row and left column are numbered so.
  static std::optional<GWorld> make(System& system, const Rect& bounds, int depth = 32, int colorTable = 0);
  // The pixels of an image file (PNG, JPEG, GIF, TIFF or BMP), 32 bits deep. Nothing, and in a few words why, for one
  // that can't be decoded. Words beside pixels tell what is wrong with them.
  static std::optional<GWorld> ofImage(System& system, Bytes file, std::string& why,
                                       const Transparency& transparency = {});
  GWorld(GWorld&&) noexcept;
  GWorld& operator=(GWorld&&) noexcept;
  ~GWorld();

  int width() const;
  int height() const;
  int depth() const;
  std::size_t rowBytes() const;
  // A row's bytes, as the depth has them.
  std::span<std::uint8_t> row(int y);
  Bytes row(int y) const;
  // A row as red, green, blue; three bytes for each pixel. The other way it takes a world of 32 bits.
  void rgb(int y, std::span<std::uint8_t> triplets) const;
  void setRGB(int y, Bytes triplets);

  // Copies pixels, stretched where the rectangles differ in size; a colour goes to the nearest that there is.
  void copy(const GWorld& source, const Rect& from, const Rect& to);
  // Plays a picture into a rectangle, stretched to fit it, or over all of it. The first broken opcode ends it.
  Playback play(Bytes picture, const Rect& target);
  Playback play(Bytes picture);
  // Plays the opacity of a picture's pixels as greys: black is transparent, as all is outside of the image. False, and
  // nothing to rely on, unless the picture is one image whose direct pixels have a fourth component.
  bool playOpacity(Bytes picture, const Rect& target);

 private:
  friend class Recorder;
  explicit GWorld(std::unique_ptr<Port> port);
  std::unique_ptr<Port> port_;
};

// ---- recording

// Where the bytes of a picture go as they are recorded.
class ByteSink {
 public:
  virtual ~ByteSink() = default;
  // Appends all of the bytes, or does nothing and answers false. After it has succeeded, as many as `spare` more bytes
  // can be appended without fail.
  virtual bool append(Bytes bytes, std::size_t spare) = 0;
  // Puts bytes in the place of some that were appended.
  virtual void replace(std::size_t at, Bytes bytes) = 0;
};

// Into memory. It takes bytes as long as there is some.
class VectorSink final : public ByteSink {
 public:
  explicit VectorSink(std::vector<std::uint8_t>& bytes) : bytes_(bytes) {}
  bool append(Bytes bytes, std::size_t spare) override;
  void replace(std::size_t at, Bytes bytes) override;

 private:
  std::vector<std::uint8_t>& bytes_;
};

enum class Verb { frame, paint, erase, invert, fill };
using PatternBits = std::array<std::uint8_t, 8>;  // eight rows, the left pixel in the highest bit

// Records a picture of version 2 in its extended form. State is written when a command needs it, and only if it
// changed. A recorder begins in black on white, with a pen of a pixel and all patterns as a port has them.
class Recorder {
 public:
  // Begins a picture in the sink, in the space of the parameters' rectangle.
  Recorder(System& system, const OpenCPicParams& params, ByteSink& sink);
  ~Recorder();
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  void foreColor(const RGBColor& color);
  void backColor(const RGBColor& color);
  void penSize(Point size);
  void penMode(int mode);  // a pattern mode: patCopy is 8
  void penPattern(const PatternBits& bits);
  void backPattern(const PatternBits& bits);  // of erase
  void fillPattern(const PatternBits& bits);
  void font(int number, int size, std::uint8_t face = 0, int mode = 1);  // in points; srcOr is 1
  void clip(const Rect& rect);

  void line(Point from, Point to);
  void rect(Verb verb, const Rect& rect);
  void roundRect(Verb verb, const Rect& rect, Point ovalSize);
  void oval(Verb verb, const Rect& rect);
  void arc(Verb verb, const Rect& rect, int start, int arc);  // degrees, clockwise from twelve o'clock
  void polygon(Verb verb, std::span<const Point> points);     // not closed by a frame
  void text(Point at, std::string_view macRoman);             // on the baseline
  void image(const GWorld& world, const Rect& from, const Rect& to, int mode = 0);  // srcCopy is 0

  // The sink took no more: the command for which that happened and all after it are missing.
  bool isFull() const;
  // Ends the picture. True if all that was recorded is in it; it is whole in any case, unless nothing could be written.
  bool close();

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace qd
