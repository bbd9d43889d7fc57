#include "macpict/gallery.h"

#include <array>
#include <cstdio>
#include <functional>

#include "macpict/files.h"

namespace fs = std::filesystem;
using runtime::Object;
using runtime::Value;

namespace {

constexpr std::int32_t kBlack = 0x000000, kRed = 0xCC3311, kBlue = 0x0055AA, kGreen = 0x228833, kGold = 0xEEBB33,
                       kSky = 0xCCE4F7, kGrey = 0x808080;

// One recorder and short names for its methods.
class Pen {
 public:
  Pen(runtime::Host& host, Object recorder) : host_(host), recorder_(std::move(recorder)) {}

  void operator()(const std::string& method, const std::vector<Value>& arguments = {}) {
    host_.call(recorder_, method, arguments);
  }
  void set(const std::string& property, std::int32_t value) { host_.set(recorder_, property, value); }
  void color(std::int32_t rgb) { set("ForeColor", rgb); }
  void size(int width, int height) { (*this)("PenSize", {width, height}); }
  void text(const std::string& utf8, int x, int y) { (*this)("DrawString", {host_.string(utf8), x, y}); }
  int width(const std::string& utf8) {
    return std::get<std::int32_t>(host_.call(recorder_, "StringWidth", {host_.string(utf8)}));
  }
  void label(const std::string& utf8, int x, int y) {
    color(kBlack);
    set("TextFace", 0);
    set("TextSize", 10);
    text(utf8, x, y);
  }
  void polygon(const std::string& method, const std::vector<std::int32_t>& points) {
    (*this)(method, {host_.integers(points)});
  }
  const Object& recorder() const { return recorder_; }

 private:
  runtime::Host& host_;
  Object recorder_;
};

// Recorded pictures begin on an erased ground, so that they look alike wherever they are played.
void ground(Pen& pen, int width, int height) {
  pen("PenNormal");
  pen.set("TextMode", 1);
  pen("EraseRect", {0, 0, width, height});
}

void shapes(Pen& pen) {
  constexpr std::array<const char*, 4> kVerbs = {"Frame", "Paint", "Erase", "Invert"};
  constexpr std::array<const char*, 4> kShapes = {"Rect", "Oval", "RoundRect", "Arc"};
  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 4; ++column) {
      const int x = 12 + 92 * column;
      const int y = 20 + 78 * row;
      pen.label(std::string(kVerbs[static_cast<std::size_t>(column)]) + kShapes[static_cast<std::size_t>(row)], x,
                y - 6);
      if (column >= 2) {
        pen.color(kSky);
        pen("PaintRect", {x, y, 80, 54});
      }
      pen.color(column == 0 ? kBlue : kRed);
      pen.size(3, 3);
      std::vector<Value> arguments = {x + 5, y + 5, 70, 44};
      if (row == 2) arguments.insert(arguments.end(), {24, 18});
      if (row == 3) arguments.insert(arguments.end(), {45, 240});
      pen(std::string(kVerbs[static_cast<std::size_t>(column)]) + kShapes[static_cast<std::size_t>(row)], arguments);
    }
  }
}

void lines(Pen& pen) {
  pen.label("LineTo", 12, 14);
  pen.color(kBlue);
  for (int i = 0; i <= 10; ++i) {
    pen("MoveTo", {12, 24});
    pen("LineTo", {12 + 12 * i, 144});
    pen("MoveTo", {12, 24});
    pen("LineTo", {132, 24 + 12 * i});
  }
  pen.label("Drawline, pen 1x1 to 9x9", 160, 14);
  for (int i = 1; i <= 9; i += 2) {
    pen.size(i, i);
    pen.color(i % 4 == 1 ? kRed : kGreen);
    pen("Drawline", {160 + 11 * i, 24, 190 + 11 * i, 140});
  }
  pen.label("Move and Line", 12, 172);
  pen.color(kRed);
  pen.size(2, 6);
  pen("MoveTo", {12, 200});
  for (int i = 0; i < 6; ++i) {
    pen("Line", {20, i % 2 == 0 ? 20 : -20});
    pen("Move", {4, 0});
  }
  pen.size(1, 1);
  pen.color(kBlack);
  pen.label("ShowPen, HidePen", 190, 172);
  pen("MoveTo", {190, 210});
  pen("LineTo", {230, 210});
  pen("Move", {20, 0});
  pen("LineTo", {290, 210});
}

void polygons(Pen& pen) {
  const auto star = [](int x, int y) {
    return std::vector<std::int32_t>{x + 45, y, x + 72, y + 85, x, y + 32, x + 90, y + 32, x + 18, y + 85, x + 45, y};
  };
  constexpr std::array<const char*, 4> kMethods = {"FramePoly", "PaintPoly", "ErasePoly", "InvertPoly"};
  for (int i = 0; i < 4; ++i) {
    const int x = 12 + 104 * i;
    pen.label(kMethods[static_cast<std::size_t>(i)], x, 14);
    if (i >= 2) {
      pen.color(kGold);
      pen("PaintRect", {x - 4, 20, 98, 96});
    }
    pen.color(kBlue);
    pen.size(2, 2);
    pen.polygon(kMethods[static_cast<std::size_t>(i)], star(x, 25));
  }
  pen.label("open, framed", 12, 140);
  pen.color(kRed);
  pen.size(3, 3);
  pen.polygon("FramePoly", {12, 200, 40, 150, 70, 200, 100, 150});
  pen.label("open, painted: closed", 140, 140);
  pen.color(kGreen);
  pen.polygon("PaintPoly", {140, 200, 170, 150, 200, 200, 230, 150});
}

void text(Pen& pen) {
  struct Face {
    int bits;
    const char* name;
  };
  constexpr Face kFaces[] = {{0, "plain"},   {1, "bold"},      {2, "italic"},  {4, "underline"},  {8, "outline"},
                             {16, "shadow"}, {32, "condense"}, {64, "extend"}, {3, "bold italic"}};
  int y = 26;
  for (const Face& face : kFaces) {
    pen.color(kBlack);
    pen.set("TextSize", 18);
    pen.set("TextFace", face.bits);
    const std::string sample = std::string("QuickDraw ") + face.name;
    pen.text(sample, 12, y);
    const int width = pen.width(sample);
    pen.color(kRed);
    pen("Drawline", {12 + width, y - 14, 12 + width, y + 3});
    y += 26;
  }
  y = 20;
  for (const int size : {8, 9, 10, 12, 14, 18, 24, 36}) {
    pen.color(kBlue);
    pen.set("TextFace", 0);
    pen.set("TextSize", size);
    y += size / 2;
    pen.text("Äpfel ¢ œuvre", 240, y);
    y += size / 2 + 4;
  }
  pen.color(kGold);
  pen("PaintRect", {240, 208, 200, 30});
  constexpr std::array<const char*, 4> kModes = {"copy", "or", "xor", "bic"};
  for (int mode = 0; mode < 4; ++mode) {
    pen.color(kBlue);
    pen.set("TextSize", 18);
    pen.set("TextMode", mode);
    pen.text(kModes[static_cast<std::size_t>(mode)], 246 + 48 * mode, 230);
  }
  pen.set("TextMode", 1);
}

void colors(Pen& pen) {
  pen.label("ForeColor", 12, 14);
  for (int i = 0; i < 24; ++i) {
    const int level = 255 * i / 23;
    pen.color(level << 16 | (255 - level));
    pen("PaintRect", {12 + 10 * i, 20, 10, 30});
    pen.color(level << 8 | 0x400040);
    pen("PaintRect", {12 + 10 * i, 52, 10, 30});
    pen.color(level * 0x10101);
    pen("PaintRect", {12 + 10 * i, 84, 10, 30});
  }
  pen.label("BackColor and erasing", 12, 134);
  pen.set("BackColor", kGold);
  pen("EraseOval", {12, 140, 90, 60});
  pen.set("BackColor", 0xFFFFFF);
  pen.label("PenWidth 1 to 13, PenHeight 2", 130, 134);
  pen.size(1, 2);
  pen.color(kGreen);
  for (int i = 0; i < 7; ++i) {
    pen.set("PenWidth", 1 + 2 * i);
    pen("Drawline", {134 + 22 * i, 146, 134 + 22 * i, 196});
  }
}

// The same drawing for all depths: areas of colour, ramps and text.
void postcard(Pen& pen) {
  for (int i = 0; i < 32; ++i) {
    pen.color((255 - 3 * i) << 0 | (180 + 2 * i) << 8 | (100 + 4 * i) << 16);
    pen("PaintRect", {0, 2 * i, 120, 2});
  }
  pen.color(kGold);
  pen("PaintOval", {80, 8, 28, 28});
  pen.color(kGreen);
  pen.polygon("PaintPoly", {0, 90, 0, 62, 34, 40, 62, 66, 84, 52, 120, 78, 120, 90, 0, 90});
  pen.color(kRed);
  pen("PaintRoundRect", {12, 60, 40, 24, 10, 10});
  pen.color(0xFFFFFF);
  pen.set("TextSize", 12);
  pen.set("TextFace", 1);
  pen.text("PICT", 16, 77);
  pen.color(kBlack);
  pen.size(1, 1);
  pen("FrameRect", {0, 0, 120, 90});
}

class Gallery {
 public:
  Gallery(Session& session, fs::path folder) : session_(session), host_(session.host()), folder_(std::move(folder)) {}

  // Records, writes the PICT, reads it back into another recorder, and plays that.
  void record(const std::string& name, int width, int height, const std::function<void(Pen&)>& draw) {
    Pen pen(host_, session_.record(width, height));
    ground(pen, width, height);
    draw(pen);
    pen("ClosePicture");
    const std::string bytes = session_.bytesOf(pen.recorder());
    writePicture(folder_ / (name + ".pict"), bytes);
    const Object again = session_.recorderWith(readPicture(folder_ / (name + ".pict")));
    const Object picture = session_.picture(width, height);
    session_.play(again, picture, 0, 0, width, height);
    show(name, picture,
         std::to_string(bytes.size()) + " bytes of PICT, played at " + std::to_string(width) + "x" +
             std::to_string(height));
  }

  void show(const std::string& name, const Object& picture, const std::string& what) {
    writePNG(folder_ / (name + ".png"), session_.imageOf(picture));
    std::printf("%-16s %s\n", (name + ".png").c_str(), what.c_str());
  }

  Object postcardPicture(int width = 120, int height = 90) {
    Pen pen(host_, session_.record(120, 90));
    ground(pen, 120, 90);
    postcard(pen);
    pen("ClosePicture");
    Object picture = session_.picture(width, height);
    session_.play(pen.recorder(), picture, 0, 0, width, height);
    return picture;
  }

  void captions(const Object& sheet, const std::vector<std::tuple<std::string, int, int>>& texts) {
    const auto [width, height] = session_.sizeOf(sheet);
    Pen pen(host_, session_.record(width, height));
    for (const auto& [text, x, y] : texts) pen.label(text, x, y);
    pen("ClosePicture");
    session_.play(pen.recorder(), sheet, 0, 0, width, height);
  }

  void invertAndScroll() {
    const Object sheet = session_.picture(430, 220);
    const Object card = postcardPicture();
    for (int i = 0; i < 3; ++i) session_.copy(card, sheet, 12 + 136 * i, 20);
    for (int i = 0; i < 2; ++i) session_.copy(card, sheet, 12 + 136 * i, 126);
    const Object graphics = host_.graphicsOf(sheet);
    host_.call(graphics, "InvertRectTVK", {32, 40, 80, 50});
    host_.call(graphics, "InvertOvalTVK", {158, 30, 100, 70});
    host_.call(graphics, "InvertArcTVK", {294, 30, 100, 70, 0, 135});
    host_.call(graphics, "ScrollTVK", {12, 126, 120, 90, 30, 20});
    host_.call(graphics, "ClearRoundRectTVK", {168, 136, 60, 40, 20, 20});
    captions(sheet, {{"InvertRectTVK", 12, 14},
                     {"InvertOvalTVK", 148, 14},
                     {"InvertArcTVK", 284, 14},
                     {"ScrollTVK by 30, 20", 12, 122},
                     {"ClearRoundRectTVK", 148, 122}});
    show("invert-scroll", sheet, "inverts, clears and scrolls parts of a picture");
  }

  void copies() {
    const Object sheet = session_.picture(560, 240);
    const Object card = postcardPicture();
    host_.call(sheet, "DrawPictureTVK", {card, 0, 0, 120, 90, 12, 20, 120, 90, 0});
    host_.call(sheet, "DrawPictureTVK", {card, 0, 0, 120, 90, 144, 20, 60, 45, 0});
    host_.call(sheet, "DrawPictureTVK", {card, 0, 0, 120, 90, 216, 20, 240, 180, 0});
    host_.call(sheet, "DrawPictureTVK", {card, 76, 4, 36, 36, 12, 130, 90, 90, 0});
    host_.call(sheet, "DrawPictureTVK", {card, 0, 0, 120, 90, 468, 20, 60, 200, 4});
    captions(sheet,
             {{"1:1", 12, 14}, {"1:2", 144, 14}, {"2:1", 216, 14}, {"a part", 12, 126}, {"notSrcCopy", 468, 14}});
    show("stretch-copy", sheet, "copies with DrawPictureTVK, stretched and shrunk");
  }

  void maskedCopies() {
    const Object sheet = session_.picture(420, 150);
    const Object card = postcardPicture();
    Pen pen(host_, session_.record(120, 90));
    ground(pen, 120, 90);
    pen("PaintOval", {10, 5, 100, 80});
    pen("ClosePicture");
    const Object hard = session_.picture(120, 90, 1, false);
    session_.play(pen.recorder(), hard, 0, 0, 120, 90);
    const Object soft = session_.picture(120, 90);
    Pen ramp(host_, session_.record(120, 90));
    for (int x = 0; x < 120; ++x) {
      ramp.color(255 * x / 119 * 0x10101);
      ramp("PaintRect", {x, 0, 1, 90});
    }
    ramp("ClosePicture");
    session_.play(ramp.recorder(), soft, 0, 0, 120, 90);
    const Object stripes = host_.graphicsOf(sheet);
    for (int i = 0; i < 14; ++i) host_.call(stripes, "InvertRectTVK", {i * 30, 20, 15, 100});
    host_.call(sheet, "DrawPictureMaskTVK", {card, hard, 0, 0, 120, 90, 12, 26, 120, 90});
    host_.call(sheet, "DrawPictureMaskTVK", {card, soft, 0, 0, 120, 90, 148, 26, 120, 90});
    host_.call(sheet, "DrawPictureMaskTVK", {card, hard, 0, 0, 120, 90, 284, 26, 120, 45});
    captions(sheet, {{"one-bit mask", 12, 14}, {"grey mask", 148, 14}, {"shrunk", 284, 14}});
    show("masked-copy", sheet, "copies with DrawPictureMaskTVK");
  }

  void depths() {
    constexpr std::array<int, 6> kDepths = {1, 2, 4, 8, 16, 32};
    const Object sheet = session_.picture(12 + 132 * 6, 240);
    Pen pen(host_, session_.record(120, 90));
    ground(pen, 120, 90);
    postcard(pen);
    pen("ClosePicture");
    std::vector<std::tuple<std::string, int, int>> labels;
    for (std::size_t i = 0; i < kDepths.size(); ++i) {
      for (const bool isGray : {false, true}) {
        const Object picture = session_.picture(120, 90, kDepths[i], isGray);
        session_.play(pen.recorder(), picture, 0, 0, 120, 90);
        const int x = 12 + 132 * static_cast<int>(i);
        const int y = isGray ? 136 : 20;
        session_.copy(picture, sheet, x, y);
        labels.emplace_back((isGray ? "gray, " : "color, ") + std::to_string(kDepths[i]), x, y - 6);
      }
    }
    captions(sheet, labels);
    show("depths", sheet, "the same picture at each depth, in the colour and the gray tables");
  }

  void exported() {
    const Object sheet = session_.picture(280, 130);
    const Object card = postcardPicture();
    session_.copy(card, sheet, 12, 20);
    const Value bytes = host_.get(card, "PicHandleDataTVK");
    const std::string pict(runtime::bytesOf(std::get<runtime::String>(bytes).get()));
    writePicture(folder_ / "export.pict", pict);
    session_.play(session_.recorderWith(pict), sheet, 148, 20, 120, 90);
    captions(sheet, {{"the picture", 12, 14}, {"its PICT, played", 148, 14}});
    show("export", sheet,
         std::to_string(pict.size()) + " bytes of PICT from PicHandleDataTVK, played beside the picture");
  }

  // One bits opcode and nothing else, at each depth.
  void bits() {
    for (const int depth : {1, 2, 4, 8, 16, 32}) {
      const Object picture = session_.picture(126, 90, depth, false);
      session_.copy(postcardPicture(126, 90), picture, 0, 0);
      const std::string name = "bits-" + std::to_string(depth);
      const Value bytes = host_.get(picture, "PicHandleDataTVK");
      const std::string pict(runtime::bytesOf(std::get<runtime::String>(bytes).get()));
      writePicture(folder_ / (name + ".pict"), pict);
      show(name, picture,
           std::to_string(pict.size()) + " bytes of PICT that hold the pixels of a picture of that depth");
    }
  }

  void demo() {
    Pen everything(host_, session_.record(384, 580));
    ground(everything, 384, 580);
    shapes(everything);
    everything.color(kGrey);
    everything("MoveTo", {12, 340});
    everything("LineTo", {372, 340});
    everything("Move", {0, 6});
    everything("Line", {-360, 0});
    everything.color(kBlue);
    for (int i = 0; i <= 24; ++i) everything("Drawline", {12 + 15 * i, 560, 372 - 15 * i, 360});
    everything("ClosePicture");
    const std::string bytes = session_.bytesOf(everything.recorder());
    writePicture(folder_ / "demo.pict", bytes);
    std::printf("%-16s %zu bytes of PICT: every shape and line method\n", "demo.pict", bytes.size());
    const Object again = session_.recorderWith(bytes);
    for (const auto& [name, scale] : {std::pair("demo", 1), {"demo-double", 2}}) {
      const Object picture = session_.picture(384 * scale, 580 * scale);
      session_.play(again, picture, 0, 0, 384 * scale, 580 * scale);
      show(name, picture,
           "demo.pict, read back and played at " + std::to_string(384 * scale) + "x" + std::to_string(580 * scale));
    }
  }

 private:
  Session& session_;
  runtime::Host& host_;
  fs::path folder_;
};

}  // namespace

void writeGallery(Session& session, const fs::path& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  if (error) throw runtime::Error("\"" + folder.string() + "\" can't be made: " + error.message() + ".");
  Gallery gallery(session, folder);
  gallery.demo();
  gallery.record("shapes", 384, 330, shapes);
  gallery.record("lines", 320, 240, lines);
  gallery.record("polygons", 430, 220, polygons);
  gallery.record("text", 490, 270, text);
  gallery.record("pen-colors", 300, 210, colors);
  gallery.invertAndScroll();
  gallery.copies();
  gallery.maskedCopies();
  gallery.depths();
  gallery.exported();
  gallery.bits();
}
