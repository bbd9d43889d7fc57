#include "containers/containers.h"

#include <algorithm>

#include "containers/finder.h"

namespace containers {
namespace {

constexpr Container kContainers[] = {
    {{"a file packed by gzip"}, isGzip, openGzip},
    {{"a zip archive, or a document in one"}, isZip, openZip},
    {{"a document of an older office program"}, isCompoundFile, openCompoundFile},
    {{"an AppleSingle file"}, isAppleSingle, openAppleFile},
    {{"an AppleDouble file"}, isAppleDouble, openAppleFile},
    {{"a MacBinary file"}, isMacBinary, openMacBinary},
    {{"a resource fork"}, isResourceFork, openResourceFork},
};

}  // namespace

const Container* containerOf(Bytes file) {
  const auto* const row = std::ranges::find_if(kContainers, [file](const Container& each) { return each.holds(file); });
  return row != std::end(kContainers) ? row : nullptr;
}

bool isPicture(Bytes file) { return containerOf(file) == nullptr && qd::pictureInFile(file).has_value(); }

Kind kindOf(Bytes file) {
  if (const Container* const container = containerOf(file)) return container->kind;
  if (isPicture(file)) return {"a PICT file"};
  if (const Kind* const kind = knownKind(file)) return *kind;
  return {"of no kind that is known here"};
}

void Finder::look(Bytes bytes, const std::string& place) {
  if (const Container* const container = containerOf(bytes)) return lookAs(container->open, bytes, place);
  lookAs(
      [](Bytes file, const std::string& at, Finder& finder) {
        if (const auto picture = qd::pictureInFile(file)) finder.found(at, "", *picture);
      },
      bytes, place);
}

void Finder::lookAs(Open open, Bytes bytes, const std::string& place) {
  if (isFull_) return;
  if (depth_ > limits_.depth) {
    return note(place, "It lies in " + std::to_string(limits_.depth) +
                           " containers, one in the other, and isn't looked into; unpacked by hand it would be.");
  }
  const std::size_t before = count();
  ++depth_;
  open(bytes, place, *this);
  --depth_;
  if (isSearching_ && count() == before) search(bytes, place, *this);
}

bool Finder::isFull(bool isTooMuch, const std::string& sentence) {
  if (isTooMuch && !isFull_) note("", sentence);
  isFull_ |= isTooMuch;
  return isFull_;
}

bool Finder::found(const std::string& place, const std::string& title, Bytes picture) {
  if (isFull(count() >= limits_.pictures, "There are more than " + std::to_string(limits_.pictures) +
                                              " pictures, and those after them are left out."))
    return false;
  Found one = {place, title, {}};
  if (!unpack(one.picture, picture)) return false;
  contents_.pictures.push_back(std::move(one));
  return true;
}

bool Finder::unpack(Buffer& to, Bytes more) {
  bytes_ += more.size();
  if (isFull(bytes_ > limits_.bytes, "What lies in it is more than " + std::to_string(limits_.bytes) +
                                         " bytes, and the rest is left out; in smaller parts it would be read."))
    return false;
  to.insert(to.end(), more.begin(), more.end());
  return true;
}

void Finder::note(const std::string& place, const std::string& sentence) {
  if (contents_.notes.size() == limits_.notes) {
    ++untold_;
    return;
  }
  contents_.notes.push_back(place.empty() ? sentence : place + ": " + sentence);
}

Contents Finder::take() {
  if (untold_ > 0) contents_.notes.push_back("More like this is not told, " + std::to_string(untold_) + " times.");
  return std::move(contents_);
}

Contents picturesIn(Bytes file, bool isSearching, const Limits& limits) {
  Finder finder(isSearching, limits);
  finder.look(file, "");
  Contents contents = finder.take();
  contents.kind = kindOf(file);
  return contents;
}

}  // namespace containers
