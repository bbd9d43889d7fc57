#include "tools/output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

#include "tools/failure.h"

namespace fs = std::filesystem;

namespace {

// One thread at a time, or the handler of a signal, has the list of half outputs.
std::atomic_flag listIsHeld = ATOMIC_FLAG_INIT;

void holdList() {
  while (listIsHeld.test_and_set(std::memory_order_acquire)) {
  }
}

// While one lives no signal comes in between, and no other thread.
class ListHeld {
 public:
  ListHeld() { holdList(); }
  ListHeld(const ListHeld&) = delete;
  ListHeld& operator=(const ListHeld&) = delete;
  ~ListHeld() { listIsHeld.clear(std::memory_order_release); }

 private:
  const SignalsHeld signals_;  // a handler that waited for its own thread would wait for ever
};

// Where the links of a name lead, whether or not something is there. The system has followed them before, so that they
// end, and so that those are no way for others which it doesn't trust.
fs::path followed(fs::path path) {
  std::error_code error;
  while (fs::is_symlink(fs::symlink_status(path, error))) path = path.parent_path() / fs::read_symlink(path);
  return path;
}

// What new files are kept from by the person; asked for once, as asking changes it for a moment.
mode_t fileMask() {
  static const mode_t mask = [] {
    const mode_t now = umask(0);
    umask(now);
    return now;
  }();
  return mask;
}

bool isStandardOutput(const struct stat& file) {
  struct stat out = {};
  return fstat(STDOUT_FILENO, &out) == 0 && out.st_dev == file.st_dev && out.st_ino == file.st_ino;
}

}  // namespace

SignalsHeld::SignalsHeld() {
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, &before_);
}
SignalsHeld::~SignalsHeld() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

OutputFile* OutputFile::first_ = nullptr;

OutputFile::OutputFile(const fs::path& path) : name_(path.string()) {
  try {
    open();
  } catch (...) {
    discard();
    throw;
  }
}

OutputFile::~OutputFile() { discard(); }

void OutputFile::fail(int error) const {
  throw Failure("\"" + name_ + "\" can't be written: " + strerror(error) + ".");
}

void OutputFile::open() {
  struct stat there = {};
  if (stat(name_.c_str(), &there) != 0) {
    if (errno != ENOENT) fail(errno);
    openBeside(followed(name_));
    if (fchmod(file_, 0666 & ~fileMask()) != 0) fail(errno);
    return;
  }
  if (S_ISDIR(there.st_mode)) throw Failure("\"" + name_ + "\" is a folder, not a file.");
  if (isStandardOutput(there)) {
    std::fflush(stdout);
    file_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
  } else if (!S_ISREG(there.st_mode)) {
    file_ = ::open(name_.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
  } else {
    // Its owner may have said that it is not to be written.
    if (faccessat(AT_FDCWD, name_.c_str(), W_OK, AT_EACCESS) != 0) fail(errno);
    const fs::path target = followed(name_);
    openBeside(target);
    return takeAccessOf(target);
  }
  if (file_ < 0) fail(errno);
}

void OutputFile::openBeside(const fs::path& target) {
  target_ = target.string();
  std::string half = (target.parent_path() / ".macpict-XXXXXX").string();
  const ListHeld held;
  file_ = mkostemp(half.data(), O_CLOEXEC);
  if (file_ < 0) fail(errno);
  half_ = std::move(half);
  next_ = std::exchange(first_, this);
}

void OutputFile::takeAccessOf(const fs::path& replaced) {
  struct stat old = {}, made = {};
  if (stat(replaced.c_str(), &old) != 0 || fstat(file_, &made) != 0) fail(errno);
  const bool isOthers = old.st_uid != made.st_uid || old.st_gid != made.st_gid;
  if (isOthers && fchown(file_, old.st_uid, old.st_gid) != 0)
    throw Failure("\"" + name_ + "\" can't be written: its owner and group can't be kept; another name would work.");
  if (fchmod(file_, old.st_mode & 0777) != 0) fail(errno);
  // Who else may read or write it. Without the list the mode would say something else.
  constexpr const char* kList = "system.posix_acl_access";
  const ssize_t size = getxattr(replaced.c_str(), kList, nullptr, 0);
  if (size > 0) {
    std::vector<char> list(static_cast<std::size_t>(size));
    if (getxattr(replaced.c_str(), kList, list.data(), list.size()) != size ||
        fsetxattr(file_, kList, list.data(), list.size(), 0) != 0)
      fail(errno);
  } else {
    fremovexattr(file_, kList);  // what the folder gives to new files
  }
}

void OutputFile::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(file_, bytes.data(), bytes.size());
    if (count < 0 && errno != EINTR) fail(errno);
    if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

void OutputFile::commit() {
  if (close(std::exchange(file_, -1)) != 0 && errno != EINTR) fail(errno);
  if (half_.empty()) return;
  const ListHeld held;
  if (std::rename(half_.c_str(), target_.c_str()) != 0) fail(errno);
  half_.clear();
}

void OutputFile::discard() noexcept {
  if (file_ >= 0) close(std::exchange(file_, -1));
  const ListHeld held;
  for (OutputFile** at = &first_; *at != nullptr; at = &(*at)->next_) {
    if (*at == this) {
      *at = next_;
      break;
    }
  }
  if (!half_.empty()) unlink(half_.c_str());
  half_.clear();
}

// Nothing but what may be done in the middle of anything. The signal then takes its usual course, and nobody gets the
// list any more.
void OutputFile::removeAll(int signal) {
  holdList();
  for (const OutputFile* output = first_; output != nullptr; output = output->next_) {
    if (!output->half_.empty()) unlink(output->half_.c_str());
  }
  raise(signal);
}

void removeOutputsWhenKilled() {
  struct sigaction action = {};
  action.sa_handler = &OutputFile::removeAll;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigfillset(&action.sa_mask);
  for (const int ending : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGXCPU, SIGABRT}) {
    struct sigaction before = {};
    sigaction(ending, nullptr, &before);
    if (before.sa_handler == SIG_DFL) sigaction(ending, &action, nullptr);  // nohup's stays
  }
  std::signal(SIGXFSZ, SIG_IGN);
}

bool isStandardOutput(const fs::path& path) {
  struct stat file = {};
  return stat(path.c_str(), &file) == 0 && !S_ISCHR(file.st_mode) && isStandardOutput(file);
}
