// The import run's fixed order of the 39 table importers, with the status texts between the groups.
// Every importer translates its foreign keys through the NewPKID attributes of sections imported before
// it, so a section comes only after every section it refers to.
#pragma once

#include <span>
#include <string_view>

#include "plugin/manager.h"

namespace cvimp::plugin {

struct ImportStep {
  enum class Condition {
    kAlways,
    kImportMedia,    // the media check box of the settings form, read when the step is reached
    kRegionsSwitch,  // the host text "impvelxml.config.regions" equals "True", letter case aside
  };
  // A group status line ("Importiere Varianten") has a text and no section; an importer step has a section
  // and, once it is built, its routine (nullptr: the step does nothing yet).
  std::string_view status_text;
  std::string_view section;
  void (Manager::*routine)() = nullptr;
  Condition condition = Condition::kAlways;
};

std::span<const ImportStep> ImportSteps();

// The status texts of the run.
inline constexpr std::string_view kTextInitialising = "Initialisiere Import...";
inline constexpr std::string_view kTextLoadFailed = "Fehler beim Laden der Importdatei.";
inline constexpr std::string_view kTextStarting = "Starte Import...";
inline constexpr std::string_view kTextFinished = "Der Import wurde erfolgreich abgeschlossen.";

// The regions switch: the text equals "True" in length and, letter case aside, in content.
bool RegionsSwitchOn(std::string_view text);

}  // namespace cvimp::plugin
