// For the catalogue's tests: catalogue files in a folder of the test's own, what loading them says, and a
// catalogue that must not be expanded.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>

#include "catalog/document.h"
#include "common/file_open.h"

namespace cvimp::catalog::testing {

// A folder of its own per test (under the system's temporary folder), removed afterwards.
class Folder {
 public:
  Folder() : path_(std::filesystem::temp_directory_path() / PathFromUtf8("xml_conformance_test_" + TestName())) {
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  // Writes `bytes` to the file `name` in the folder and gives its path (UTF-8, as the document takes it).
  std::string Write(const std::string& name, const std::string& bytes) const {
    std::ofstream(path_ / PathFromUtf8(name), std::ios::binary) << bytes;
    return At(name);
  }
  // The path of the file `name` in the folder (UTF-8).
  std::string At(const std::string& name) const { return Utf8FromPath(path_ / PathFromUtf8(name)); }
  const std::filesystem::path& path() const { return path_; }

 private:
  static std::string TestName() {
    const ::testing::TestInfo* info = ::testing::UnitTest::GetInstance()->current_test_info();
    return std::string(info->test_suite_name()) + "_" + info->name();
  }
  std::filesystem::path path_;
};

struct Failure {
  std::string reason;
  std::size_t line;
  std::size_t column;
  bool operator==(const Failure&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Failure& f) {
  return out << "\"" << f.reason << "\" at " << f.line << ":" << f.column;
}

// Loads the bytes as a file; the failure, or a reason "loaded" when the load succeeded.
inline Failure LoadFailure(const Folder& folder, const std::string& bytes) {
  Document doc;
  if (doc.Load(folder.Write("catalog.xml", bytes))) return Failure{"loaded", 0, 0};
  EXPECT_TRUE(doc.DocumentElement().empty());
  return Failure{doc.load_error().reason, doc.load_error().line, doc.load_error().column};
}

// The internal subset of a catalogue whose entity lol9 would expand to three billion characters: nine
// levels of ten references each to the level below.
inline std::string EntityBombProlog() {
  std::string bomb = "<?xml version=\"1.0\"?>\n<!DOCTYPE CalvoraCatalog [\n  <!ENTITY lol0 \"lol\">\n";
  for (int level = 1; level <= 9; ++level) {
    bomb += "  <!ENTITY lol" + std::to_string(level) + " \"";
    for (int i = 0; i < 10; ++i) bomb += "&lol" + std::to_string(level - 1) + ";";
    bomb += "\">\n";
  }
  return bomb + "]>\n";
}
// The bomb set off in the text of the root, and in an attribute of it.
inline std::string EntityBombInText() { return EntityBombProlog() + "<CalvoraCatalog>&lol9;</CalvoraCatalog>"; }
inline std::string EntityBombInAttribute() { return EntityBombProlog() + "<CalvoraCatalog Name=\"&lol9;\"/>"; }
// Why expat refuses both.
inline const char* const kAmplificationReason = "limit on input amplification factor (from DTD and entities) breached";

}  // namespace cvimp::catalog::testing
