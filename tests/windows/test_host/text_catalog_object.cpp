// CalvoraVel.TextCatalog over the command-line host's text catalogue (the same resource texts).
#include <memory>

#include "host/text_catalog.h"
#include "host_library.h"

namespace cvimp::testhost {

namespace {

class TextCatalog : public DispatchObject {
 public:
  enum : DISPID { kLoad = 1, kGetText, kClose };
  TextCatalog()
      : DispatchObject(L"CalvoraVel.TextCatalog", {{L"Load", kLoad}, {L"GetText", kGetText}, {L"Close", kClose}}),
        texts_(std::make_unique<host::CliTextCatalog>()) {}

 protected:
  HRESULT Invoke(DISPID id, WORD, const DISPPARAMS& params, VARIANT* result) override {
    switch (id) {
      case kLoad: {
        std::string source = TextArg(params, 0);
        const std::string suffix = kRegionsSourceSuffix;
        host::TextOverrides overrides;
        if (source.size() >= suffix.size() && source.compare(source.size() - suffix.size(), suffix.size(), suffix) == 0) {
          source.resize(source.size() - suffix.size());
          overrides[host::kRegionsSwitch] = "True";
        }
        texts_ = std::make_unique<host::CliTextCatalog>(overrides);
        texts_->Load(source, LongArg(params, 1, 0));
        return S_OK;
      }
      case kGetText:
        SetText(result, texts_->GetText(TextArg(params, 0)));
        return S_OK;
      case kClose:
        texts_->Close();
        return S_OK;
      default:
        return DISP_E_MEMBERNOTFOUND;
    }
  }

 private:
  std::unique_ptr<host::CliTextCatalog> texts_;
};

}  // namespace

IDispatch* NewTextCatalog() { return new TextCatalog(); }

}  // namespace cvimp::testhost
