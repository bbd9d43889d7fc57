#include "macpict/batch.h"

#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <optional>
#include <thread>

#include "macpict/inputs.h"
#include "tools/output.h"

void addBatch(CLI::App& command, BatchOptions& options) {
  command.add_option("-j,--jobs", options.threads, "Work on so many files at a time; 0 is one for each processor")
      ->type_name("N")
      ->check(CLI::Range(0, 1024).description(""));
  addQuiet(command, options.isQuiet);
}

void addQuiet(CLI::App& command, bool& isQuiet) {
  command.add_flag("-q,--quiet", isQuiet, "Tell nothing but what went wrong");
}

std::string inWords(const LeftOut& files, const std::string& what) {
  std::string words;
  if (files.failed > 0) words += ", " + std::to_string(files.failed) + " failed";
  if (files.skipped > 0) words += ", " + std::to_string(files.skipped) + " were there";
  if (files.others > 0) words += "; " + counted(files.others, "file holds", "files hold") + " no " + what;
  if (files.unread > 0) words += "; " + std::to_string(files.unread) + " can't be read";
  return words;
}

void tell(const Report& report, bool isQuiet, bool toErrors) {
  for (const std::string& sentence : report.complaints) complain(sentence);
  if (isQuiet) return;
  for (const std::string& line : report.lines) std::fprintf(toErrors ? stderr : stdout, "%s\n", line.c_str());
}

namespace {

// The reports that have come and can't be told yet.
class Reports {
 public:
  explicit Reports(std::size_t count) : reports_(count) {}

  // The next piece of work, or nothing more.
  std::optional<std::size_t> next() {
    const std::lock_guard lock(mutex_);
    if (next_ == reports_.size()) return std::nullopt;
    return next_++;
  }
  void put(std::size_t at, Report report) {
    const std::lock_guard lock(mutex_);
    reports_[at] = std::move(report);
    hasCome_.notify_one();
  }
  Report take(std::size_t at) {
    std::unique_lock lock(mutex_);
    hasCome_.wait(lock, [&] { return reports_[at].has_value(); });
    return *std::exchange(reports_[at], std::nullopt);
  }

 private:
  std::mutex mutex_;
  std::condition_variable hasCome_;
  std::size_t next_ = 0;
  std::vector<std::optional<Report>> reports_;
};

// On a terminal, and not among lines that go there too.
class Progress {
 public:
  Progress(std::size_t count, bool isShown) : count_(count), isShown_(isShown) {}
  void show(std::size_t done) const {
    if (isShown_) std::fprintf(stderr, "\r\x1B[K%zu of %zu, %zu left", done, count_, count_ - done);
  }
  void clear() const {
    if (isShown_) std::fputs("\r\x1B[K", stderr);
  }

 private:
  std::size_t count_;
  bool isShown_;
};

}  // namespace

void doAll(std::size_t count, const BatchOptions& options, bool toErrors,
           const std::function<Report(std::size_t)>& work) {
  const bool isTerminal = isatty(STDERR_FILENO) != 0;
  const Progress progress(count, isTerminal && count > 1 && (options.isQuiet || isatty(STDOUT_FILENO) == 0));
  const auto tellNext = [&](std::size_t at, const Report& report) {
    if (!report.complaints.empty()) progress.clear();
    tell(report, options.isQuiet, toErrors);
    progress.show(at + 1);
  };
  const std::size_t wanted = options.threads > 0 ? static_cast<std::size_t>(options.threads)
                                                 : std::max(1U, std::thread::hardware_concurrency());
  if (std::min(wanted, count) <= 1) {
    for (std::size_t at = 0; at < count; ++at) tellNext(at, work(at));
  } else {
    Reports reports(count);
    std::vector<std::jthread> threads;
    {
      const SignalsHeld held;  // they come to this thread
      for (std::size_t i = 0; i < std::min(wanted, count); ++i) {
        threads.emplace_back([&] {
          while (const auto at = reports.next()) reports.put(*at, work(*at));
        });
      }
    }
    for (std::size_t at = 0; at < count; ++at) tellNext(at, reports.take(at));
  }
  progress.clear();
}
