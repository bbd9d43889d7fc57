// Files that are written whole, or leave what was there as it was.
#pragma once

#include <csignal>
#include <filesystem>
#include <string>
#include <string_view>

// Written beside its target under a name that nobody can foresee, and put in the target's place when it is whole: it
// has the mode, the owner and the access list of what it replaces, and a symbolic link keeps leading to it. Till then
// it is removed on every way out; by a signal, too, after removeOutputsWhenKilled(). A device, a pipe, and what
// standard output goes to are written as they are. All of it throws a Failure.
class OutputFile {
 public:
  explicit OutputFile(const std::filesystem::path& path);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  void write(std::string_view bytes);
  void commit();

 private:
  friend void removeOutputsWhenKilled();
  [[noreturn]] void fail(int error) const;
  void open();
  void openBeside(const std::filesystem::path& target);
  void takeAccessOf(const std::filesystem::path& replaced);
  void discard() noexcept;
  static void removeAll(int signal);

  std::string name_;    // as a person gave it
  std::string target_;  // the links followed
  std::string half_;    // where it is till it is whole; empty if it is written in place
  int file_ = -1;
  OutputFile* next_ = nullptr;
  static OutputFile* first_;  // of those that a signal removes
};

// While one lives no signal comes to this thread, nor to those that it starts: they leave them to the others.
class SignalsHeld {
 public:
  SignalsHeld();
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;
  ~SignalsHeld();

 private:
  sigset_t before_;
};

// From here on signals that end the program remove its half outputs first, and a file that grows beyond its limit is an
// error like any other.
void removeOutputsWhenKilled();

// Whether what is written to the path comes out where standard output does, so that words don't belong there.
bool isStandardOutput(const std::filesystem::path& path);
