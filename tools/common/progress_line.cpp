#include "common/progress_line.h"

#include <cmath>
#include <cstdio>

#include "foundation/platform/console.h"
#include "foundation/text/format.h"

namespace kx {
namespace {

constexpr double kMebibyte = 1048576.0;
constexpr auto kRedrawEvery = std::chrono::milliseconds(100);

std::string Printed(const char* pattern, double value) {
  char text[64];
  std::snprintf(text, sizeof text, pattern, value);
  return text;
}

std::string Amount(int64_t value, ProgressLine::Measure measure) {
  if (measure == ProgressLine::Measure::kBytes) return Printed("%.1f", value / kMebibyte);
  return std::to_string(value);
}

}  // namespace

ProgressLine::ProgressLine(bool quiet)
    : enabled_(!quiet && StandardErrorIsTerminal()), start_(std::chrono::steady_clock::now()) {}

std::string ProgressLine::Compose(const std::string& label, int64_t done, int64_t total,
                                  Measure measure, double seconds) {
  if (measure == Measure::kStatus) return label;
  std::string line = label + ": " + Amount(done, measure);
  if (total > 0) line += " of " + Amount(total, measure);
  line += measure == Measure::kBytes ? " MB" : " files";
  if (seconds >= 1.0 && done > 0) {
    double rate = static_cast<double>(done) / seconds;
    line += measure == Measure::kBytes ? ", " + Printed("%.2f", rate / kMebibyte) + " MB/s"
                                       : ", " + Printed("%.1f", rate) + " files/s";
  }
  // The program's own duration wording, as in its download status.
  if (seconds >= 1.0 && done > 0 && total > done) {
    double remaining = seconds * static_cast<double>(total - done) / static_cast<double>(done);
    line += ", remaining " + ToStd(FormatDuration(std::llround(remaining)));
  }
  return line;
}

void ProgressLine::Update(const std::string& label, int64_t done, int64_t total, Measure measure) {
  if (!enabled_) return;
  auto now = std::chrono::steady_clock::now();
  bool complete = total > 0 && done >= total;
  if (drawn_ && !complete && now - last_ < kRedrawEvery) return;
  last_ = now;
  std::string line =
      Compose(label, done, total, measure, std::chrono::duration<double>(now - start_).count());
  // A line longer than the terminal would wrap, and then "\r" no longer reaches
  // its start: keep the tail, where the figures are.
  size_t columns = static_cast<size_t>(StandardErrorColumns());
  if (columns > 4 && line.size() >= columns) line = "..." + line.substr(line.size() - (columns - 4));
  std::fprintf(stderr, "\r\033[K%s", line.c_str());
  std::fflush(stderr);
  drawn_ = true;
}

void ProgressLine::Finish() {
  if (!drawn_) return;
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
  drawn_ = false;
}

}  // namespace kx
