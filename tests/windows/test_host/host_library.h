// The host library's creatable classes as the command-line host answers them, for the test prefix:
//
//   CalvoraVel.TextCatalog: Load(source, 0), GetText(key), Close. The source is a language of the host's
//     text resources ("de", "en"); a source ending in ";regions" (e.g. "de;regions") also answers
//     "impvelxml.config.regions" with "True", as `cvimport --regions` does.
//   CalvoraVel.Tools: StringTools (SqlQuote doubles single quotes) and FileSystem (FileExists, FolderExists,
//     CreateFolder on Windows paths, with every missing folder above created too).
#pragma once

#include "automation_base.h"

namespace cvimp::testhost {

IDispatch* NewTextCatalog();
IDispatch* NewHostTools();

// The suffix of a text source that switches the regions import on.
inline constexpr const char* kRegionsSourceSuffix = ";regions";

}  // namespace cvimp::testhost
