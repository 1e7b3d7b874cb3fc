// The command-line host's plug-in settings storage: one XML file (settings.xml) in the user's configuration
// folder, holding one element per section:
//
//   <settings><section name="SETTINGS"><property name="vel-xml-path" value="..."/></section></settings>
//
// Every save rewrites the whole file through a temporary file in the same folder and a rename, so that a
// reader never sees a half-written file and a failed save leaves the previous file as it was.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "catalog/document.h"

namespace cvimp::host {

class SettingsStore {
 public:
  // A store in `folder` (created on the first save when missing).
  explicit SettingsStore(std::filesystem::path folder);

  // The user's configuration folder for this program: $XDG_CONFIG_HOME/cvimport when XDG_CONFIG_HOME is an
  // absolute path, else ~/.config/cvimport. Raises cvimp::Error when there is no home folder either.
  static std::filesystem::path DefaultFolder();
  // The same rule on given values (nullopt: the variable is not set).
  static std::filesystem::path FolderFor(const std::optional<std::string>& xdg_config_home,
                                         const std::optional<std::string>& home);

  // Replaces the section's content by `fragment` (XML content: elements, text, or nothing). A fragment that
  // is not well-formed, or a settings file that cannot be read as one, raises cvimp::Error
  // (kInvalidArgument) and leaves the file untouched; a write that fails raises cvimp::Error (kDatabase).
  void Save(const std::string& section, const std::string& fragment);
  // The stored section element as the document element of a new document; nullptr when the file or the
  // section does not exist. A settings file that is not well-formed raises cvimp::Error.
  std::shared_ptr<const catalog::Document> Load(const std::string& section) const;

  // One settings entry: <property name="..." value="..."/>, with & < > " ' escaped in both values.
  static std::string FormatProperty(const std::string& name, const std::string& value);

  const std::filesystem::path& file() const { return file_; }

 private:
  std::filesystem::path folder_;
  std::filesystem::path file_;
};

// The text with & < > " ' written as XML entities.
std::string EscapeXml(const std::string& text);

}  // namespace cvimp::host
