// The report of a run as JSON (--report FILE): a versioned shape, described in docs/report.schema.json.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "cli/run_report.h"

namespace cvimp::cli {

// The version of the shape; it grows when a member changes meaning or goes away.
inline constexpr int kReportFormatVersion = 1;

// What the report says of the run besides the sections.
struct RunFacts {
  std::string command;  // "import" or "check"
  std::string catalogue;
  std::string database;
  std::string project;
  int mode = 0;
  bool media = false;
  bool regions = false;
  bool atomic = false;
  std::chrono::system_clock::time_point start;
  double seconds = 0;
  std::string outcome;  // "committed", "rolled back" or "nothing imported"
  int exit_code = 0;
  std::string failure;  // why the import failed, when it did
};

// A finding of the static checks of `cvimport check` (see src/check/finding.h).
struct CatalogueFinding {
  std::string kind;  // a stable name, e.g. "unresolved-reference"
  std::string section;
  std::size_t item = 0;
  std::string key;
  std::size_t line = 0;
  std::size_t column = 0;
  std::string attribute;
  std::string value;
  std::string message;
};

// What only `cvimport check` reports: the media files the import would copy, and the static findings.
struct ExtraJson {
  bool dry_run = false;
  std::vector<std::string> media_copies;
  std::vector<CatalogueFinding> findings;
};

std::string ReportJson(const RunReport& report, const RunFacts& facts, const ExtraJson& extra = {});

// A point in time as ISO 8601 in UTC, to the second ("2026-11-23T18:30:05Z").
std::string IsoUtc(std::chrono::system_clock::time_point when);

}  // namespace cvimp::cli
