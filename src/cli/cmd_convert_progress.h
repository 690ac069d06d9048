// The progress bar of long commands (convert, import, backup): drawn on standard error while it
// is a terminal, and never otherwise, so that scripts and logs see only the result.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>

namespace trivo::cli {

class ProgressBar {
 public:
  // `label` names the work ("Converting"). `enabled` false draws nothing; `forTerminal()` says
  // whether standard error is a terminal.
  ProgressBar(std::ostream& err, std::string label, bool enabled);
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  static bool forTerminal();
  // Redraws the bar when the shown percentage changed.
  void update(std::size_t done, std::size_t total);
  // Clears the bar's line.
  void finish();

 private:
  std::ostream& err_;
  std::string label_;
  bool enabled_;
  bool drawn_ = false;
  int shown_ = -1;
};

}  // namespace trivo::cli
