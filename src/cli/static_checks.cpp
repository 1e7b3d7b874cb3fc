#include "cli/static_checks.h"

#include "check/catalog_check.h"
#include "cli/run_report.h"

namespace cvimp::cli {

StaticCheckOutcome RunStaticChecks(const std::string& catalogue) {
  StaticCheckOutcome outcome;
  const std::vector<check::Finding> findings = check::CheckCatalogFile(catalogue);
  outcome.findings = findings.size();
  outcome.text = "Static checks of the catalogue: " +
                 (findings.empty() ? std::string("nothing found") : Counted(findings.size(), "finding")) + "\n";
  for (const check::Finding& f : findings) {
    std::string place = f.section;
    if (f.item) place += " item " + std::to_string(f.item);
    if (!f.key.empty()) place += " (" + f.key + ")";
    if (f.line) place += (place.empty() ? "" : ", ") + std::string("line ") + std::to_string(f.line);
    outcome.text += "  " + (place.empty() ? std::string() : place + ": ") + f.message + "\n";
    outcome.json.push_back({std::string(check::KindName(f.kind)), f.section, f.item, f.key, f.line, f.column,
                            f.attribute, f.value, f.message});
  }
  return outcome;
}

}  // namespace cvimp::cli
