// The host contract over automation: the host's objects called by member name through IDispatch. Each
// wrapper owns one reference to its object for its own lifetime; the core fetches every object other than
// the HostApi right before each use and drops it right after, so the reference is released then. A host
// member that answers Nothing gives nullptr; every failing call raises cvimp::Error (AutomationError).
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "com/automation/dispatch_call.h"
#include "com/automation/variant.h"
#include "plugin/host_contract.h"
#include "recordset/recordset.h"

namespace cvimp::com {

// The database connection as the host handed it out (HostApi.Connection): usually an ADO connection
// object, kept as the VARIANT it came in, to be handed on to ADO record sets.
class AutomationConnection : public recordset::ActiveConnection {
 public:
  explicit AutomationConnection(Variant connection) : connection_(std::move(connection)) {}
  const Variant& connection() const { return connection_; }

 private:
  Variant connection_;
};

class AutomationHostServices : public plugin::HostServices {
 public:
  explicit AutomationHostServices(DispatchRef object) : object_(std::move(object)) {}
  void ShowProgress(std::int32_t maximum, std::int32_t position, const std::string& text,
                    std::int32_t reserved) override;
  std::int32_t ShowMessage(const std::string& text, std::int32_t style, const std::string& title) override;
  void SaveSettings(const std::string& section, const std::string& settings) override;
  // The host answers an XML node (or Nothing); its `xml` text is loaded into a document of its own, whose
  // document element is then the stored settings element. Nothing or an empty text gives nullptr.
  std::shared_ptr<const catalog::Document> LoadSettings(const std::string& section) override;
  std::string FormatProperty(const std::string& name, const std::string& value) override;
  std::string TextSource() override;

 private:
  DispatchRef object_;
};

class AutomationStringTools : public plugin::StringTools {
 public:
  explicit AutomationStringTools(DispatchRef object) : object_(std::move(object)) {}
  std::string SqlQuote(const std::string& text) override;

 private:
  DispatchRef object_;
};

class AutomationFileSystem : public plugin::FileSystem {
 public:
  explicit AutomationFileSystem(DispatchRef object) : object_(std::move(object)) {}
  bool FileExists(const std::string& path) override;
  bool FolderExists(const std::string& path) override;
  void CreateFolder(const std::string& path) override;

 private:
  DispatchRef object_;
};

class AutomationHostTools : public plugin::HostTools {
 public:
  explicit AutomationHostTools(DispatchRef object) : object_(std::move(object)) {}
  std::shared_ptr<plugin::StringTools> GetStringTools() override;
  std::shared_ptr<plugin::FileSystem> GetFileSystem() override;

 private:
  DispatchRef object_;
};

class AutomationFolderService : public plugin::FolderService {
 public:
  explicit AutomationFolderService(DispatchRef object) : object_(std::move(object)) {}
  std::string HostFolderPath(const std::string& folder_key) override;

 private:
  DispatchRef object_;
};

class AutomationTextCatalog : public plugin::TextCatalog {
 public:
  explicit AutomationTextCatalog(DispatchRef object) : object_(std::move(object)) {}
  void Load(const std::string& source, std::int32_t reserved) override;
  std::string GetText(const std::string& key) override;
  void Close() override;

 private:
  DispatchRef object_;
};

class AutomationHostApi : public plugin::HostApi {
 public:
  explicit AutomationHostApi(DispatchRef object) : object_(std::move(object)) {}
  std::shared_ptr<plugin::HostServices> Services() override;
  std::string ProjectPath() override;
  std::shared_ptr<plugin::HostTools> Tools() override;
  // Nothing (or an empty VARIANT) gives nullptr; anything else an AutomationConnection holding it.
  std::shared_ptr<recordset::ActiveConnection> Connection() override;
  std::shared_ptr<plugin::FolderService> GetFolderService() override;

  const DispatchRef& object() const { return object_; }

 private:
  DispatchRef object_;
};

}  // namespace cvimp::com
