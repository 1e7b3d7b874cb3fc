#include "cli/backup.h"

#include <sqlite3.h>

#include <ctime>
#include <stdexcept>
#include <system_error>

#include "cli/database_file.h"
#include "recordset/shop_schema.h"
#include "recordset/sqlite_connection.h"

namespace fs = std::filesystem;

namespace cvimp::cli {
namespace {

constexpr int kPagesPerStep = 1024;

// Closes a handle on every way out.
struct Handle {
  sqlite3* db = nullptr;
  ~Handle() { sqlite3_close_v2(db); }
};

// Copies `from` to the file `to` (a new file) with the online backup; `to` is removed again on failure.
void CopyWithBackupApi(const fs::path& from, const fs::path& to) {
  Handle source;
  Handle target;
  if (sqlite3_open_v2(from.c_str(), &source.db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK)
    throw std::runtime_error("cannot open " + from.string() + ": " + sqlite3_errmsg(source.db));
  if (sqlite3_open_v2(to.c_str(), &target.db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) != SQLITE_OK) {
    const std::string why = sqlite3_errmsg(target.db);
    RemoveDatabaseFile(to);
    throw std::runtime_error("cannot create " + to.string() + ": " + why);
  }
  sqlite3_backup* backup = sqlite3_backup_init(target.db, "main", source.db, "main");
  int rc = SQLITE_ERROR;
  if (backup) {
    do {
      rc = sqlite3_backup_step(backup, kPagesPerStep);
      if (rc == SQLITE_BUSY || rc == SQLITE_LOCKED) sqlite3_sleep(50);
    } while (rc == SQLITE_OK || rc == SQLITE_BUSY || rc == SQLITE_LOCKED);
    sqlite3_backup_finish(backup);
  }
  if (rc != SQLITE_DONE) {
    const std::string why = sqlite3_errmsg(target.db);
    sqlite3_close_v2(target.db);
    target.db = nullptr;
    RemoveDatabaseFile(to);
    throw std::runtime_error("cannot copy " + from.string() + " to " + to.string() + ": " + why);
  }
}

}  // namespace

fs::path DefaultBackupPath(const fs::path& database, std::chrono::system_clock::time_point when) {
  const std::time_t t = std::chrono::system_clock::to_time_t(when);
  std::tm utc{};
  gmtime_r(&t, &utc);
  char stamp[32];
  std::strftime(stamp, sizeof stamp, "%Y-%m-%dT%H-%M-%SZ", &utc);
  return database.string() + "." + stamp + ".bak";
}

void BackupDatabase(const fs::path& from, const fs::path& to) {
  std::error_code error;
  if (fs::exists(fs::symlink_status(to, error))) throw std::runtime_error("the backup " + to.string() + " exists already");
  const fs::path made = TemporaryNameBeside(to);
  CopyWithBackupApi(from, made);
  try {
    PutInPlace(made, to, false);
  } catch (...) {
    RemoveDatabaseFile(made);
    throw;
  }
}

void RestoreDatabase(const fs::path& backup, const fs::path& database) {
  std::string mismatch;
  try {
    auto connection = recordset::SqliteConnection::OpenReadOnly(backup.string());
    mismatch = recordset::ShopDatabaseMismatch(*connection);
  } catch (const std::exception& e) {
    mismatch = e.what();
  }
  if (!mismatch.empty()) throw std::runtime_error(backup.string() + " is not a shop database: " + mismatch);
  for (const char* beside : {"-journal", "-wal"}) {
    const fs::path journal = database.string() + beside;
    std::error_code error;
    if (fs::exists(journal, error))
      throw std::runtime_error(journal.string() +
                               " exists: the database is in use or a run on it was cut short; nothing was restored");
  }
  const fs::path made = TemporaryNameBeside(database);
  CopyWithBackupApi(backup, made);
  try {
    PutInPlace(made, database, true);
  } catch (...) {
    RemoveDatabaseFile(made);
    throw;
  }
}

}  // namespace cvimp::cli
