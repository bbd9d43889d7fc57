// gallery: the examples of the reference with their pictures, and sample files, on one page.
#include <cstdio>

#include "hostcode/commands.h"
#include "hostcode/examples.h"
#include "tools/failure.h"
#include "tools/files.h"
#include "tools/png.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* kHead =
    "<!DOCTYPE html>\n<html lang=\"en\">\n<meta charset=\"utf-8\">\n<title>QuickDraw pictures from host code</title>\n"
    "<style>\n"
    "body { font: 16px/1.5 system-ui, sans-serif; max-width: 70rem; margin: 2rem auto; padding: 0 1rem; color: #222; "
    "}\n"
    "section { display: grid; grid-template-columns: minmax(0, 1fr) minmax(0, 1fr); gap: 1rem; margin: 2rem 0; }\n"
    "h1, h2, h3, figcaption { font-weight: 600; } h3 { grid-column: 1 / -1; margin: 0; }\n"
    "pre { background: #f4f4f0; padding: 1rem; overflow: auto; margin: 0 0 1rem; font-size: 13px; line-height: 1.4; "
    "align-self: start; }\n"
    "figure { margin: 0 1rem 1rem 0; display: inline-block; } img { max-width: 100%; border: 1px solid #ccc; "
    "image-rendering: pixelated; }\n"
    "</style>\n"
    "<h1>QuickDraw pictures from host code</h1>\n";

std::string escaped(const std::string& text) {
  std::string html;
  for (const char c : text) {
    html += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '"' ? "&quot;" : std::string(1, c);
  }
  return html;
}

std::string base64(std::string_view bytes) {
  constexpr const char* kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    std::uint32_t group = 0;
    for (std::size_t j = i; j < i + 3; ++j)
      group = group << 8 | (j < bytes.size() ? static_cast<std::uint8_t>(bytes[j]) : 0);
    for (std::size_t j = 0; j < 4; ++j) text += i + j > bytes.size() ? '=' : kDigits[group >> (18 - 6 * j) & 63];
  }
  return text;
}

std::string figure(const fs::path& png, const std::string& caption) {
  return "<figure><img alt=\"" + escaped(caption) + "\" src=\"data:image/png;base64," + base64(readFile(png)) +
         "\"><figcaption>" + escaped(caption) + "</figcaption></figure>\n";
}

std::string sectionOf(const Example& example, const fs::path& folder) {
  std::string html =
      "<section>\n<h3>" + escaped(example.title) + "</h3>\n<pre>" + escaped(example.code) + "</pre>\n<div>\n";
  for (const std::string& name : example.saved) {
    if (name.ends_with(".png")) html += figure(folder / name, name);
  }
  std::string printed;
  for (const std::string& line : example.printed) printed += escaped(line) + "\n";
  if (!printed.empty()) html += "<pre>" + printed + "</pre>\n";
  return html + "</div>\n</section>\n";
}

// A sample is played at its size, or smaller where it is very large.
std::string sampleOf(Session& session, const fs::path& file, const fs::path& folder) {
  const runtime::Object canvas = session.played("The picture \"" + file.string() + "\"", readPicture(file), kMostShown);
  const fs::path png = folder / ("sample-" + file.stem().string() + ".png");
  writePNG(png, session.imageOf(canvas));
  return figure(png, file.filename().string());
}

}  // namespace

Status makeGallery(const GalleryOptions& options) {
  const fs::path folder = options.folder;
  makeFolder(folder);
  Session session;
  session.requireQuickDraw();
  std::string html = kHead, page;
  for (Example& example : readExamples()) {
    runExample(session, example, folder);
    if (example.page != page) html += "<h2>" + escaped(fs::path(page = example.page).stem().string()) + "</h2>\n";
    html += sectionOf(example, folder);
    for (const std::string& name : example.saved) std::printf("%-20s %s\n", name.c_str(), example.title.c_str());
  }
  Status status = kDone;
  if (!options.samples.empty()) html += "<h2>Samples</h2>\n";
  for (const fs::path sample : options.samples) {
    try {
      html += workOn(sample.string(), [&] { return sampleOf(session, sample, folder); });
    } catch (const Failure& error) {
      complain(error.what());
      status = kFailed;
    }
  }
  writeFile(folder / "index.html", html + "</html>\n");
  std::printf("%-20s all of them on one page\n", "index.html");
  return status;
}
