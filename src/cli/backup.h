// --backup and restore: copies of a shop database made with the database engine's online backup, page by
// page, so that a large database is never held whole and a copy taken while others read is consistent.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>

namespace cvimp::cli {

// The default backup of `database`: "DB.YYYY-MM-DDTHH-MM-SSZ.bak" beside it, with the UTC time `when`.
std::filesystem::path DefaultBackupPath(const std::filesystem::path& database,
                                        std::chrono::system_clock::time_point when);

// Copies the database `from` to the new file `to` (an existing `to` is refused): the copy is made under a
// temporary name in `to`'s folder and renamed to `to` when it is complete. Raises std::runtime_error with
// a message naming the file and the reason.
void BackupDatabase(const std::filesystem::path& from, const std::filesystem::path& to);

// Puts the backup `backup` in place of `database` in one step: refuses a backup that is not a shop database
// and a database with a rollback journal beside it (a run in progress or cut short), copies the backup to a
// temporary file in the database's folder and renames it over the database. Raises std::runtime_error.
void RestoreDatabase(const std::filesystem::path& backup, const std::filesystem::path& database);

}  // namespace cvimp::cli
