#include "cli/run_report.h"

#include <algorithm>
#include <cstdio>

#include "common/error.h"
#include "plugin/import_run.h"

namespace cvimp::cli {
namespace {

constexpr std::string_view kRootName = "CalvoraCatalog";

// The sections that no importer of their own reads: another section's importer writes their table.
bool WrittenByOthers(std::string_view section) { return section == "PageData"; }

const plugin::ImportStep* StepOf(std::string_view section) {
  for (const plugin::ImportStep& step : plugin::ImportSteps())
    if (step.section == section) return &step;
  return nullptr;
}

std::string Where(const plugin::ImportProblem& p) {
  std::string where = "item " + std::to_string(p.position);
  std::string details = p.key;
  if (p.line) details += (details.empty() ? "" : ", ") + std::string("line ") + std::to_string(p.line);
  return details.empty() ? where : where + " (" + details + ")";
}

}  // namespace

std::string Counted(std::size_t n, std::string_view thing) {
  return std::to_string(n) + " " + std::string(thing) + (n == 1 ? "" : "s");
}

SectionReport& RunReport::Row(std::string_view table) {
  for (SectionReport& row : sections_)
    if (row.section == table) return row;
  SectionReport row;
  row.section = std::string(table);
  sections_.push_back(std::move(row));
  return sections_.back();
}

void RunReport::ImporterStarted(std::string_view section, std::size_t item_count) {
  SectionReport& row = Row(section);
  row.items = item_count;
  row.called = true;
}

void RunReport::RecordCreated(std::string_view table, const std::string&) { ++Row(table).created; }
void RunReport::RecordUpdated(std::string_view table, const std::string&) { ++Row(table).updated; }
void RunReport::ItemLeftAlone(std::string_view table, const std::string&) { ++Row(table).left_alone; }
void RunReport::ItemPassedOver(std::string_view table, const std::string&) { ++Row(table).passed_over; }

void RunReport::StatementSkipped(const plugin::ImportProblem& problem) {
  ++Row(problem.section).refused;
  problems_.push_back(
      {ReportedProblem::Kind::kRefused, problem, PlainReason(problem, ReportedProblem::Kind::kRefused)});
}

void RunReport::ImporterEnded(const plugin::ImportProblem& problem) {
  Row(problem.section).ended = problem;
  problems_.push_back({ReportedProblem::Kind::kEnded, problem, PlainReason(problem, ReportedProblem::Kind::kEnded)});
}

void RunReport::CompleteFrom(const catalog::Document& document, bool media, bool regions) {
  const catalog::Node root = document.DocumentElement();
  if (root.empty()) return;
  const std::string root_name = root.Name();
  if (root_name != kRootName) {
    other_root_ = root_name;
    return;
  }
  for (const catalog::Node& child : root.ChildNodes()) {
    if (!child.is_element()) continue;
    const std::string name = child.Name();
    const std::size_t items = document.SectionItems(name).size();
    if (WrittenByOthers(name)) {
      Row(name).items = items;
      continue;
    }
    const plugin::ImportStep* step = StepOf(name);
    std::string why;
    if (!step) {
      why = "no importer reads a section of this name";
    } else if (step->condition == plugin::ImportStep::Condition::kImportMedia && !media) {
      why = "media are imported only with --media";
    } else if (step->condition == plugin::ImportStep::Condition::kRegionsSwitch && !regions) {
      why = "regions are imported only with --regions";
    } else {
      continue;
    }
    if (std::none_of(left_out_.begin(), left_out_.end(), [&](const SectionLeftOut& s) { return s.section == name; }))
      left_out_.push_back({name, items, why});
  }
}

std::size_t RunReport::items() const {
  std::size_t n = 0;
  for (const SectionReport& row : sections_) n += row.items;
  return n;
}

std::string PlainReason(const plugin::ImportProblem& problem, ReportedProblem::Kind kind) {
  const bool ended = kind == ReportedProblem::Kind::kEnded;
  const std::string verb = ended ? "ended because " : "skipped because ";
  const std::string& error = problem.error;
  switch (static_cast<ErrorCode>(problem.error_code)) {
    case ErrorCode::kOpen:
      if (ended) return "ended because the previous importer left its record set open (" + error + ")";
      return verb + "the record set was still open (" + error + ")";
    case ErrorCode::kDatabase:
      return verb + "the database refused the statement or the save (" + error + ")";
    case ErrorCode::kObjectRequired:
      if (error.find("no item matches") != std::string::npos || error.find("the node is missing") != std::string::npos)
        return verb + "an item it refers to is not in the catalogue (" + error + ")";
      if (error.find("has no NewPKID") != std::string::npos)
        return verb + "an item it refers to was not imported, so it has no new key (" + error + ")";
      if (error.find("the attribute") != std::string::npos)
        return verb + "the item lacks an attribute it must have (" + error + ")";
      return verb + "something it needed was missing (" + error + ")";
    case ErrorCode::kTypeMismatch:
      return verb + "a value could not be converted to the field's type (" + error + ")";
    case ErrorCode::kOverflow:
      return verb + "a value was too long or too large for its field (" + error + ")";
    case ErrorCode::kNotFound:
      return verb + "the table has no field of that name (" + error + ")";
    case ErrorCode::kNoCurrentRecord:
      return verb + "there was no current record (" + error + ")";
    case ErrorCode::kClosed:
      return verb + "the record set was closed (" + error + ")";
    case ErrorCode::kReadOnly:
      return verb + "the record set is read-only (" + error + ")";
    case ErrorCode::kInvalidArgument:
      return verb + "of an invalid argument (" + error + ")";
  }
  return verb + "of an error (" + error + ")";
}

std::string RenderReport(const RunReport& report, double seconds) {
  std::string out;
  char line[256];
  std::snprintf(line, sizeof line, "%-30s %8s %8s %8s %10s %11s %8s\n", "Section", "Items", "Created", "Updated",
                "Left alone", "Passed over", "Refused");
  out += line;
  std::size_t total[6] = {};
  for (const SectionReport& row : report.sections()) {
    const bool shown =
        row.items || row.created || row.updated || row.left_alone || row.passed_over || row.refused || row.ended;
    if (!shown) continue;
    std::snprintf(line, sizeof line, "%-30s %8zu %8zu %8zu %10zu %11zu %8zu%s\n", row.section.c_str(), row.items,
                  row.created, row.updated, row.left_alone, row.passed_over, row.refused,
                  row.ended ? "  ended early" : "");
    out += line;
    const std::size_t values[6] = {row.items, row.created, row.updated, row.left_alone, row.passed_over, row.refused};
    for (int i = 0; i < 6; ++i) total[i] += values[i];
  }
  std::snprintf(line, sizeof line, "%-30s %8zu %8zu %8zu %10zu %11zu %8zu\n", "Total", total[0], total[1], total[2],
                total[3], total[4], total[5]);
  out += line;

  for (const ReportedProblem& problem : report.problems()) {
    const plugin::ImportProblem& p = problem.where;
    out +=
        p.section + " at " + Where(p) + (p.statement.empty() ? "" : ", " + p.statement) + ": " + problem.reason + ".\n";
  }
  if (!report.other_root().empty())
    out += "The root element is " + report.other_root() + ", not " + std::string(kRootName) +
           ": nothing of the catalogue was imported.\n";
  for (const SectionLeftOut& left : report.left_out())
    out += "Not imported: " + left.section + " (" + Counted(left.items, "item") + "): " + left.why + ".\n";

  const double rate = seconds > 0 ? static_cast<double>(report.items()) / seconds : 0.0;
  std::snprintf(line, sizeof line, " in %.2f s (%.0f items per second).\n", seconds, rate);
  out += Counted(report.items(), "item") + line;
  return out;
}

}  // namespace cvimp::cli
