// The host side of the import driver: a HostApi and its HostServices as automation objects, as a host
// application hands them to the plug-in. The services write every status line (maximum 0, position 0) and
// every message to a transcript, keep the saved settings in memory (seeded with the catalogue path, as if a
// former session had saved it) and answer LoadSettings with the stored element of an MSXML document.
#pragma once

#include <cstdio>
#include <map>
#include <string>

#include "automation_base.h"
#include "com/automation/dispatch_call.h"

namespace cvimp::testhost {

struct DriverHostParts {
  std::string project_path;
  std::string text_source;        // "de", or "de;regions" for the regions import
  com::DispatchRef connection;    // CVImpTest.ShopConnection, also the folder service
  std::FILE* transcript = nullptr;  // status lines and messages, UTF-8, one per line
};

// The settings that a former session saved, as FormatProperty writes them.
std::string FormatProperty(const std::string& name, const std::string& value);

// A new HostApi object (one reference, for the caller). `saved_settings` maps a section to its stored text.
IDispatch* NewDriverHostApi(DriverHostParts parts, std::map<std::string, std::string> saved_settings);

}  // namespace cvimp::testhost
