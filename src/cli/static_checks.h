// The static checks of a catalogue (src/check/) as `cvimport check` shows them: a count, lines for the
// terminal, and the findings for the JSON report.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "cli/report_json.h"

namespace cvimp::cli {

struct StaticCheckOutcome {
  std::size_t findings = 0;
  std::string text;  // for the terminal, one line per finding
  std::vector<CatalogueFinding> json;
};

StaticCheckOutcome RunStaticChecks(const std::string& catalogue);

}  // namespace cvimp::cli
