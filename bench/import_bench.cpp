// import_bench: imports a catalogue with the real plug-in, driven as cvimport drives it (the wizard's pages,
// the settings form, one transaction), and reports for the load, each importer and the whole run the time,
// the items per second and the process's peak memory so far.
//
//   import_bench (N | --catalog FILE) [--memory-db] [--media] [--mode 0|1|2] [--regions] [--twice] [--keep]
//
// N generates a catalogue of about N items (with its media files when --media is given); --catalog takes an
// existing one. --twice imports the catalogue once and then again into the same shop, and reports the
// second import (with a database file the first one runs in a child process, so that the peak memory shown
// is the second import's own). --keep leaves the work folder (catalogue, database, media copies) in place.
//
// Per importer timing comes from the host display: every status text and every progress call that starts
// a new run of positions is stamped with the time and the peak memory, and the stamps are matched against
// the run's fixed table of import steps (an importer's start text, or the first progress call whose maximum
// is its section's item count, starts its step; the next step's start ends it).
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench_support.h"
#include "catalog_generator.h"
#include "host/cli_host_api.h"
#include "host/cli_platform.h"
#include "host/display.h"
#include "host/folder_service.h"
#include "host/host_services.h"
#include "host/host_tools.h"
#include "host/settings_store.h"
#include "host/text_catalog.h"
#include "plugin/import_run.h"
#include "plugin/manager.h"
#include "recordset/shop_schema.h"
#include "recordset/sqlite_connection.h"
#include "settings/frm_vel_xml_settings.h"

namespace fs = std::filesystem;
using namespace cvimp;
using namespace cvimp::bench;

namespace {

struct Options {
  std::int64_t items = 0;
  std::string catalog;
  bool memory_db = false;
  bool media = false;
  int mode = 0;
  bool regions = false;
  bool twice = false;
  bool keep = false;
};

const char* const kUsage =
    "usage: import_bench (N | --catalog FILE) [--memory-db] [--media] [--mode 0|1|2] [--regions] [--twice] "
    "[--keep]\n";

std::optional<Options> ParseOptions(int argc, char** argv) {
  Options o;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--catalog" && i + 1 < argc) {
      o.catalog = argv[++i];
    } else if (arg == "--memory-db") {
      o.memory_db = true;
    } else if (arg == "--media") {
      o.media = true;
    } else if (arg == "--mode" && i + 1 < argc) {
      const std::string mode = argv[++i];
      if (mode != "0" && mode != "1" && mode != "2") return std::nullopt;
      o.mode = mode[0] - '0';
    } else if (arg == "--regions") {
      o.regions = true;
    } else if (arg == "--twice") {
      o.twice = true;
    } else if (arg == "--keep") {
      o.keep = true;
    } else if (!arg.empty() && arg[0] != '-' && o.items == 0) {
      char* end = nullptr;
      o.items = std::strtoll(arg.c_str(), &end, 10);
      if (*end != '\0' || o.items < 1) return std::nullopt;
    } else {
      return std::nullopt;
    }
  }
  if ((o.items > 0) == !o.catalog.empty()) return std::nullopt;
  return o;
}

// ------------------------------------------------------------------------------------------------------------
// The display: stamps the status texts and the start of every run of progress positions.

struct Stamp {
  Clock::time_point at;
  std::int32_t maximum = 0;  // 0 for a status text
  std::string text;          // the status text
  std::int64_t peak_rss = 0;
};

class StampingDisplay : public host::Display {
 public:
  // A status text is a stamp of its own. A progress call starts a new run of positions when its maximum
  // differs from the last call's, when its position goes back, or when it repeats the last position without
  // a text after a call without one (the media importer shows each position twice, once with its text).
  void Progress(std::int32_t maximum, std::int32_t position, const std::string& text) override {
    ++calls;
    const bool starts = maximum == 0 || maximum != last_maximum_ || position < last_position_ ||
                        (position == last_position_ && text.empty() && last_text_empty_);
    if (starts) stamps.push_back({Clock::now(), maximum, maximum == 0 ? text : std::string(), PeakRssBytes()});
    last_maximum_ = maximum;
    last_position_ = position;
    last_text_empty_ = text.empty();
  }
  void Message(const std::string& text, std::int32_t, const std::string& title) override {
    messages.push_back(title.empty() ? text : title + ": " + text);
  }

  std::vector<Stamp> stamps;
  std::vector<std::string> messages;
  long long calls = 0;

 private:
  std::int32_t last_maximum_ = -1;
  std::int32_t last_position_ = 0;
  bool last_text_empty_ = true;
};

// ------------------------------------------------------------------------------------------------------------
// One import run, as cvimport makes it.

struct RunResult {
  std::vector<Stamp> stamps;
  std::vector<std::string> messages;
  long long display_calls = 0;
  Clock::time_point started, imported, committed;
  std::int64_t peak_rss_end = 0;
  std::string load_problem;
};

RunResult RunImport(const Options& options, const fs::path& catalog, const fs::path& work,
                    const std::shared_ptr<recordset::SqliteConnection>& db, const std::string& db_name) {
  auto display = std::make_shared<StampingDisplay>();
  host::TextOverrides overrides;
  if (options.regions) overrides[host::kRegionsSwitch] = "True";
  auto platform = std::make_shared<host::CliPlatform>(overrides);
  auto store = std::make_shared<host::SettingsStore>(work / "config");
  host::CliHostParts parts{std::make_shared<host::CliHostServices>(display, store),
                           std::make_shared<host::CliHostTools>(), nullptr, nullptr, (work / "project").string()};
  auto api = std::make_shared<host::CliHostApi>(parts);

  auto manager = std::make_unique<plugin::Manager>(platform);
  manager->Api(api);
  manager->Init(db_name, "", "");
  manager->PagesConfig();
  settings::frmVelXMLSettings& form = manager->Form();
  form.SetCVCatPath(catalog.string());
  if (!manager->SelectedPageChanged("PIC_ADVANCED")) throw std::runtime_error("the catalogue does not exist");
  form.optUpdateMode().SetValue(options.mode, true);
  form.chkImportMedia().Value = options.media ? settings::CheckBox::kChecked : settings::CheckBox::kUnchecked;

  db->Begin();
  api->parts().connection = db;
  api->parts().folder_service = std::make_shared<host::CliFolderService>(db);
  manager->SelectedPageChanged("-1");

  RunResult result;
  result.started = Clock::now();
  manager->ExecuteImport();
  result.imported = Clock::now();
  db->Commit();
  result.committed = Clock::now();
  result.peak_rss_end = PeakRssBytes();

  const catalog::Document* doc = manager->catalog_document().get();
  if (!doc || doc->DocumentElement().empty())
    result.load_problem = doc ? doc->load_error().reason : "no document";
  else if (doc->DocumentElement().ChildNodes().empty())
    result.load_problem = "the root element has no content";
  manager->Dispose();
  manager.reset();
  result.stamps = std::move(display->stamps);
  result.messages = std::move(display->messages);
  result.display_calls = display->calls;
  return result;
}

// ------------------------------------------------------------------------------------------------------------
// Matching the stamps to the run's steps.

struct StepTiming {
  const plugin::ImportStep* step = nullptr;
  bool runs = false;                 // built, and its condition holds
  std::int64_t items = 0;            // of its section in the catalogue
  std::optional<std::size_t> start;  // the stamp that starts it
  double seconds = 0;
  std::int64_t peak_rss = 0;  // at its end
};

struct Timeline {
  std::vector<StepTiming> steps;
  double load = 0, setup = 0, commit = 0, whole = 0;
  std::int64_t load_rss = 0, setup_rss = 0;
  bool complete = false;  // the run's start and end texts were seen
};

Timeline MatchSteps(const RunResult& run, const Options& options, const std::map<std::string, std::int64_t>& items) {
  Timeline t;
  for (const plugin::ImportStep& step : plugin::ImportSteps()) {
    StepTiming s;
    s.step = &step;
    if (step.status_text.empty()) {
      s.runs = step.routine != nullptr &&
               (step.condition == plugin::ImportStep::Condition::kAlways ||
                (step.condition == plugin::ImportStep::Condition::kImportMedia && options.media) ||
                (step.condition == plugin::ImportStep::Condition::kRegionsSwitch && options.regions));
      const auto found = items.find(std::string(step.section));
      s.items = found == items.end() ? 0 : found->second;
    }
    t.steps.push_back(s);
  }
  const auto& stamps = run.stamps;
  auto find_text = [&](std::string_view text, std::size_t from) {
    for (std::size_t i = from; i < stamps.size(); ++i)
      if (stamps[i].maximum == 0 && stamps[i].text == text) return i;
    return stamps.size();
  };
  const std::size_t initialising = find_text(plugin::kTextInitialising, 0);
  const std::size_t starting = find_text(plugin::kTextStarting, initialising);
  const std::size_t finished = find_text(plugin::kTextFinished, starting);
  t.whole = Seconds(run.committed - run.started);
  t.commit = Seconds(run.committed - run.imported);
  if (finished == stamps.size()) return t;
  t.complete = true;
  t.load = Seconds(stamps[starting].at - stamps[initialising].at);
  t.load_rss = stamps[starting].peak_rss;

  auto next_running = [&](std::ptrdiff_t after, std::optional<std::int64_t> count) -> std::ptrdiff_t {
    for (std::size_t k = static_cast<std::size_t>(after + 1); k < t.steps.size(); ++k) {
      if (!t.steps[k].runs) continue;
      if (!count || t.steps[k].items == *count) return static_cast<std::ptrdiff_t>(k);
    }
    return -1;
  };
  std::ptrdiff_t current = -1;
  std::optional<std::size_t> pending;  // an importer's start text, waiting for the progress that follows it
  auto begin_step = [&](std::ptrdiff_t k, std::size_t stamp) {
    t.steps[static_cast<std::size_t>(k)].start = stamp;
    current = k;
  };
  for (std::size_t i = starting + 1; i < finished; ++i) {
    const Stamp& s = stamps[i];
    if (s.maximum == 0) {
      std::ptrdiff_t group = -1;
      for (std::size_t k = static_cast<std::size_t>(current + 1); k < t.steps.size() && group < 0; ++k)
        if (t.steps[k].step->status_text == s.text) group = static_cast<std::ptrdiff_t>(k);
      if (group >= 0) {
        if (pending) {
          const std::ptrdiff_t k = next_running(current, std::nullopt);
          if (k >= 0 && k < group) begin_step(k, *pending);
        }
        pending.reset();
        begin_step(group, i);
        continue;
      }
      if (pending) {  // the previous start text had no items after it
        const std::ptrdiff_t k = next_running(current, std::nullopt);
        if (k >= 0) begin_step(k, *pending);
      }
      pending = i;
      continue;
    }
    const std::ptrdiff_t k = next_running(current, s.maximum);
    if (k >= 0) begin_step(k, pending ? *pending : i);
    pending.reset();
  }
  if (pending) {
    const std::ptrdiff_t k = next_running(current, std::nullopt);
    if (k >= 0) begin_step(k, *pending);
  }

  // Each step lasts until the next started step (or the end text).
  std::optional<std::size_t> first;
  for (std::size_t k = 0; k < t.steps.size(); ++k) {
    if (!t.steps[k].start) continue;
    if (!first) first = *t.steps[k].start;
    std::size_t end = finished;
    for (std::size_t n = k + 1; n < t.steps.size(); ++n) {
      if (t.steps[n].start) {
        end = *t.steps[n].start;
        break;
      }
    }
    t.steps[k].seconds = Seconds(stamps[end].at - stamps[*t.steps[k].start].at);
    t.steps[k].peak_rss = stamps[end].peak_rss;
  }
  const std::size_t setup_end = first ? *first : finished;
  t.setup = Seconds(stamps[setup_end].at - stamps[starting].at);
  t.setup_rss = stamps[setup_end].peak_rss;
  return t;
}

// ------------------------------------------------------------------------------------------------------------
// The database's rows per table.

std::map<std::string, std::int64_t> CountRows(recordset::SqliteConnection& db) {
  std::map<std::string, std::int64_t> rows;
  for (std::string_view section : CatalogSections()) {
    sqlite3_stmt* statement = nullptr;
    const std::string sql = "SELECT COUNT(*) FROM " + std::string(section);
    if (sqlite3_prepare_v2(db.handle(), sql.c_str(), -1, &statement, nullptr) == SQLITE_OK &&
        sqlite3_step(statement) == SQLITE_ROW)
      rows[std::string(section)] = sqlite3_column_int64(statement, 0);
    sqlite3_finalize(statement);
  }
  return rows;
}

// ------------------------------------------------------------------------------------------------------------
// The report.

class Report {
 public:
  explicit Report(double file_bytes) : file_bytes_(file_bytes) {}

  void Header() const {
    std::printf("%-3s %-34s %9s %9s %9s %9s %10s %10s %7s  %s\n", "#", "step", "items", "rows", "new rows", "time s",
                "items/s", "RSS MiB", "x file", "");
  }
  void Line(const std::string& number, const std::string& label, std::optional<std::int64_t> items,
            std::optional<std::int64_t> rows, std::optional<std::int64_t> added, std::optional<double> seconds,
            std::int64_t rss, const std::string& note) const {
    auto num = [](std::optional<std::int64_t> v) { return v ? std::to_string(*v) : std::string(); };
    std::string time, rate, mem, factor;
    if (seconds) {
      time = Format("%.3f", *seconds);
      if (items && *items > 0 && *seconds > 0) rate = Format("%.0f", Rate(*items, *seconds));
    }
    if (rss > 0) {
      mem = Format("%.1f", Mebibytes(static_cast<double>(rss)));
      factor = Format("%.2f", static_cast<double>(rss) / file_bytes_);
    }
    std::printf("%-3s %-34s %9s %9s %9s %9s %10s %10s %7s  %s\n", number.c_str(), label.c_str(), num(items).c_str(),
                num(rows).c_str(), num(added).c_str(), time.c_str(), rate.c_str(), mem.c_str(), factor.c_str(),
                note.c_str());
  }

 private:
  template <class... A>
  static std::string Format(const char* format, A... args) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, format, args...);
    return buffer;
  }
  double file_bytes_;
};

void PrintRun(const Timeline& t, const RunResult& run, const Options& options,
              const std::map<std::string, std::int64_t>& items, std::int64_t total_items,
              const std::map<std::string, std::int64_t>& rows_before,
              const std::map<std::string, std::int64_t>& rows_after, double file_bytes) {
  const Report report(file_bytes);
  report.Header();
  auto rows_of = [&](std::string_view section) -> std::optional<std::int64_t> {
    const auto r = rows_after.find(std::string(section));
    return r == rows_after.end() ? std::nullopt : std::optional<std::int64_t>(r->second);
  };
  auto added_of = [&](std::string_view section) -> std::optional<std::int64_t> {
    const auto r = rows_after.find(std::string(section));
    const auto b = rows_before.find(std::string(section));
    if (r == rows_after.end()) return std::nullopt;
    return r->second - (b == rows_before.end() ? 0 : b->second);
  };
  report.Line("", "load the catalogue", total_items, std::nullopt, std::nullopt, t.load, t.load_rss, "");
  report.Line("", "run setup", std::nullopt, std::nullopt, std::nullopt, t.setup, t.setup_rss, "");
  int number = 0;
  for (const StepTiming& s : t.steps) {
    const plugin::ImportStep& step = *s.step;
    if (!step.status_text.empty()) {
      report.Line("", "[" + std::string(step.status_text) + "]", std::nullopt, std::nullopt, std::nullopt,
                  s.start ? std::optional<double>(s.seconds) : std::nullopt, s.peak_rss, "");
      continue;
    }
    ++number;
    std::string note;
    if (!step.routine) {
      note = "not built";
    } else if (!s.runs) {
      note = step.condition == plugin::ImportStep::Condition::kImportMedia ? "off (--media)" : "off (--regions)";
    } else if (!s.start) {
      note = "showed nothing";
    }
    const std::string label = "Import" + std::string(step.section);
    const bool timed = s.runs && s.start;
    const std::optional<std::int64_t> rows = rows_of(step.section), added = added_of(step.section);
    if (s.runs && added && *added != s.items && options.mode != 2 && rows_before.empty())
      note +=
          (note.empty() ? "" : "; ") + std::string(*added < s.items ? "fewer rows than items" : "more rows than items");
    report.Line(std::to_string(number), label, s.items, rows, added,
                timed ? std::optional<double>(s.seconds) : std::nullopt, timed ? s.peak_rss : 0, note);
  }
  const auto page_data = items.find("PageData");
  report.Line("", "  PageData (written by 3, 4 and 6)", page_data == items.end() ? 0 : page_data->second,
              rows_of("PageData"), added_of("PageData"), std::nullopt, 0, "");
  report.Line("", "commit", std::nullopt, std::nullopt, std::nullopt, t.commit, run.peak_rss_end, "");
  std::int64_t rows_total = 0, added_total = 0;
  for (const auto& [table, n] : rows_after) {
    rows_total += n;
    const auto b = rows_before.find(table);
    added_total += n - (b == rows_before.end() ? 0 : b->second);
  }
  report.Line("", "whole run (load to commit)", total_items, rows_total, added_total, t.whole, run.peak_rss_end, "");
  if (!t.complete) std::printf("the run's start or end text was not seen: per-step times are missing\n");
  std::printf("display calls: %lld; messages: %zu\n", run.display_calls, run.messages.size());
  for (const std::string& m : run.messages) std::printf("  message: %s\n", m.c_str());
  if (!run.load_problem.empty()) std::printf("the catalogue could not be loaded: %s\n", run.load_problem.c_str());
}

}  // namespace

int main(int argc, char** argv) {
  const std::optional<Options> parsed = ParseOptions(argc, argv);
  if (!parsed) {
    std::fputs(kUsage, stderr);
    return 2;
  }
  const Options options = *parsed;
  const fs::path work = fs::temp_directory_path() / ("cvimp-bench-" + std::to_string(::getpid()));
  try {
    fs::create_directories(work / "project");
    fs::path catalog;
    std::map<std::string, std::int64_t> items;
    std::int64_t total_items = 0;
    if (options.items > 0) {
      catalog = work / "catalog.xml";
      const auto t0 = Clock::now();
      const GeneratedCatalog generated =
          GenerateCatalog(options.items, catalog.string(), options.media ? work.string() : std::string());
      std::printf("generated %s: %lld items, %.1f MiB, %lld media files, in %.2f s\n", catalog.c_str(),
                  static_cast<long long>(generated.items), Mebibytes(static_cast<double>(generated.bytes)),
                  static_cast<long long>(generated.media_files), Seconds(Clock::now() - t0));
      for (const SectionCount& s : generated.sections) items[std::string(s.section)] = s.items;
    } else {
      catalog = fs::absolute(options.catalog);
      for (const SectionCount& s : CountCatalogItems(catalog.string())) items[std::string(s.section)] = s.items;
    }
    for (const auto& [section, n] : items) total_items += n;
    const double file_bytes = static_cast<double>(fs::file_size(catalog));

    const fs::path db_path = work / "shop.db";
    std::shared_ptr<recordset::SqliteConnection> db;
    if (options.memory_db) {
      db = recordset::SqliteConnection::OpenInMemory();
      db->Execute(recordset::ShopSchemaSql());
    } else {
      recordset::CreateShopDatabase(db_path.string());
    }
    const std::string db_name = options.memory_db ? std::string("(in memory)") : db_path.string();
    std::printf("catalogue %s: %lld items, %.1f MiB; database %s; mode %d, media %s, regions %s%s\n", catalog.c_str(),
                static_cast<long long>(total_items), Mebibytes(file_bytes), db_name.c_str(), options.mode,
                options.media ? "on" : "off", options.regions ? "on" : "off",
                options.twice ? "; second import into the same shop" : "");
    std::fflush(stdout);

    std::map<std::string, std::int64_t> rows_before;
    if (options.twice) {
      // The first import, untimed in detail; with a database file it runs in a child process.
      if (!options.memory_db) {
        const pid_t child = ::fork();
        if (child < 0) throw std::runtime_error("fork failed");
        if (child == 0) {
          auto first_db = recordset::OpenShopDatabase(db_path.string());
          const RunResult first = RunImport(options, catalog, work, first_db, db_name);
          std::printf("first import (in a child process): %.3f s, peak RSS %.1f MiB\n",
                      Seconds(first.committed - first.started), Mebibytes(static_cast<double>(first.peak_rss_end)));
          std::fflush(stdout);
          std::_Exit(0);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) throw std::runtime_error("the first import failed");
        db = recordset::OpenShopDatabase(db_path.string());
      } else {
        const RunResult first = RunImport(options, catalog, work, db, db_name);
        std::printf("first import: %.3f s, peak RSS %.1f MiB (included in the figures below)\n",
                    Seconds(first.committed - first.started), Mebibytes(static_cast<double>(first.peak_rss_end)));
      }
      rows_before = CountRows(*db);
    } else if (!options.memory_db) {
      db = recordset::OpenShopDatabase(db_path.string());
    }

    const RunResult run = RunImport(options, catalog, work, db, db_name);
    const std::map<std::string, std::int64_t> rows_after = CountRows(*db);
    const Timeline timeline = MatchSteps(run, options, items);
    PrintRun(timeline, run, options, items, total_items, rows_before, rows_after, file_bytes);
    db.reset();
  } catch (const std::exception& e) {
    std::fprintf(stderr, "import_bench: %s\n", e.what());
    if (!options.keep) fs::remove_all(work);
    return 1;
  }
  if (options.keep) {
    std::printf("work folder kept: %s\n", work.c_str());
  } else {
    fs::remove_all(work);
  }
  return 0;
}
