// The main of the Windows unit tests: every test runs in a single-threaded apartment, as the plug-in does
// inside its host.
#include <gtest/gtest.h>

#include "com/automation/windows_headers.h"

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  if (FAILED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 2;
  const int result = RUN_ALL_TESTS();
  ::CoUninitialize();
  return result;
}
