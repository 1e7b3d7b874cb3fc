// A host for tests: every service records what the plug-in asked of it, and any of them can be taken
// away (set to nullptr) to exercise the failure paths.
#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "plugin/host_contract.h"
#include "plugin/platform.h"
#include "settings/frm_vel_xml_settings.h"

namespace cvimp::plugin::testing {

struct ProgressCall {
  std::int32_t maximum;
  std::int32_t position;
  std::string text;
  bool operator==(const ProgressCall&) const = default;
};

struct MessageCall {
  std::string text;
  std::int32_t style;
  std::string title;
  bool operator==(const MessageCall&) const = default;
};

// What the fake host's objects share, so that a test can look at it after the plug-in released them.
struct FakeHostState {
  std::vector<ProgressCall> progress;
  std::vector<MessageCall> messages;
  std::map<std::string, std::string> saved_settings;  // section -> settings text
  std::map<std::string, std::string> texts;           // TextCatalog key -> text
  std::string text_source = "de";
  std::vector<std::string> loaded_sources;  // what TextCatalog::Load was given
  int text_catalogs_closed = 0;
  std::vector<std::string> existing_files;
  std::vector<std::string> existing_folders;
  std::vector<std::string> created_folders;
  struct Copy {
    std::string existing, target;
    bool fail_if_exists;
    bool operator==(const Copy&) const = default;
  };
  std::vector<Copy> copies;                         // every file copy asked of the platform, in order
  std::map<std::string, std::string> folder_paths;  // folder key -> HostFolderPath
  int yields = 0;
  int services_fetched = 0;
  std::int64_t pic_main = 1234;
  std::int64_t pic_advanced = 5678;
  std::vector<settings::FileDialogRequest> dialogs;
  std::string dialog_answer;  // empty: the user cancels
  int views_bound = 0;
  std::vector<std::string> paths_shown;  // the path field each time the form told its view to show anew

  // Status lines only (ShowProgress with maximum 0), in order.
  std::vector<std::string> StatusTexts() const {
    std::vector<std::string> out;
    for (const auto& p : progress)
      if (p.maximum == 0) out.push_back(p.text);
    return out;
  }
};

class FakeServices : public HostServices {
 public:
  explicit FakeServices(std::shared_ptr<FakeHostState> s) : s_(std::move(s)) {}
  void ShowProgress(std::int32_t maximum, std::int32_t position, const std::string& text, std::int32_t) override {
    s_->progress.push_back({maximum, position, text});
  }
  std::int32_t ShowMessage(const std::string& text, std::int32_t style, const std::string& title) override {
    s_->messages.push_back({text, style, title});
    return 1;
  }
  void SaveSettings(const std::string& section, const std::string& settings) override {
    s_->saved_settings[section] = settings;
  }
  std::shared_ptr<const catalog::Document> LoadSettings(const std::string& section) override {
    auto it = s_->saved_settings.find(section);
    if (it == s_->saved_settings.end()) return nullptr;
    auto doc = std::make_shared<catalog::Document>();
    doc->LoadXml("<" + section + ">" + it->second + "</" + section + ">");
    return doc;
  }
  std::string FormatProperty(const std::string& name, const std::string& value) override {
    return "<property name=\"" + name + "\" value=\"" + value + "\"/>";
  }
  std::string TextSource() override { return s_->text_source; }

 private:
  std::shared_ptr<FakeHostState> s_;
};

class FakeStringTools : public StringTools {
 public:
  std::string SqlQuote(const std::string& text) override {
    std::string out;
    for (char c : text) {
      out += c;
      if (c == '\'') out += '\'';
    }
    return out;
  }
};

class FakeFileSystem : public FileSystem {
 public:
  explicit FakeFileSystem(std::shared_ptr<FakeHostState> s) : s_(std::move(s)) {}
  bool FileExists(const std::string& path) override { return Has(s_->existing_files, path); }
  bool FolderExists(const std::string& path) override { return Has(s_->existing_folders, path); }
  void CreateFolder(const std::string& path) override {
    s_->created_folders.push_back(path);
    s_->existing_folders.push_back(path);
  }

 private:
  static bool Has(const std::vector<std::string>& v, const std::string& x) {
    for (const auto& e : v)
      if (e == x) return true;
    return false;
  }
  std::shared_ptr<FakeHostState> s_;
};

class FakeTools : public HostTools {
 public:
  explicit FakeTools(std::shared_ptr<FakeHostState> s) : s_(std::move(s)) {}
  std::shared_ptr<StringTools> GetStringTools() override { return std::make_shared<FakeStringTools>(); }
  std::shared_ptr<FileSystem> GetFileSystem() override { return std::make_shared<FakeFileSystem>(s_); }

 private:
  std::shared_ptr<FakeHostState> s_;
};

class FakeFolderService : public FolderService {
 public:
  explicit FakeFolderService(std::shared_ptr<FakeHostState> s) : s_(std::move(s)) {}
  std::string HostFolderPath(const std::string& key) override {
    auto it = s_->folder_paths.find(key);
    if (it == s_->folder_paths.end()) throw Error(ErrorCode::kInvalidArgument, "no folder " + key);
    return it->second;
  }

 private:
  std::shared_ptr<FakeHostState> s_;
};

class FakeTextCatalog : public TextCatalog {
 public:
  explicit FakeTextCatalog(std::shared_ptr<FakeHostState> s) : s_(std::move(s)) {}
  void Load(const std::string& source, std::int32_t) override { s_->loaded_sources.push_back(source); }
  std::string GetText(const std::string& key) override {
    auto it = s_->texts.find(key);
    return it == s_->texts.end() ? std::string() : it->second;
  }
  void Close() override { ++s_->text_catalogs_closed; }

 private:
  std::shared_ptr<FakeHostState> s_;
};

// The HostApi. Each service can be removed: has_services = false makes Services() return nothing.
class FakeHostApi : public HostApi {
 public:
  explicit FakeHostApi(std::shared_ptr<FakeHostState> s) : s_(std::move(s)) {}
  std::shared_ptr<HostServices> Services() override {
    ++s_->services_fetched;
    return has_services ? std::make_shared<FakeServices>(s_) : nullptr;
  }
  std::string ProjectPath() override { return project_path; }
  std::shared_ptr<HostTools> Tools() override { return has_tools ? std::make_shared<FakeTools>(s_) : nullptr; }
  std::shared_ptr<recordset::ActiveConnection> Connection() override { return connection; }
  std::shared_ptr<FolderService> GetFolderService() override {
    return folder_service ? folder_service : std::make_shared<FakeFolderService>(s_);
  }

  bool has_services = true;
  bool has_tools = true;
  std::string project_path;
  std::shared_ptr<recordset::Connection> connection;
  // When set, the folder service handed out instead of the fake one that answers from
  // FakeHostState::folder_paths (for example the command-line host's service over the test database).
  std::shared_ptr<FolderService> folder_service;

 private:
  std::shared_ptr<FakeHostState> s_;
};

class FakeView : public settings::SettingsView {
 public:
  explicit FakeView(std::shared_ptr<FakeHostState> s) : s_(std::move(s)) {}
  std::int64_t PicMainHandle() override { return s_->pic_main; }
  std::int64_t PicAdvancedHandle() override { return s_->pic_advanced; }
  std::string ShowOpenDialog(const settings::FileDialogRequest& request) override {
    s_->dialogs.push_back(request);
    return s_->dialog_answer.empty() ? request.initial_file : s_->dialog_answer;
  }
  void Bind(settings::frmVelXMLSettings& form) override {
    form_ = &form;
    ++s_->views_bound;
  }
  void ControlsChanged() override { s_->paths_shown.push_back(form_ ? form_->txtBrowseFile().Text : "(unbound)"); }

 private:
  std::shared_ptr<FakeHostState> s_;
  settings::frmVelXMLSettings* form_ = nullptr;
};

class FakePlatform : public Platform {
 public:
  explicit FakePlatform(std::shared_ptr<FakeHostState> s) : s_(std::move(s)) {}
  std::shared_ptr<TextCatalog> NewTextCatalog() override { return std::make_shared<FakeTextCatalog>(s_); }
  std::shared_ptr<HostTools> NewHostTools() override { return has_tools ? std::make_shared<FakeTools>(s_) : nullptr; }
  std::unique_ptr<recordset::Recordset> NewRecordset() override { return recordset::NewRecordset(); }
  std::unique_ptr<settings::SettingsView> NewSettingsView() override { return std::make_unique<FakeView>(s_); }
  void YieldToMessageLoop() override { ++s_->yields; }
  // Records the copy; it succeeds when the source is one of the existing files and the target is not (or
  // may be overwritten), and the target then exists.
  bool CopyFile(const std::string& existing, const std::string& target, bool fail_if_exists) override {
    s_->copies.push_back({existing, target, fail_if_exists});
    auto has = [&](const std::string& f) {
      return std::find(s_->existing_files.begin(), s_->existing_files.end(), f) != s_->existing_files.end();
    };
    if (!has(existing) || (fail_if_exists && has(target))) return false;
    if (!has(target)) s_->existing_files.push_back(target);
    return true;
  }

  bool has_tools = true;

 private:
  std::shared_ptr<FakeHostState> s_;
};

// A fake host and platform around one shared state.
struct FakeHost {
  std::shared_ptr<FakeHostState> state = std::make_shared<FakeHostState>();
  std::shared_ptr<FakeHostApi> api = std::make_shared<FakeHostApi>(state);
  std::shared_ptr<FakePlatform> platform = std::make_shared<FakePlatform>(state);
};

}  // namespace cvimp::plugin::testing
