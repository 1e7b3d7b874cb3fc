// The plug-in's two error regimes, as one mechanism.
//
// Every routine of the plug-in names its regime in its first line:
//
//   const ErrorRegime on_error = ErrorRegime::SkipFailingStatements();
//       each statement runs as on_error([&] { ... }); a statement that raises is skipped, whatever it was
//       to assign keeps its old value, and the routine goes on with its next statement.
//
//   const ErrorRegime on_error = ErrorRegime::EndAtFirstError();
//       statements run the same way, but the first error leaves the routine: it propagates to the caller,
//       whose own regime then decides (the import run skips the failed importer and goes on).
//
// Writing every statement through on_error(...) in both regimes keeps the two kinds of routine alike to
// read; the regime in the first line is the one thing that differs.
//
// A regime that skips failing statements may carry a sink, which hears of each statement it skipped (a host
// that reports on the run listens there). The sink only listens: the statement is skipped all the same.
#pragma once

#include <exception>
#include <string>
#include <utility>

namespace cvimp {

// Hears of the statements that a regime skipped.
class SkippedStatementSink {
 public:
  virtual void StatementSkipped(const std::exception& error) = 0;

 protected:
  ~SkippedStatementSink() = default;
};

class ErrorRegime {
 public:
  static ErrorRegime SkipFailingStatements(SkippedStatementSink* sink = nullptr) { return ErrorRegime(true, sink); }
  static ErrorRegime EndAtFirstError() { return ErrorRegime(false, nullptr); }

  bool skips_failing_statements() const { return skip_; }

  // Runs one statement under this regime. Returns true when it completed, false when it failed and was
  // skipped; in the end-at-first-error regime a failure does not return here.
  template <class Statement>
  bool operator()(Statement&& statement) const {
    if (!skip_) {
      std::forward<Statement>(statement)();
      return true;
    }
    try {
      std::forward<Statement>(statement)();
      return true;
    } catch (const std::exception& error) {
      if (sink_) sink_->StatementSkipped(error);
      return false;
    }
  }

 private:
  ErrorRegime(bool skip, SkippedStatementSink* sink) : skip_(skip), sink_(sink) {}
  bool skip_;
  SkippedStatementSink* sink_;
};

}  // namespace cvimp
