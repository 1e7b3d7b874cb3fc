// Loading catalogues where POSIX has what the test needs: the peak memory of the process, a named pipe.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "catalog/document.h"
#include "catalog/testing/catalog_files.h"

namespace cvimp::catalog {
namespace {

using testing::Failure;
using testing::Folder;
using testing::kAmplificationReason;
using testing::LoadFailure;

TEST(CatalogConformance, EntityBombFailsWithoutAMemoryBlowUp) {
  Folder folder;
  rusage before{};
  getrusage(RUSAGE_SELF, &before);
  const Failure text_failure = LoadFailure(folder, testing::EntityBombInText());
  const Failure attribute_failure = LoadFailure(folder, testing::EntityBombInAttribute());
  rusage after{};
  getrusage(RUSAGE_SELF, &after);

  // Fully expanded, each would be three billion characters.
  EXPECT_EQ(text_failure, (Failure{kAmplificationReason, 14, 17}));
  EXPECT_EQ(attribute_failure, (Failure{kAmplificationReason, 14, 1}));  // at the start tag
  EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 64 * 1024);              // kilobytes
}

TEST(CatalogConformance, APipeIsReadOnce) {
  Folder folder;
  const std::filesystem::path fifo = folder.path() / "catalog.xml";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  std::thread writer([&] {
    std::ofstream(fifo, std::ios::binary)
        << "<!DOCTYPE CalvoraCatalog [<!ENTITY e \"entity\">]><CalvoraCatalog Name=\"&e;\"/>";
  });
  Document doc;
  const bool loaded = doc.Load(fifo.string());
  writer.join();
  ASSERT_TRUE(loaded) << doc.load_error().reason;
  EXPECT_EQ(doc.DocumentElement().AttributeText("Name"), "entity");
}

}  // namespace
}  // namespace cvimp::catalog
