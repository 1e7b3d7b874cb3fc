#include "common/error_regime.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/error.h"

namespace cvimp {
namespace {

int FailingComputation() { throw Error(ErrorCode::kTypeMismatch, "Type mismatch"); }

TEST(ErrorRegime, NamesItsKind) {
  EXPECT_TRUE(ErrorRegime::SkipFailingStatements().skips_failing_statements());
  EXPECT_FALSE(ErrorRegime::EndAtFirstError().skips_failing_statements());
}

TEST(SkipFailingStatements, CompletedStatementReturnsTrue) {
  const ErrorRegime on_error = ErrorRegime::SkipFailingStatements();
  int x = 0;
  EXPECT_TRUE(on_error([&] { x = 5; }));
  EXPECT_EQ(x, 5);
}

TEST(SkipFailingStatements, FailingStatementIsSkippedAndReturnsFalse) {
  const ErrorRegime on_error = ErrorRegime::SkipFailingStatements();
  EXPECT_FALSE(on_error([] { throw Error(ErrorCode::kObjectRequired, "Object variable not set"); }));
  EXPECT_FALSE(on_error([] { throw std::runtime_error("any standard error"); }));
}

TEST(SkipFailingStatements, VariableKeepsItsOldValue) {
  const ErrorRegime on_error = ErrorRegime::SkipFailingStatements();
  int x = 7;
  on_error([&] { x = FailingComputation(); });
  EXPECT_EQ(x, 7);
}

TEST(SkipFailingStatements, LaterStatementsRun) {
  const ErrorRegime on_error = ErrorRegime::SkipFailingStatements();
  std::vector<std::string> ran;
  on_error([&] { ran.push_back("first"); });
  on_error([&] {
    ran.push_back("second, partly");
    FailingComputation();
    ran.push_back("never");
  });
  on_error([&] { ran.push_back("third"); });
  EXPECT_EQ(ran, (std::vector<std::string>{"first", "second, partly", "third"}));
}

TEST(EndAtFirstError, CompletedStatementReturnsTrue) {
  const ErrorRegime on_error = ErrorRegime::EndAtFirstError();
  int x = 0;
  EXPECT_TRUE(on_error([&] { x = 5; }));
  EXPECT_EQ(x, 5);
}

// A routine in the end-at-first-error regime: records which statements ran.
void RoutineEndingAtFirstError(std::vector<std::string>& ran) {
  const ErrorRegime on_error = ErrorRegime::EndAtFirstError();
  on_error([&] { ran.push_back("first"); });
  on_error([&] { throw Error(ErrorCode::kNotFound, "Item cannot be found"); });
  on_error([&] { ran.push_back("after the error"); });
}

TEST(EndAtFirstError, FirstErrorPropagatesUnchangedAndLaterStatementsDoNotRun) {
  std::vector<std::string> ran;
  try {
    RoutineEndingAtFirstError(ran);
    FAIL() << "the error did not propagate";
  } catch (const Error& e) {
    EXPECT_EQ(e.code(), ErrorCode::kNotFound);
    EXPECT_STREQ(e.what(), "Item cannot be found");
  }
  EXPECT_EQ(ran, std::vector<std::string>{"first"});
}

TEST(EndAtFirstError, VariableKeepsItsOldValueWhenTheErrorLeaves) {
  const ErrorRegime on_error = ErrorRegime::EndAtFirstError();
  int x = 7;
  EXPECT_THROW(on_error([&] { x = FailingComputation(); }), Error);
  EXPECT_EQ(x, 7);
}

TEST(ErrorRegime, CallerRegimeDecidesAboutAnErrorThatEndedACallee) {
  // The import run skips an importer that ended at its first error and goes on with the next.
  const ErrorRegime on_error = ErrorRegime::SkipFailingStatements();
  std::vector<std::string> ran;
  EXPECT_FALSE(on_error([&] { RoutineEndingAtFirstError(ran); }));
  EXPECT_TRUE(on_error([&] { ran.push_back("next importer"); }));
  EXPECT_EQ(ran, (std::vector<std::string>{"first", "next importer"}));
}

// A sink that keeps the text of every error it hears of.
class KeptErrors : public SkippedStatementSink {
 public:
  void StatementSkipped(const std::exception& error) override { texts.push_back(error.what()); }
  std::vector<std::string> texts;
};

TEST(SkipFailingStatements, SinkHearsOfEachSkippedStatementOnly) {
  KeptErrors sink;
  const ErrorRegime on_error = ErrorRegime::SkipFailingStatements(&sink);
  int x = 1;
  EXPECT_TRUE(on_error([&] { x = 2; }));
  EXPECT_FALSE(on_error([&] { x = FailingComputation(); }));
  EXPECT_FALSE(on_error([] { throw std::runtime_error("second"); }));
  EXPECT_EQ(x, 2);
  EXPECT_EQ(sink.texts, (std::vector<std::string>{"Type mismatch", "second"}));
}

TEST(EndAtFirstError, HasNoSinkToTell) {
  const ErrorRegime on_error = ErrorRegime::EndAtFirstError();
  EXPECT_THROW(on_error([] { FailingComputation(); }), Error);
}

}  // namespace
}  // namespace cvimp
