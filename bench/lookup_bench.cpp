// Measures the catalogue document's item lookups against the XPath evaluation of the same path forms on a
// catalogue generated in memory: N products, N page-data items, N/100 categories, N/2 media, a few folders
// and variant types. Per form it reports the first lookup (which builds the index for the section or element
// name), the growth of the resident set at that lookup, and the mean cost of a lookup with the index and
// with the XPath text.
//
//   lookup_bench [N]
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "catalog/document.h"
#include "catalog/item_paths.h"

namespace {

using cvimp::catalog::Document;
using cvimp::catalog::Node;
using Clock = std::chrono::steady_clock;

double Seconds(Clock::duration d) { return std::chrono::duration<double>(d).count(); }

// The resident set in bytes, from /proc/self/statm.
double ResidentBytes() {
  std::FILE* f = std::fopen("/proc/self/statm", "r");
  if (!f) return 0;
  long size = 0, resident = 0;
  const int read = std::fscanf(f, "%ld %ld", &size, &resident);
  std::fclose(f);
  return read == 2 ? static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) : 0;
}

// The bytes that malloc has handed out and not taken back.
double HeapBytes() {
#if defined(__GLIBC__) && (__GLIBC__ > 2 || (__GLIBC__ == 2 && __GLIBC_MINOR__ >= 33))
  return static_cast<double>(mallinfo2().uordblks + mallinfo2().hblkhd);
#else
  return 0;
#endif
}

struct Counts {
  int products, categories, media, folders, variant_types, pages;
};

// Keys are spread (PKID 3i+1), so that a number and its neighbours are not all keys.
std::int32_t Key(int i) { return 3 * i + 1; }

std::string Catalog(const Counts& c) {
  std::string x;
  x.reserve(static_cast<std::size_t>(c.products) * 260 + 4096);
  auto add = [&x](const auto&... parts) { (x.append(parts), ...); };
  auto num = [](long n) { return std::to_string(n); };
  add("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<CalvoraCatalog>\n<Folders>\n");
  for (int i = 0; i < c.folders; ++i) {
    add("<FoldersItem PKID=\"", num(Key(i)), "\" Name=\"Folder ", num(i), "\" ParentFolderFKID=\"",
        num(i == 0 ? 0 : Key(i / 2)), "\"/>\n");
  }
  add("</Folders>\n<VariantTypes>\n");
  for (int i = 0; i < c.variant_types; ++i) {
    add("<VariantTypesItem PKID=\"", num(Key(i)), "\" Name=\"Variant type ", num(i), "\"/>\n");
  }
  add("</VariantTypes>\n<Categories>\n");
  for (int i = 0; i < c.categories; ++i) {
    add("<CategoriesItem PKID=\"", num(Key(i)), "\" Name=\"Category ", num(i), "\" ParentCategoryFKID=\"",
        num(i == 0 ? 0 : Key(i / 10)), "\" FolderFKID=\"1\"><Comments>About category ", num(i),
        "</Comments></CategoriesItem>\n");
  }
  add("</Categories>\n<Products>\n");
  for (int i = 0; i < c.products; ++i) {
    add("<ProductsItem PKID=\"", num(Key(i)), "\" ProductNumber=\"P-", num(i), "\" Name=\"Product ", num(i),
        "\" Price=\"", num(i % 1000), ".95\" CategoryFKID=\"", num(Key(i % std::max(1, c.categories))),
        "\" ManufacturerFKID=\"0\" Weight=\"1.5\">Long description of product ", num(i));
    if (i % 10 == 0) add("<Comments>Note ", num(i), "</Comments>");
    add("</ProductsItem>\n");
  }
  add("</Products>\n<Media>\n");
  for (int i = 0; i < c.media; ++i) {
    add("<MediaItem PKID=\"", num(Key(i)), "\" FileName=\"media/", num(i), ".jpg\" Width=\"640\" Height=\"480\"/>\n");
  }
  add("</Media>\n<PageData>\n");
  for (int i = 0; i < c.pages; ++i) {
    // Element type 2 (products) for most items, 1 (categories) for some.
    const bool category = i % 50 == 0;
    add("<PageDataItem PKID=\"", num(Key(i)), "\" ElType=\"", category ? "1" : "2", "\" ElRef=\"", num(Key(i)),
        "\" Title=\"Page ", num(i), "\"><Markup>&lt;p&gt;", num(i), "&lt;/p&gt;</Markup></PageDataItem>\n");
  }
  add("</PageData>\n</CalvoraCatalog>\n");
  return x;
}

// One form: a lookup with the index and the same lookup by XPath, for the i-th random key.
struct Form {
  const char* name;
  std::function<Node(std::size_t)> index;
  std::function<Node(std::size_t)> xpath;
  int index_lookups;
  int xpath_lookups;
};

struct Row {
  double first_ms = 0, rss_mb = 0, heap_mb = 0, index_us = 0, xpath_us = 0;
  int index_lookups = 0, xpath_lookups = 0, disagreements = 0;
};

// The first lookup of a form, which builds what the index needs for it. All forms take their first lookup
// before any timing runs, so that memory that the XPath evaluation frees does not hide what the index takes.
void MeasureFirst(const Form& form, Row& row) {
  const double rss_before = ResidentBytes();
  const double heap_before = HeapBytes();
  const auto t0 = Clock::now();
  const Node first = form.index(0);
  row.first_ms = Seconds(Clock::now() - t0) * 1e3;
  row.rss_mb = (ResidentBytes() - rss_before) / 1e6;
  row.heap_mb = (HeapBytes() - heap_before) / 1e6;
  if (first.empty()) std::fprintf(stderr, "%s: the first lookup found no node\n", form.name);
}

void MeasureLookups(const Form& form, Row& row) {
  long found = 0;
  auto t0 = Clock::now();
  for (int i = 0; i < form.index_lookups; ++i) found += !form.index(static_cast<std::size_t>(i)).empty();
  row.index_us = Seconds(Clock::now() - t0) * 1e6 / form.index_lookups;
  row.index_lookups = form.index_lookups;
  if (found != form.index_lookups)
    std::fprintf(stderr, "%s: %ld lookups found no node\n", form.name, form.index_lookups - found);

  // XPath on the first of the same keys, and whether each gives the index's node.
  std::vector<Node> expected;
  t0 = Clock::now();
  for (int i = 0; i < form.xpath_lookups; ++i) expected.push_back(form.xpath(static_cast<std::size_t>(i)));
  row.xpath_us = Seconds(Clock::now() - t0) * 1e6 / form.xpath_lookups;
  row.xpath_lookups = form.xpath_lookups;
  for (int i = 0; i < form.xpath_lookups; ++i) {
    if (!(form.index(static_cast<std::size_t>(i)).raw() == expected[static_cast<std::size_t>(i)].raw())) {
      ++row.disagreements;
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  const int n = argc > 1 ? std::max(100, std::atoi(argv[1])) : 100000;
  const Counts counts{n, std::max(1, n / 100), n / 2, 8, 12, n};
  constexpr int kIndexLookups = 100000;
  // The XPath forms cost time in proportion to the catalogue: fewer of them on a large one.
  const int xpath_lookups = std::clamp(20000000 / n, 20, 200);
  // SectionItems copies a whole section per call, with the index too.
  const int section_lookups = std::clamp(200000000 / n, 20, 2000);

  const double rss_start = ResidentBytes();
  auto t0 = Clock::now();
  std::string text = Catalog(counts);
  const double generate_s = Seconds(Clock::now() - t0);
  Document doc;
  const double rss_text = ResidentBytes();
  t0 = Clock::now();
  if (!doc.LoadXml(text)) {
    std::fprintf(stderr, "the catalogue does not load: %s\n", doc.load_error().reason.c_str());
    return 1;
  }
  const double load_s = Seconds(Clock::now() - t0);
  const double rss_loaded = ResidentBytes();
  const double text_mb = static_cast<double>(text.size()) / 1e6;
  std::string().swap(text);

  // Random keys of existing items, drawn before the timing.
  std::mt19937_64 rng(20240611);
  auto keys = [&](int count) {
    std::vector<std::int32_t> k(kIndexLookups);
    std::uniform_int_distribution<int> pick(0, std::max(0, count - 1));
    for (auto& key : k) key = Key(pick(rng));
    return k;
  };
  auto texts = [](const std::vector<std::int32_t>& numbers) {
    std::vector<std::string> t;
    t.reserve(numbers.size());
    for (std::int32_t k : numbers) t.push_back(std::to_string(k));
    return t;
  };
  const std::vector<std::int32_t> product_keys = keys(counts.products);
  const std::vector<std::int32_t> category_keys = keys(counts.categories);
  const std::vector<std::string> category_texts = texts(category_keys);
  const std::vector<std::string> product_texts = texts(keys(counts.products));
  const std::vector<std::string> media_texts = texts(keys(counts.media));
  std::vector<std::pair<std::int32_t, std::int32_t>> page_keys(kIndexLookups);
  {
    std::uniform_int_distribution<int> pick(0, counts.pages - 1);
    for (auto& [type, ref] : page_keys) {
      const int i = pick(rng);
      type = i % 50 == 0 ? 1 : 2;
      ref = Key(i);
    }
  }

  using namespace cvimp::catalog;
  const std::vector<Form> forms = {
      {"ItemByNumber(Products)", [&](std::size_t i) { return doc.ItemByNumber("Products", product_keys[i]); },
       [&](std::size_t i) { return doc.SelectSingleNode(ItemByNumberPath("Products", product_keys[i])); },
       kIndexLookups, xpath_lookups},
      {"ItemByText(Categories)", [&](std::size_t i) { return doc.ItemByText("Categories", category_texts[i]); },
       [&](std::size_t i) { return doc.SelectSingleNode(ItemByTextPath("Categories", category_texts[i])); },
       kIndexLookups, xpath_lookups},
      {"ItemAnywhere(Products)", [&](std::size_t i) { return doc.ItemAnywhere("Products", product_texts[i]); },
       [&](std::size_t i) { return doc.SelectSingleNode(ItemAnywherePath("Products", product_texts[i])); },
       kIndexLookups, xpath_lookups},
      {"ItemAnywhere(Media)", [&](std::size_t i) { return doc.ItemAnywhere("Media", media_texts[i]); },
       [&](std::size_t i) { return doc.SelectSingleNode(ItemAnywherePath("Media", media_texts[i])); }, kIndexLookups,
       xpath_lookups},
      {"PageDataItem", [&](std::size_t i) { return doc.PageDataItem(page_keys[i].first, page_keys[i].second); },
       [&](std::size_t i) { return doc.SelectSingleNode(PageDataItemPath(page_keys[i].first, page_keys[i].second)); },
       kIndexLookups, xpath_lookups},
      // One "lookup" is the whole section; the node compared is its last item.
      {"SectionItems(Products)",
       [&](std::size_t) {
         NodeList items = doc.SectionItems("Products");
         return items.empty() ? Node() : items[items.size() - 1];
       },
       [&](std::size_t) {
         NodeList items = doc.SelectNodes(SectionItemsPath("Products"));
         return items.empty() ? Node() : items[items.size() - 1];
       },
       section_lookups, std::min(section_lookups, xpath_lookups)},
  };

  std::printf("catalogue: %d products, %d page-data items, %d categories, %d media, %d folders, %d variant types\n",
              counts.products, counts.pages, counts.categories, counts.media, counts.folders, counts.variant_types);
  std::printf(
      "text %.1f MB generated in %.2f s; LoadXml %.2f s; RSS %.0f MB before, %.0f MB with the text, %.0f MB "
      "loaded\n\n",
      text_mb, generate_s, load_s, rss_start / 1e6, rss_text / 1e6, rss_loaded / 1e6);
  std::vector<Row> rows(forms.size());
  for (std::size_t i = 0; i < forms.size(); ++i) MeasureFirst(forms[i], rows[i]);
  for (std::size_t i = 0; i < forms.size(); ++i) MeasureLookups(forms[i], rows[i]);
  std::printf("%-24s %11s %8s %8s %20s %20s %9s %6s\n", "form", "first (ms)", "RSS +MB", "heap +MB",
              "index: n, mean us", "XPath: n, mean us", "speed-up", "agree");
  for (std::size_t i = 0; i < forms.size(); ++i) {
    const Row& r = rows[i];
    char index_cell[32], xpath_cell[32];
    std::snprintf(index_cell, sizeof index_cell, "%d, %.3f", r.index_lookups, r.index_us);
    std::snprintf(xpath_cell, sizeof xpath_cell, "%d, %.1f", r.xpath_lookups, r.xpath_us);
    std::printf("%-24s %11.2f %8.2f %8.2f %20s %20s %8.0fx %6s\n", forms[i].name, r.first_ms, r.rss_mb, r.heap_mb,
                index_cell, xpath_cell, r.xpath_us / r.index_us, r.disagreements == 0 ? "yes" : "NO");
  }
  std::printf("\nRSS at the end: %.0f MB\n", ResidentBytes() / 1e6);
  return 0;
}
