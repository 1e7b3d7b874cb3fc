// Ctrl-C and SIGTERM during an import, and a closed stdout.
//
// The signal handler only notes the signal. The import runs on the main thread and the host gets control at
// every status text and every item (the plug-in's progress calls); there InterruptingDisplay sees the note
// and calls the run's way out, which rolls the transaction back, removes a database the run was creating and
// ends the process with 128 + the signal's number. The run is not unwound through the plug-in: an error
// raised inside a host call would be skipped by the plug-in's tolerant routines and the run would go on to
// its end, and anything else would cut through plug-in code in the middle of an item. Ending at a host
// call, in ordinary code on the main thread, leaves the database exactly as the rollback leaves it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "host/display.h"

namespace cvimp::cli {

// Notes SIGINT and SIGTERM instead of ending the process; a second one while the first is noted ends it
// the default way.
void InstallInterruptionHandlers();
// Ignores SIGPIPE: a write to a closed stdout fails and the run goes on (main() says so at the end).
void IgnoreClosedOutput();
// The signal noted (SIGINT or SIGTERM), or 0.
int PendingSignal();
// The name of a signal as messages give it ("SIGINT").
std::string SignalName(int signal);

// Passes everything on to `inner`, after calling `stop` with the signal when one is noted. `stop` does not
// return.
class InterruptingDisplay : public host::Display {
 public:
  InterruptingDisplay(std::shared_ptr<host::Display> inner, std::function<void(int)> stop)
      : inner_(std::move(inner)), stop_(std::move(stop)) {}
  void Progress(std::int32_t maximum, std::int32_t position, const std::string& text) override {
    Check();
    inner_->Progress(maximum, position, text);
  }
  void Message(const std::string& text, std::int32_t style, const std::string& title) override {
    Check();
    inner_->Message(text, style, title);
  }
  void Check() {
    if (const int signal = PendingSignal()) stop_(signal);
  }

 private:
  std::shared_ptr<host::Display> inner_;
  std::function<void(int)> stop_;
};

}  // namespace cvimp::cli
