#include "host/host_services.h"

namespace cvimp::host {

using plugin::Use;

CliHostServices::CliHostServices(std::shared_ptr<Display> display, std::shared_ptr<SettingsStore> store,
                                 std::string language)
    : display_(std::move(display)), store_(std::move(store)), language_(std::move(language)) {}

void CliHostServices::ShowProgress(std::int32_t maximum, std::int32_t position, const std::string& text, std::int32_t) {
  Use(display_).Progress(maximum, position, text);
}

std::int32_t CliHostServices::ShowMessage(const std::string& text, std::int32_t style, const std::string& title) {
  Use(display_).Message(text, style, title);
  return 1;
}

void CliHostServices::SaveSettings(const std::string& section, const std::string& settings) {
  Use(store_).Save(section, settings);
}

std::shared_ptr<const catalog::Document> CliHostServices::LoadSettings(const std::string& section) {
  return Use(store_).Load(section);
}

std::string CliHostServices::FormatProperty(const std::string& name, const std::string& value) {
  return SettingsStore::FormatProperty(name, value);
}

std::string CliHostServices::TextSource() { return language_; }

}  // namespace cvimp::host
