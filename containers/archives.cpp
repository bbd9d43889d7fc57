// What is packed: by gzip, or in a zip with other things.
#include <archive.h>
#include <archive_entry.h>
#include <zlib.h>

#include <algorithm>
#include <limits>
#include <memory>

#include "containers/finder.h"
#include "engine/loaded.h"

namespace containers {
namespace {

struct Inflation {
  z_stream stream = {};
  bool isOpen;

  explicit Inflation(Packing packing) : isOpen(inflateInit2(&stream, static_cast<int>(packing)) == Z_OK) {
    if (!isOpen) throw std::bad_alloc();
  }
  Inflation(const Inflation&) = delete;
  Inflation& operator=(const Inflation&) = delete;
  ~Inflation() { inflateEnd(&stream); }
};

}  // namespace

bool inflate(Bytes packed, Packing packing, Buffer& to, Finder& finder) {
  Inflation inflation(packing);
  z_stream& stream = inflation.stream;
  stream.next_in = const_cast<Bytef*>(packed.data());
  stream.avail_in = static_cast<uInt>(std::min<std::size_t>(packed.size(), std::numeric_limits<uInt>::max()));
  Buffer part(1 << 16);
  for (int result = Z_OK; result != Z_STREAM_END;) {
    stream.next_out = part.data();
    stream.avail_out = static_cast<uInt>(part.size());
    result = ::inflate(&stream, Z_NO_FLUSH);
    const std::size_t count = part.size() - stream.avail_out;
    if (!finder.unpack(to, Bytes(part).first(count))) return false;
    if (result == Z_MEM_ERROR) throw std::bad_alloc();
    if (result != Z_OK && result != Z_STREAM_END) return false;
    // Another may come right after one.
    if (result == Z_STREAM_END && packing == Packing::gzip && isGzip({stream.next_in, stream.avail_in}))
      result = inflateReset(&stream);
  }
  return true;
}

bool isGzip(Bytes file) { return hasAt(file, 0, "\x1F\x8B\x08"); }

void openGzip(Bytes file, const std::string& place, Finder& finder) {
  Buffer unpacked;
  if (!inflate(file, Packing::gzip, unpacked, finder) && !finder.isFull())
    finder.note(place, "What gzip packed is damaged or cut off after " + std::to_string(unpacked.size()) + " bytes.");
  finder.look(unpacked, place);
}

// ---- zip

namespace {

// Loaded when there is a zip.
struct LibArchive : qd::LoadedLibrary {
  LibArchive() : LoadedLibrary(LIBARCHIVE) {}

  LOADED(archive_read_new);
  LOADED(archive_read_free);
  LOADED(archive_read_support_format_zip);
  LOADED(archive_read_open_memory);
  LOADED(archive_read_next_header);
  LOADED(archive_read_data);
  LOADED(archive_error_string);
  LOADED(archive_entry_pathname);
  LOADED(archive_entry_pathname_utf8);
};

// Reads an entry up to its end; less if it is nothing to look into. False if it is damaged.
bool readEntry(const LibArchive& library, archive* zip, Buffer& to, Finder& finder) {
  Buffer part(1 << 16);
  for (;;) {
    const la_ssize_t count = library.archive_read_data(zip, part.data(), part.size());
    if (count == 0) return true;
    if (count < 0) return false;
    const Bytes more = Bytes(part).first(static_cast<std::size_t>(count));
    // The films and photographs of a document are passed over unread.
    if (to.empty() && !finder.isSearching() && containerOf(more) == nullptr && !isPicture(more) &&
        knownKind(more) != nullptr)
      return true;
    if (!finder.unpack(to, more)) return true;
  }
}

}  // namespace

bool isZip(Bytes file) { return hasAt(file, 0, "PK\3\4"); }

void openZip(Bytes file, const std::string& place, Finder& finder) {
  const LibArchive* const library = qd::LoadedLibrary::get<LibArchive>();
  if (library == nullptr) return finder.note(place, "A zip is read by libarchive, and " LIBARCHIVE " isn't there.");
  const std::unique_ptr<archive, decltype(LibArchive::archive_read_free)> zip(library->archive_read_new(),
                                                                              library->archive_read_free);
  if (zip == nullptr) throw std::bad_alloc();
  library->archive_read_support_format_zip(zip.get());
  const auto why = [&] {
    const char* const words = library->archive_error_string(zip.get());
    return shown(words != nullptr ? words : "no reason is given");
  };
  int result = library->archive_read_open_memory(zip.get(), file.data(), file.size());
  while (result >= ARCHIVE_WARN && !finder.isFull()) {
    archive_entry* entry = nullptr;
    result = library->archive_read_next_header(zip.get(), &entry);
    if (result == ARCHIVE_EOF) return;
    if (result < ARCHIVE_WARN) break;
    const char* path = library->archive_entry_pathname_utf8(entry);
    if (path == nullptr) path = library->archive_entry_pathname(entry);
    const std::string name = pathIn(place, path != nullptr ? path : "");
    Buffer unpacked;
    if (!readEntry(*library, zip.get(), unpacked, finder))
      finder.note(name, "It is damaged in the zip, or kept by a password: " + why() + ".");
    finder.look(unpacked, name);
  }
  if (result < ARCHIVE_WARN)
    finder.note(place, "The zip is damaged, and what comes next in it is left out: " + why() + ".");
}

}  // namespace containers
