#include "plugin/import_tracker.h"

#include "common/error.h"
#include "plugin/manager.h"

namespace cvimp::plugin {

ImportTracker::ImportTracker(const Manager& manager, ImportObserver& observer)
    : manager_(manager), observer_(observer) {}

void ImportTracker::SectionStarted(std::string_view section, std::size_t item_count) {
  section_ = std::string(section);
  key_attributes_.clear();
  position_ = 0;
  node_ = {};
  activity_.clear();
  observer_.ImporterStarted(section, item_count);
}

void ImportTracker::SectionEnded(const std::exception& error) { observer_.ImporterEnded(Problem(error)); }

void ImportTracker::SectionFinished() { observer_.ImporterFinished(section_); }

void ImportTracker::SetKey(std::initializer_list<std::string_view> attributes) {
  key_attributes_.assign(attributes.begin(), attributes.end());
}

void ImportTracker::Item(std::size_t position, const catalog::Node& node) {
  position_ = position;
  node_ = node;
  activity_.clear();
  statements_before_item_ = manager_.last_sql_count();
}

void ImportTracker::Field(std::string_view name) {
  if (name.empty())
    activity_.clear();
  else
    activity_ = "field " + std::string(name);
}

void ImportTracker::Outcome(std::string_view table, bool found, bool created, bool saved, std::int16_t update_mode,
                            const std::string& key) {
  const std::string named = !observer_.wants_keys() ? std::string() : key.empty() ? KeyText() : key;
  const bool mode_updates = update_mode == 0 || update_mode == 2;
  const bool mode_creates = update_mode == 0 || update_mode == 1;
  if (created)
    observer_.RecordCreated(table, named);
  else if (found && mode_updates && saved)
    observer_.RecordUpdated(table, named);
  else if (found && !mode_updates)
    observer_.ItemLeftAlone(table, named);
  else if (!found && !mode_creates)
    observer_.ItemPassedOver(table, named);
  // Otherwise a statement failed on the way, and was reported when it did.
}

void ImportTracker::StatementSkipped(const std::exception& error) { observer_.StatementSkipped(Problem(error)); }

std::string ImportTracker::KeyText() const {
  if (node_.empty() || !node_.is_element()) return {};
  // An importer whose lookup is no plain natural key is named by the item's PKID.
  static const std::vector<std::string> kByPkid = {"PKID"};
  std::string text;
  for (const std::string& attribute : key_attributes_.empty() ? kByPkid : key_attributes_) {
    if (!text.empty()) text += ", ";
    const Value value = node_.GetAttribute(attribute);
    text += attribute + "=" + (value.is_null() ? std::string() : value.text());
  }
  return text;
}

ImportProblem ImportTracker::Problem(const std::exception& error) const {
  ImportProblem problem;
  problem.section = section_;
  problem.position = position_;
  problem.key = KeyText();
  if (const catalog::Document* document = manager_.catalog_document().get())
    if (!node_.empty()) problem.line = document->LineOf(node_);
  // The last statement text tells what failed only once the item has opened one of its own.
  if (!activity_.empty())
    problem.statement = activity_;
  else if (node_.empty() || manager_.last_sql_count() != statements_before_item_)
    problem.statement = manager_.last_sql();
  else
    problem.statement = "reading the item before its lookup";
  problem.error = error.what();
  if (const auto* known = dynamic_cast<const Error*>(&error)) problem.error_code = static_cast<int>(known->code());
  return problem;
}

}  // namespace cvimp::plugin
