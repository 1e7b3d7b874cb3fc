// What the plug-in needs of its host. The host hands over a HostApi; every other host object is fetched
// from it (or created from the host library) right before each use and released right after it. Every
// call may raise cvimp::Error; a fetch may also come back empty (the host lacks that service), and using
// an empty object is an error too (Use() below). Which of these errors end a routine and which are
// skipped is the calling routine's error regime.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "catalog/document.h"
#include "common/error.h"
#include "recordset/recordset.h"

namespace cvimp::plugin {

class HostServices {
 public:
  virtual ~HostServices() = default;
  // Status lines come with maximum 0 and position 0; per-item progress with (count, 1-based index).
  virtual void ShowProgress(std::int32_t maximum, std::int32_t position, const std::string& text,
                            std::int32_t reserved) = 0;
  // Returns the user's answer (ignored by the plug-in).
  virtual std::int32_t ShowMessage(const std::string& text, std::int32_t style, const std::string& title) = 0;
  virtual void SaveSettings(const std::string& section, const std::string& settings) = 0;
  // The stored settings element of the section as the document element of a document of its own, or
  // nullptr when nothing was stored.
  virtual std::shared_ptr<const catalog::Document> LoadSettings(const std::string& section) = 0;
  virtual std::string FormatProperty(const std::string& name, const std::string& value) = 0;
  // Names the host's current text resources; handed unchanged to TextCatalog::Load.
  virtual std::string TextSource() = 0;
};

class StringTools {
 public:
  virtual ~StringTools() = default;
  virtual std::string SqlQuote(const std::string& text) = 0;
};

class FileSystem {
 public:
  virtual ~FileSystem() = default;
  virtual bool FileExists(const std::string& path) = 0;
  virtual bool FolderExists(const std::string& path) = 0;
  virtual void CreateFolder(const std::string& path) = 0;
};

class HostTools {
 public:
  virtual ~HostTools() = default;
  virtual std::shared_ptr<StringTools> GetStringTools() = 0;
  virtual std::shared_ptr<FileSystem> GetFileSystem() = 0;
};

class FolderService {
 public:
  virtual ~FolderService() = default;
  // "/" followed by the names of the folder's ancestors and itself, joined by "/".
  virtual std::string HostFolderPath(const std::string& folder_key) = 0;
};

class TextCatalog {
 public:
  virtual ~TextCatalog() = default;
  virtual void Load(const std::string& source, std::int32_t reserved) = 0;
  virtual std::string GetText(const std::string& key) = 0;
  virtual void Close() = 0;
};

class HostApi {
 public:
  virtual ~HostApi() = default;
  virtual std::shared_ptr<HostServices> Services() = 0;
  virtual std::string ProjectPath() = 0;
  virtual std::shared_ptr<HostTools> Tools() = 0;
  // What the plug-in opens its record sets on (Platform::NewRecordset).
  virtual std::shared_ptr<recordset::ActiveConnection> Connection() = 0;
  virtual std::shared_ptr<FolderService> GetFolderService() = 0;
};

// A fetched host object, or the error that using "nothing" is.
template <class T>
T& Use(const std::shared_ptr<T>& object) {
  if (!object) throw Error(ErrorCode::kObjectRequired, "Object variable not set");
  return *object;
}

}  // namespace cvimp::plugin
