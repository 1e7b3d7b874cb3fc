// Dates and times as DATETIME fields take them: the text forms a field accepts, and the one form it stores.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace cvimp::recordset {

// The stored form 'YYYY-MM-DD HH:MM:SS' of a date text in one of the accepted forms:
//   YYYY-MM-DD, YYYY-MM-DD HH:MM, YYYY-MM-DD HH:MM:SS (a 'T' may replace the blank),
//   DD.MM.YYYY, DD.MM.YYYY HH:MM, DD.MM.YYYY HH:MM:SS.
// Every part has exactly the digits shown, and together they must name a real calendar date (years 1 to
// 9999, leap years of the Gregorian calendar) and time (00:00:00 to 23:59:59). nullopt for anything else.
std::optional<std::string> NormalizeDateText(std::string_view text);

}  // namespace cvimp::recordset
