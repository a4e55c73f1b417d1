// Measures a job, and reports it as one line of JSON.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace peers {

/// Lookups are measured with these numbers of registered types, one after the other.
constexpr int typeCounts[] = {1, 3, 10, 30, 100, 300, 1000, 10000, 100000};

/// Loads that only warm up, and those that are measured after them; each loads a module of its own.
constexpr int warmUpLoads = 20;
constexpr int measuredLoads = 101;
constexpr int allLoads = warmUpLoads + measuredLoads;

/// Takes no `std::string`, because it is called while time is measured.
inline void require(bool isTrue, const char* problem) {
  if (!isTrue) throw std::runtime_error(problem);
}

template <typename Function>
double nanosecondsOf(const Function& function) {
  const auto begin = std::chrono::steady_clock::now();
  function();
  return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - begin).count();
}

/// Measures many times what one of many calls takes. Each measurement is shorter than a time slice of the scheduler, so
/// most of them are not interrupted on a busy machine.
template <typename Call>
std::vector<double> timeCalls(const Call& call) {
  constexpr double longEnough = 5e5;
  std::int64_t calls = 1;
  const auto callAll = [&] {
    for (std::int64_t i = 0; i < calls; ++i) call();
  };
  while (nanosecondsOf(callAll) < longEnough) calls *= 2;
  std::vector<double> times(101);
  for (double& time : times) time = nanosecondsOf(callAll) / static_cast<double>(calls);
  return times;
}

/// What `load(i)` takes for each of the measured modules: it loads module i, calls its function `number` and checks the
/// result.
template <typename Load>
std::vector<double> timeLoads(const Load& load) {
  std::vector<double> times;
  for (int i = 0; i < allLoads; ++i) {
    const double time = nanosecondsOf([&] { load(i); });
    if (i >= warmUpLoads) times.push_back(time);
  }
  return times;
}

/// Repeats a list of names, so that a lookup does not find in the processor's caches what the last one left there.
class Names {
 public:
  /// Some of the types that are numbered from 0, evenly spread.
  Names(const std::string& prefix, int types) {
    const int count = std::min(types, 256);
    for (std::int64_t i = 0; i < count; ++i) names_.push_back(prefix + std::to_string(i * types / count));
  }

  const char* next() {
    if (next_ == names_.size()) next_ = 0;
    return names_[next_++].c_str();
  }

 private:
  std::vector<std::string> names_;
  std::size_t next_ = 0;
};

/// A text with one word in place of another.
inline std::string replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

inline void writeFile(const std::string& path, const std::string& text) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream out(path, std::ios::binary);
  out << text;
  out.close();
  require(out.good(), ("cannot write " + path).c_str());
}

/// Copies a file once for each load, and returns the paths.
inline std::vector<std::string> copies(const std::string& file, const std::string& folder) {
  std::vector<std::string> paths;
  for (int i = 0; i < allLoads; ++i) {
    paths.push_back(folder + "/module" + std::to_string(i));
    std::filesystem::copy_file(file, paths.back());
  }
  return paths;
}

class Report {
 public:
  Report(std::string peer, std::string version) : peer_(std::move(peer)), version_(std::move(version)) {}

  /// Prints a median. No text needs escapes in JSON.
  /// @param types how many are loaded; 0 where that does not matter.
  void add(const std::string& job, const std::string& what, std::vector<double> times, int types = 0) const {
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    const std::string loaded = types == 0 ? "" : "\"types\":" + std::to_string(types) + ",";
    std::printf(
        "{\"job\":\"%s\",\"peer\":\"%s\",\"version\":\"%s\",\"what\":\"%s\",%s\"nanoseconds\":%.1f,\"runs\":%zu}\n",
        job.c_str(), peer_.c_str(), version_.c_str(), what.c_str(), loaded.c_str(), *middle, times.size());
  }

 private:
  std::string peer_;
  std::string version_;
};

/// What `main` does: runs the jobs, and reports what stops them.
template <typename Jobs>
int runJobs(const Jobs& jobs) {
  try {
    jobs();
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
}

}  // namespace peers
