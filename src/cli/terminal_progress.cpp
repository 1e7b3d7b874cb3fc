#include "cli/terminal_progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace cvimp::cli {
namespace {

constexpr std::size_t kBarWidth = 24;
// Redrawing every item of a large section would cost more than importing it; a few dozen frames a second
// look the same.
constexpr auto kFrameInterval = std::chrono::milliseconds(40);

std::size_t TerminalWidth(std::FILE* out) {
  winsize ws{};
  if (ioctl(fileno(out), TIOCGWINSZ, &ws) == 0 && ws.ws_col > 0) return ws.ws_col;
  return 80;
}

bool IsContinuationByte(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// Cuts UTF-8 text to at most `columns` characters (one column a code point).
std::string Cut(const std::string& text, std::size_t columns) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (IsContinuationByte(text[i])) continue;
    if (count == columns) return text.substr(0, i);
    ++count;
  }
  return text;
}

}  // namespace

std::string TerminalProgress::Render(const std::string& status, std::int32_t maximum, std::int32_t position,
                                     const std::string& item_text, std::size_t width) {
  std::string line = status;
  if (maximum > 0) {
    const std::int32_t shown = position < 0 ? 0 : (position > maximum ? maximum : position);
    const std::size_t filled = static_cast<std::size_t>(static_cast<std::int64_t>(shown) * kBarWidth / maximum);
    line += " [" + std::string(filled, '#') + std::string(kBarWidth - filled, '.') + "] " + std::to_string(position) +
            "/" + std::to_string(maximum);
    if (!item_text.empty()) line += " " + item_text;
  }
  return Cut(line, width > 0 ? width - 1 : 0);
}

void TerminalProgress::Progress(std::int32_t maximum, std::int32_t position, const std::string& text) {
  if (maximum == 0) {
    status_ = text;
    maximum_ = 0;
    position_ = 0;
    item_text_.clear();
    Draw(true);
    return;
  }
  maximum_ = maximum;
  position_ = position;
  item_text_ = text;
  Draw(position == maximum || position == 1);
}

void TerminalProgress::Draw(bool force) {
  const auto now = std::chrono::steady_clock::now();
  if (!force && now - last_draw_ < kFrameInterval) return;
  last_draw_ = now;
  const std::string line = Render(status_, maximum_, position_, item_text_, TerminalWidth(out_));
  std::fprintf(out_, "\r\033[K%s", line.c_str());
  std::fflush(out_);
  drawn_ = true;
}

void TerminalProgress::Finish() {
  if (!drawn_) return;
  std::fputc('\n', out_);
  std::fflush(out_);
  drawn_ = false;
}

}  // namespace cvimp::cli
