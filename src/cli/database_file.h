// The database file of a run: what keeps a path from being used, and a new database made under a temporary
// name beside its own and put in place only when it is complete, so that no run that is cut short leaves a
// new, empty database under the user's name.
#pragma once

#include <filesystem>
#include <string>

namespace cvimp::cli {

// What keeps `path` from being opened (when it exists) or created (when it does not), with the reason the
// system gives ("is a directory", "File name too long", "Permission denied" ...); empty when nothing does.
// `exists` tells whether something is at the path.
std::string DatabasePathProblem(const std::filesystem::path& path, bool& exists);

// A name in the folder of `path` that is not in use: ".NAME.cvimport-XXXXXX" (".cvimport-XXXXXX" when that
// would be too long a name).
std::filesystem::path TemporaryNameBeside(const std::filesystem::path& path);

// Gives the complete file `made` the name `target`: never over an existing file unless `replace`.
// Raises std::runtime_error with the reason.
void PutInPlace(const std::filesystem::path& made, const std::filesystem::path& target, bool replace);

// Removes a database file and its rollback journal, as far as they exist.
void RemoveDatabaseFile(const std::filesystem::path& path);

}  // namespace cvimp::cli
