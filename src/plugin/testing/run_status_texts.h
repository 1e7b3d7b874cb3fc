// The status texts of an import run over a catalogue whose sections are all empty (or absent), in order, with
// the regions step off: the texts that every importer with a start text of its own shows even without items.
// Shared by the in-process run tests and the tests that run cvimport as a process.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

namespace cvimp::plugin::testing {

inline const std::vector<std::string> kStatusTextsOfAnEmptyRun = {
    "Initialisiere Import...",
    "Starte Import...",
    "Importiere Ordner",
    "Importiere Warengruppen",
    "Importiere Produkte",
    "Produkte werden zugeordnet",
    "Importiere Seiten",
    "Importiere Währungen",
    "Importiere Lieferzeiten",
    "Importiere Profile",
    "Importiere Maßeinheiten",
    "Importiere Rabatte",
    "Importiere Profile",
    "Importiere Mengeneinheiten",
    "Importiere Zahl- und Versandarten",
    "Importiere Varianten",
    "Importiere Attribute",
    "Importiere Bundles",
    "Importiere Produktverlinkungen",
    "Importiere Stichworte",
    "Importiere Hersteller",
    "Der Import wurde erfolgreich abgeschlossen.",
};

// The same run with the regions step on: "Importiere Regionen" after the last reference-data importer.
inline std::vector<std::string> WithRegions(std::vector<std::string> texts) {
  texts.insert(std::find(texts.begin(), texts.end(), "Importiere Zahl- und Versandarten"), "Importiere Regionen");
  return texts;
}

// The same run with the media check box checked. The media import shows per-item progress only; the
// assignment import shows "Medien werden zugeordnet" after the quantity units (and before the regions).
inline std::vector<std::string> WithMedia(std::vector<std::string> texts) {
  texts.insert(std::find(texts.begin(), texts.end(), "Importiere Mengeneinheiten") + 1, "Medien werden zugeordnet");
  return texts;
}

}  // namespace cvimp::plugin::testing
