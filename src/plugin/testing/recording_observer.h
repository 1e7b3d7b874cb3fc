// An import observer that keeps every event as a line of text, in order, for tests to compare.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "plugin/import_observer.h"

namespace cvimp::plugin::testing {

class RecordingObserver : public ImportObserver {
 public:
  void ImporterStarted(std::string_view section, std::size_t item_count) override {
    events.push_back("started " + std::string(section) + " " + std::to_string(item_count));
  }
  void RecordCreated(std::string_view table, const std::string& key) override {
    events.push_back("created " + std::string(table) + " " + key);
  }
  void RecordUpdated(std::string_view table, const std::string& key) override {
    events.push_back("updated " + std::string(table) + " " + key);
  }
  void ItemLeftAlone(std::string_view table, const std::string& key) override {
    events.push_back("left alone " + std::string(table) + " " + key);
  }
  void ItemPassedOver(std::string_view table, const std::string& key) override {
    events.push_back("passed over " + std::string(table) + " " + key);
  }
  void StatementSkipped(const ImportProblem& p) override { events.push_back("skipped " + Describe(p)); }
  void ImporterEnded(const ImportProblem& p) override { events.push_back("ended " + Describe(p)); }
  void ImporterFinished(std::string_view section) override { events.push_back("finished " + std::string(section)); }

  // The events about one section or table, without the other importers' start and finish.
  std::vector<std::string> About(const std::string& name) const {
    std::vector<std::string> out;
    for (const std::string& e : events) {
      const std::size_t space = e.find(' ', e.rfind("passed over", 0) == 0 || e.rfind("left alone", 0) == 0 ? 7 : 0);
      const std::size_t end = e.find(' ', space + 1);
      if (e.compare(space + 1, end == std::string::npos ? std::string::npos : end - space - 1, name) == 0)
        out.push_back(e);
    }
    return out;
  }

  std::vector<std::string> events;

 private:
  static std::string Describe(const ImportProblem& p) {
    return p.section + " " + std::to_string(p.position) + " [" + p.key + "] line " + std::to_string(p.line) + " {" +
           p.statement + "} " + std::to_string(p.error_code) + ": " + p.error;
  }
};

}  // namespace cvimp::plugin::testing
