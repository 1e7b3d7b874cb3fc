#include "host/folder_service.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <set>
#include <vector>

#include "common/ascii_case.h"
#include "common/error.h"
#include "common/numeric.h"

namespace cvimp::host {

namespace {

constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();

std::size_t ColumnIndex(const recordset::QueryResult& result, std::string_view name) {
  for (std::size_t i = 0; i < result.columns.size(); ++i)
    if (EqualsIgnoringCase(result.columns[i].name, name)) return i;
  throw Error(ErrorCode::kNotFound, "The Folders table has no field " + std::string(name));
}

// A parent key as stored: Null is 0; a number or numeric text is its whole number.
std::int64_t ParentKey(const Value& value) {
  if (value.is_null()) return 0;
  if (value.is_integer()) return value.integer();
  std::optional<std::int64_t> key = TextToInteger(TextForm(value), kMin, kMax);
  if (!key) throw Error(ErrorCode::kTypeMismatch, "The parent folder key " + value.Describe() + " is not a number");
  return *key;
}

}  // namespace

CliFolderService::CliFolderService(std::shared_ptr<recordset::Connection> connection)
    : connection_(std::move(connection)) {}

std::string CliFolderService::HostFolderPath(const std::string& folder_key) {
  recordset::Connection& connection = plugin::Use(connection_);
  std::optional<std::int64_t> start = TextToInteger(folder_key, kMin, kMax);
  if (!start) throw Error(ErrorCode::kInvalidArgument, "The folder key '" + folder_key + "' is not a number");

  std::vector<std::string> names;  // the folder first, its top-most ancestor last
  std::set<std::int64_t> seen;
  for (std::int64_t key = *start; names.empty() || key != 0;) {
    if (!seen.insert(key).second)
      throw Error(ErrorCode::kInvalidArgument, "The parent chain of folder " + folder_key + " loops");
    recordset::QueryResult result = connection.Query("SELECT * FROM Folders WHERE PKID=" + NumberToText(key));
    if (result.rows.empty()) throw Error(ErrorCode::kNotFound, "There is no folder with the key " + NumberToText(key));
    const std::vector<Value>& row = result.rows.front();
    const Value& name = row.at(ColumnIndex(result, "Name"));
    names.push_back(name.is_null() ? std::string() : TextForm(name));
    key = ParentKey(row.at(ColumnIndex(result, "ParentFolderFKID")));
  }

  std::string path = "/";
  for (auto it = names.rbegin(); it != names.rend(); ++it) {
    if (it != names.rbegin()) path += '/';
    path += *it;
  }
  return path;
}

}  // namespace cvimp::host
