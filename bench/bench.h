// What the benchmarks share: sides that take turns, medians of rounds, and tables of ratios.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace bench {

// The compiler has to take the value for used, and memory for changed.
template <class T>
void keep(const T& value) {
  asm volatile("" : : "g"(&value) : "memory");
}

// What is measured against something else. The loop is part of it, so that short actions are not called by pointer.
struct Side {
  template <class Action>
  Side(std::string called, Action action)
      : name(std::move(called)), run([action](long times) mutable {
          for (long i = 0; i < times; ++i) {
            action();
            asm volatile("" : : : "memory");
          }
        }) {}

  std::string name;
  std::function<void(long times)> run;
};

inline double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

inline double seconds(const Side& side, long times) {
  const auto start = std::chrono::steady_clock::now();
  side.run(times);
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

constexpr int kRounds = 9;
constexpr double kRoundSeconds = 0.008;  // of one side, at least

// The median seconds of one run of each side. In each round every side has its turn, so what else the machine does
// meets all of them; the first round is not counted.
inline std::vector<double> takeTurns(const std::vector<Side>& sides, int rounds = kRounds) {
  std::vector<long> times;
  for (const Side& side : sides) {
    long count = 1;
    for (double took = seconds(side, 1); took < kRoundSeconds && count < 1L << 30; took = seconds(side, count)) {
      count = std::max(count * 2, static_cast<long>(static_cast<double>(count) * kRoundSeconds / (took + 1e-9)));
    }
    times.push_back(count);
  }
  std::vector<std::vector<double>> taken(sides.size());
  for (int round = 0; round <= rounds; ++round) {
    for (std::size_t i = 0; i < sides.size(); ++i) {
      const double one = seconds(sides[i], times[i]) / static_cast<double>(times[i]);
      if (round > 0) taken[i].push_back(one);
    }
  }
  std::vector<double> medians;
  for (auto& each : taken) medians.push_back(median(std::move(each)));
  return medians;
}

inline std::string format(const char* form, double value) {
  char text[32];
  std::snprintf(text, sizeof text, form, value);
  return text;
}

inline std::string duration(double seconds) {
  return seconds < 1e-6   ? format("%.1f ns", seconds * 1e9)
         : seconds < 1e-3 ? format("%.2f us", seconds * 1e6)
         : seconds < 1    ? format("%.2f ms", seconds * 1e3)
                          : format("%.2f s", seconds);
}

struct Aim {
  enum class Kind { atLeast, atMost } kind;
  double value;

  bool isMet(double measured) const { return kind == Kind::atLeast ? measured >= value : measured <= value; }
  std::string text() const { return (kind == Kind::atLeast ? "at least " : "at most ") + format("%g", value); }
};
inline Aim atLeast(double value) { return {Aim::Kind::atLeast, value}; }
inline Aim atMost(double value) { return {Aim::Kind::atMost, value}; }

// A table that reads as text and as Markdown; rows appear as they are measured.
class Table {
 public:
  Table(const char* title, const std::string& remark, const char* ratio) {
    std::printf("\n## %s\n\n%s\n\n| what | ours | other side | %s | aim | met? |\n|---|---:|---:|---:|---|---|\n",
                title, remark.c_str(), ratio);
  }
  ~Table() { std::printf("\n%d of %d aims met.\n", met_, rows_); }
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;

  void row(const std::string& what, const std::string& ours, const std::string& other, double ratio, Aim aim) {
    const bool isMet = aim.isMet(ratio);
    ++rows_;
    met_ += isMet ? 1 : 0;
    std::printf("| %s | %s | %s | %.2f | %s | %s |\n", what.c_str(), ours.c_str(), other.c_str(), ratio,
                aim.text().c_str(), isMet ? "yes" : "**no**");
    std::fflush(stdout);
  }
  // A figure with nothing to compare it with.
  void note(const std::string& what, const std::string& ours, const std::string& other = "") {
    std::printf("| %s | %s | %s | | | |\n", what.c_str(), ours.c_str(), other.c_str());
    std::fflush(stdout);
  }

 private:
  int rows_ = 0, met_ = 0;
};

// The first side is ours, and is measured against the fastest of the others; the ratio is theirs by ours.
// Without an aim it is a note.
inline void race(Table& table, const std::string& what, const std::vector<Side>& sides, std::optional<Aim> aim,
                 int rounds = kRounds) {
  const std::vector<double> taken = takeTurns(sides, rounds);
  const auto fastest = std::min_element(taken.begin() + 1, taken.end());
  const Side& other = sides[static_cast<std::size_t>(fastest - taken.begin())];
  const std::string ours = duration(taken[0]);
  const std::string theirs = duration(*fastest) + " " + other.name;
  if (!aim) return table.note(what, ours, theirs);
  table.row(what, ours, theirs, *fastest / taken[0], *aim);
}

// The same numbers each time.
class Random {
 public:
  std::uint32_t operator()(std::uint32_t below) {
    state_ = state_ * 6364136223846793005U + 1442695040888963407U;
    return static_cast<std::uint32_t>((state_ >> 33) % below);
  }

 private:
  std::uint64_t state_ = 1;
};

[[noreturn]] inline void fail(const std::string& why) {
  std::fprintf(stderr, "bench: %s\n", why.c_str());
  std::exit(1);
}

}  // namespace bench
