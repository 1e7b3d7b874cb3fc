// The error that every failing operation of the plug-in core raises: a failing host call, a record-set
// operation the layer refuses, a missing document node. Which routine it ends, or which statement it skips,
// is decided by the error regime of the routine it is raised in (error_regime.h).
#pragma once

#include <stdexcept>
#include <string>

namespace cvimp {

// Error numbers, as an automation client would see them.
enum class ErrorCode : int {
  kInvalidArgument = 5,     // "Invalid procedure call or argument"
  kOverflow = 6,            // a number outside the target's range
  kTypeMismatch = 13,       // a value that cannot become the target's type
  kObjectRequired = 91,     // a host object or document node that is not there
  kNotFound = 3265,         // a field name the record set does not have
  kClosed = 3704,           // operation on a closed record set
  kOpen = 3705,             // operation on an open record set
  kDatabase = -2147467259,  // the database refused a statement or a save
  kReadOnly = 3251,         // writing through a read-only record set
  kNoCurrentRecord = 3021,  // no current record
};

class Error : public std::runtime_error {
 public:
  Error(ErrorCode code, const std::string& message) : std::runtime_error(message), code_(code) {}
  ErrorCode code() const { return code_; }

 private:
  ErrorCode code_;
};

}  // namespace cvimp
