// The progress bar of cvimport on a terminal: one line, redrawn in place, with the current status text,
// a bar, the item's position and count, and the item's own text where an importer gives one.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

namespace cvimp::cli {

class TerminalProgress {
 public:
  explicit TerminalProgress(std::FILE* out) : out_(out) {}
  ~TerminalProgress() { Finish(); }

  // A status line (maximum 0) or an item's progress (maximum = count, position = 1-based index).
  void Progress(std::int32_t maximum, std::int32_t position, const std::string& text);
  // Ends the line, so that what follows starts on a line of its own.
  void Finish();

  // The line as it would be drawn, cut to `width` columns (exposed for tests).
  static std::string Render(const std::string& status, std::int32_t maximum, std::int32_t position,
                            const std::string& item_text, std::size_t width);

 private:
  void Draw(bool force);

  std::FILE* out_;
  std::string status_;
  std::string item_text_;
  std::int32_t maximum_ = 0;
  std::int32_t position_ = 0;
  bool drawn_ = false;
  std::chrono::steady_clock::time_point last_draw_{};
};

}  // namespace cvimp::cli
