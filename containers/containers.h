// The pictures (PICT) in other files: resource forks and what carries them, archives, documents of office programs.
//
//   const containers::Contents contents = containers::picturesIn(file);
//   for (const containers::Found& found : contents.pictures) ...  // a PICT each, without 512 bytes in front
//   for (const std::string& note : contents.notes) ...            // a sentence about each part that can't be read
//
// Whatever the bytes are, what is whole in them is found, within limits; without memory std::bad_alloc comes through.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "qdraw/qdraw.h"

namespace containers {

using qd::Bytes;

// What bytes are, in words: "a PNG file", and what would help a person who wanted a picture of it, if anything.
struct Kind {
  std::string_view what;
  std::string_view help = {};
  std::string_view ending = {};  // of a file's name, for images alone
};
Kind kindOf(Bytes file);
// Whether bytes are a PICT file themselves, with or without 512 bytes in front.
bool isPicture(Bytes file);

struct Found {
  std::string place;  // "#128" in a fork, "ppt/media/image1.pict" in an archive, "@4711" where bytes were searched;
                      // empty where the file is the picture, or does no more than wrap it
  std::string title;  // of a resource that has a name
  std::vector<std::uint8_t> picture;

  std::string name() const { return title.empty() ? place : place + " " + title; }
};

struct Contents {
  Kind kind;                    // of the file
  std::vector<Found> pictures;  // in the order in which they lie
  std::vector<std::string> notes;
};

// A small file may say that it holds much, and much of the same.
struct Limits {
  int depth = 6;                                 // of containers in containers
  std::uint64_t bytes = std::uint64_t{1} << 30;  // that are unpacked or copied
  std::size_t pictures = 10000;
  std::size_t notes = 20;
};

// With `isSearching`, bytes in which nothing is found by their form are searched for pictures anywhere in them.
Contents picturesIn(Bytes file, bool isSearching = false, const Limits& limits = {});

// Names for files made of what was found: "icons#128", "slides-ppt-media-image1", without an ending. They are of one
// folder, never hidden, and none is given twice.
class FileNames {
 public:
  std::string of(const std::string& file, const Found& found);

 private:
  std::set<std::string> given_;
};

}  // namespace containers
