// For tests: an automation object put together from handlers, one per member name, so that a test can
// play a host object (or ADO) in C++ and see what the code under test asked of it.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "com/automation/dispatch_object.h"

namespace cvimp::com::testing {

class LambdaObject : public DispatchObject {
 public:
  // Runs one call of the member: the call kind, the arguments and where the result goes (may be null).
  using Handler = std::function<void(WORD flags, const DispatchArguments& args, VARIANT* result)>;
  struct Entry {
    const wchar_t* name;  // a literal: it must outlive the object
    Handler handler;
  };

  // A new object with one reference, which the returned DispatchRef owns.
  static DispatchRef New(std::vector<Entry> entries) {
    return DispatchRef::Attach(new LambdaObject(std::move(entries)));
  }

 protected:
  using DispatchObject::Invoke;
  HRESULT Invoke(DISPID id, WORD flags, const DISPPARAMS& params, VARIANT* result) override {
    const std::size_t index = static_cast<std::size_t>(id - 1);
    if (index >= handlers_.size()) return DISP_E_MEMBERNOTFOUND;
    handlers_[index](flags, DispatchArguments(params), result);
    return S_OK;
  }

 private:
  static std::vector<DispatchMember> Members(const std::vector<Entry>& entries) {
    std::vector<DispatchMember> members;
    for (std::size_t i = 0; i < entries.size(); ++i) members.push_back({entries[i].name, static_cast<DISPID>(i + 1)});
    return members;
  }
  explicit LambdaObject(std::vector<Entry> entries) : DispatchObject(L"Test.Object", Members(entries)) {
    for (Entry& e : entries) handlers_.push_back(std::move(e.handler));
  }

  std::vector<Handler> handlers_;
};

// A handler that answers a fixed value to every call.
inline LambdaObject::Handler Answer(Variant value) {
  return [value](WORD, const DispatchArguments&, VARIANT* result) { SetResult(result, value); };
}

}  // namespace cvimp::com::testing
