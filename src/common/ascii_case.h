// Comparing names and keywords without regard to case. Only ASCII letters fold: field names, SQL keywords,
// "True"/"False" and the host's switch texts are ASCII, and SQLite folds names the same way.
#pragma once

#include <string_view>

namespace cvimp {

constexpr char FoldAsciiCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

constexpr bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (FoldAsciiCase(a[i]) != FoldAsciiCase(b[i])) return false;
  return true;
}

}  // namespace cvimp
