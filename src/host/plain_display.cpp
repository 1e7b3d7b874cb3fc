#include "host/display.h"

namespace cvimp::host {

void PlainDisplay::Progress(std::int32_t maximum, std::int32_t, const std::string& text) {
  if (maximum != 0) return;
  status_ << text << '\n';
  status_.flush();
}

void PlainDisplay::Message(const std::string& text, std::int32_t, const std::string& title) {
  if (!title.empty()) messages_ << title << ": ";
  messages_ << text << '\n';
  messages_.flush();
}

}  // namespace cvimp::host
