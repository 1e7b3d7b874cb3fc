// For tests: the code of the cvimp::Error that a statement raises.
#pragma once

#include <gtest/gtest.h>

#include <functional>

#include "common/error.h"

namespace cvimp::testing {

// The code of the cvimp::Error that `statement` raises; a test failure when it raises none.
inline ErrorCode RaisedCode(const std::function<void()>& statement) {
  try {
    statement();
  } catch (const Error& e) {
    return e.code();
  }
  ADD_FAILURE() << "the statement raised no cvimp::Error";
  return ErrorCode{};
}

}  // namespace cvimp::testing
