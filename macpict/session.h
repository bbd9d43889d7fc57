// The program as a host: one plug-in loaded, and what host code does with it, all through registered rows.
#pragma once

#include "macpict/png.h"
#include "platform/runtime/host.h"

class Session {
 public:
  Session();

  runtime::Host& host() { return host_; }

  // A recorder with an open picture, or with a finished one from bytes.
  runtime::Object record(int width, int height);
  runtime::Object recorderWith(std::string_view picture);
  // The bytes of a recorder's picture.
  std::string bytesOf(const runtime::Object& recorder);

  // A white picture of 32 bits, or of a depth by the plug-in's factories.
  runtime::Object picture(int width, int height);
  runtime::Object picture(int width, int height, int depth, bool isGray);
  // Plays what a recorder holds into a picture, or a part of it.
  void play(const runtime::Object& recorder, const runtime::Object& picture, int x, int y, int width, int height);
  // Copies one picture onto another.
  void copy(const runtime::Object& from, const runtime::Object& to, int x, int y);
  struct Size {
    int width, height;
  };
  static Size sizeOf(const runtime::Object& picture);
  Image imageOf(const runtime::Object& picture);

 private:
  runtime::Host host_;
};
