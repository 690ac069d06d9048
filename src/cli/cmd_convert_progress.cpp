#include "cli/cmd_convert_progress.h"

#include <unistd.h>

#include <ostream>

namespace trivo::cli {

namespace {
constexpr int kWidth = 30;
}

ProgressBar::ProgressBar(std::ostream& err, std::string label, bool enabled)
    : err_(err), label_(std::move(label)), enabled_(enabled) {}

ProgressBar::~ProgressBar() { finish(); }

bool ProgressBar::forTerminal() { return isatty(STDERR_FILENO) != 0; }

void ProgressBar::update(std::size_t done, std::size_t total) {
  if (!enabled_ || total == 0) return;
  const int percent = static_cast<int>(done * 100 / total);
  if (percent == shown_) return;
  shown_ = percent;
  const int filled = percent * kWidth / 100;
  err_ << "\r" << label_ << " [" << std::string(static_cast<std::size_t>(filled), '#')
       << std::string(static_cast<std::size_t>(kWidth - filled), ' ') << "] " << done << "/"
       << total << std::flush;
  drawn_ = true;
}

void ProgressBar::finish() {
  if (!drawn_) return;
  // Clears the line so that what the command prints next starts at its left edge.
  err_ << "\r\x1b[2K" << std::flush;
  drawn_ = false;
}

}  // namespace trivo::cli
