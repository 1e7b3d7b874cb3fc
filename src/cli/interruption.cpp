#include "cli/interruption.h"

#include <signal.h>

namespace cvimp::cli {
namespace {

volatile sig_atomic_t pending_signal = 0;

extern "C" void NoteSignal(int signal) {
  if (pending_signal != 0) {
    // Asked twice: end now, the default way.
    ::signal(signal, SIG_DFL);
    ::raise(signal);
    return;
  }
  pending_signal = signal;
}

}  // namespace

void InstallInterruptionHandlers() {
  struct sigaction action {};
  action.sa_handler = NoteSignal;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

void IgnoreClosedOutput() { ::signal(SIGPIPE, SIG_IGN); }

int PendingSignal() { return pending_signal; }

std::string SignalName(int signal) {
  if (signal == SIGINT) return "SIGINT";
  if (signal == SIGTERM) return "SIGTERM";
  return "signal " + std::to_string(signal);
}

}  // namespace cvimp::cli
