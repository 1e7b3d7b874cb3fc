#include "com/automation_host.h"

#include "catalog/document.h"
#include "common/error.h"

namespace cvimp::com {

namespace {

// The wrapper of the object that a member answered, or nullptr for Nothing.
template <class Wrapper>
std::shared_ptr<Wrapper> Wrap(const Variant& answer) {
  DispatchRef object = DispatchRef::FromVariant(answer.get());
  if (!object) return nullptr;
  return std::make_shared<Wrapper>(std::move(object));
}

}  // namespace

// ---- HostServices ----

void AutomationHostServices::ShowProgress(std::int32_t maximum, std::int32_t position, const std::string& text,
                                          std::int32_t reserved) {
  object_.Call("ShowProgress", maximum, position, text, reserved);
}

std::int32_t AutomationHostServices::ShowMessage(const std::string& text, std::int32_t style,
                                                 const std::string& title) {
  return object_.Call("ShowMessage", text, style, title).AsInt32();
}

void AutomationHostServices::SaveSettings(const std::string& section, const std::string& settings) {
  object_.Call("SaveSettings", section, settings);
}

std::shared_ptr<const catalog::Document> AutomationHostServices::LoadSettings(const std::string& section) {
  const DispatchRef node = DispatchRef::FromVariant(object_.Call("LoadSettings", section).get());
  if (!node) return nullptr;
  const std::string xml = node.Call("xml").AsText();
  if (xml.empty()) return nullptr;
  auto document = std::make_shared<catalog::Document>();
  if (!document->LoadXml(xml))
    throw Error(ErrorCode::kInvalidArgument,
                "LoadSettings: the stored settings are not XML: " + document->load_error().reason);
  return document;
}

std::string AutomationHostServices::FormatProperty(const std::string& name, const std::string& value) {
  return object_.Call("FormatProperty", name, value).AsText();
}

std::string AutomationHostServices::TextSource() { return object_.Call("TextSource").AsText(); }

// ---- HostTools and what hangs below it ----

std::string AutomationStringTools::SqlQuote(const std::string& text) { return object_.Call("SqlQuote", text).AsText(); }

bool AutomationFileSystem::FileExists(const std::string& path) { return object_.Call("FileExists", path).AsBool(); }

bool AutomationFileSystem::FolderExists(const std::string& path) { return object_.Call("FolderExists", path).AsBool(); }

void AutomationFileSystem::CreateFolder(const std::string& path) { object_.Call("CreateFolder", path); }

std::shared_ptr<plugin::StringTools> AutomationHostTools::GetStringTools() {
  return Wrap<AutomationStringTools>(object_.Call("StringTools"));
}

std::shared_ptr<plugin::FileSystem> AutomationHostTools::GetFileSystem() {
  return Wrap<AutomationFileSystem>(object_.Call("FileSystem"));
}

std::string AutomationFolderService::HostFolderPath(const std::string& folder_key) {
  return object_.Call("HostFolderPath", folder_key).AsText();
}

// ---- TextCatalog ----

void AutomationTextCatalog::Load(const std::string& source, std::int32_t reserved) {
  object_.Call("Load", source, reserved);
}

std::string AutomationTextCatalog::GetText(const std::string& key) { return object_.Call("GetText", key).AsText(); }

void AutomationTextCatalog::Close() { object_.Call("Close"); }

// ---- HostApi ----

std::shared_ptr<plugin::HostServices> AutomationHostApi::Services() {
  return Wrap<AutomationHostServices>(object_.Call("Services"));
}

std::string AutomationHostApi::ProjectPath() { return object_.Call("ProjectPath").AsText(); }

std::shared_ptr<plugin::HostTools> AutomationHostApi::Tools() {
  return Wrap<AutomationHostTools>(object_.Call("Tools"));
}

std::shared_ptr<recordset::ActiveConnection> AutomationHostApi::Connection() {
  Variant connection = Dereferenced(object_.Call("Connection").get());
  if (connection.is_nothing()) return nullptr;
  return std::make_shared<AutomationConnection>(std::move(connection));
}

std::shared_ptr<plugin::FolderService> AutomationHostApi::GetFolderService() {
  return Wrap<AutomationFolderService>(object_.Call("FolderService"));
}

}  // namespace cvimp::com
