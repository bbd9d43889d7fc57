#include "tools/output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

#include "tools/failure.h"

namespace fs = std::filesystem;

namespace {

// While one lives no signal comes in between.
class SignalsHeld {
 public:
  SignalsHeld() {
    sigset_t all;
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, &before_);
  }
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;
  ~SignalsHeld() { sigprocmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_;
};

// Where the links of a name lead, whether or not something is there. The system has followed them before, so that they
// end, and so that those are no way for others which it doesn't trust.
fs::path followed(fs::path path) {
  std::error_code error;
  while (fs::is_symlink(fs::symlink_status(path, error))) path = path.parent_path() / fs::read_symlink(path);
  return path;
}

bool isStandardOutput(const struct stat& file) {
  struct stat out = {};
  return fstat(STDOUT_FILENO, &out) == 0 && out.st_dev == file.st_dev && out.st_ino == file.st_ino;
}

}  // namespace

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
    const mode_t mask = umask(0);
    umask(mask);
    if (fchmod(file_, 0666 & ~mask) != 0) fail(errno);
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
  const SignalsHeld held;
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
  const SignalsHeld held;
  if (std::rename(half_.c_str(), target_.c_str()) != 0) fail(errno);
  half_.clear();
  discard();
}

void OutputFile::discard() noexcept {
  if (file_ >= 0) close(std::exchange(file_, -1));
  const SignalsHeld held;
  for (OutputFile** at = &first_; *at != nullptr; at = &(*at)->next_) {
    if (*at == this) {
      *at = next_;
      break;
    }
  }
  if (!half_.empty()) unlink(half_.c_str());
}

// Nothing but what may be done in the middle of anything. The signal then takes its usual course.
void OutputFile::removeAll(int signal) {
  for (const OutputFile* output = first_; output != nullptr; output = output->next_) unlink(output->half_.c_str());
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
