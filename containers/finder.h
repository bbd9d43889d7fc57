// Looks into bytes, and into what lies in them, and keeps what it finds.
#pragma once

#include "containers/containers.h"
#include "containers/cursor.h"

namespace containers {

class Finder;
using Open = void (*)(Bytes file, const std::string& place, Finder& finder);

class Finder {
 public:
  Finder(bool isSearching, const Limits& limits) : isSearching_(isSearching), limits_(limits) {}

  // Finds what is in bytes; names of what lies in them begin with their place.
  void look(Bytes bytes, const std::string& place);
  // The same where it is known what they are.
  void lookAs(Open open, Bytes bytes, const std::string& place);
  // Takes a picture; false if no more are taken.
  bool found(const std::string& place, const std::string& title, Bytes picture);
  // Adds bytes to those that are unpacked; false if no more may be.
  bool unpack(Buffer& to, Bytes more);
  // A sentence on what lies at that place.
  void note(const std::string& place, const std::string& sentence);

  bool isSearching() const { return isSearching_; }
  std::size_t count() const { return contents_.pictures.size(); }
  // Whether there was more than the limits allow; then nothing more is taken.
  bool isFull() const { return isFull_; }

  Contents take();

 private:
  bool isFull(bool isTooMuch, const std::string& sentence);

  bool isSearching_;
  Limits limits_;
  Contents contents_;
  int depth_ = 0;
  std::uint64_t bytes_ = 0;
  std::size_t untold_ = 0;
  bool isFull_ = false;
};

// A text from elsewhere as a part of names and sentences: what controls a terminal or is no UTF-8 becomes "?".
std::string shown(std::string_view text);
// The path of something in an archive, without what would lead out of a folder.
std::string pathIn(const std::string& place, std::string_view path);
// What a note on damage ends in.
inline constexpr std::string_view kSearchHelps = "macpict extract --search may find more";
// "3 of 5 bytes".
std::string ofBytes(std::uint64_t there, std::uint64_t told);

// What containers are known, each by what holds in its bytes. Opening tells the finder what is inside.
struct Container {
  Kind kind;
  bool (*holds)(Bytes file);
  Open open;
};
const Container* containerOf(Bytes file);
// What bytes are that are neither a picture nor a container; nothing if they are nothing that is known.
const Kind* knownKind(Bytes file);

// What comes out of packed bytes, as far as they are whole and it is taken. False if that isn't all. The values are
// zlib's.
enum class Packing { zlib = 15, gzip = 15 + 16 };
bool inflate(Bytes packed, Packing packing, Buffer& to, Finder& finder);

// An offset in bytes says where each was found.
void search(Bytes bytes, const std::string& place, Finder& finder);

bool isAppleSingle(Bytes file);
bool isAppleDouble(Bytes file);
void openAppleFile(Bytes file, const std::string& place, Finder& finder);
bool isMacBinary(Bytes file);
void openMacBinary(Bytes file, const std::string& place, Finder& finder);
bool isResourceFork(Bytes file);
void openResourceFork(Bytes file, const std::string& place, Finder& finder);

bool isGzip(Bytes file);
void openGzip(Bytes file, const std::string& place, Finder& finder);
bool isZip(Bytes file);
void openZip(Bytes file, const std::string& place, Finder& finder);
bool isCompoundFile(Bytes file);
void openCompoundFile(Bytes file, const std::string& place, Finder& finder);

}  // namespace containers
