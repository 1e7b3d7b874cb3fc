#include "cli/report_json.h"

#include <ctime>

#include "cli/json_writer.h"

namespace cvimp::cli {
namespace {

void Problem(JsonWriter& json, const ReportedProblem& problem) {
  const plugin::ImportProblem& p = problem.where;
  json.BeginObject();
  json.Key("kind").String(problem.kind == ReportedProblem::Kind::kEnded ? "ended" : "refused");
  json.Key("section").String(p.section);
  json.Key("item_position").Number(static_cast<std::int64_t>(p.position));
  json.Key("key").String(p.key);
  json.Key("line").Number(static_cast<std::int64_t>(p.line));
  json.Key("statement").String(p.statement);
  json.Key("error").String(p.error);
  json.Key("reason").String(problem.reason);
  json.EndObject();
}

}  // namespace

std::string IsoUtc(std::chrono::system_clock::time_point when) {
  const std::time_t t = std::chrono::system_clock::to_time_t(when);
  std::tm utc{};
  gmtime_r(&t, &utc);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
  return text;
}

std::string ReportJson(const RunReport& report, const RunFacts& facts, const ExtraJson& extra) {
  JsonWriter json;
  json.BeginObject();
  json.Key("format_version").Number(kReportFormatVersion);
  json.Key("dry_run").Bool(extra.dry_run);
  json.Key("cvimport_version").String(CVIMPORT_VERSION);
  json.Key("command").String(facts.command);
  json.Key("catalogue").String(facts.catalogue);
  json.Key("database").String(facts.database);
  json.Key("mode").Number(facts.mode);
  json.Key("options").BeginObject();
  json.Key("media").Bool(facts.media);
  json.Key("regions").Bool(facts.regions);
  json.Key("atomic").Bool(facts.atomic);
  json.Key("project").String(facts.project);
  json.EndObject();
  json.Key("start").String(IsoUtc(facts.start));
  json.Key("duration_seconds").Double(facts.seconds);
  json.Key("outcome").String(facts.outcome);
  json.Key("exit_code").Number(facts.exit_code);
  json.Key("failure");
  if (facts.failure.empty())
    json.Null();
  else
    json.String(facts.failure);
  json.Key("other_root_element");
  if (report.other_root().empty())
    json.Null();
  else
    json.String(report.other_root());
  json.Key("items").Number(static_cast<std::int64_t>(report.items()));
  json.Key("items_per_second").Double(facts.seconds > 0 ? static_cast<double>(report.items()) / facts.seconds : 0.0);

  json.Key("sections").BeginArray();
  for (const SectionReport& row : report.sections()) {
    json.BeginObject();
    json.Key("section").String(row.section);
    json.Key("items").Number(static_cast<std::int64_t>(row.items));
    json.Key("created").Number(static_cast<std::int64_t>(row.created));
    json.Key("updated").Number(static_cast<std::int64_t>(row.updated));
    json.Key("left_alone").Number(static_cast<std::int64_t>(row.left_alone));
    json.Key("passed_over").Number(static_cast<std::int64_t>(row.passed_over));
    json.Key("refused").Number(static_cast<std::int64_t>(row.refused));
    json.Key("ended_early").Bool(row.ended.has_value());
    json.EndObject();
  }
  json.EndArray();

  json.Key("not_imported").BeginArray();
  for (const SectionLeftOut& left : report.left_out()) {
    json.BeginObject();
    json.Key("section").String(left.section);
    json.Key("items").Number(static_cast<std::int64_t>(left.items));
    json.Key("reason").String(left.why);
    json.EndObject();
  }
  json.EndArray();

  json.Key("problems").BeginArray();
  for (const ReportedProblem& problem : report.problems()) Problem(json, problem);
  json.EndArray();

  if (extra.dry_run) {
    json.Key("media_copies").BeginArray();
    for (const std::string& file : extra.media_copies) json.String(file);
    json.EndArray();
    json.Key("findings").BeginArray();
    for (const CatalogueFinding& f : extra.findings) {
      json.BeginObject();
      json.Key("kind").String(f.kind);
      json.Key("section").String(f.section);
      json.Key("item_position").Number(static_cast<std::int64_t>(f.item));
      json.Key("key").String(f.key);
      json.Key("line").Number(static_cast<std::int64_t>(f.line));
      json.Key("column").Number(static_cast<std::int64_t>(f.column));
      json.Key("attribute").String(f.attribute);
      json.Key("value").String(f.value);
      json.Key("message").String(f.message);
      json.EndObject();
    }
    json.EndArray();
  }
  json.EndObject();
  return json.text();
}

}  // namespace cvimp::cli
