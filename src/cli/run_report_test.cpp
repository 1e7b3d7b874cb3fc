#include "cli/run_report.h"

#include <gtest/gtest.h>

#include "common/error.h"

namespace cvimp::cli {
namespace {

plugin::ImportProblem Problem(const std::string& section, ErrorCode code, const std::string& error) {
  plugin::ImportProblem p;
  p.section = section;
  p.position = 2;
  p.key = "ISOCode=EUR";
  p.line = 7;
  p.statement = "saving the record";
  p.error = error;
  p.error_code = static_cast<int>(code);
  return p;
}

TEST(RunReport, CountsEventsPerTableInTheOrderTheyCame) {
  RunReport report;
  report.ImporterStarted("Currencies", 4);
  report.RecordCreated("Currencies", "ISOCode=EUR");
  report.RecordUpdated("Currencies", "ISOCode=CHF");
  report.ItemLeftAlone("Currencies", "ISOCode=USD");
  report.ItemPassedOver("Currencies", "ISOCode=GBP");
  report.ImporterStarted("Categories", 1);
  report.RecordCreated("PageData", "ElType=1, ElRef=7");
  report.RecordCreated("Categories", "ID=TEE");
  ASSERT_EQ(report.sections().size(), 3u);
  const SectionReport& currencies = report.sections()[0];
  EXPECT_EQ(currencies.section, "Currencies");
  EXPECT_EQ(currencies.items, 4u);
  EXPECT_EQ(currencies.created, 1u);
  EXPECT_EQ(currencies.updated, 1u);
  EXPECT_EQ(currencies.left_alone, 1u);
  EXPECT_EQ(currencies.passed_over, 1u);
  EXPECT_TRUE(currencies.called);
  EXPECT_EQ(report.sections()[2].section, "PageData");
  EXPECT_FALSE(report.sections()[2].called);
  EXPECT_TRUE(report.clean());
  EXPECT_EQ(report.items(), 5u);
}

TEST(RunReport, AnEndedImporterOrARefusedStatementMakesTheRunUnclean) {
  RunReport ended;
  ended.ImporterStarted("Currencies", 1);
  ended.ImporterEnded(Problem("Currencies", ErrorCode::kDatabase, "UNIQUE constraint failed"));
  EXPECT_FALSE(ended.clean());
  ASSERT_TRUE(ended.sections()[0].ended.has_value());

  RunReport refused;
  refused.ImporterStarted("Products", 1);
  refused.StatementSkipped(Problem("Products", ErrorCode::kOverflow, "too long"));
  EXPECT_FALSE(refused.clean());
  EXPECT_EQ(refused.sections()[0].refused, 1u);
  EXPECT_FALSE(refused.sections()[0].ended.has_value());
}

TEST(PlainReason, SaysWhyInOneSentence) {
  using K = ReportedProblem::Kind;
  EXPECT_EQ(PlainReason(Problem("DeliveryTimes", ErrorCode::kOpen, "Operation is not allowed when the object is open."),
                        K::kEnded),
            "ended because the previous importer left its record set open (Operation is not allowed when the object "
            "is open.)");
  EXPECT_EQ(PlainReason(Problem("Currencies", ErrorCode::kDatabase, "UNIQUE constraint failed"), K::kEnded),
            "ended because the database refused the statement or the save (UNIQUE constraint failed)");
  EXPECT_EQ(PlainReason(Problem("Products", ErrorCode::kOverflow, "too long"), K::kRefused),
            "skipped because a value was too long or too large for its field (too long)");
  EXPECT_EQ(
      PlainReason(
          Problem("Products2Categories", ErrorCode::kObjectRequired, "Object variable not set: the node is missing"),
          K::kEnded),
      "ended because an item it refers to is not in the catalogue (Object variable not set: the node is missing)");
  EXPECT_EQ(PlainReason(Problem("Element2Media", ErrorCode::kObjectRequired,
                                "Object variable not set: the attribute ElRef is missing"),
                        K::kEnded),
            "ended because the item lacks an attribute it must have (Object variable not set: the attribute ElRef is "
            "missing)");
  EXPECT_EQ(PlainReason(Problem("VariantValues", ErrorCode::kObjectRequired, "The item has no NewPKID"), K::kRefused),
            "skipped because an item it refers to was not imported, so it has no new key (The item has no NewPKID)");
  plugin::ImportProblem other = Problem("Products", ErrorCode::kDatabase, "disk full");
  other.error_code = 0;
  EXPECT_EQ(PlainReason(other, K::kRefused), "skipped because of an error (disk full)");
}

TEST(RenderReport, ShowsTheTableTheProblemsTheSectionsLeftOutAndTheRate) {
  RunReport report;
  report.ImporterStarted("Folders", 0);
  report.ImporterStarted("Currencies", 2);
  report.RecordCreated("Currencies", "ISOCode=EUR");
  report.ImporterEnded(Problem("Currencies", ErrorCode::kDatabase, "UNIQUE constraint failed"));
  EXPECT_EQ(RenderReport(report, 0.5),
            "Section                           Items  Created  Updated Left alone Passed over  Refused\n"
            "Currencies                            2        1        0          0           0        0  ended early\n"
            "Total                                 2        1        0          0           0        0\n"
            "Currencies at item 2 (ISOCode=EUR, line 7), saving the record: ended because the database refused the "
            "statement or the "
            "save (UNIQUE constraint failed).\n"
            "2 items in 0.50 s (4 items per second).\n");
}

TEST(Counted, SaysOneItemAndTwoItems) {
  EXPECT_EQ(Counted(1, "item"), "1 item");
  EXPECT_EQ(Counted(0, "item"), "0 items");
  EXPECT_EQ(Counted(2, "finding"), "2 findings");
}

}  // namespace
}  // namespace cvimp::cli
