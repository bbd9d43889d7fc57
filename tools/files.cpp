#include "tools/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "qdraw/qdraw.h"
#include "tools/failure.h"
#include "tools/output.h"

namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t kMostUnsized = 256 << 20;  // of what doesn't say how much comes, and may never end

class Input {
 public:
  // Takes an open file over.
  Input(int file, std::string name, std::uint64_t most) : file_(file), name_(std::move(name)), most_(most) {
    if (file_ < 0) fail(std::strerror(errno));
  }
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;
  ~Input() { close(file_); }

  std::string read() {
    struct stat status = {};
    if (fstat(file_, &status) != 0) fail(std::strerror(errno));
    if (S_ISDIR(status.st_mode)) throw Failure(name_ + " is a folder, not a file.");
    const auto size = static_cast<std::uint64_t>(status.st_size);
    // Some of the system's own files say that they are empty.
    if (!S_ISREG(status.st_mode) || size == 0) return readUnsized();
    if (size > most_) {
      fail("it has " + std::to_string(size) + " bytes, and " + std::to_string(most_) +
           " are the most that a file may have");
    }
    std::string bytes(static_cast<std::size_t>(size), '\0');
    const std::size_t count = fill(bytes, 0);
    if (count < bytes.size()) {
      fail("it became shorter meanwhile, " + std::to_string(count) + " bytes in place of " +
           std::to_string(bytes.size()) + "; reading it again would work");
    }
    return bytes;
  }

 private:
  [[noreturn]] void fail(const std::string& why) const { throw Failure(name_ + " can't be read: " + why + "."); }

  // Reads from there on till the bytes are full or nothing comes any more; gives where that is.
  std::size_t fill(std::string& bytes, std::size_t at) {
    while (at < bytes.size()) {
      const ssize_t count = ::read(file_, bytes.data() + at, bytes.size() - at);
      if (count == 0) break;
      if (count < 0 && errno != EINTR) fail(std::strerror(errno));
      if (count > 0) at += static_cast<std::size_t>(count);
    }
    return at;
  }

  std::string readUnsized() {
    constexpr std::size_t kFirst = 1 << 16;
    const auto most = static_cast<std::size_t>(std::min(most_, kMostUnsized));
    std::string bytes(kFirst, '\0');
    std::size_t count = fill(bytes, 0);
    while (count == bytes.size()) {
      if (count > most) {
        fail("it goes on after " + std::to_string(most) + " bytes, the most that " +
             (most < kMostUnsized ? "a file may have"
                                  : "are taken of what tells no size; a file with all of them would work"));
      }
      bytes.resize(std::min(2 * count, most + 1));
      count = fill(bytes, count);
    }
    bytes.resize(count);
    return bytes;
  }

  int file_;
  std::string name_;
  std::uint64_t most_;
};

}  // namespace

qd::Bytes asBytes(std::string_view text) { return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}; }
std::string_view asText(qd::Bytes bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }

std::string readFile(const fs::path& path, std::uint64_t most) {
  return Input(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY), "\"" + path.string() + "\"", most).read();
}

std::string readStandardInput() {
  return Input(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0), "Standard input", kMostBytes).read();
}

void writeFile(const fs::path& path, std::string_view bytes) {
  OutputFile file(path);
  file.write(bytes);
  file.commit();
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

std::string readPicture(const fs::path& path) {
  std::string file = readFile(path);
  if (!cutToPicture(file)) {
    throw Failure("\"" + path.string() +
                  "\" is no PICT file: no picture begins in it, at its start or after 512 bytes.");
  }
  return file;
}

void writePicture(const fs::path& path, std::string_view picture) {
  OutputFile file(path);
  file.write(std::string(qd::kFileHeader, '\0'));
  file.write(picture);
  file.commit();
}
