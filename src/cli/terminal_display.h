// The display of cvimport on a terminal: status lines and item progress on a progress bar on stdout,
// messages on stderr below it.
#pragma once

#include <cstdio>

#include "cli/terminal_progress.h"
#include "host/display.h"

namespace cvimp::cli {

class TerminalDisplay : public host::Display {
 public:
  TerminalDisplay(std::FILE* out, std::FILE* err) : progress_(out), err_(err) {}
  void Progress(std::int32_t maximum, std::int32_t position, const std::string& text) override {
    progress_.Progress(maximum, position, text);
  }
  void Message(const std::string& text, std::int32_t, const std::string& title) override {
    Note(title.empty() ? text : title + ": " + text);
  }
  // A line on stderr, below the progress bar.
  void Note(const std::string& line) {
    progress_.Finish();
    std::fprintf(err_, "%s\n", line.c_str());
  }
  void Finish() { progress_.Finish(); }

 private:
  TerminalProgress progress_;
  std::FILE* err_;
};

}  // namespace cvimp::cli
