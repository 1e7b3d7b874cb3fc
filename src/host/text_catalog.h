// The command-line host's text resources: the TextCatalog class that the plug-in creates, reading the
// texts of one language from the resource files compiled into the host library. A text resource file is
//
//   <texts language="de"><text key="impvelxml.page.1.title">...</text>...</texts>
//
// Overrides set single texts for every catalogue that a platform creates, whatever the language; the
// command line uses them to switch on the regions import (kRegionsSwitch = "True").
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "plugin/host_contract.h"

namespace cvimp::host {

// Texts that win over the loaded ones: key -> text.
using TextOverrides = std::map<std::string, std::string>;

// The switch that turns on the Regions step of the import run when its text is "True".
inline constexpr const char* kRegionsSwitch = "impvelxml.config.regions";
// The language of the host's texts unless the command line names another.
inline constexpr const char* kDefaultLanguage = "de";

// The languages that resource files exist for, in name order.
std::vector<std::string> AvailableLanguages();

class CliTextCatalog : public plugin::TextCatalog {
 public:
  explicit CliTextCatalog(TextOverrides overrides = {});

  // Loads the texts of the language `source` names ("de", "en"); an unknown language raises cvimp::Error
  // (kInvalidArgument) and leaves the catalogue without texts.
  void Load(const std::string& source, std::int32_t reserved) override;
  // The override for the key, else the loaded text, else the empty text (also before Load and after Close).
  std::string GetText(const std::string& key) override;
  // Drops the loaded texts.
  void Close() override;

 private:
  TextOverrides overrides_;
  std::map<std::string, std::string> texts_;
};

}  // namespace cvimp::host
