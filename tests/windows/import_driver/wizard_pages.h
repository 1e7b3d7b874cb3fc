// The wizard side of the import driver: the page descriptor read as a host reads it, the two page
// containers re-parented into a wizard frame window, and the options page's controls clicked as a user
// clicks them.
#pragma once

#include <string>
#include <vector>

#include "com/automation/windows_headers.h"

namespace cvimp::testhost {

struct PageHandles {
  HWND main = nullptr;      // PIC_MAIN
  HWND advanced = nullptr;  // PIC_ADVANCED
};

// The handles of the descriptor's PIC_MAIN and PIC_ADVANCED pages; raises cvimp::Error when the descriptor
// lacks one of them or names no window.
PageHandles ReadPageHandles(const std::string& descriptor);

// A visible frame window that holds both containers as its children (the host's wizard).
HWND ShowInWizardFrame(const PageHandles& pages);
void CloseWizardFrame(HWND frame);

// One button of a page: its window, its caption and whether it is a radio button or a check box.
struct PageButton {
  HWND window = nullptr;
  std::string caption;
  bool radio = false;
  bool check_box = false;
};

// Every radio button and check box below the container, top to bottom.
std::vector<PageButton> ButtonsOf(HWND container);

// Clicks the button (BM_CLICK) and lets the windows process what follows.
void Click(HWND button);
bool IsChecked(HWND button);

}  // namespace cvimp::testhost
