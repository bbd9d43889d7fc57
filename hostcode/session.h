// The program as a host: one plug-in loaded, and what host code does with it, all through registered rows.
#pragma once

#include <filesystem>

#include "hostcode/options.h"
#include "platform/language/evaluator.h"
#include "platform/runtime/host.h"
#include "tools/image.h"
#include "tools/playing.h"

// A file or folder of those that come with the program.
std::filesystem::path installed(const char* name);

class Session {
 public:
  explicit Session(double hostVersion = kLatestHost);

  runtime::Host& host() { return host_; }
  // Throws where the plug-in finds no QuickDraw, without which nothing is drawn.
  static void requireQuickDraw();

  // A recorder with a finished picture from bytes.
  runtime::Object recorderWith(std::string_view picture);
  // A white picture of the host's own.
  runtime::Object picture(int width, int height);
  // Plays what a recorder holds into a picture, or a part of it.
  void play(const runtime::Object& recorder, const runtime::Object& picture, int x, int y, int width, int height);
  // Plays a PICT into a picture of its size, or a smaller one of at most so many pixels a side. Throws, with the name
  // in the sentence, for what is empty or broken.
  runtime::Object played(const std::string& name, const std::string& pict, int most = kMostSide);
  // Copies one picture onto another.
  void copy(const runtime::Object& from, const runtime::Object& to, int x, int y);
  struct Size {
    int width, height;
  };
  static Size sizeOf(const runtime::Object& picture);
  Image imageOf(const runtime::Object& picture);
  // The bytes of a picture's PICT; none where there is no memory for it.
  std::string exported(const runtime::Object& picture);

  // Host code saves and opens files in a folder: a .png shows a picture or the bytes of a PICT, a .pict or .pct holds
  // them, and any other file holds bytes as they are.
  language::Surroundings surroundings(const std::filesystem::path& folder);

 private:
  void save(const runtime::Value& value, const std::filesystem::path& path);

  runtime::Host host_;
};
