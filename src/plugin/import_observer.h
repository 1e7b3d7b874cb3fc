// What a host may learn of an import while it runs: an optional listener that the host sets on the Manager
// in C++ (it is no part of the plug-in's host contract). Every method has an empty default, so a host
// overrides only what it wants to hear. The observer only listens: the run does the same with or without one,
// and without one nothing of this runs at all.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace cvimp::plugin {

// Where and why a statement failed: the section and the item in hand (1-based position within its section,
// 0 before the first item or after the last), its natural key as "Field=value" pairs, its line in the
// catalogue file (0 when not known), what was being done (a field written, the record saved, or else the last
// statement text the run opened a record set on), and the error.
struct ImportProblem {
  std::string section;
  std::size_t position = 0;
  std::string key;
  std::size_t line = 0;
  std::string statement;
  std::string error;
  int error_code = 0;  // the plug-in's error number (common/error.h), 0 for any other failure
};

class ImportObserver {
 public:
  virtual ~ImportObserver() = default;

  // Whether the record events should carry the item's key; an observer that only counts them says no, and
  // the run spares itself the texts.
  virtual bool wants_keys() const { return true; }

  // The run calls an importer of the section, whose catalogue section holds `item_count` items.
  virtual void ImporterStarted(std::string_view /*section*/, std::size_t /*item_count*/) {}
  // An item's record was added to the table, or an existing one was written with the item's values.
  virtual void RecordCreated(std::string_view /*table*/, const std::string& /*key*/) {}
  virtual void RecordUpdated(std::string_view /*table*/, const std::string& /*key*/) {}
  // The update mode kept the item out: its record exists and mode 1 adds only new ones (left alone), or it
  // does not exist and mode 2 only updates (passed over).
  virtual void ItemLeftAlone(std::string_view /*table*/, const std::string& /*key*/) {}
  virtual void ItemPassedOver(std::string_view /*table*/, const std::string& /*key*/) {}
  // An importer that skips failing statements skipped one, and went on.
  virtual void StatementSkipped(const ImportProblem& /*problem*/) {}
  // An importer that ends at its first error was ended by one; the run goes on with the next importer.
  virtual void ImporterEnded(const ImportProblem& /*problem*/) {}
  // The importer returned to the run after its last item.
  virtual void ImporterFinished(std::string_view /*section*/) {}
};

}  // namespace cvimp::plugin
