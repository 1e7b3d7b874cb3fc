// What cvimport tells its user after an import: a report of the run, section by section, gathered as the
// plug-in's import observer while the run goes on, and completed from the catalogue afterwards (the sections
// the run did not import, the items of tables that other importers write).
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "catalog/document.h"
#include "plugin/import_observer.h"

namespace cvimp::cli {

// One table of the run: a section whose importer the run called, or a table written by another section's
// importer (the page data).
struct SectionReport {
  std::string section;
  std::size_t items = 0;  // in the catalogue
  std::size_t created = 0;
  std::size_t updated = 0;
  std::size_t left_alone = 0;
  std::size_t passed_over = 0;
  std::size_t refused = 0;  // statements skipped by a tolerant importer
  bool called = false;      // the run called the section's own importer
  std::optional<plugin::ImportProblem> ended;
};

// A problem of the run: an importer ended early, or a statement refused; with one plain sentence saying why.
struct ReportedProblem {
  enum class Kind { kEnded, kRefused };
  Kind kind;
  plugin::ImportProblem where;
  std::string reason;
};

// A section of the catalogue that the run did not import, and why.
struct SectionLeftOut {
  std::string section;
  std::size_t items = 0;
  std::string why;
};

class RunReport : public plugin::ImportObserver {
 public:
  bool wants_keys() const override { return false; }  // the report counts records; it names only problems
  void ImporterStarted(std::string_view section, std::size_t item_count) override;
  void RecordCreated(std::string_view table, const std::string& key) override;
  void RecordUpdated(std::string_view table, const std::string& key) override;
  void ItemLeftAlone(std::string_view table, const std::string& key) override;
  void ItemPassedOver(std::string_view table, const std::string& key) override;
  void StatementSkipped(const plugin::ImportProblem& problem) override;
  void ImporterEnded(const plugin::ImportProblem& problem) override;

  // After the run: what of the catalogue the run left out (`media` and `regions` as the run had them), and
  // the item counts of the tables written by other sections' importers.
  void CompleteFrom(const catalog::Document& document, bool media, bool regions);

  // Nothing ended early and nothing was refused.
  bool clean() const { return problems_.empty() && other_root_.empty(); }
  const std::vector<SectionReport>& sections() const { return sections_; }
  const std::vector<ReportedProblem>& problems() const { return problems_; }
  const std::vector<SectionLeftOut>& left_out() const { return left_out_; }
  // The root element's name when it is not the catalogue's (nothing of such a document is imported).
  const std::string& other_root() const { return other_root_; }
  // The items of the catalogue in the tables of the run.
  std::size_t items() const;

 private:
  SectionReport& Row(std::string_view table);

  std::vector<SectionReport> sections_;
  std::vector<ReportedProblem> problems_;
  std::vector<SectionLeftOut> left_out_;
  std::string other_root_;
};

// Why a statement failed or an importer ended, in one plain English sentence.
std::string PlainReason(const plugin::ImportProblem& problem, ReportedProblem::Kind kind);

// "1 item", "2 items".
std::string Counted(std::size_t n, std::string_view thing);

// The report as a table for a terminal, with the problems and the sections left out below it, and the time
// the run took.
std::string RenderReport(const RunReport& report, double seconds);

}  // namespace cvimp::cli
