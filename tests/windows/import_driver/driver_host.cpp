#include "driver_host.h"

#include <memory>

namespace cvimp::testhost {

namespace {

std::string EscapeXml(const std::string& text) {
  std::string out;
  for (char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      case '\'': out += "&apos;"; break;
      default: out += c;
    }
  }
  return out;
}

// What both host objects share: the parts and the settings storage.
struct HostState {
  DriverHostParts parts;
  std::map<std::string, std::string> settings;

  void Write(const std::string& line) {
    if (!parts.transcript) return;
    std::fputs(line.c_str(), parts.transcript);
    std::fputc('\n', parts.transcript);
    std::fflush(parts.transcript);
  }
};

class HostServices : public DispatchObject {
 public:
  enum : DISPID { kShowProgress = 1, kShowMessage, kSaveSettings, kLoadSettings, kFormatProperty, kTextSource };
  explicit HostServices(std::shared_ptr<HostState> state)
      : DispatchObject(L"DriverHost.Services", {{L"ShowProgress", kShowProgress},
                                                {L"ShowMessage", kShowMessage},
                                                {L"SaveSettings", kSaveSettings},
                                                {L"LoadSettings", kLoadSettings},
                                                {L"FormatProperty", kFormatProperty},
                                                {L"TextSource", kTextSource}}),
        state_(std::move(state)) {}

 protected:
  HRESULT Invoke(DISPID id, WORD, const DISPPARAMS& params, VARIANT* result) override {
    switch (id) {
      case kShowProgress:
        if (LongArg(params, 0, 0) == 0 && LongArg(params, 1, 0) == 0) state_->Write(TextArg(params, 2));
        return S_OK;
      case kShowMessage:
        state_->Write("message: " + TextArg(params, 0) + " | " + std::to_string(LongArg(params, 1, 0)) + " | " +
                      TextArg(params, 2));
        SetInt32(result, 1);
        return S_OK;
      case kSaveSettings:
        state_->settings[TextArg(params, 0)] = TextArg(params, 1);
        return S_OK;
      case kLoadSettings: {
        auto it = state_->settings.find(TextArg(params, 0));
        if (it == state_->settings.end()) {
          if (result) V_VT(result) = VT_EMPTY;
          return S_OK;
        }
        com::DispatchRef doc = com::CreateByProgId("Msxml2.DOMDocument");
        doc.Put("async", com::Variant::Bool(false));
        const std::string xml = "<" + it->first + ">" + it->second + "</" + it->first + ">";
        if (!doc.Call("loadXML", xml).AsBool()) throw Error(ErrorCode::kInvalidArgument, "unreadable settings");
        com::Variant element = doc.Get("documentElement");
        if (result) *result = element.Detach();
        return S_OK;
      }
      case kFormatProperty:
        SetText(result, FormatProperty(TextArg(params, 0), TextArg(params, 1)));
        return S_OK;
      case kTextSource:
        SetText(result, state_->parts.text_source);
        return S_OK;
      default:
        return DISP_E_MEMBERNOTFOUND;
    }
  }

 private:
  std::shared_ptr<HostState> state_;
};

class HostApi : public DispatchObject {
 public:
  enum : DISPID { kServices = 1, kProjectPath, kTools, kConnection, kFolderService };
  explicit HostApi(std::shared_ptr<HostState> state)
      : DispatchObject(L"DriverHost.HostApi", {{L"Services", kServices},
                                               {L"ProjectPath", kProjectPath},
                                               {L"Tools", kTools},
                                               {L"Connection", kConnection},
                                               {L"FolderService", kFolderService}}),
        state_(std::move(state)) {}

 protected:
  HRESULT Invoke(DISPID id, WORD, const DISPPARAMS&, VARIANT* result) override {
    switch (id) {
      case kServices:
        HandOver(result, new HostServices(state_));  // a new object on every request, as a host may do
        return S_OK;
      case kProjectPath:
        SetText(result, state_->parts.project_path);
        return S_OK;
      case kTools: {
        com::DispatchRef tools = com::CreateByProgId("CalvoraVel.Tools");
        if (result) *result = com::Variant::Object(tools.get()).Detach();
        return S_OK;
      }
      case kConnection:
      case kFolderService:
        if (result) *result = com::Variant::Object(state_->parts.connection.get()).Detach();
        return S_OK;
      default:
        return DISP_E_MEMBERNOTFOUND;
    }
  }

 private:
  std::shared_ptr<HostState> state_;
};

}  // namespace

std::string FormatProperty(const std::string& name, const std::string& value) {
  return "<property name=\"" + EscapeXml(name) + "\" value=\"" + EscapeXml(value) + "\"/>";
}

IDispatch* NewDriverHostApi(DriverHostParts parts, std::map<std::string, std::string> saved_settings) {
  auto state = std::make_shared<HostState>();
  state->parts = std::move(parts);
  state->settings = std::move(saved_settings);
  return new HostApi(state);
}

}  // namespace cvimp::testhost
