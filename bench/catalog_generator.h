// A synthetic shop catalogue for the benchmarks: every section of the catalogue format with realistic
// proportions (products, their page data and category assignments dominate; reference data stays small),
// German texts with umlauts, quotes and escaped markup, and every foreign key naming an existing item of
// the right section. The same size always gives the same bytes: the generator draws from a fixed seed and
// streams the file without holding the catalogue in memory.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace cvimp::bench {

// The 40 sections of a catalogue, in the order the generator writes them.
std::span<const std::string_view> CatalogSections();

struct SectionCount {
  std::string_view section;
  std::int64_t items = 0;
};

struct GeneratedCatalog {
  std::vector<SectionCount> sections;  // one entry per section, in CatalogSections() order
  std::int64_t items = 0;              // over all sections
  std::uintmax_t bytes = 0;            // the size of the file
  std::int64_t media_files = 0;        // files written below the media folder

  std::int64_t Count(std::string_view section) const;
};

// Writes a catalogue of about `items` items to `path` (replacing the file). With a non-empty `media_dir` it
// also writes the small files that the media items name, where the media importer looks for them when the
// catalogue lies in `media_dir`: media_dir/Media/{images,audio,docs,misc}/<Src>. Raises std::runtime_error
// when a file cannot be written.
GeneratedCatalog GenerateCatalog(std::int64_t items, const std::string& path, const std::string& media_dir = {});

// The items of each section of a catalogue file, counted by a streaming scan of its start tags (an element
// "<S>Item" for a section S), without building a document. Raises std::runtime_error when the file cannot
// be read.
std::vector<SectionCount> CountCatalogItems(const std::string& path);

}  // namespace cvimp::bench
