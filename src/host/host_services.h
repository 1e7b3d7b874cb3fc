// The command-line host's HostServices: progress and messages go to a Display, settings to a
// SettingsStore, and the text source is the language the command runs in.
#pragma once

#include <memory>
#include <string>

#include "host/display.h"
#include "host/settings_store.h"
#include "host/text_catalog.h"
#include "plugin/host_contract.h"

namespace cvimp::host {

class CliHostServices : public plugin::HostServices {
 public:
  // A missing display or store makes the calls that need it raise cvimp::Error (kObjectRequired).
  CliHostServices(std::shared_ptr<Display> display, std::shared_ptr<SettingsStore> store,
                  std::string language = kDefaultLanguage);

  void ShowProgress(std::int32_t maximum, std::int32_t position, const std::string& text,
                    std::int32_t reserved) override;
  // Shows the message and answers 1 (OK).
  std::int32_t ShowMessage(const std::string& text, std::int32_t style, const std::string& title) override;
  void SaveSettings(const std::string& section, const std::string& settings) override;
  std::shared_ptr<const catalog::Document> LoadSettings(const std::string& section) override;
  std::string FormatProperty(const std::string& name, const std::string& value) override;
  // The language, as CliTextCatalog::Load takes it.
  std::string TextSource() override;

 private:
  std::shared_ptr<Display> display_;
  std::shared_ptr<SettingsStore> store_;
  std::string language_;
};

}  // namespace cvimp::host
