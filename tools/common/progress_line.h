// The tools' progress line: one line on standard error, redrawn in place while a
// long command runs, with what is done of the total, the speed and the time
// remaining. It is drawn only on a terminal and never under --quiet, so scripts
// and logs that capture standard error see nothing extra.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace kx {

class ProgressLine {
 public:
  // kStatus: the label is a whole status text that tells its own figures.
  enum class Measure { kBytes, kFiles, kStatus };

  explicit ProgressLine(bool quiet);
  ~ProgressLine() { Finish(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  bool Enabled() const { return enabled_; }
  // `done` of `total` (total <= 0: unknown) under `label`. Redraws at most ten
  // times a second, and always when the total is reached.
  void Update(const std::string& label, int64_t done, int64_t total, Measure measure);
  // Clears the line, so that what follows starts on an empty line.
  void Finish();

 private:
  static std::string Compose(const std::string& label, int64_t done, int64_t total,
                             Measure measure, double seconds);

  bool enabled_;
  bool drawn_ = false;
  std::chrono::steady_clock::time_point start_;
  std::chrono::steady_clock::time_point last_;
};

}  // namespace kx
