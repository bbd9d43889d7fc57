#include "tools/files.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

#include "qdraw/qdraw.h"
#include "tools/failure.h"

namespace fs = std::filesystem;

qd::Bytes asBytes(std::string_view text) { return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}; }

std::string readFile(const fs::path& path) {
  std::error_code error;
  if (fs::is_directory(path, error)) throw Failure("\"" + path.string() + "\" is a folder, not a file.");
  std::ifstream in(path, std::ios::binary);
  if (!in) throw Failure("\"" + path.string() + "\" can't be read: " + std::strerror(errno) + ".");
  const auto size = fs::is_regular_file(path, error) ? fs::file_size(path, error) : 0;
  if (error || size == 0) return {std::istreambuf_iterator<char>(in), {}};  // a pipe has no size
  std::string bytes(static_cast<std::size_t>(size), '\0');
  in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<std::size_t>(in.gcount()));
  return bytes;
}

void writeFile(const fs::path& path, std::string_view bytes) {
  fs::path half = path;
  half += ".part";
  std::ofstream out(half, std::ios::binary);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  out.close();
  std::error_code error;
  if (out) fs::rename(half, path, error);
  if (!out || error) {
    const std::string why = error ? error.message() : std::strerror(errno);
    fs::remove(half, error);
    throw Failure("\"" + path.string() + "\" can't be written: " + why + ".");
  }
}

void makeFolder(const fs::path& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  if (error) throw Failure("\"" + folder.string() + "\" can't be made: " + error.message() + ".");
}

// The file's own memory is kept: there are large pictures.
bool cutToPicture(std::string& file) {
  const auto picture = qd::pictureInFile(asBytes(file));
  if (!picture) return false;
  const auto begin = static_cast<std::size_t>(picture->data() - asBytes(file).data());
  file.resize(begin + picture->size());
  file.erase(0, begin);
  return true;
}

std::string readPictureFile(const fs::path& path) {
  std::string file = readFile(path);
  if (!qd::pictureInFile(asBytes(file))) {
    throw Failure("\"" + path.string() +
                  "\" is no PICT file: no picture begins in it, at its start or after 512 bytes.");
  }
  return file;
}

std::string readPicture(const fs::path& path) {
  std::string file = readPictureFile(path);
  cutToPicture(file);
  return file;
}

void writePicture(const fs::path& path, std::string_view picture) {
  writeFile(path, std::string(qd::kFileHeader, '\0').append(picture));
}
