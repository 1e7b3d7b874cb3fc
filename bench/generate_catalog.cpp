// generate_catalog: writes the benchmarks' synthetic catalogue.
//
//   generate_catalog N OUT.xml [--media-dir DIR]
//
// About N items over all 40 sections; the same N always gives the same file. With --media-dir the media
// files that the catalogue names are written below DIR (give the catalogue's folder, where the media import
// looks for them). The item count of each section goes to stderr.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "bench_support.h"
#include "catalog_generator.h"

namespace {

int Usage() {
  std::fprintf(stderr, "usage: generate_catalog N OUT.xml [--media-dir DIR]\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace cvimp::bench;
  if (argc != 3 && argc != 5) return Usage();
  char* end = nullptr;
  const long long items = std::strtoll(argv[1], &end, 10);
  if (*end != '\0' || items < 1) return Usage();
  std::string media_dir;
  if (argc == 5) {
    if (std::string(argv[3]) != "--media-dir") return Usage();
    media_dir = argv[4];
  }
  try {
    const auto start = Clock::now();
    const GeneratedCatalog catalog = GenerateCatalog(items, argv[2], media_dir);
    const double seconds = Seconds(Clock::now() - start);
    for (const SectionCount& s : catalog.sections)
      std::fprintf(stderr, "%-30.*s %10lld\n", static_cast<int>(s.section.size()), s.section.data(),
                   static_cast<long long>(s.items));
    std::fprintf(stderr, "%-30s %10lld items, %.1f MiB (%.0f bytes per item)", "total",
                 static_cast<long long>(catalog.items), Mebibytes(static_cast<double>(catalog.bytes)),
                 static_cast<double>(catalog.bytes) / static_cast<double>(catalog.items));
    if (!media_dir.empty()) std::fprintf(stderr, ", %lld media files", static_cast<long long>(catalog.media_files));
    std::fprintf(stderr, ", written in %.2f s\n", seconds);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "generate_catalog: %s\n", e.what());
    return 1;
  }
  return 0;
}
