#include "host/cli_platform.h"

#include "host/host_tools.h"

namespace cvimp::host {

std::shared_ptr<plugin::TextCatalog> CliPlatform::NewTextCatalog() {
  return std::make_shared<CliTextCatalog>(overrides_);
}

std::shared_ptr<plugin::HostTools> CliPlatform::NewHostTools() { return std::make_shared<CliHostTools>(); }

std::unique_ptr<settings::SettingsView> CliPlatform::NewSettingsView() {
  return std::make_unique<HeadlessSettingsView>();
}

}  // namespace cvimp::host
