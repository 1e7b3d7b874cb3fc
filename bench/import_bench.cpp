// Imports a generated catalogue of reference data into a new shop database and reports how long the load
// and the run took and how much memory the process used at its peak.
//
//   import_bench [ITEMS_PER_SECTION] [--memory-db]
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>

#include "catalog/document.h"
#include "host/cli_host_api.h"
#include "host/cli_platform.h"
#include "host/host_services.h"
#include "host/host_tools.h"
#include "host/settings_store.h"
#include "plugin/manager.h"
#include "recordset/shop_schema.h"
#include "recordset/sqlite_connection.h"
#include "settings/frm_vel_xml_settings.h"

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

class CountingDisplay : public cvimp::host::Display {
 public:
  void Progress(std::int32_t, std::int32_t, const std::string&) override { ++calls; }
  void Message(const std::string&, std::int32_t, const std::string&) override {}
  long calls = 0;
};

std::string Catalog(int n) {
  std::ostringstream x;
  x << "<CalvoraCatalog>\n<Currencies>\n";
  for (int i = 1; i <= n; ++i)
    x << "<CurrenciesItem PKID=\"" << i << "\" ISOCode=\"C" << i << "\" Name=\"Currency " << i
      << "\" Symbol=\"c\" ExchangeRate=\"1." << i % 97 << "\"/>\n";
  x << "</Currencies>\n<MeasureUnits>\n";
  for (int i = 1; i <= n; ++i)
    x << "<MeasureUnitsItem PKID=\"" << i << "\" Name=\"Unit " << i << "\" Symbol=\"u\" Factor=\"" << i << "\"/>\n";
  x << "</MeasureUnits>\n<Keywords>\n";
  for (int i = 1; i <= n; ++i) x << "<KeywordsItem PKID=\"" << i << "\" Keyword=\"Keyword " << i << "\"/>\n";
  x << "</Keywords>\n</CalvoraCatalog>\n";
  return x.str();
}

double Seconds(Clock::duration d) { return std::chrono::duration<double>(d).count(); }

}  // namespace

int main(int argc, char** argv) {
  const int n = argc > 1 ? std::atoi(argv[1]) : 20000;
  const bool memory_db = argc > 2 && std::string(argv[2]) == "--memory-db";
  const fs::path dir = fs::temp_directory_path() / ("cvimp-bench-" + std::to_string(::getpid()));
  fs::create_directories(dir);
  const fs::path catalog = dir / "catalog.xml";
  std::ofstream(catalog) << Catalog(n);

  std::shared_ptr<cvimp::recordset::SqliteConnection> db;
  if (memory_db) {
    db = cvimp::recordset::SqliteConnection::OpenInMemory();
    db->Execute(cvimp::recordset::ShopSchemaSql());
  } else {
    cvimp::recordset::CreateShopDatabase((dir / "shop.db").string());
    db = cvimp::recordset::OpenShopDatabase((dir / "shop.db").string());
  }
  db->Begin();

  auto display = std::make_shared<CountingDisplay>();
  auto store = std::make_shared<cvimp::host::SettingsStore>(dir / "config");
  cvimp::host::CliHostParts parts{std::make_shared<cvimp::host::CliHostServices>(display, store),
                                  std::make_shared<cvimp::host::CliHostTools>(), db, nullptr, dir.string()};
  auto api = std::make_shared<cvimp::host::CliHostApi>(parts);
  auto platform = std::make_shared<cvimp::host::CliPlatform>();

  const auto t0 = Clock::now();
  {
    cvimp::catalog::Document probe;
    probe.Load(catalog.string());
  }
  const auto t1 = Clock::now();
  cvimp::plugin::Manager manager(platform);
  manager.Api(api);
  manager.Init("bench", "", "");
  manager.Form().SetCVCatPath(catalog.string());
  manager.ExecuteImport();
  db->Commit();
  const auto t2 = Clock::now();
  manager.Dispose();

  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const long items = 3L * n;
  std::printf("items: %ld (3 sections of %d), catalogue %.1f MB, database %s\n", items, n,
              static_cast<double>(fs::file_size(catalog)) / 1e6, memory_db ? "in memory" : "file");
  std::printf("load: %.3f s\n", Seconds(t1 - t0));
  std::printf("run (load + import + commit): %.3f s, %.0f items/s\n", Seconds(t2 - t1), items / Seconds(t2 - t1));
  std::printf("progress calls: %ld\n", display->calls);
  std::printf("peak RSS: %.1f MB\n", static_cast<double>(usage.ru_maxrss) / 1024.0);
  fs::remove_all(dir);
  return 0;
}
