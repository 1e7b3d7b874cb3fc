// Manager: creation and end, and the IImportPlugin members that drive the session (Api, Init, the page
// descriptor, page changes, Dispose). The import run and the table importers live in their own sources.
#include "plugin/manager.h"

#include <utility>

#include "common/error_regime.h"
#include "plugin/import_tracker.h"
#include "settings/frm_vel_xml_settings.h"

namespace cvimp::plugin {

using settings::TrimBlanks;

Manager::Manager(std::shared_ptr<Platform> platform) : platform_(std::move(platform)) {}

void Manager::set_observer(ImportObserver* observer) {
  tracker_ = observer ? std::make_unique<ImportTracker>(*this, *observer) : nullptr;
}

ErrorRegime Manager::SkipFailingStatements() const { return ErrorRegime::SkipFailingStatements(tracker_.get()); }

Manager::~Manager() {
  // A host that releases the object without Dispose still gets the form unloaded and its API released.
  if (initialised_) Dispose();
}

void Manager::Api(std::shared_ptr<HostApi> rhs) {
  const auto on_error = ErrorRegime::SkipFailingStatements();
  on_error([&] { host_api_ = std::move(rhs); });
}

void Manager::CancelImport(bool rhs) {
  // Recorded only: a started run always goes to its end.
  const auto on_error = ErrorRegime::SkipFailingStatements();
  on_error([&] { cancel_requested_ = rhs; });
}

void Manager::Dispose() {
  const auto on_error = ErrorRegime::SkipFailingStatements();
  on_error([&] { settings::frmVelXMLSettings::Unload(); });
  on_error([&] { working_.reset(); });
  on_error([&] { plugin_config_.reset(); });
  on_error([&] { user_config_.reset(); });
  on_error([&] { host_api_.reset(); });
  on_error([&] { initialised_ = false; });
  // The catalogue document stays until the object itself ends.
}

void Manager::Init(const std::string& data_source_id, const std::string& serialized_plugin_config,
                   const std::string& user_config) {
  const auto on_error = ErrorRegime::SkipFailingStatements();
  on_error([&] { data_source_id_ = data_source_id; });
  // Neither configuration is consulted later; a text that does not parse leaves an empty document.
  on_error([&] { plugin_config_ = std::make_unique<catalog::Document>(); });
  on_error([&] { plugin_config_->LoadXml(serialized_plugin_config); });
  // Building the descriptor creates the form and fills it with the saved catalogue path.
  on_error([&] {
    if (TrimBlanks(page_descriptor_).empty()) page_descriptor_ = BuildPageDescriptor();
  });
  on_error([&] { user_config_ = std::make_unique<catalog::Document>(); });
  on_error([&] { user_config_->LoadXml(user_config); });
  on_error([&] { import_started_ = false; });
  on_error([&] { initialised_ = true; });
}

std::string Manager::PagesConfig() {
  const auto on_error = ErrorRegime::SkipFailingStatements();
  on_error([&] {
    if (TrimBlanks(page_descriptor_).empty()) page_descriptor_ = BuildPageDescriptor();
  });
  return page_descriptor_;
}

bool Manager::SelectedPageChanged(const std::string& new_page_key) {
  const auto on_error = ErrorRegime::SkipFailingStatements();
  bool answer = false;
  if (new_page_key == "-1") {
    // The wizard leaves the plug-in's pages.
    on_error([&] { Form().SaveUserSettings(); });
    on_error([&] { answer = !Form().PageChangeCancelled(); });
  } else if (new_page_key == "PIC_ADVANCED") {
    on_error([&] { answer = Form().FilePathSet(); });
  } else {
    on_error([&] { answer = true; });
  }
  return answer;
}

std::string Manager::UserConfig() { return std::string(); }

settings::frmVelXMLSettings& Manager::Form() const { return settings::frmVelXMLSettings::DefaultInstance(platform_); }

// The Pages text for the host's wizard: one Page per container, with its handle, its key and the title and
// subtitle from the host's text resources, inserted as they are.
std::string Manager::BuildPageDescriptor() {
  const auto on_error = ErrorRegime::SkipFailingStatements();
  std::shared_ptr<TextCatalog> texts;
  on_error([&] { texts = Use(platform_).NewTextCatalog(); });
  on_error([&] { Use(texts).Load(Use(Use(host_api_).Services()).TextSource(), 0); });
  on_error([&] { Form().AttachHost(host_api_); });

  std::string pages;
  on_error([&] { pages = "<Pages>"; });
  on_error([&] { pages += "<Page hwnd=\"" + std::to_string(Form().picMain().hWnd()) + "\" key=\"PIC_MAIN\">"; });
  on_error([&] { pages += "<TitleText>" + Use(texts).GetText("impvelxml.page.1.title") + "</TitleText>"; });
  on_error([&] { pages += "<SubTitleText>" + Use(texts).GetText("impvelxml.page.1.subtitle") + "</SubTitleText>"; });
  on_error([&] { pages += "</Page>"; });
  on_error(
      [&] { pages += "<Page hwnd=\"" + std::to_string(Form().picAdvanced().hWnd()) + "\" key=\"PIC_ADVANCED\">"; });
  on_error([&] { pages += "<TitleText>" + Use(texts).GetText("impvelxml.page.2.title") + "</TitleText>"; });
  on_error([&] { pages += "<SubTitleText>" + Use(texts).GetText("impvelxml.page.2.subtitle") + "</SubTitleText>"; });
  on_error([&] { pages += "</Page>"; });
  on_error([&] { pages += "</Pages>"; });

  on_error([&] { Use(texts).Close(); });
  on_error([&] { texts.reset(); });
  return pages;
}

void Manager::RenewWorkingRecordset() { working_ = platform().NewRecordset(); }

}  // namespace cvimp::plugin
