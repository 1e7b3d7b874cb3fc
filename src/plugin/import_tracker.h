// The Manager's side of an observed run: it keeps which section and item are in hand and what is being done
// with them, and turns what the importers report into the observer's events. The Manager holds one only while
// a host has set an observer; the importers ask for it (Manager::tracker()) and do nothing more without it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "catalog/document.h"
#include "common/error_regime.h"
#include "plugin/import_observer.h"

namespace cvimp::plugin {

class Manager;

class ImportTracker final : public SkippedStatementSink {
 public:
  ImportTracker(const Manager& manager, ImportObserver& observer);

  ImportObserver& observer() const { return observer_; }

  // The run: an importer starts, is ended by an error, or returns after its last item.
  void SectionStarted(std::string_view section, std::size_t item_count);
  void SectionEnded(const std::exception& error);
  void SectionFinished();
  // Hears of the errors that end an importer (the run's own regime for the importer's call carries it).
  SkippedStatementSink& end_sink() { return ends_; }

  // The attributes of an item that make its natural key, as the importer of the section reads them.
  void SetKey(std::initializer_list<std::string_view> attributes);
  void SetKey(std::vector<std::string> attributes) { key_attributes_ = std::move(attributes); }
  // The item in hand (1-based position in its section).
  void Item(std::size_t position, const catalog::Node& node);
  // What is being done with the item (a field written, the record saved); empty: the last statement text.
  void Doing(std::string activity) { activity_ = std::move(activity); }
  void Field(std::string_view name);

  // What became of the item's record in `table`: `found` whether the lookup found it, `created` whether the
  // importer added it and saved it, `saved` whether the importer wrote the item's values into an existing one.
  // `key` names the record where it is not the item's natural key.
  void Outcome(std::string_view table, bool found, bool created, bool saved, std::int16_t update_mode,
               const std::string& key = {});

  // A statement skipped by a tolerant importer (SkippedStatementSink).
  void StatementSkipped(const std::exception& error) override;

  // The natural key of the item in hand, as "Field=value" pairs joined by ", ".
  std::string KeyText() const;

 private:
  class EndSink final : public SkippedStatementSink {
   public:
    explicit EndSink(ImportTracker& tracker) : tracker_(tracker) {}
    void StatementSkipped(const std::exception& error) override { tracker_.SectionEnded(error); }

   private:
    ImportTracker& tracker_;
  };

  ImportProblem Problem(const std::exception& error) const;

  const Manager& manager_;
  ImportObserver& observer_;
  EndSink ends_{*this};
  std::string section_;
  std::vector<std::string> key_attributes_;
  std::size_t position_ = 0;
  catalog::Node node_;
  std::string activity_;
  std::uint64_t statements_before_item_ = 0;  // the Manager's count of statement texts when the item came
};

}  // namespace cvimp::plugin
