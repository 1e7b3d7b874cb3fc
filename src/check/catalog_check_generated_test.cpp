// A generated catalogue (every foreign key names an existing item) is checked in time linear in its size: the
// times are measured and printed, not asserted.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>

#include "catalog_generator.h"
#include "check/catalog_check.h"

namespace cvimp::check {
namespace {

struct Timed {
  std::vector<Finding> findings;
  double seconds = 0;
};

Timed CheckGenerated(std::int64_t items, bench::GeneratedCatalog& generated) {
  const std::filesystem::path path =
      std::filesystem::path(::testing::TempDir()) / ("generated-" + std::to_string(items) + ".xml");
  generated = bench::GenerateCatalog(items, path.string());
  const auto start = std::chrono::steady_clock::now();
  Timed timed{CheckCatalogFile(path.string())};
  timed.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::filesystem::remove(path);
  return timed;
}

std::map<FindingKind, std::size_t> CountByKind(const std::vector<Finding>& findings) {
  std::map<FindingKind, std::size_t> counts;
  for (const Finding& f : findings) ++counts[f.kind];
  return counts;
}

TEST(CatalogCheckGenerated, FindsNothingAndTakesTimeInProportionToTheSize) {
  double per_item[2] = {};
  const std::int64_t sizes[2] = {20000, 80000};
  for (int s = 0; s < 2; ++s) {
    bench::GeneratedCatalog generated;
    const Timed timed = CheckGenerated(sizes[s], generated);
    EXPECT_EQ(CountByKind(timed.findings), (std::map<FindingKind, std::size_t>{}));
    for (std::size_t i = 0; i < std::min<std::size_t>(timed.findings.size(), 5); ++i)
      ADD_FAILURE() << timed.findings[i];
    per_item[s] = timed.seconds / static_cast<double>(generated.items);
    std::printf("[ measured ] %lld items, %llu bytes: checked in %.3f s (%.2f us per item)\n",
                static_cast<long long>(generated.items), static_cast<unsigned long long>(generated.bytes),
                timed.seconds, per_item[s] * 1e6);
  }
  std::printf("[ measured ] time per item, large over small: %.2f\n", per_item[1] / per_item[0]);
}

}  // namespace
}  // namespace cvimp::check

namespace cvimp::check {
namespace {

// By hand, for a large catalogue (CVIMP_CHECK_ITEMS items, a million by default): the load and the checks
// timed apart.
TEST(CatalogCheckGenerated, DISABLED_LargeCatalogueTimedByPhase) {
  const char* wanted = std::getenv("CVIMP_CHECK_ITEMS");
  const std::int64_t items = wanted ? std::atoll(wanted) : 1000000;
  const std::filesystem::path path = std::filesystem::path(::testing::TempDir()) / "generated-large.xml";
  const bench::GeneratedCatalog generated = bench::GenerateCatalog(items, path.string());
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  catalog::Document document;
  ASSERT_TRUE(document.Load(path.string()));
  const auto loaded = Clock::now();
  SourceLines lines = SourceLines::OfFile(path.string());
  const std::vector<Finding> findings = CheckDocument(document, &lines);
  const auto checked = Clock::now();
  std::filesystem::remove(path);
  EXPECT_EQ(findings.size(), 0u);
  std::printf("[ measured ] %lld items, %llu bytes: load %.3f s, checks %.3f s\n",
              static_cast<long long>(generated.items), static_cast<unsigned long long>(generated.bytes),
              std::chrono::duration<double>(loaded - start).count(),
              std::chrono::duration<double>(checked - loaded).count());
}

}  // namespace
}  // namespace cvimp::check
