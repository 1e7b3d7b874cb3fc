// Random catalogues looked up through every path-form method and through the XPath text of the form
// (item_paths.h): each lookup must give the very node the XPath gives, or no node when it gives none, or
// raise the same error. The catalogues are built to meet the index's traps: repeated sections, repeated
// keys, odd number texts, items without keys, items outside their sections, mis-cased names, processing
// instructions named like elements, other root names; and between rounds of lookups the run changes
// attributes (NewPKID, and sometimes PKID, ElType or ElRef) or loads another catalogue.
//
// CVIMP_LOOKUP_DIFF_DOCUMENTS sets the number of catalogues (default 10000; fewer under a sanitizer).
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "catalog/document.h"
#include "catalog/item_paths.h"
#include "common/error.h"

#if defined(__SANITIZE_ADDRESS__)
#define CVIMP_LOOKUP_DIFF_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CVIMP_LOOKUP_DIFF_SANITIZED 1
#endif
#endif

namespace cvimp::catalog {
namespace {

constexpr std::uint64_t kSeed = 0x5EC7'10AD'2024'0611ULL;

int DocumentCount() {
  if (const char* text = std::getenv("CVIMP_LOOKUP_DIFF_DOCUMENTS")) return std::max(1, std::atoi(text));
#ifdef CVIMP_LOOKUP_DIFF_SANITIZED
  return 3000;
#else
  return 10000;
#endif
}

const std::vector<std::string> kSections = {"Products", "Categories", "Folders", "Media", "VariantTypes", "PageData"};

// Key texts that the index must read exactly as XPath does.
const std::vector<std::string> kOddKeys = {
    "",
    " ",
    "abc",
    "+1",
    "1e2",
    ".5",
    "-0",
    "0.0",
    ".0",
    "-.0",
    "-",
    ".",
    "12a",
    "0x0C",
    "1 2",
    "1,0",
    "2147483647",
    "-2147483648",
    "2147483648",
    "-2147483649",
    "4294967296",
    "4294967297",
    "4294967308",
    "-4294967295",
    "18446744073709551628",
    "11.9999999999999999",
    "2.0000000000000004",
    "2.0000000000000002",
    "1.5",
    "2.5",
    "-2.5",
    "0.9999999999999999",
    std::string(300, '0') + "7",
    "1" + std::string(400, '0'),
    "0." + std::string(400, '0') + "1",
    "-0." + std::string(400, '0') + "1",
    "3." + std::string(300, '0') + "1",
    "0." + std::string(320, '0') + "1",  // a subnormal double, not 0
    "0." + std::string(323, '0') + "2",  // rounds to 0
    "0." + std::string(323, '0') + "3",  // rounds to the least subnormal
    "'",
    "\"",
    "a'b",
    "&",
    "<tag>",
    "\xC2\xA0"
    "1",
    "\xD9\xA1",
};

// Raw keys for the quoted forms: quotes change the XPath text (or make it invalid).
const std::vector<std::string> kQuotedKeys = {
    "1'2",
    "'",
    "1' or '1'='1",
    "0'] | //FoldersItem[@PKID='3",
    "x' or @PKID=1.0 or 'x'='y",
    "5' and '1'='2",
    "a\"b",
    "1]",
    " 1",
    "1 ",
    "01",
    "1.0",
    std::string("1\0x", 3),
    "\t1",
    "3'] | //@PKID | //x['",
};

const std::vector<std::string> kFieldNames = {
    "Comments", "Markup", "comments", "x:Comments",   "Other",   "*",    "text()",
    "@PKID",    ":a",     "a:",       "1a",           "",        "..",   "Comments[2]",
    "node()",   "a:b",    "a b",      "ProductsItem", "Markup ", "@*",   "div",
    "and",      "node",   "text",     "comment",      "child",   "self", "processing-instruction",
};

std::string Printable(std::string_view text) {
  std::string out = "\"";
  for (char c : text) {
    const auto u = static_cast<unsigned char>(c);
    if (c == '\\' || c == '"') {
      out += '\\';
      out += c;
    } else if (u < 0x20 || u >= 0x7F) {
      char buffer[8];
      std::snprintf(buffer, sizeof buffer, "\\x%02X", u);
      out += buffer;
    } else {
      out += c;
    }
  }
  return out + "\"";
}

// The number that XPath makes of a text (optional white space, an optional minus, digits with an optional
// point, optional white space), or none.
std::optional<double> XPathNumber(std::string_view text) {
  auto space = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
  std::size_t i = 0;
  while (i < text.size() && space(text[i])) ++i;
  const std::size_t begin = i;
  if (i < text.size() && text[i] == '-') ++i;
  std::size_t digits = 0;
  while (i < text.size() && text[i] >= '0' && text[i] <= '9') ++i, ++digits;
  if (i < text.size() && text[i] == '.') {
    ++i;
    while (i < text.size() && text[i] >= '0' && text[i] <= '9') ++i, ++digits;
  }
  const std::size_t end = i;
  while (i < text.size() && space(text[i])) ++i;
  if (digits == 0 || i != text.size()) return std::nullopt;
  return std::strtod(std::string(text.substr(begin, end - begin)).c_str(), nullptr);
}

std::optional<std::int32_t> AsKey(double number) {
  if (!std::isfinite(number) || number != std::floor(number) || number < INT32_MIN || number > INT32_MAX) {
    return std::nullopt;
  }
  return static_cast<std::int32_t>(number);
}

// ---- Random catalogues -----------------------------------------------------------------------------------

class Generator {
 public:
  explicit Generator(std::mt19937_64& rng) : rng_(rng) {}

  int Uniform(int low, int high) { return std::uniform_int_distribution<int>(low, high)(rng_); }
  bool Chance(double p) { return std::bernoulli_distribution(p)(rng_); }
  template <class T>
  const T& Pick(const std::vector<T>& items) {
    return items[static_cast<std::size_t>(Uniform(0, static_cast<int>(items.size()) - 1))];
  }

  // A PKID text: mostly small numbers in plain decimal, so that keys repeat; often in another spelling of the
  // same number; now and then one of the odd texts.
  std::string KeyText() {
    const int kind = Uniform(0, 99);
    const int n = Uniform(0, 12);
    if (kind < 45) return std::to_string(n);
    if (kind < 52) return std::to_string(-n);
    if (kind < 80) {
      static const std::vector<std::string> blanks = {"", " ", "\t", "\n", "\r", " \t\r\n", "  "};
      static const std::vector<std::string> fractions = {
          "", ".", ".0", ".000", ".5", ".0000000000000001", ".00000000000000001", ".9999999999999999999"};
      std::string text = Pick(blanks);
      if (Chance(0.15)) text += Chance(0.7) ? "-" : "+";
      if (Chance(0.3)) text += std::string(static_cast<std::size_t>(Uniform(1, 3)), '0');
      text += std::to_string(n);
      if (Chance(0.4)) text += Pick(fractions);
      return text + Pick(blanks);
    }
    return Pick(kOddKeys);
  }

  std::string ElText() {
    static const std::vector<std::string> texts = {"0", "00", "1", " 1", "1 ", "01", "1.0", "", "2", "-1", "10", "x"};
    return Chance(0.7) ? std::to_string(Uniform(0, 4)) : Pick(texts);
  }

  std::string Catalog() {
    std::string out;
    prefixed_ = false;
    if (Chance(0.3)) out += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    if (Chance(0.1)) out += "<?CalvoraCatalog PKID=\"1\"?>";
    if (Chance(0.1)) out += "<!-- CalvoraCatalog -->";
    static const std::vector<std::string> other_roots = {"CalvoraCatalogX", "calvoraCatalog", "ProductsItem",
                                                         "PageData", "Catalog"};
    const std::string root = Chance(0.9) ? "CalvoraCatalog" : Pick(other_roots);
    out += "<" + root;
    if (Chance(0.5)) {
      out += " xmlns:x=\"urn:x\"";
      prefixed_ = true;
    }
    if (Chance(0.05)) out += " xmlns=\"urn:y\"";
    if (root == "ProductsItem" || Chance(0.1)) out += ItemAttributes(root);
    out += ">";
    const int children = Uniform(1, 8);
    for (int i = 0; i < children; ++i) RootChild(out, 1);
    out += "</" + root + ">";
    if (Chance(0.05)) out += "<!-- end --><?ProductsItem?>";
    return out;
  }

 private:
  static std::string Escape(std::string_view text, bool attribute, Generator& g) {
    std::string out;
    for (char c : text) {
      switch (c) {
        case '&':
          out += "&amp;";
          break;
        case '<':
          out += "&lt;";
          break;
        case '>':
          out += "&gt;";
          break;
        case '"':
          out += attribute ? "&quot;" : "\"";
          break;
        case '\t':
          out += attribute && g.Chance(0.8) ? "&#9;" : "\t";
          break;
        case '\n':
          out += attribute && g.Chance(0.8) ? "&#10;" : "\n";
          break;
        case '\r':
          out += g.Chance(0.8) ? "&#13;" : "\r";
          break;
        default:
          out += c;
      }
    }
    return out;
  }

  std::string Attribute(const std::string& name, std::string_view value) {
    return " " + name + "=\"" + Escape(value, true, *this) + "\"";
  }

  std::string ItemAttributes(const std::string& element) {
    std::vector<std::string> attributes;
    attributes.push_back(Attribute("n", std::to_string(++next_id_)));
    if (Chance(0.85)) attributes.push_back(Attribute("PKID", KeyText()));
    const bool page_data = element.find("PageData") != std::string::npos;
    if (page_data || Chance(0.1)) {
      if (Chance(0.85)) attributes.push_back(Attribute("ElType", ElText()));
      if (Chance(0.85)) attributes.push_back(Attribute("ElRef", ElText()));
    }
    if (Chance(0.1)) attributes.push_back(Attribute("pkid", std::to_string(Uniform(0, 12))));
    if (Chance(0.1)) attributes.push_back(Attribute("NewPKID", std::to_string(Uniform(100, 200))));
    if (Chance(0.1)) attributes.push_back(Attribute("Name", "name"));
    std::shuffle(attributes.begin() + 1, attributes.end(), rng_);
    std::string out;
    for (const std::string& a : attributes) out += a;
    return out;
  }

  std::string SectionName() {
    static const std::vector<std::string> miscased = {"products",     "PRODUCTS", "Product",
                                                      "ProductsItem", "pageData", "Categorie"};
    if (Chance(0.08)) return Pick(miscased);
    if (prefixed_ && Chance(0.02)) return "x:Products";
    return Chance(0.3) ? "Products" : Pick(kSections);
  }

  std::string ItemName(const std::string& section) {
    if (Chance(0.8)) return section + "Item";
    const std::string other = Pick(kSections);
    switch (Uniform(0, 6)) {
      case 0:
        return other + "Item";
      case 1:
        return std::string(1, static_cast<char>(std::tolower(static_cast<unsigned char>(section[0])))) +
               section.substr(1) + "Item";
      case 2:
        return section + "Items";
      case 3:
        return prefixed_ && section.find(':') == std::string::npos ? "x:" + section + "Item" : section + "item";
      case 4:
        return section;
      case 5:
        return section + "item";
      default:
        return other + "Item";
    }
  }

  void Misc(std::string& out, const std::string& like) {
    switch (Uniform(0, 4)) {
      case 0:  // a processing instruction's target has no colon
        out +=
            "<?" + (like.find(':') == std::string::npos ? like : "Comments") + " PKID=\"1\" ElType=\"1\" ElRef=\"1\"?>";
        break;
      case 1:
        out += "<!-- <" + like + " PKID=\"1\"/> -->";
        break;
      case 2:
        out += Escape(Chance(0.5) ? "12" : "long text & more", false, *this);
        break;
      case 3:
        out += "<![CDATA[<" + like + " PKID=\"1\"/>]]>";
        break;
      default:
        out += " \n\t";
    }
  }

  void Item(std::string& out, const std::string& name, int depth) {
    out += "<" + name + ItemAttributes(name);
    const int children = depth < 4 && Chance(0.35) ? Uniform(1, 3) : 0;
    if (children == 0) {
      out += "/>";
      return;
    }
    out += ">";
    for (int i = 0; i < children; ++i) {
      const int kind = Uniform(0, 9);
      if (kind < 4) {
        static const std::vector<std::string> fields = {"Comments", "Markup", "comments", "Comments", "Other"};
        const std::string field = prefixed_ && Chance(0.1) ? "x:Comments" : Pick(fields);
        out += "<" + field + (Chance(0.3) ? Attribute("n", std::to_string(++next_id_)) : "") + ">";
        if (Chance(0.2)) {
          Item(out, ItemName(Pick(kSections)), depth + 1);
        } else {
          out += Escape(Chance(0.5) ? "text" : " 12 ", false, *this);
        }
        out += "</" + field + ">";
      } else if (kind < 6) {
        Item(out, ItemName(Chance(0.5) ? name.substr(0, name.size() > 4 ? name.size() - 4 : 0) : Pick(kSections)),
             depth + 1);
      } else {
        Misc(out, Chance(0.5) ? "Comments" : name);
      }
    }
    out += "</" + name + ">";
  }

  void Section(std::string& out, const std::string& name, int depth) {
    out += "<" + name;
    if (Chance(0.05)) out += Attribute("PKID", KeyText());
    out += ">";
    const int children = Uniform(0, 8);
    for (int i = 0; i < children; ++i) {
      const int kind = Uniform(0, 99);
      if (kind < 85) {
        Item(out, ItemName(name), depth + 1);
      } else if (kind < 93) {
        Misc(out, Chance(0.5) ? name + "Item" : name);
      } else if (kind < 97 && depth < 3) {
        Section(out, Chance(0.5) ? name : SectionName(), depth + 1);
      } else {
        Item(out, ItemName(Pick(kSections)), depth + 1);
      }
    }
    out += "</" + name + ">";
  }

  void RootChild(std::string& out, int depth) {
    const int kind = Uniform(0, 99);
    if (kind < 70) {
      Section(out, SectionName(), depth);
    } else if (kind < 82) {
      Item(out, ItemName(Pick(kSections)), depth);
    } else if (kind < 87 && depth < 3) {
      out += "<Wrapper>";
      Section(out, SectionName(), depth + 1);
      out += "</Wrapper>";
    } else if (kind < 91 && depth < 3) {
      out += "<CalvoraCatalog>";
      RootChild(out, depth + 1);
      out += "</CalvoraCatalog>";
    } else {
      Misc(out, Chance(0.3) ? "CalvoraCatalog" : Pick(kSections) + (Chance(0.5) ? "Item" : ""));
    }
  }

  std::mt19937_64& rng_;
  bool prefixed_ = false;
  int next_id_ = 0;
};

// ---- Comparing the two ----------------------------------------------------------------------------------

struct Outcome {
  enum Kind { kNode, kRaised, kOther } kind = kNode;
  ErrorCode code{};
  pugi::xpath_node node;
  std::string what;

  bool operator==(const Outcome& o) const {
    if (kind != o.kind) return false;
    if (kind == kNode) return node == o.node;
    if (kind == kRaised) return code == o.code;
    return what == o.what;
  }
};

std::string Describe(const pugi::xpath_node& node) {
  if (!node) return "no node";
  if (pugi::xml_attribute a = node.attribute()) {
    return "attribute " + std::string(a.name()) + "=" + Printable(a.value()) + " of " + node.parent().path();
  }
  std::string text = "node " + node.node().path();
  if (pugi::xml_attribute n = node.node().attribute("n")) text += " n=\"" + std::string(n.value()) + "\"";
  return text;
}

std::string Describe(const Outcome& o) {
  switch (o.kind) {
    case Outcome::kNode:
      return Describe(o.node);
    case Outcome::kRaised:
      return "raises " + std::to_string(static_cast<int>(o.code));
    default:
      return "throws " + o.what;
  }
}

template <class F>
Outcome Capture(F lookup) {
  Outcome o;
  try {
    o.node = lookup().raw();
  } catch (const Error& e) {
    o.kind = Outcome::kRaised;
    o.code = e.code();
  } catch (const std::exception& e) {
    o.kind = Outcome::kOther;
    o.what = e.what();
  }
  return o;
}

struct Totals {
  long checks = 0;
  long nodes = 0;
  long raised = 0;
  long mismatches = 0;
  long mutations = 0;
  long reloads = 0;
  std::map<std::string, std::pair<long, long>> by_form;  // lookups and nodes found, per method
  std::vector<std::string> reports;                      // the first few mismatches in full
};

class Scenario {
 public:
  Scenario(std::uint64_t seed, Totals& totals, std::vector<std::string> sections)
      : seed_(seed), rng_(seed), generator_(rng_), totals_(totals), sections_(std::move(sections)) {}

  void Go() {
    if (!LoadNew()) return;
    const int rounds = generator_.Uniform(1, 2);
    if (generator_.Chance(0.15)) Mutate();
    for (round_ = 0; round_ < rounds; ++round_) {
      Round();
      if (generator_.Chance(0.05)) {
        if (!LoadNew()) return;
        ++totals_.reloads;
      } else {
        Mutate();
      }
    }
    Round();
  }

 private:
  bool LoadNew() {
    text_ = generator_.Catalog();
    log_.assign({"loaded"});
    if (!doc_.LoadXml(text_)) {
      ADD_FAILURE() << "seed " << seed_ << ": the catalogue does not load (" << doc_.load_error().reason << ")\n"
                    << text_;
      return false;
    }
    return true;
  }

  std::string Current() const {
    std::ostringstream out;
    doc_.DocumentElement().raw().node().root().print(out, "", pugi::format_raw);
    return out.str();
  }

  void Compare(const std::string& form, const Outcome& actual, const Outcome& expected) {
    ++totals_.checks;
    if (expected.kind == Outcome::kNode && expected.node) ++totals_.nodes;
    if (expected.kind != Outcome::kNode) ++totals_.raised;
    auto& [lookups, found] = totals_.by_form[form.substr(0, form.find('('))];
    ++lookups;
    if (expected.kind == Outcome::kNode && expected.node) ++found;
    log_.push_back(form);
    if (actual == expected) return;
    ++totals_.mismatches;
    if (totals_.reports.size() >= 8) return;
    std::ostringstream report;
    report << "seed " << seed_ << ", round " << round_ << ": " << form << "\n  method: " << Describe(actual)
           << "\n  XPath:  " << Describe(expected) << "\n  loaded: " << text_ << "\n  now:    " << Current()
           << "\n  since the load:";
    for (const std::string& step : log_) report << "\n    " << step;
    totals_.reports.push_back(report.str());
  }

  void CheckNode(const std::string& form, const std::function<Node()>& method, const std::string& xpath) {
    Compare(form, Capture(method), Capture([&] { return doc_.SelectSingleNode(xpath); }));
  }

  void CheckSectionItems(const std::string& section) {
    const std::string form = "SectionItems(" + Printable(section) + ")";
    std::vector<pugi::xpath_node> actual, expected;
    std::string actual_error, expected_error;
    try {
      for (const Node& n : doc_.SectionItems(section)) actual.push_back(n.raw());
    } catch (const std::exception& e) {
      actual_error = e.what();
    }
    try {
      for (const Node& n : doc_.SelectNodes(SectionItemsPath(section))) expected.push_back(n.raw());
    } catch (const std::exception& e) {
      expected_error = e.what();
    }
    ++totals_.checks;
    log_.push_back(form);
    if (actual == expected && actual_error.empty() == expected_error.empty()) return;
    ++totals_.mismatches;
    if (totals_.reports.size() >= 8) return;
    std::ostringstream report;
    report << "seed " << seed_ << ", round " << round_ << ": " << form << "\n  method:";
    for (const auto& n : actual) report << " [" << Describe(n) << "]";
    report << " " << actual_error << "\n  XPath: ";
    for (const auto& n : expected) report << " [" << Describe(n) << "]";
    report << " " << expected_error << "\n  loaded: " << text_ << "\n  now:    " << Current();
    totals_.reports.push_back(report.str());
  }

  template <class T>
  std::vector<T> Sample(std::vector<T> items, std::size_t count) {
    std::shuffle(items.begin(), items.end(), rng_);
    if (items.size() > count) items.resize(count);
    return items;
  }

  // Keys from PKID attributes: their texts, and the numbers that they make with their neighbours (or, for a
  // text that makes none, the number that its leading digits spell).
  struct Keys {
    std::vector<std::string> texts;
    std::vector<std::int32_t> numbers;
  };

  Keys KeysOf(const std::string& xpath, std::set<std::int32_t> numbers, bool neighbours) {
    std::set<std::string> texts;
    NodeList attributes;
    try {
      attributes = doc_.SelectNodes(xpath);
    } catch (const Error&) {
    }
    for (const Node& a : attributes) {
      const std::string text = a.Text();
      texts.insert(text);
      if (auto number = XPathNumber(text)) {
        if (auto key = AsKey(*number)) {
          numbers.insert(*key);
          if (neighbours && *key > INT32_MIN) numbers.insert(*key - 1);
          if (neighbours && *key < INT32_MAX) numbers.insert(*key + 1);
        }
      } else {
        numbers.insert(static_cast<std::int32_t>(std::strtol(text.c_str(), nullptr, 10) & 0x7FFFFFFF));
      }
    }
    for (std::int32_t n : numbers) texts.insert(std::to_string(n));
    return Keys{{texts.begin(), texts.end()}, {numbers.begin(), numbers.end()}};
  }

  // Mostly keys of the section's own items, and some of any item.
  template <class T>
  std::vector<T> Mix(const std::vector<T>& own, const std::vector<T>& all, std::size_t count) {
    std::vector<T> keys = Sample(own, count - 1);
    for (const T& key : Sample(all, count - keys.size())) keys.push_back(key);
    return keys;
  }

  void Round() {
    const Keys all = KeysOf("//@PKID", {0, 1, -1, -5, INT32_MIN, INT32_MAX}, true);
    std::set<std::pair<std::int32_t, std::int32_t>> pages = {{0, 0}, {1, 1}, {1, 0}, {-1, 2}};
    for (const Node& item : doc_.SelectNodes("//*[@ElType and @ElRef]")) {
      if (!item.SelectSingleNode("self::PageDataItem[parent::PageData]") && generator_.Chance(0.7)) continue;
      auto type = XPathNumber(item.AttributeText("ElType"));
      auto ref = XPathNumber(item.AttributeText("ElRef"));
      if (type && ref && AsKey(*type) && AsKey(*ref)) pages.insert({*AsKey(*type), *AsKey(*ref)});
    }

    std::vector<std::function<void()>> checks;
    for (const std::string& section : sections_) {
      const Keys own = KeysOf(SectionItemsPath(section) + "/@PKID", {}, false);
      const Keys anywhere = KeysOf("//" + section + "Item/@PKID", {}, false);
      checks.emplace_back([this, section] { CheckSectionItems(section); });
      if (anywhere.texts.empty() && !generator_.Chance(0.3)) continue;  // fewer lookups where nothing is to be found
      for (std::int32_t key : Mix(own.numbers, all.numbers, 5)) {
        checks.emplace_back([this, section, key] {
          CheckNode(
              "ItemByNumber(" + Printable(section) + ", " + std::to_string(key) + ")",
              [&] { return doc_.ItemByNumber(section, key); }, ItemByNumberPath(section, key));
        });
      }
      std::vector<std::string> keys = Mix(own.texts, all.texts, 4);
      if (generator_.Chance(0.3)) keys.push_back(generator_.Pick(kQuotedKeys));
      if (generator_.Chance(0.2)) keys.push_back(generator_.Pick(kOddKeys));
      for (const std::string& key : keys) {
        checks.emplace_back([this, section, key] {
          CheckNode(
              "ItemByText(" + Printable(section) + ", " + Printable(key) + ")",
              [&] { return doc_.ItemByText(section, key); }, ItemByTextPath(section, key));
        });
      }
      keys = Mix(anywhere.texts, all.texts, 4);
      if (generator_.Chance(0.3)) keys.push_back(generator_.Pick(kQuotedKeys));
      if (generator_.Chance(0.2)) keys.push_back(generator_.Pick(kOddKeys));
      for (const std::string& key : keys) {
        checks.emplace_back([this, section, key] {
          CheckNode(
              "ItemAnywhere(" + Printable(section) + ", " + Printable(key) + ")",
              [&] { return doc_.ItemAnywhere(section, key); }, ItemAnywherePath(section, key));
        });
      }
    }
    std::vector<std::pair<std::int32_t, std::int32_t>> page_keys(pages.begin(), pages.end());
    for (auto [type, ref] : Sample(page_keys, 6)) {
      checks.emplace_back([this, type, ref] {
        CheckNode(
            "PageDataItem(" + std::to_string(type) + ", " + std::to_string(ref) + ")",
            [&] { return doc_.PageDataItem(type, ref); }, PageDataItemPath(type, ref));
      });
    }
    // Node::ChildElement on elements, and now and then on the document node, an attribute or a text.
    std::vector<Node> contexts;
    for (const Node& n : doc_.SelectNodes("//*")) contexts.push_back(n);
    contexts = Sample(contexts, 3);
    if (generator_.Chance(0.1)) contexts.push_back(doc_.SelectSingleNode("/"));
    if (generator_.Chance(0.05)) {
      if (Node a = doc_.SelectSingleNode("//@PKID")) contexts.push_back(a);
    }
    if (generator_.Chance(0.05)) {
      if (Node t = doc_.SelectSingleNode("//text()")) contexts.push_back(t);
    }
    for (const Node& context : contexts) {
      for (const std::string& name : Sample(kFieldNames, 3)) {
        checks.emplace_back([this, context, name] {
          const std::string where = Describe(context.raw());
          Compare("ChildElement(" + Printable(name) + ") of " + where,
                  Capture([&] { return context.ChildElement(name); }),
                  Capture([&] { return context.SelectSingleNode(name); }));
        });
      }
    }
    std::shuffle(checks.begin(), checks.end(), rng_);
    for (const auto& check : checks) check();
  }

  void Mutate() {
    std::vector<Node> elements;
    for (const Node& n : doc_.SelectNodes("//*")) elements.push_back(n);
    std::vector<Node> keyed;
    for (const Node& n : doc_.SelectNodes("//*[@PKID or @ElRef]")) keyed.push_back(n);
    const int count = generator_.Uniform(1, 4);
    for (int i = 0; i < count; ++i) {
      const std::vector<Node>& from = !keyed.empty() && generator_.Chance(0.6) ? keyed : elements;
      if (from.empty()) return;
      Node target = generator_.Pick(from);
      const int kind = generator_.Uniform(0, 99);
      std::string name;
      Value value;
      if (kind < 45) {
        name = "NewPKID";
        value = Value(static_cast<std::int32_t>(generator_.Uniform(1, 1000000)));
      } else if (kind < 75) {
        name = "PKID";
        static const std::vector<std::string> unspaced = {"\v3", "\f3", "3\v", "3\f",
                                                          "\xC2\xA0"
                                                          "3"};
        const int how = generator_.Uniform(0, 9);
        value = how < 6   ? Value(generator_.KeyText())
                : how < 9 ? Value(static_cast<std::int32_t>(generator_.Uniform(-3, 12)))
                          : Value(generator_.Pick(unspaced));
      } else if (kind < 90) {
        name = generator_.Chance(0.5) ? "ElRef" : "ElType";
        value = generator_.Chance(0.5) ? Value(generator_.ElText())
                                       : Value(static_cast<std::int32_t>(generator_.Uniform(0, 4)));
      } else if (kind < 95) {
        name = generator_.Chance(0.5) ? "pkid" : "Name";
        value = Value(generator_.KeyText());
      } else {
        name = "PKID";  // the same value again
        value = target.GetAttribute("PKID");
        if (value.is_null()) value = Value("0");
      }
      target.SetAttribute(name, value);
      ++totals_.mutations;
      log_.push_back("SetAttribute(" + name + ", " + Printable(TextForm(value)) + ") on " + Describe(target.raw()));
    }
  }

  std::uint64_t seed_;
  std::mt19937_64 rng_;
  Generator generator_;
  Totals& totals_;
  std::vector<std::string> sections_;
  Document doc_;
  std::string text_;
  std::vector<std::string> log_;
  int round_ = 0;
};

void ExpectNoMismatch(const Totals& totals, int documents) {
  std::cout << documents << " catalogues, " << totals.checks << " lookups (" << totals.nodes << " found a node, "
            << totals.raised << " raised), " << totals.mutations << " attributes set, " << totals.reloads
            << " reloads, " << totals.mismatches << " mismatches\n";
  for (const auto& [form, counts] : totals.by_form) {
    std::cout << "  " << form << ": " << counts.first << " lookups, " << counts.second << " found a node\n";
  }
  EXPECT_EQ(totals.mismatches, 0);
  for (const std::string& report : totals.reports) ADD_FAILURE() << report;
}

TEST(ItemLookupDifferential, EveryFormGivesTheNodeOfItsXPath) {
  const int documents = DocumentCount();
  Totals totals;
  for (int i = 0; i < documents; ++i) Scenario(kSeed + static_cast<std::uint64_t>(i), totals, kSections).Go();
  ExpectNoMismatch(totals, documents);
  // The catalogues must exercise the lookups, not only miss.
  EXPECT_GT(totals.nodes, totals.checks / 5);
  EXPECT_GT(totals.raised, 0);
}

// Section names that are no plain names make other XPath texts; the methods give what those give.
TEST(ItemLookupDifferential, SectionNamesThatChangeThePathGiveWhatThePathGives) {
  const int documents = std::max(1, DocumentCount() / 10);
  const std::vector<std::string> sections = {"",           "products",
                                             "x:Products", "Products/Products",
                                             "*",          "Products[1]",
                                             "Item",       "CalvoraCatalog",
                                             "Products ",  "@PKID",
                                             "div",        "and",
                                             "or",         "mod",
                                             "node",       "text",
                                             "comment",    "child",
                                             "self",       "processing-instruction",
                                             "ancestor",   "Products|//Media",
                                             "-",          "\xC3\xA9"};
  Totals totals;
  for (int i = 0; i < documents; ++i) {
    Scenario(kSeed + 1'000'000 + static_cast<std::uint64_t>(i), totals, sections).Go();
  }
  ExpectNoMismatch(totals, documents);
}

}  // namespace
}  // namespace cvimp::catalog
