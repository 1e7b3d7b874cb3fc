// Imports a catalogue through the Windows plug-in as a host application does, into a shop database of the
// test host library:
//
//   cvimp_import_driver CATALOG --db DB --project DIR [--mode 0|1|2] [--media] [--regions] [--transcript FILE]
//
// The host: create CVImpVelXMLCat.Manager, hand it a HostApi (driver_host.h) whose saved settings hold the
// catalogue path, Init, read PagesConfig, re-parent the two pages into a wizard frame, move to the options
// page (SelectedPageChanged("PIC_ADVANCED") must answer True), click the update-mode option and the media
// check box as a user would, leave the pages (SelectedPageChanged("-1")), ExecuteImport inside one
// transaction of the shop connection, Dispose. Status lines and messages go to the transcript (stdout
// without one). Exit code 0 when every step went as a host expects, 1 otherwise (the reason on stderr),
// 2 for a bad command line.
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "com/automation/dispatch_call.h"
#include "driver_host.h"
#include "wizard_pages.h"

using namespace cvimp;
using namespace cvimp::testhost;

namespace {

const char* const kModeCaptions[] = {"Neue Daten zufügen, bestehende aktualisieren", "Nur neue Daten zufügen",
                                     "Nur bestehende Daten aktualisieren"};
const char* const kMediaCaption = "&Medien importieren";

struct Options {
  std::string catalog, db, project, transcript;
  int mode = 0;
  bool media = false;
  bool regions = false;
};

bool ParseOptions(const std::vector<std::string>& args, Options& o) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    auto value = [&](std::string& out) {
      if (i + 1 >= args.size()) return false;
      out = args[++i];
      return true;
    };
    std::string mode;
    if (a == "--db") {
      if (!value(o.db)) return false;
    } else if (a == "--project") {
      if (!value(o.project)) return false;
    } else if (a == "--transcript") {
      if (!value(o.transcript)) return false;
    } else if (a == "--mode") {
      if (!value(mode) || mode.size() != 1 || mode[0] < '0' || mode[0] > '2') return false;
      o.mode = mode[0] - '0';
    } else if (a == "--media") {
      o.media = true;
    } else if (a == "--regions") {
      o.regions = true;
    } else if (o.catalog.empty() && !a.empty() && a[0] != '-') {
      o.catalog = a;
    } else {
      return false;
    }
  }
  return !o.catalog.empty() && !o.db.empty() && !o.project.empty();
}

void Require(bool condition, const std::string& what) {
  if (!condition) throw Error(ErrorCode::kInvalidArgument, what);
}

// The options page as the user leaves it: the update mode's option and the media check box as wanted.
void ChooseOptions(HWND advanced, int mode, bool media) {
  std::vector<PageButton> buttons = ButtonsOf(advanced);
  std::vector<PageButton> radios;
  const PageButton* media_box = nullptr;
  for (const PageButton& b : buttons) {
    if (b.radio) radios.push_back(b);
    if (b.check_box && b.caption == kMediaCaption) media_box = &b;
  }
  Require(radios.size() == 3, "the options page has " + std::to_string(radios.size()) + " option buttons, not 3");
  Require(media_box != nullptr, "the options page has no check box \"" + std::string(kMediaCaption) + "\"");
  for (int i = 0; i < 3; ++i)
    Require(radios[i].caption == kModeCaptions[i],
            "option " + std::to_string(i) + " reads \"" + radios[i].caption + "\"");
  // A fresh form: mode 0 selected, media off.
  Require(IsChecked(radios[0].window) && !IsChecked(radios[1].window) && !IsChecked(radios[2].window),
          "a fresh options page does not have the first update mode selected");
  Require(!IsChecked(media_box->window), "a fresh options page has the media check box checked");

  Click(radios[mode].window);
  if (media) Click(media_box->window);
  for (int i = 0; i < 3; ++i)
    Require(IsChecked(radios[i].window) == (i == mode), "the click did not select update mode " + std::to_string(mode));
  Require(IsChecked(media_box->window) == media, "the click did not set the media check box");
}

int Run(const Options& o) {
  std::FILE* transcript = stdout;
  if (!o.transcript.empty()) transcript = _wfopen(com::Widen(o.transcript).c_str(), L"wb");
  Require(transcript != nullptr, "cannot write " + o.transcript);

  com::DispatchRef connection = com::CreateByProgId("CVImpTest.ShopConnection");
  connection.Call("Open", o.db);

  DriverHostParts parts;
  parts.project_path = o.project;
  parts.text_source = o.regions ? "de;regions" : "de";
  parts.connection = connection;
  parts.transcript = transcript;
  com::DispatchRef host =
      com::DispatchRef::Attach(NewDriverHostApi(parts, {{"SETTINGS", FormatProperty("vel-xml-path", o.catalog)}}));

  com::DispatchRef manager = com::CreateByProgId("CVImpVelXMLCat.Manager");
  manager.PutRef("Api", host);
  manager.Call("Init", std::string(), std::string(), std::string());
  const std::string descriptor = manager.Get("PagesConfig").AsText();
  PageHandles pages = ReadPageHandles(descriptor);
  HWND frame = ShowInWizardFrame(pages);

  Require(manager.Call("SelectedPageChanged", "PIC_MAIN").AsBool(), "SelectedPageChanged(PIC_MAIN) answered False");
  Require(manager.Call("SelectedPageChanged", "PIC_ADVANCED").AsBool(),
          "SelectedPageChanged(PIC_ADVANCED) answered False for the saved catalogue path");
  ChooseOptions(pages.advanced, o.mode, o.media);
  Require(manager.Call("SelectedPageChanged", "-1").AsBool(), "SelectedPageChanged(-1) answered False");

  connection.Call("BeginTrans");
  manager.Call("ExecuteImport");
  connection.Call("CommitTrans");

  CloseWizardFrame(frame);
  manager.Call("Dispose");
  manager.Reset();
  host.Reset();
  connection.Call("Close");
  if (transcript != stdout) std::fclose(transcript);
  return 0;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  std::vector<std::string> args;
  for (int i = 1; i < argc; ++i) args.push_back(com::Narrow(argv[i]));
  Options options;
  if (!ParseOptions(args, options)) {
    std::fprintf(stderr,
                 "usage: cvimp_import_driver CATALOG --db DB --project DIR [--mode 0|1|2] [--media] [--regions] "
                 "[--transcript FILE]\n");
    return 2;
  }
  if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 1;
  int rc = 1;
  try {
    rc = Run(options);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "cvimp_import_driver: %s\n", e.what());
  }
  CoUninitialize();
  return rc;
}
