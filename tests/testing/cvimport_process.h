// cvimport as a child process of a test, in a folder of its own: run to its end, or started and then
// signalled; and the shop database as the test reads it (its bytes, a dump of every table).
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

namespace cvimp::testing {

namespace fs = std::filesystem;

inline std::string Slurp(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

struct ProcessResult {
  int exit_code = -1;  // -1 when it did not exit
  int signal = 0;      // the signal that ended it, if one did
  std::string out;
  std::string err;
};

// Where the child's stdout goes.
enum class Stdout { kFile, kClosedPipe };

class CvimportProcessTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() / ("cvimport-proc-" + std::to_string(::getpid()) + "-" +
                                        ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(dir_);
    fs::create_directories(dir_);
  }
  void TearDown() override {
    std::error_code ignored;
    fs::permissions(dir_, fs::perms::owner_all, fs::perm_options::add, ignored);
    fs::remove_all(dir_, ignored);
  }

  fs::path db() const { return dir_ / "shop.db"; }
  std::string config() const { return (dir_ / "config").string(); }

  // Starts cvimport in the test's folder with the signals at their defaults; stderr (and stdout) to files.
  pid_t Start(const std::vector<std::string>& args, Stdout out = Stdout::kFile) {
    const std::string out_file = (dir_ / "out.txt").string();
    const std::string err_file = (dir_ / "err.txt").string();
    int pipe_ends[2] = {-1, -1};
    if (out == Stdout::kClosedPipe && ::pipe(pipe_ends) != 0) return -1;
    const pid_t child = ::fork();
    if (child != 0) {
      if (out == Stdout::kClosedPipe) ::close(pipe_ends[1]), ::close(pipe_ends[0]);
      return child;
    }
    if (::chdir(dir_.c_str()) != 0) ::_exit(127);
    for (int s : {SIGPIPE, SIGINT, SIGTERM}) ::signal(s, SIG_DFL);
    const int in = ::open("/dev/null", O_RDONLY);
    const int err = ::open(err_file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    int to = -1;
    if (out == Stdout::kClosedPipe) {
      ::close(pipe_ends[0]);  // nobody reads: every write gets EPIPE
      to = pipe_ends[1];
    } else {
      to = ::open(out_file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    }
    ::dup2(in, 0);
    ::dup2(to, 1);
    ::dup2(err, 2);
    std::vector<char*> argv{const_cast<char*>(CVIMPORT_PATH)};
    for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    ::execv(CVIMPORT_PATH, argv.data());
    ::_exit(127);
  }

  ProcessResult Wait(pid_t child) {
    int status = 0;
    ::waitpid(child, &status, 0);
    ProcessResult r;
    if (WIFEXITED(status)) r.exit_code = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) r.signal = WTERMSIG(status);
    r.out = Slurp(dir_ / "out.txt");
    r.err = Slurp(dir_ / "err.txt");
    return r;
  }

  ProcessResult Run(const std::vector<std::string>& args, Stdout out = Stdout::kFile) { return Wait(Start(args, out)); }

  // Waits until `ready` holds (true) or the child ended first or a minute passed (false).
  static bool WaitUntil(pid_t child, const std::function<bool()>& ready) {
    const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (std::chrono::steady_clock::now() < give_up) {
      if (ready()) return true;
      int status = 0;
      if (::waitpid(child, &status, WNOHANG) == child) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
  }

  // Files in the test's folder whose names end with `suffix`.
  std::vector<std::string> FilesEndingWith(const std::string& suffix) const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(dir_)) {
      const std::string name = entry.path().filename().string();
      if (name.size() >= suffix.size() && name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0)
        names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
  }
  std::vector<std::string> FileNames() const { return FilesEndingWith(""); }

  // A catalogue of `count` keywords: long enough to signal an import while it writes.
  fs::path WriteBigCatalogue(int count = 300000) const {
    const fs::path catalog = dir_ / "big.xml";
    std::ofstream out(catalog);
    out << "<CalvoraCatalog><Keywords>";
    for (int i = 1; i <= count; ++i) out << "<KeywordsItem PKID=\"" << i << "\" Keyword=\"k" << i << "\"/>";
    out << "</Keywords></CalvoraCatalog>";
    return catalog;
  }

  // Every row of every table of the database at `path`, table by table, the rows sorted: "table|a|b|...".
  static std::vector<std::string> Dump(const fs::path& path) {
    std::vector<std::string> lines;
    sqlite3* handle = nullptr;
    if (sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
      sqlite3_close(handle);
      ADD_FAILURE() << "cannot open " << path;
      return lines;
    }
    for (const std::string& table : Column(handle, "SELECT name FROM sqlite_master WHERE type='table' ORDER BY name")) {
      std::vector<std::string> rows = Column(handle, "SELECT * FROM \"" + table + "\"", table + "|");
      std::sort(rows.begin(), rows.end());
      lines.push_back("table " + table + ": " + std::to_string(rows.size()) + " rows");
      lines.insert(lines.end(), rows.begin(), rows.end());
    }
    sqlite3_close(handle);
    return lines;
  }

  fs::path dir_;

 private:
  // Each row of `sql` as `prefix` and its columns joined by "|".
  static std::vector<std::string> Column(sqlite3* handle, const std::string& sql, const std::string& prefix = "") {
    std::vector<std::string> rows;
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(handle, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK) {
      ADD_FAILURE() << sqlite3_errmsg(handle) << " in " << sql;
      return rows;
    }
    while (sqlite3_step(stmt) == SQLITE_ROW) {
      std::string row = prefix;
      for (int c = 0; c < sqlite3_column_count(stmt); ++c) {
        const unsigned char* t = sqlite3_column_text(stmt, c);
        row += (c ? "|" : "") + (t ? std::string(reinterpret_cast<const char*>(t)) : std::string("NULL"));
      }
      rows.push_back(row);
    }
    sqlite3_finalize(stmt);
    return rows;
  }
};

}  // namespace cvimp::testing
