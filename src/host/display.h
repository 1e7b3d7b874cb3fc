// Where the command-line host shows what the plug-in reports: status lines and progress, and messages.
// The command's main() chooses the display (a terminal progress bar, plain lines, nothing at all).
#pragma once

#include <cstdint>
#include <ostream>
#include <string>

namespace cvimp::host {

class Display {
 public:
  virtual ~Display() = default;
  // A status line comes with maximum 0; per-item progress with (count, 1-based index, text).
  virtual void Progress(std::int32_t maximum, std::int32_t position, const std::string& text) = 0;
  virtual void Message(const std::string& text, std::int32_t style, const std::string& title) = 0;
};

// Writes each status line (maximum 0) as one line to `status` and each message as one line to `messages`,
// preceded by its title and ": " when it has a title. Per-item progress is not shown.
class PlainDisplay : public Display {
 public:
  PlainDisplay(std::ostream& status, std::ostream& messages) : status_(status), messages_(messages) {}
  void Progress(std::int32_t maximum, std::int32_t position, const std::string& text) override;
  void Message(const std::string& text, std::int32_t style, const std::string& title) override;

 private:
  std::ostream& status_;
  std::ostream& messages_;
};

}  // namespace cvimp::host
