// The command-line program with a folder of its own, as a person meets it.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

namespace fs = std::filesystem;

struct Macpict : ::testing::Test {
  Macpict() { fs::create_directories(folder); }
  ~Macpict() override { fs::remove_all(folder); }

  // What the program prints on both streams, and its status.
  struct Outcome {
    int status;
    std::string text;
  };
  Outcome run(const std::string& arguments) { return execute(MACPICT " " + arguments); }
  static Outcome execute(const std::string& command) {
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    std::string text;
    char part[4096];
    while (const std::size_t count = std::fread(part, 1, sizeof part, pipe)) text.append(part, count);
    return {WEXITSTATUS(pclose(pipe)), text};
  }
  std::string path(const std::string& name) const { return (folder / name).string(); }
  void write(const std::string& name, const std::string& bytes) {
    std::ofstream(folder / name, std::ios::binary) << bytes;
  }
  std::string read(const std::string& name) const { return readAt(folder / name); }
  static std::string readAt(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  unsigned modeOf(const std::string& name) const {
    return static_cast<unsigned>(fs::status(folder / name).permissions());
  }
  std::set<std::string> names() const {
    std::set<std::string> all;
    for (const auto& entry : fs::directory_iterator(folder)) all.insert(entry.path().filename().string());
    return all;
  }
  // The pixels of an image file, as the picture that is made of them.
  std::string pixels(const std::string& name) {
    return execute("(" MACPICT " record " + path(name) + " - 2>/dev/null)").text;
  }
  static std::size_t occurrences(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
  }

  const fs::path folder = fs::temp_directory_path() / ("macpict-test-" + std::to_string(getpid()));
};
