// CalvoraVel.Tools: SQL quoting as the command-line host does it, and the Windows file system through the
// wide-character API.
#include <string>

#include "host/host_tools.h"
#include "host_library.h"

namespace cvimp::testhost {

namespace {

DWORD Attributes(const std::wstring& path) { return GetFileAttributesW(path.c_str()); }

bool IsFolder(const std::wstring& path) {
  DWORD a = Attributes(path);
  return a != INVALID_FILE_ATTRIBUTES && (a & FILE_ATTRIBUTE_DIRECTORY);
}

bool IsFile(const std::wstring& path) {
  DWORD a = Attributes(path);
  return a != INVALID_FILE_ATTRIBUTES && !(a & FILE_ATTRIBUTE_DIRECTORY);
}

// Creates the folder and every missing folder above it; an existing folder is left alone.
void CreateFolderWithParents(const std::wstring& path) {
  std::wstring folder = path;
  while (folder.size() > 1 && (folder.back() == L'\\' || folder.back() == L'/')) folder.pop_back();
  if (folder.empty() || IsFolder(folder)) return;
  std::size_t cut = folder.find_last_of(L"\\/");
  if (cut != std::wstring::npos && cut > 0 && folder[cut - 1] != L':') CreateFolderWithParents(folder.substr(0, cut));
  if (!CreateDirectoryW(folder.c_str(), nullptr) && !IsFolder(folder))
    throw Error(ErrorCode::kInvalidArgument, "The folder " + Narrow(folder) + " cannot be created");
}

class StringTools : public DispatchObject {
 public:
  enum : DISPID { kSqlQuote = 1 };
  StringTools() : DispatchObject(L"CalvoraVel.StringTools", {{L"SqlQuote", kSqlQuote}}) {}

 protected:
  HRESULT Invoke(DISPID id, WORD, const DISPPARAMS& params, VARIANT* result) override {
    if (id != kSqlQuote) return DISP_E_MEMBERNOTFOUND;
    SetText(result, host::CliStringTools().SqlQuote(TextArg(params, 0)));
    return S_OK;
  }
};

class FileSystem : public DispatchObject {
 public:
  enum : DISPID { kFileExists = 1, kFolderExists, kCreateFolder };
  FileSystem()
      : DispatchObject(L"CalvoraVel.FileSystem",
                       {{L"FileExists", kFileExists}, {L"FolderExists", kFolderExists}, {L"CreateFolder", kCreateFolder}}) {}

 protected:
  HRESULT Invoke(DISPID id, WORD, const DISPPARAMS& params, VARIANT* result) override {
    const std::wstring path = Widen(TextArg(params, 0));
    switch (id) {
      case kFileExists:
        SetBool(result, !path.empty() && IsFile(path));
        return S_OK;
      case kFolderExists:
        SetBool(result, !path.empty() && IsFolder(path));
        return S_OK;
      case kCreateFolder:
        CreateFolderWithParents(path);
        return S_OK;
      default:
        return DISP_E_MEMBERNOTFOUND;
    }
  }
};

class HostTools : public DispatchObject {
 public:
  enum : DISPID { kStringTools = 1, kFileSystem };
  HostTools() : DispatchObject(L"CalvoraVel.Tools", {{L"StringTools", kStringTools}, {L"FileSystem", kFileSystem}}) {}

 protected:
  HRESULT Invoke(DISPID id, WORD, const DISPPARAMS&, VARIANT* result) override {
    switch (id) {
      case kStringTools:
        HandOver(result, new StringTools());
        return S_OK;
      case kFileSystem:
        HandOver(result, new FileSystem());
        return S_OK;
      default:
        return DISP_E_MEMBERNOTFOUND;
    }
  }
};

}  // namespace

IDispatch* NewHostTools() { return new HostTools(); }

}  // namespace cvimp::testhost
