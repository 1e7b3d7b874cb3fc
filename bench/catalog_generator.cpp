#include "catalog_generator.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <initializer_list>
#include <memory>
#include <set>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace cvimp::bench {
namespace {

namespace fs = std::filesystem;
using i64 = std::int64_t;

constexpr std::array<std::string_view, 40> kSections = {
    "Currencies",
    "DeliveryTimes",
    "MeasureUnits",
    "QuantityUnits",
    "Regions",
    "Manufacturers",
    "Keywords",
    "KeywordRefs",
    "Folders",
    "Pages",
    "PageData",
    "Categories",
    "Products",
    "Products2Categories",
    "Media",
    "Element2Media",
    "VariantTypes",
    "VariantValues",
    "VariantsSimple",
    "VariantsComplex",
    "AttributeClasses",
    "AttributeGroups",
    "Attributes",
    "Attributes2Class",
    "AttributeMultiValues",
    "Attributes2Product",
    "AttributeMultiValues2Product",
    "PayMethods",
    "ShipMethods",
    "ShipMethodZones",
    "ShipMethodCalculators",
    "ShipMethodTables",
    "Pay2ShipMethodsExcl",
    "PayMethods2RegionsExcl",
    "Regions2ShipZones",
    "Discounts",
    "ExchangeDataProfiles",
    "PublishProfiles",
    "Bundles",
    "CrossRefs",
};

// ---------------------------------------------------------------------------------------------------------
// Deterministic randomness: splitmix64, seeded with a fixed value. Decisions that several sections must agree
// on (which products have variants, which picture a product shows) are pure functions of an item's index;
// everything else is drawn from a stream per section.

constexpr std::uint64_t kSeed = 0x43564252454E4348ULL;

std::uint64_t Mix(std::uint64_t z) {
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
  return z ^ (z >> 31);
}

std::uint64_t Hash(i64 index, std::uint64_t salt) {
  return Mix(static_cast<std::uint64_t>(index) * 0x9E3779B97F4A7C15ULL ^ Mix(kSeed + salt));
}

// A number in [0, n) from a hash.
i64 Pick(i64 index, std::uint64_t salt, i64 n) {
  return n <= 1 ? 0 : static_cast<i64>(Hash(index, salt) % static_cast<std::uint64_t>(n));
}

class Rng {
 public:
  explicit Rng(std::uint64_t salt) : state_(Mix(kSeed ^ Mix(salt))) {}
  std::uint64_t Next() {
    state_ += 0x9E3779B97F4A7C15ULL;
    return Mix(state_);
  }
  i64 Below(i64 n) { return n <= 1 ? 0 : static_cast<i64>(Next() % static_cast<std::uint64_t>(n)); }
  i64 Between(i64 low, i64 high) { return low + Below(high - low + 1); }
  bool Percent(int p) { return Below(100) < p; }
  template <std::size_t N>
  std::string_view Of(const std::array<std::string_view, N>& words) {
    return words[static_cast<std::size_t>(Below(static_cast<i64>(N)))];
  }

 private:
  std::uint64_t state_;
};

template <std::size_t N>
std::string_view At(const std::array<std::string_view, N>& words, i64 index) {
  return words[static_cast<std::size_t>(index % static_cast<i64>(N))];
}

// ---------------------------------------------------------------------------------------------------------
// Texts.

constexpr std::array<std::string_view, 40> kProductNouns = {
    "Teekanne",          "Kaffeebecher", "Brotkorb",     "Schneidebrett", "Salatschüssel", "Wasserkocher",
    "Gewürzmühle",       "Küchenwaage",  "Thermoskanne", "Backform",      "Pfannenwender", "Kochtopf",
    "Bratpfanne",        "Messerblock",  "Sparschäler",  "Käsehobel",     "Eierbecher",    "Müslischale",
    "Servierplatte",     "Tortenheber",  "Handtuch",     "Kissenbezug",   "Bettwäsche",    "Tischdecke",
    "Schürze",           "Topflappen",   "Duftkerze",    "Blumenvase",    "Wanduhr",       "Bilderrahmen",
    "Schreibtischlampe", "Gießkanne",    "Pflanzkübel",  "Vogelhäuschen", "Fußmatte",      "Regenschirm",
    "Rucksack",          "Brotdose",     "Trinkflasche", "Picknickdecke",
};

constexpr std::array<std::string_view, 20> kDesigns = {
    "Friesland", "Alpenglühen", "Nordlicht",   "Bärenstark",  "Süßholz",   "Weißwal",      "Märchenwald",
    "Großstadt", "Küstenwind",  "Sonnenblume", "Schwarzwald", "Bodensee",  "Heideröschen", "Löwenzahn",
    "Zugspitze", "Elbflorenz",  "Rügen",       "Spreewald",   "Moselgold", "Allgäu",
};

constexpr std::array<std::string_view, 15> kMaterials = {
    "aus Edelstahl",
    "aus Porzellan",
    "aus Glas",
    "aus Buchenholz",
    "aus Bambus",
    "aus Baumwolle",
    "aus Leinen",
    "aus Steingut",
    "aus Gusseisen",
    "aus Kupfer",
    "aus recyceltem Kunststoff",
    "aus Schurwolle",
    "aus Ton",
    "aus Keramik",
    "aus Eichenholz",
};

constexpr std::array<std::string_view, 4> kSizes = {"", ", 2er-Set", ", Ø 24 cm", ", 1,2 l"};

constexpr std::array<std::string_view, 12> kShortDescs = {
    "Der Klassiker für's Frühstück",
    "So geht's: einfach, schnell, schön",
    "Omas 'Geheimtipp' für die Küche",
    "Robust & langlebig",
    "Nachhaltig produziert – fair gehandelt",
    "Für Groß und Klein",
    "Unser Bestseller im Frühjahr",
    "Das Original aus dem Allgäu",
    "Spülmaschinenfest, lebensmittelecht, formschön",
    "Schlicht, zeitlos, \"einfach schön\"",
    "Handgefertigt in kleiner Stückzahl",
    "Ideal als Geschenk <3",
};

// Sentences of the long descriptions, with the markup that the shop renders.
constexpr std::array<std::string_view, 24> kSentences = {
    "Hochwertig verarbeitet und langlebig – ideal für den täglichen Gebrauch.",
    "Spülmaschinenfest und lebensmittelecht, frei von BPA und Weichmachern.",
    "Das Material ist besonders pflegeleicht: einfach mit warmem Wasser abspülen.",
    "<b>Hinweis:</b> Bitte vor dem ersten Gebrauch gründlich reinigen.",
    "Maße (B × H × T): 24 × 18 × 12 cm, Gewicht ca. 850 g.",
    "Hergestellt in einer kleinen Manufaktur im Schwarzwald.",
    "Die Oberfläche ist säurebeständig und geschmacksneutral.",
    "<ul><li>formschön</li><li>robust</li><li>größenverstellbar</li></ul>",
    "Ein schönes Geschenk für Freunde und Familie – ob zum Geburtstag oder zu Weihnachten.",
    "Lieferumfang: 1 Stück, ohne Dekoration.",
    "<i>Farbabweichungen sind produktionsbedingt möglich.</i>",
    "Kunden sagen: \"Einfach großartig, jeden Cent wert!\"",
    "Für Induktion, Gas- und Elektroherde geeignet.",
    "Nachhaltig produziert aus zertifizierten Rohstoffen (FSC®).",
    "Passend dazu finden Sie in unserem Shop weitere Artikel der Serie.",
    "Größe und Gewicht können je nach Ausführung leicht variieren.",
    "Bitte beachten Sie unsere <a href=\"/pflege.html\">Pflegehinweise</a>.",
    "Made in Germany – geprüfte Qualität seit über 50 Jahren.",
    "Das ergonomische Design liegt angenehm in der Hand.",
    "Rutschfeste Füße sorgen für sicheren Stand auf glatten Flächen.",
    "Der Deckel schließt dicht & hält den Inhalt lange frisch.",
    "Unser Tipp: Mit einem Tropfen Öl bleibt das Holz geschmeidig.",
    "Geeignet für Temperaturen von -20 °C bis +250 °C.",
    "Wir liefern in einer umweltfreundlichen Verpackung aus Altpapier.",
};

constexpr std::array<std::string_view, 40> kCategoryNouns = {
    "Küche",
    "Kochgeschirr",
    "Backzubehör",
    "Tischkultur",
    "Gläser & Karaffen",
    "Besteck",
    "Aufbewahrung",
    "Textilien",
    "Bettwäsche",
    "Handtücher",
    "Dekoration",
    "Kerzen & Düfte",
    "Leuchten",
    "Uhren",
    "Garten",
    "Pflanzgefäße",
    "Vogelfutter & Nistkästen",
    "Reisen",
    "Taschen & Rucksäcke",
    "Schreibwaren",
    "Geschenkideen",
    "Spielwaren",
    "Bad & Wellness",
    "Kaffee & Tee",
    "Feinkost",
    "Gewürze",
    "Öle & Essige",
    "Süßwaren",
    "Weine",
    "Grillzubehör",
    "Camping",
    "Haushaltshelfer",
    "Reinigung",
    "Wohnaccessoires",
    "Teppiche",
    "Kissen & Decken",
    "Kinderzimmer",
    "Büro",
    "Bücher",
    "Saisonartikel",
};

constexpr std::array<std::string_view, 25> kCategoryQualifiers = {
    "",           "Klassiker",     "Neuheiten",   "Sonderangebote",  "Premium",       "Öko",          "für Kinder",
    "für Profis", "Restposten",    "Sets",        "Zubehör",         "Ersatzteile",   "Outdoor",      "Vintage",
    "Landhaus",   "Skandinavisch", "Handgemacht", "Regional",        "Großpackungen", "Geschenksets", "Bestseller",
    "Aktion",     "Limitiert",     "Frühjahr",    "Herbst & Winter",
};

constexpr std::array<std::string_view, 20> kPageNames = {
    "Startseite",
    "Über uns",
    "Impressum",
    "Datenschutzerklärung",
    "AGB",
    "Versand & Zahlung",
    "Widerrufsbelehrung",
    "Kontakt",
    "Häufige Fragen",
    "Größentabelle",
    "Pflegehinweise",
    "Gutscheine",
    "Newsletter",
    "Karriere",
    "Presse",
    "Filialen",
    "Blog",
    "Rezepte",
    "Nachhaltigkeit",
    "Händlerbereich",
};

constexpr std::array<std::string_view, 12> kFolderNames = {
    "Bilder",    "Downloads",       "Seiten",         "Warengruppen", "Produkte", "Medien",
    "Übersicht", "Große Ansichten", "Vorschaubilder", "Datenblätter", "Archiv",   "Aktionen",
};

constexpr std::array<std::string_view, 25> kSurnames = {
    "Müller",   "Schmidt",    "Schneider", "Fischer", "Weber",   "Meyer",    "Wagner", "Becker",   "Schulz",
    "Hoffmann", "Schäfer",    "Koch",      "Bauer",   "Richter", "Klein",    "Wolf",   "Schröder", "Neumann",
    "Schwarz",  "Zimmermann", "Braun",     "Krüger",  "Hofmann", "Hartmann", "Lange",
};

constexpr std::array<std::string_view, 4> kCompanyForms = {" & Söhne GmbH", " Manufaktur", " KG", " Werkstätten"};

constexpr std::array<std::string_view, 50> kKeywords = {
    "Geschenkidee", "Küche",         "Nachhaltig",     "Handgemacht",
    "Bio",          "Öko",           "Frühstück",      "Grillen",
    "Weihnachten",  "Ostern",        "Muttertag",      "Vatertag",
    "Hochzeit",     "Geburtstag",    "Camping",        "Garten",
    "Balkon",       "Kinder",        "Büro",           "Reise",
    "Wellness",     "Tee",           "Kaffee",         "Backen",
    "Kochen",       "Dekoration",    "Landhaus",       "Skandinavisch",
    "Vintage",      "Retro",         "Minimalistisch", "Edelstahl",
    "Porzellan",    "Holz",          "Glas",           "Baumwolle",
    "Leinen",       "Wolle",         "Regional",       "Made in Germany",
    "Fair Trade",   "Vegan",         "Glutenfrei",     "Sommer",
    "Winter",       "Herbst",        "Frühling",       "Party",
    "Picknick",     "Omas Liebling",
};

struct Region {
  i64 pkid;
  std::string_view name;
  std::string_view iso;
  int zone;  // 0 domestic, 1 EU, 2 rest of the world
};
constexpr std::array<Region, 30> kRegions = {{
    {276, "Deutschland", "DE", 0}, {40, "Österreich", "AT", 1},      {756, "Schweiz", "CH", 2},
    {250, "Frankreich", "FR", 1},  {380, "Italien", "IT", 1},        {528, "Niederlande", "NL", 1},
    {56, "Belgien", "BE", 1},      {442, "Luxemburg", "LU", 1},      {208, "Dänemark", "DK", 1},
    {616, "Polen", "PL", 1},       {203, "Tschechien", "CZ", 1},     {752, "Schweden", "SE", 1},
    {246, "Finnland", "FI", 1},    {724, "Spanien", "ES", 1},        {620, "Portugal", "PT", 1},
    {372, "Irland", "IE", 1},      {826, "Großbritannien", "GB", 2}, {578, "Norwegen", "NO", 2},
    {348, "Ungarn", "HU", 1},      {703, "Slowakei", "SK", 1},       {705, "Slowenien", "SI", 1},
    {191, "Kroatien", "HR", 1},    {300, "Griechenland", "GR", 1},   {642, "Rumänien", "RO", 1},
    {100, "Bulgarien", "BG", 1},   {233, "Estland", "EE", 1},        {428, "Lettland", "LV", 1},
    {440, "Litauen", "LT", 1},     {470, "Malta", "MT", 1},          {196, "Zypern", "CY", 1},
}};

constexpr std::array<std::string_view, 6> kVariantTypes = {"Farbe", "Größe", "Material", "Länge", "Ausführung", "Duft"};
constexpr std::array<std::array<std::string_view, 16>, 6> kVariantValues = {{
    {"Rot", "Grün", "Blau", "Schwarz", "Weiß", "Gelb", "Orange", "Grau", "Braun", "Türkis", "Rosé", "Beige", "Olivgrün",
     "Bordeaux", "Petrol", "Flieder"},
    {"XS", "S", "M", "L", "XL", "XXL", "3XL", "36", "38", "40", "42", "44", "46", "48", "50", "52"},
    {"Baumwolle", "Leinen", "Wolle", "Seide", "Leder", "Kunstleder", "Edelstahl", "Eiche", "Buche", "Glas", "Porzellan",
     "Steingut", "Bambus", "Kork", "Jute", "Filz"},
    {"40 cm", "50 cm", "60 cm", "70 cm", "80 cm", "90 cm", "100 cm", "110 cm", "120 cm", "140 cm", "160 cm", "180 cm",
     "200 cm", "220 cm", "250 cm", "300 cm"},
    {"Standard", "Premium", "Öko", "Deluxe", "Classic", "Comfort", "Sport", "Mini", "Maxi", "Light", "Pro", "Junior",
     "Family", "Travel", "Home", "Outdoor"},
    {"Lavendel", "Zitrone", "Rosmarin", "Minze", "Vanille", "Zimt", "Orange", "Rose", "Jasmin", "Sandelholz", "Zeder",
     "Meeresbrise", "Apfel", "Kirsche", "Kokos", "Waldbeere"},
}};

// The combinations of three variant types that combined variants are made of (types 0..5, ascending).
constexpr int kVariantTypeCount = 6;
constexpr int kTypeTriples = 20;

struct AttributeName {
  std::string_view name;
  std::string_view unit;
};
constexpr std::array<AttributeName, 30> kAttributeNames = {{
    {"Leistung", "W"},
    {"Spannung", "V"},
    {"Fassungsvermögen", "l"},
    {"Breite", "cm"},
    {"Höhe", "cm"},
    {"Tiefe", "cm"},
    {"Durchmesser", "cm"},
    {"Gewicht", "kg"},
    {"Material", ""},
    {"Farbe", ""},
    {"Oberfläche", ""},
    {"Pflege", ""},
    {"Herkunftsland", ""},
    {"Garantie", "Jahre"},
    {"Energieeffizienzklasse", ""},
    {"Füllmenge", "ml"},
    {"Länge", "cm"},
    {"Fadenzahl", ""},
    {"Waschtemperatur", "°C"},
    {"Brenndauer", "h"},
    {"Lichtfarbe", "K"},
    {"Lichtstrom", "lm"},
    {"Schutzart", ""},
    {"Kabellänge", "m"},
    {"Stückzahl", "Stk"},
    {"Altersempfehlung", "Jahre"},
    {"Zertifikat", ""},
    {"Spülmaschinenfest", ""},
    {"Induktionsgeeignet", ""},
    {"Füllung", ""},
}};

constexpr std::array<std::string_view, 16> kTextValues = {
    "Edelstahl", "ja",       "nein", "Deutschland", "naturbelassen", "Handwäsche", "geölt",      "\"Öko-Tex 100\"",
    "matt",      "glänzend", "A++",  "IP44",        "Daunen",        "Österreich", "Schurwolle", "Omas Art",
};

constexpr std::array<std::string_view, 10> kAttributeClasses = {
    "Küchengeräte", "Textilien",  "Leuchten",         "Möbel",        "Geschirr", "Gartenbedarf",
    "Düfte",        "Spielwaren", "Taschen & Koffer", "Lebensmittel",
};
constexpr std::array<std::string_view, 8> kAttributeGroups = {
    "Technische Daten", "Maße & Gewicht", "Pflegehinweise", "Lieferumfang",
    "Material",         "Herkunft",       "Zertifikate",    "Sonstiges",
};

struct Named {
  std::string_view id;
  std::string_view name;
  std::string_view extra;
};
constexpr std::array<Named, 5> kCurrencies = {{
    {"EUR", "Euro", "€"},
    {"USD", "US-Dollar", "$"},
    {"CHF", "Schweizer Franken", "Fr."},
    {"GBP", "Britisches Pfund", "£"},
    {"SEK", "Schwedische Krone", "kr"},
}};
constexpr std::array<std::string_view, 5> kExchangeRates = {"1", "1.0825", "0.9512", "0.8571", "11.2345"};
constexpr std::array<Named, 5> kDeliveryTimes = {{
    {"0", "sofort lieferbar", ""},
    {"2", "1-2 Werktage", ""},
    {"5", "3-5 Werktage", ""},
    {"14", "1-2 Wochen", ""},
    {"30", "auf Anfrage – \"Sonderbestellung\"", ""},
}};
constexpr std::array<Named, 8> kMeasureUnits = {{
    {"1000", "Kilogramm", "kg"},
    {"1", "Gramm", "g"},
    {"1000", "Liter", "l"},
    {"1", "Milliliter", "ml"},
    {"100", "Meter", "m"},
    {"1", "Zentimeter", "cm"},
    {"1", "Quadratmeter", "m²"},
    {"1", "Stück", "Stk"},
}};
constexpr std::array<Named, 6> kQuantityUnits = {{
    {"", "Stück", "einzeln"},
    {"", "Paar", "zwei zusammengehörige Teile"},
    {"", "Packung", "Inhalt siehe Beschreibung"},
    {"", "Karton", "Großgebinde für Händler"},
    {"", "Set", "mehrteilig"},
    {"", "Rolle", "Meterware"},
}};
constexpr std::array<Named, 6> kPayMethods = {{
    {"VORKASSE", "Vorkasse (Überweisung)", "Zahlung vor Versand, 2 % Skonto"},
    {"NACHNAHME", "Nachnahme", "Zuzüglich 4,50 € Gebühr"},
    {"RECHNUNG", "Kauf auf Rechnung", "Zahlbar innerhalb von 14 Tagen"},
    {"PAYPAL", "PayPal", "Schnell & sicher bezahlen"},
    {"LASTSCHRIFT", "SEPA-Lastschrift", "Bequem per Bankeinzug"},
    {"KREDITKARTE", "Kreditkarte", "Visa, Mastercard, American Express"},
}};
constexpr std::array<Named, 4> kShipMethods = {{
    {"DHL-PAKET", "DHL Paket", "paket"},
    {"DPD", "DPD Classic", "paket"},
    {"SPEDITION", "Spedition (Großstücke)", "spedition"},
    {"ABHOLUNG", "Selbstabholung im Ladengeschäft", "abholung"},
}};
constexpr std::array<std::string_view, 3> kZoneNames = {"Inland", "EU-Länder", "Übrige Welt"};
constexpr std::array<std::string_view, 3> kZoneCountries = {
    "DE", "AT,BE,BG,CY,CZ,DK,EE,ES,FI,FR,GR,HR,HU,IE,IT,LT,LU,LV,MT,NL,PL,PT,RO,SE,SI,SK", "CH,GB,NO"};
constexpr std::array<std::string_view, 3> kRateAmounts = {"5", "10", "31.5"};
constexpr std::array<std::string_view, 3> kRateCharges = {"4.9", "6.9", "12.9"};
constexpr std::array<std::pair<int, int>, 4> kPayShipExclusions = {{{2, 4}, {1, 4}, {4, 3}, {2, 3}}};
constexpr std::array<Named, 3> kExchangeProfiles = {{
    {"Warenwirtschaft (CSV)", "C:\\Export\\wawi.csv", ";"},
    {"Preisvergleich 'Preisfuchs'", "C:\\Export\\preisfuchs.txt", "|"},
    {"Buchhaltung – Übergabe", "\\\\server\\buchhaltung\\shop.xml", ","},
}};
constexpr std::array<Named, 3> kPublishProfiles = {{
    {"Live-Shop", "/var/www/shop", "ftp"},
    {"Testserver", "/var/www/test", "sftp"},
    {"Offline-Katalog (CD)", "D:\\Shop\\Ausgabe", "datei"},
}};

// ---------------------------------------------------------------------------------------------------------
// Small text helpers.

std::string Num(i64 value) {
  char buffer[24];
  auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

std::string Pad(i64 value, int width) {
  std::string digits = Num(value);
  if (static_cast<int>(digits.size()) < width) digits.insert(0, static_cast<std::size_t>(width) - digits.size(), '0');
  return digits;
}

// A decimal with a fixed number of places from a scaled whole number: Fixed(1295, 2) is "12.95".
std::string Fixed(i64 scaled, int places) {
  i64 unit = 1;
  for (int i = 0; i < places; ++i) unit *= 10;
  return Num(scaled / unit) + "." + Pad(scaled % unit, places);
}

// A date and time as the shop database reads it, in either of its two accepted forms.
std::string Timestamp(std::uint64_t h, bool german) {
  const i64 year = 2021 + static_cast<i64>(h % 5);
  const i64 month = 1 + static_cast<i64>((h >> 8) % 12);
  const i64 day = 1 + static_cast<i64>((h >> 16) % 28);
  const i64 hour = static_cast<i64>((h >> 24) % 24);
  const i64 minute = static_cast<i64>((h >> 32) % 60);
  if (german) return Pad(day, 2) + "." + Pad(month, 2) + "." + Num(year) + " " + Pad(hour, 2) + ":" + Pad(minute, 2);
  return Num(year) + "-" + Pad(month, 2) + "-" + Pad(day, 2) + " " + Pad(hour, 2) + ":" + Pad(minute, 2) + ":00";
}

// Lower-case ASCII for file names and addresses: umlauts spelled out, other characters dropped or dashed.
std::string Slug(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (c == 0xC3 && i + 1 < text.size()) {
      const unsigned char d = static_cast<unsigned char>(text[++i]);
      if (d == 0xA4 || d == 0x84) out += "ae";
      if (d == 0xB6 || d == 0x96) out += "oe";
      if (d == 0xBC || d == 0x9C) out += "ue";
      if (d == 0x9F) out += "ss";
      continue;
    }
    if (c >= 0x80) continue;
    if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) {
      out += static_cast<char>(c);
    } else if (c >= 'A' && c <= 'Z') {
      out += static_cast<char>(c - 'A' + 'a');
    } else if (!out.empty() && out.back() != '-') {
      out += '-';
    }
  }
  while (!out.empty() && out.back() == '-') out.pop_back();
  return out;
}

// ---------------------------------------------------------------------------------------------------------
// The file: a buffered writer that escapes what it is given.

class XmlWriter {
 public:
  explicit XmlWriter(const std::string& path) : path_(path), file_(std::fopen(path.c_str(), "wb")) {
    if (!file_) throw std::runtime_error("cannot write " + path);
    buffer_.reserve(kFlushAt + 64 * 1024);
  }
  ~XmlWriter() {
    if (file_) std::fclose(file_);
  }
  XmlWriter(const XmlWriter&) = delete;
  XmlWriter& operator=(const XmlWriter&) = delete;

  void Raw(std::string_view text) {
    buffer_.append(text);
    if (buffer_.size() >= kFlushAt) Flush();
  }
  // Text content or an attribute value (which always stands between double quotes).
  void Escaped(std::string_view text) {
    std::size_t from = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
      std::string_view entity;
      switch (text[i]) {
        case '&':
          entity = "&amp;";
          break;
        case '<':
          entity = "&lt;";
          break;
        case '>':
          entity = "&gt;";
          break;
        case '"':
          entity = "&quot;";
          break;
        default:
          continue;
      }
      buffer_.append(text.substr(from, i - from));
      buffer_.append(entity);
      from = i + 1;
    }
    buffer_.append(text.substr(from));
    if (buffer_.size() >= kFlushAt) Flush();
  }
  void Attr(std::string_view name, std::string_view value) {
    buffer_ += ' ';
    buffer_.append(name);
    buffer_.append("=\"");
    Escaped(value);
    buffer_ += '"';
  }
  void Int(std::string_view name, i64 value) {
    char digits[24];
    auto result = std::to_chars(digits, digits + sizeof digits, value);
    buffer_ += ' ';
    buffer_.append(name);
    buffer_.append("=\"");
    buffer_.append(digits, result.ptr);
    buffer_ += '"';
  }
  // A child element holding a long text.
  void Child(std::string_view name, std::string_view text) {
    buffer_ += '<';
    buffer_.append(name);
    buffer_ += '>';
    Escaped(text);
    buffer_.append("</");
    buffer_.append(name);
    buffer_ += '>';
  }

  std::uintmax_t Finish() {
    Flush();
    const bool closed = std::fclose(file_) == 0;
    file_ = nullptr;
    if (!closed) throw std::runtime_error("cannot write " + path_);
    return written_;
  }

 private:
  static constexpr std::size_t kFlushAt = 1 << 20;
  void Flush() {
    if (!buffer_.empty() && std::fwrite(buffer_.data(), 1, buffer_.size(), file_) != buffer_.size())
      throw std::runtime_error("cannot write " + path_);
    written_ += buffer_.size();
    buffer_.clear();
  }
  std::string path_;
  std::FILE* file_;
  std::string buffer_;
  std::uintmax_t written_ = 0;
};

// ---------------------------------------------------------------------------------------------------------
// The plan: how many items each section gets for a requested total, and the per-product shape that several
// sections derive their items from.

struct ProductShape {
  int categories = 1;        // Products2Categories rows, 1 to 3
  int simple_types = 0;      // variant types with simple variants
  int simple_values = 0;     // simple variants per such type
  int complex_variants = 0;  // combined variants
  int attributes = 0;        // Attributes2Product rows, 0 to 3
};

struct Plan {
  i64 products = 1, categories = 1, pages = 1, folders = 1, media = 1, element2media = 1;
  i64 manufacturers = 1, keywords = 1, keyword_refs = 1, discounts = 1, bundles = 1, cross_refs = 1;
  i64 values_per_type = 8;
  i64 attribute_classes = static_cast<i64>(kAttributeClasses.size());
  i64 attributes_per_class = 6;
  i64 attributes = attribute_classes * attributes_per_class;
  i64 values_per_multi = 5;
  // Every third attribute has fixed choice values.
  i64 multi_attributes() const { return (attributes + 2) / 3; }
  static bool HasChoices(i64 attribute) { return (attribute - 1) % 3 == 0; }
  i64 ChoicePkid(i64 attribute, i64 choice) const { return (attribute - 1) / 3 * values_per_multi + choice + 1; }

  // Results of the pass over the products.
  i64 product_categories = 0, variants_simple = 0, variants_complex = 0, attribute_links = 0, choice_links = 0;
  std::vector<std::pair<i64, i64>> first_variant;  // (product, PKID of its first combined variant)

  ProductShape ShapeOf(i64 product) const {
    ProductShape shape;
    const bool first = product == 1;  // the first product has every kind of dependent item
    shape.categories = 1 + static_cast<int>(Pick(product, 1, std::min<i64>(categories, 3)));
    if (first || Pick(product, 2, 100) < 6) {
      shape.simple_types = 1 + static_cast<int>(Pick(product, 3, 2));
      shape.simple_values = 2 + static_cast<int>(Pick(product, 4, 2));
    }
    if (first || Pick(product, 5, 100) < 3) shape.complex_variants = 2 + static_cast<int>(Pick(product, 6, 4));
    if (first || Pick(product, 7, 100) < 30) shape.attributes = 1 + static_cast<int>(Pick(product, 8, 3));
    return shape;
  }
  i64 AttributeClassOf(i64 product) const { return product == 1 ? 0 : Pick(product, 9, attribute_classes); }
  // The k-th attribute link of a product: an attribute of the product's class.
  i64 AttributeOf(i64 product, int k) const {
    const i64 first = product == 1 ? 0 : Pick(product, 10, attributes_per_class);
    return AttributeClassOf(product) * attributes_per_class + (first + k) % attributes_per_class + 1;
  }
  i64 page_data() const { return categories + products + pages; }
};

Plan MakePlan(i64 requested) {
  Plan plan;
  auto size = [&plan](i64 products) {
    plan.products = std::max<i64>(1, products);
    const i64 p = plan.products;
    plan.categories = std::max<i64>(3, p / 100);
    plan.pages = std::clamp<i64>(p / 500, 6, 400);
    plan.folders = std::clamp<i64>(12 + p / 4000, 12, 72);
    plan.media = std::max<i64>(6, p / 2 + plan.categories / 2);
    plan.element2media = std::max<i64>(1, p / 4);
    plan.manufacturers = std::clamp<i64>(p / 40, 5, 50);
    plan.keywords = std::clamp<i64>(p / 100, 10, 3000);
    plan.keyword_refs = std::max<i64>(1, p / 10);
    plan.discounts = std::clamp<i64>(p / 200, 2, 3000);
    plan.bundles = std::max<i64>(1, p / 100);
    plan.cross_refs = std::max<i64>(1, p / 50);
    plan.product_categories = plan.variants_simple = plan.variants_complex = 0;
    plan.attribute_links = plan.choice_links = 0;
    plan.first_variant.clear();
    for (i64 j = 1; j <= p; ++j) {
      const ProductShape shape = plan.ShapeOf(j);
      plan.product_categories += shape.categories;
      plan.variants_simple += shape.simple_types * shape.simple_values;
      if (shape.complex_variants > 0) plan.first_variant.emplace_back(j, plan.variants_complex + 1);
      plan.variants_complex += shape.complex_variants;
      plan.attribute_links += shape.attributes;
      for (int k = 0; k < shape.attributes; ++k) plan.choice_links += Plan::HasChoices(plan.AttributeOf(j, k));
    }
    // Enough values per type that every combined variant gets a combination of its own, with room to spare.
    const double per_triple = 2.0 * static_cast<double>(plan.variants_complex) / kTypeTriples;
    plan.values_per_type = std::max<i64>(8, static_cast<i64>(std::ceil(std::cbrt(per_triple))) + 1);
  };
  auto total = [&plan]() {
    const i64 fixed = static_cast<i64>(kCurrencies.size() + kDeliveryTimes.size() + kMeasureUnits.size() +
                                       kQuantityUnits.size() + kRegions.size() + kVariantTypes.size() +
                                       kAttributeGroups.size() + kPayMethods.size() + kShipMethods.size() +
                                       kExchangeProfiles.size() + kPublishProfiles.size() + kPayShipExclusions.size());
    const i64 zones = static_cast<i64>(kShipMethods.size() * kZoneNames.size());
    return fixed + plan.products + plan.categories + plan.pages + plan.folders + plan.media + plan.element2media +
           plan.manufacturers + plan.keywords + plan.keyword_refs + plan.discounts + plan.bundles + plan.cross_refs +
           plan.page_data() + plan.product_categories + plan.variants_simple + plan.variants_complex +
           plan.attribute_links + plan.choice_links + kVariantTypeCount * plan.values_per_type +
           plan.attribute_classes * (1 + 2 * plan.attributes_per_class) +
           plan.multi_attributes() * plan.values_per_multi + zones +
           (static_cast<i64>(kShipMethods.size()) + zones) * 4 + 9 + 91;
  };
  // Products make up about a fifth of a catalogue; settle their number so that the total comes out near the
  // requested one.
  i64 products = std::max<i64>(1, requested / 5);
  for (int round = 0; round < 6; ++round) {
    size(products);
    const i64 missing = requested - total();
    if (missing > -5 && missing < 5) break;
    products = std::max<i64>(1, products + missing * 10 / 51);
  }
  size(products);
  return plan;
}

// ---------------------------------------------------------------------------------------------------------
// Media: the kind of each medium and its file name.

enum class MediaKind { kImage, kAudio, kDoc, kMisc, kUrl };

MediaKind KindOf(i64 medium) {
  switch (medium) {  // the first few cover every kind
    case 1:
      return MediaKind::kImage;
    case 2:
      return MediaKind::kAudio;
    case 3:
      return MediaKind::kDoc;
    case 4:
      return MediaKind::kMisc;
    case 5:
      return MediaKind::kUrl;
    default:
      break;
  }
  const i64 p = Pick(medium, 20, 100);
  if (p < 86) return MediaKind::kImage;
  if (p < 90) return MediaKind::kAudio;
  if (p < 95) return MediaKind::kDoc;
  if (p < 98) return MediaKind::kMisc;
  return MediaKind::kUrl;
}

std::string_view KindText(MediaKind kind) {
  switch (kind) {
    case MediaKind::kImage:
      return "image";
    case MediaKind::kAudio:
      return "audio";
    case MediaKind::kDoc:
      return "doc";
    case MediaKind::kMisc:
      return "misc";
    case MediaKind::kUrl:
      break;
  }
  return "url";
}

// The folder below the catalogue's folder that the media importer copies a medium of this kind from.
std::string_view SourceFolder(MediaKind kind) {
  switch (kind) {
    case MediaKind::kImage:
      return "Media/images";
    case MediaKind::kAudio:
      return "Media/audio";
    case MediaKind::kDoc:
      return "Media/docs";
    case MediaKind::kMisc:
      return "Media/misc";
    case MediaKind::kUrl:
      break;
  }
  return {};
}

std::string MediaSrc(i64 medium, MediaKind kind) {
  static constexpr std::array<std::string_view, 6> kViews = {"vorderansicht", "detail",     "anwendung",
                                                             "verpackung",    "rueckseite", "milieu"};
  switch (kind) {
    case MediaKind::kImage:
      return "bild-" + Pad(medium, 6) + "-" + std::string(At(kViews, medium)) + ".jpg";
    case MediaKind::kAudio:
      return "hoerprobe-" + Pad(medium, 6) + ".mp3";
    case MediaKind::kDoc:
      return "datenblatt-" + Pad(medium, 6) + ".pdf";
    case MediaKind::kMisc:
      return "anleitung-" + Pad(medium, 6) + ".zip";
    case MediaKind::kUrl:
      break;
  }
  return "https://www.beispiel-shop.example/video/" + Pad(medium, 6);
}

// ---------------------------------------------------------------------------------------------------------
// The generator.

class Generator {
 public:
  Generator(const Plan& plan, XmlWriter& out, std::string media_dir)
      : plan_(plan), out_(out), media_dir_(std::move(media_dir)) {}

  void Run() {
    out_.Raw("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<CalvoraCatalog>\n");
    Currencies();
    DeliveryTimes();
    MeasureUnits();
    QuantityUnits();
    Regions();
    Manufacturers();
    Keywords();
    KeywordRefs();
    Folders();
    Pages();
    PageData();
    Categories();
    Products();
    Products2Categories();
    Media();
    Element2Media();
    VariantTypes();
    VariantValues();
    VariantsSimple();
    VariantsComplex();
    AttributeClasses();
    AttributeGroups();
    Attributes();
    Attributes2Class();
    AttributeMultiValues();
    Attributes2Product();
    AttributeMultiValues2Product();
    PayMethods();
    ShipMethods();
    ShipMethodZones();
    ShipMethodCalculators();
    ShipMethodTables();
    Pay2ShipMethodsExcl();
    PayMethods2RegionsExcl();
    Regions2ShipZones();
    Discounts();
    ExchangeDataProfiles();
    PublishProfiles();
    Bundles();
    CrossRefs();
    out_.Raw("</CalvoraCatalog>\n");
  }

  std::vector<SectionCount> counts;
  i64 media_files = 0;

 private:
  // Section and item framing. Item() opens "<SItem" and numbers the item; its PKID is that number.
  void Begin(std::string_view section) {
    section_ = section;
    count_ = 0;
    out_.Raw("<");
    out_.Raw(section);
    out_.Raw(">\n");
  }
  void End() {
    out_.Raw("</");
    out_.Raw(section_);
    out_.Raw(">\n");
    counts.push_back({section_, count_});
  }
  i64 Item() {
    ++count_;
    out_.Raw("  <");
    out_.Raw(section_);
    out_.Raw("Item");
    out_.Int("PKID", count_);
    return count_;
  }
  void EndItem() { out_.Raw("/>\n"); }
  void Body() { out_.Raw(">"); }
  void CloseItem() {
    out_.Raw("</");
    out_.Raw(section_);
    out_.Raw("Item>\n");
  }
  void YesNo(std::string_view name, bool value) { out_.Attr(name, value ? "True" : "False"); }

  // Items that several sections refer to, as functions of their key.
  i64 MediumOfKind(i64 near, MediaKind kind) const {
    i64 m = (near - 1) % plan_.media + 1;
    for (i64 step = 0; step < plan_.media && KindOf(m) != kind; ++step) m = m % plan_.media + 1;
    return m;
  }
  i64 PictureOf(i64 product) const {
    return Pick(product, 30, 100) < 90 ? MediumOfKind(1 + (product - 1) / 2, MediaKind::kImage) : 0;
  }
  i64 ThumbOfCategory(i64 category) const {
    return MediumOfKind(plan_.media - (category - 1) % plan_.media, MediaKind::kImage);
  }
  std::string ProductId(i64 product) const { return "ART-" + Pad(product, 6); }
  std::string ProductName(i64 product) const {
    std::string name(At(kProductNouns, Pick(product, 31, 1000)));
    name.append(" \"").append(At(kDesigns, Pick(product, 32, 1000))).append("\" ");
    name.append(At(kMaterials, Pick(product, 33, 1000)));
    name.append(At(kSizes, Pick(product, 34, 1000)));
    return name;
  }
  std::string CategoryName(i64 category) const {
    const i64 i = category - 1;
    std::string name(At(kCategoryNouns, i));
    const std::string_view qualifier = At(kCategoryQualifiers, i / static_cast<i64>(kCategoryNouns.size()));
    if (!qualifier.empty()) name.append(" – ").append(qualifier);
    const i64 round = i / static_cast<i64>(kCategoryNouns.size() * kCategoryQualifiers.size());
    if (round > 0) name.append(" (").append(Num(round + 1)).append(")");
    return name;
  }
  std::string PageName(i64 page) const {
    if (page <= static_cast<i64>(kPageNames.size())) return std::string(At(kPageNames, page - 1));
    return "Ratgeber: " + std::string(At(kProductNouns, page)) + " " + Num(page);
  }
  std::string KeywordText(i64 keyword) const {
    const i64 n = static_cast<i64>(kKeywords.size());
    std::string text(At(kKeywords, keyword - 1));
    if (keyword > n) text += " " + Num((keyword - 1) / n + 1);
    return text;
  }
  i64 ValuePkid(int type, i64 value) const { return type * plan_.values_per_type + value + 1; }
  std::string ValueText(int type, i64 value) const {
    const auto& words = kVariantValues[static_cast<std::size_t>(type)];
    std::string text(At(words, value));
    if (value >= static_cast<i64>(words.size())) text += " " + Num(value / static_cast<i64>(words.size()) + 1);
    return text;
  }
  std::string AttributeName(i64 attribute) const {
    std::string name(kAttributeNames[static_cast<std::size_t>((attribute - 1) % kAttributeNames.size())].name);
    const i64 round = (attribute - 1) / static_cast<i64>(kAttributeNames.size());
    if (round == 1) name += " (Zubehör)";
    if (round > 1) name += " (Zubehör " + Num(round) + ")";
    return name;
  }
  std::string_view AttributeUnit(i64 attribute) const {
    return kAttributeNames[static_cast<std::size_t>((attribute - 1) % kAttributeNames.size())].unit;
  }
  std::string ChoiceText(i64 attribute, i64 choice) const {
    return std::string(At(kTextValues, (attribute - 1) / 3 + choice));
  }

  // A long description: a lead with the product's name and sentences until it reaches its length.
  std::string Description(Rng& rng, std::string_view name, i64 min_length, i64 max_length) {
    const i64 length = rng.Between(min_length, max_length);
    std::string text = "<p><b>";
    text.append(name).append("</b> – ");
    bool open = true;
    while (static_cast<i64>(text.size()) < length) {
      if (!open) {
        text += "<p>";
        open = true;
      }
      text.append(rng.Of(kSentences));
      if (rng.Percent(30)) {
        text += "</p>";
        open = false;
      } else {
        text += ' ';
      }
    }
    if (open) text += "</p>";
    return text;
  }

  // ------------------------------------------------------------------------------------- reference data
  void Currencies() {
    Begin("Currencies");
    for (std::size_t i = 0; i < kCurrencies.size(); ++i) {
      Item();
      out_.Attr("ISOCode", kCurrencies[i].id);
      out_.Attr("Name", kCurrencies[i].name);
      out_.Attr("Symbol", kCurrencies[i].extra);
      out_.Attr("ExchangeRate", kExchangeRates[i]);
      EndItem();
    }
    End();
  }

  void DeliveryTimes() {
    Begin("DeliveryTimes");
    for (const Named& d : kDeliveryTimes) {
      Item();
      out_.Attr("Name", d.name);
      out_.Attr("DeliveryDays", d.id);
      EndItem();
    }
    End();
  }

  void MeasureUnits() {
    Begin("MeasureUnits");
    for (const Named& u : kMeasureUnits) {
      Item();
      out_.Attr("Name", u.name);
      out_.Attr("Symbol", u.extra);
      out_.Attr("Factor", u.id);
      EndItem();
    }
    End();
  }

  void QuantityUnits() {
    Begin("QuantityUnits");
    for (const Named& u : kQuantityUnits) {
      Item();
      out_.Attr("QtyUnit", u.name);
      out_.Attr("Description", u.extra);
      EndItem();
    }
    End();
  }

  // Regions keep their keys in every shop (the country's ISO number), so their PKIDs are not numbered.
  void Regions() {
    Begin("Regions");
    for (const Region& r : kRegions) {
      ++count_;
      out_.Raw("  <RegionsItem");
      out_.Int("PKID", r.pkid);
      out_.Attr("Name", r.name);
      out_.Attr("ISOCode", r.iso);
      EndItem();
    }
    End();
  }

  void Manufacturers() {
    Begin("Manufacturers");
    for (i64 m = 1; m <= plan_.manufacturers; ++m) {
      Item();
      const std::string surname(At(kSurnames, m - 1));
      const std::string id = "HST-" + Pad(m, 3);
      out_.Attr("ProductID", id);
      out_.Attr("ID", id);
      out_.Int("LogoMRef", MediumOfKind(m * 7, MediaKind::kImage));
      out_.Attr("Name", surname + std::string(At(kCompanyForms, (m - 1) / static_cast<i64>(kSurnames.size()))));
      out_.Attr("URL", "https://www." + Slug(surname) + "-" + Num(m) + ".example/");
      EndItem();
    }
    End();
  }

  void Keywords() {
    Begin("Keywords");
    for (i64 k = 1; k <= plan_.keywords; ++k) {
      Item();
      out_.Attr("Keyword", KeywordText(k));
      EndItem();
    }
    End();
  }

  // Keyword references name products; each product has at most one, so that (RefType, ElRef) is unique.
  void KeywordRefs() {
    Begin("KeywordRefs");
    const i64 stride = std::max<i64>(1, plan_.products / plan_.keyword_refs);
    for (i64 r = 1; r <= plan_.keyword_refs; ++r) {
      Item();
      const i64 product = std::min(plan_.products, (r - 1) * stride + 1 + Pick(r, 40, stride));
      out_.Int("RefType", 2);
      out_.Int("ElRef", product);
      out_.Attr("Keyword", KeywordText(1 + Pick(r, 41, plan_.keywords)));
      EndItem();
    }
    End();
  }

  // ------------------------------------------------------------------------------------- site structure
  // Folders: a few top-level folders and a tree below them, each name used once.
  void Folders() {
    Begin("Folders");
    const i64 top = std::min<i64>(6, plan_.folders);
    for (i64 f = 1; f <= plan_.folders; ++f) {
      Item();
      const i64 names = static_cast<i64>(kFolderNames.size());
      std::string name(At(kFolderNames, f <= top ? f - 1 : top + Pick(f, 50, names - top)));
      if (f > top) name += " " + Pad(f, 2);
      const i64 parent = f <= top ? 0 : 1 + Pick(f, 51, std::min(f - 1, top + (plan_.folders - top) / 2));
      out_.Attr("Name", name);
      out_.Int("ParentFolderFKID", parent);
      EndItem();
    }
    End();
  }

  void Pages() {
    Begin("Pages");
    std::vector<i64> depth(static_cast<std::size_t>(plan_.pages + 1), 0);
    Rng rng(60);
    for (i64 p = 1; p <= plan_.pages; ++p) {
      Item();
      const i64 parent = p <= 3 ? 0 : (rng.Percent(40) ? 0 : rng.Between(1, p - 1));
      depth[static_cast<std::size_t>(p)] = parent == 0 ? 0 : depth[static_cast<std::size_t>(parent)] + 1;
      const std::string name = PageName(p);
      out_.Attr("ID", "seite-" + Pad(p, 4));
      out_.Attr("PageName", name);
      out_.Attr("PageTitle", name + " | Müller's Wohnwelt");
      out_.Attr("PageIntro", "Willkommen – hier finden Sie alles zum Thema \"" + name + "\".");
      out_.Int("Depth", depth[static_cast<std::size_t>(p)]);
      out_.Int("ParentFKID", parent);
      out_.Int("SortOrder", p * 10);
      EndItem();
    }
    End();
  }

  // One page-data item per category, product and page, in that order.
  void PageData() {
    Begin("PageData");
    Rng rng(70);
    for (i64 c = 1; c <= plan_.categories; ++c) PageDataItem(rng, 1, c, CategoryName(c), ThumbOfCategory(c));
    for (i64 j = 1; j <= plan_.products; ++j) PageDataItem(rng, 2, j, ProductName(j), PictureOf(j));
    for (i64 p = 1; p <= plan_.pages; ++p)
      PageDataItem(rng, 0, p, PageName(p), rng.Percent(30) ? MediumOfKind(p * 3, MediaKind::kImage) : 0);
    End();
  }

  void PageDataItem(Rng& rng, int type, i64 ref, const std::string& title, i64 thumb) {
    static constexpr std::array<std::string_view, 3> kFilePrefix = {"seite-", "warengruppe-", "artikel-"};
    Item();
    out_.Int("ElType", type);
    out_.Int("ElRef", ref);
    out_.Int("IntroSoundMRef", rng.Percent(5) ? MediumOfKind(ref, MediaKind::kAudio) : 0);
    out_.Int("OutputFolderRef", 1 + rng.Below(plan_.folders));
    out_.Int("ThumbMRef", thumb);
    out_.Attr("MetaTags", rng.Percent(90) ? "index, follow" : "noindex, nofollow");
    out_.Attr("MetaKeywords",
              KeywordText(1 + rng.Below(plan_.keywords)) + ", " + KeywordText(1 + rng.Below(plan_.keywords)));
    out_.Attr("ScheduleFrom", Timestamp(rng.Next(), false));
    out_.Attr("ScheduleTo", Timestamp(rng.Next() | 0x3, rng.Percent(50)));
    out_.Attr("FirstStagedDate", Timestamp(rng.Next(), false));
    out_.Attr("LastStagedDate", Timestamp(rng.Next(), false));
    YesNo("IncludeBackRefs", rng.Percent(20));
    out_.Attr("Title", title);
    out_.Attr("FileName", std::string(kFilePrefix[static_cast<std::size_t>(type)]) + Pad(ref, 6) + ".html");
    Body();
    out_.Child("Comments", rng.Percent(50) ? "Text prüfen – Jürgen" : "ok");
    std::string markup = "<div><p>";
    markup.append(rng.Of(kSentences));
    if (rng.Percent(30)) markup.append(" ").append(rng.Of(kSentences));
    markup += "</p></div>";
    out_.Child("Markup", markup);
    out_.Child("HeadMarkup", "<meta name=\"description\" content=\"" + title + "\">");
    CloseItem();
  }

  // ------------------------------------------------------------------------------------- goods
  // Categories: a dozen top-level ones, the rest below earlier ones; the long description is the item's text.
  void Categories() {
    Begin("Categories");
    Rng rng(80);
    const i64 top = std::min<i64>(12, plan_.categories);
    for (i64 c = 1; c <= plan_.categories; ++c) {
      Item();
      const std::string name = CategoryName(c);
      out_.Attr("ID", "KAT-" + Pad(c, 5));
      out_.Attr("Name", name);
      out_.Int("ParentCategoryFKID", c <= top ? 0 : rng.Between(1, std::min(c - 1, top + c / 4)));
      out_.Int("DefaultThumbMRef", ThumbOfCategory(c));
      out_.Attr("ShortDesc", "Alles rund um " + name + " – jetzt entdecken!");
      out_.Int("SortOrder", c);
      YesNo("IsHidden", rng.Percent(5));
      Body();
      out_.Escaped(Description(rng, name, 150, 350));
      CloseItem();
    }
    End();
  }

  void Products() {
    Begin("Products");
    Rng rng(90);
    for (i64 j = 1; j <= plan_.products; ++j) {
      Item();
      const std::string name = ProductName(j);
      out_.Attr("ProductID", ProductId(j));
      out_.Attr("Name", name);
      out_.Int("PictureMRef", PictureOf(j));
      out_.Attr("ShortDesc", rng.Of(kShortDescs));
      out_.Attr("Price", Fixed(rng.Between(199, 24999), 2));
      out_.Attr("Weight", Fixed(rng.Between(50, 12000), 3));
      out_.Int("ManufacturerFKID", 1 + rng.Below(plan_.manufacturers));
      out_.Int("DeliveryTimeFKID", 1 + rng.Below(static_cast<i64>(kDeliveryTimes.size())));
      Body();
      out_.Escaped(Description(rng, name, 300, 700));
      CloseItem();
    }
    End();
  }

  void Products2Categories() {
    Begin("Products2Categories");
    for (i64 j = 1; j <= plan_.products; ++j) {
      const ProductShape shape = plan_.ShapeOf(j);
      // Steps of at most (categories - 1) / 2 keep the three categories of a product apart.
      const i64 first = Pick(j, 100, plan_.categories);
      const i64 step = 1 + Pick(j, 101, (plan_.categories - 1) / 2);
      for (int k = 0; k < shape.categories; ++k) {
        Item();
        const i64 category = (first + k * step) % plan_.categories;
        out_.Int("CategoryFKID", category + 1);
        out_.Int("ProductFKID", j);
        out_.Int("SortOrder", Pick(j, 102 + static_cast<std::uint64_t>(k), 1000));
        EndItem();
      }
    }
    End();
  }

  // ------------------------------------------------------------------------------------- media
  void Media() {
    Begin("Media");
    Rng rng(110);
    if (!media_dir_.empty()) {
      for (MediaKind kind : {MediaKind::kImage, MediaKind::kAudio, MediaKind::kDoc, MediaKind::kMisc})
        fs::create_directories(fs::path(media_dir_) / SourceFolder(kind));
    }
    for (i64 m = 1; m <= plan_.media; ++m) {
      Item();
      const MediaKind kind = KindOf(m);
      const std::string src = MediaSrc(m, kind);
      out_.Attr("Src", src);
      out_.Attr("MediaTypeFKID", KindText(kind));
      out_.Int("RefCounter", rng.Between(1, 3));
      YesNo("PublishAlways", rng.Percent(10));
      YesNo("IsReferenced", true);
      out_.Attr("LastModifiedDate", Timestamp(rng.Next(), rng.Percent(20)));
      out_.Attr("Title", kind == MediaKind::kImage ? "Produktbild \"" + std::string(rng.Of(kDesigns)) +
                                                         "\" – Ansicht " + Num(rng.Between(1, 4))
                                                   : "Zusatzmaterial Nr. " + Num(m) + " (für's Produkt)");
      out_.Int("FileSize", rng.Between(800, 2500000));
      EndItem();
      if (!media_dir_.empty() && kind != MediaKind::kUrl) WriteMediaFile(kind, src, m);
    }
    End();
  }

  void WriteMediaFile(MediaKind kind, const std::string& src, i64 medium) {
    const fs::path path = fs::path(media_dir_) / SourceFolder(kind) / src;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "wb"), &std::fclose);
    if (!file) throw std::runtime_error("cannot write " + path.string());
    const std::string content = std::string(KindText(kind)) + " " + Num(medium) + "\n";
    if (std::fwrite(content.data(), 1, content.size(), file.get()) != content.size())
      throw std::runtime_error("cannot write " + path.string());
    ++media_files;
  }

  // Further pictures of products; the name is unique, the element is a product.
  void Element2Media() {
    Begin("Element2Media");
    const i64 stride = std::max<i64>(1, plan_.products / plan_.element2media);
    for (i64 e = 1; e <= plan_.element2media; ++e) {
      Item();
      const i64 product = std::min(plan_.products, (e - 1) * stride + 1 + Pick(e, 120, stride));
      out_.Attr("Name", "Zusatzbild " + Num(e) + " zu " + ProductId(product));
      out_.Int("ElRef", product);
      out_.Int("MediaFKID", MediumOfKind(1 + Pick(e, 121, plan_.media), MediaKind::kImage));
      out_.Int("SortOrder", 1 + Pick(e, 122, 5));
      EndItem();
    }
    End();
  }

  // ------------------------------------------------------------------------------------- variants
  void VariantTypes() {
    Begin("VariantTypes");
    for (std::string_view type : kVariantTypes) {
      const i64 pkid = Item();
      out_.Attr("Name", type);
      out_.Int("SortOrder", pkid * 10);
      EndItem();
    }
    End();
  }

  // The values of type t (0-based) have the PKIDs t * values_per_type + 1 and up.
  void VariantValues() {
    Begin("VariantValues");
    for (int t = 0; t < kVariantTypeCount; ++t) {
      for (i64 v = 0; v < plan_.values_per_type; ++v) {
        Item();
        out_.Attr("Value", ValueText(t, v));
        out_.Int("VariantFKID", t + 1);
        out_.Int("SortOrder", v + 1);
        EndItem();
      }
    }
    End();
  }

  void VariantsSimple() {
    Begin("VariantsSimple");
    Rng rng(130);
    for (i64 j = 1; j <= plan_.products; ++j) {
      const ProductShape shape = plan_.ShapeOf(j);
      const int first_type = static_cast<int>(Pick(j, 131, kVariantTypeCount));
      for (int k = 0; k < shape.simple_types; ++k) {
        const int type = (first_type + k) % kVariantTypeCount;
        const i64 first_value = Pick(j * 8 + k, 132, plan_.values_per_type);
        for (int v = 0; v < shape.simple_values; ++v) {
          Item();
          out_.Int("ProductFKID", j);
          out_.Int("VariantTypeFKID", type + 1);
          out_.Int("VariantValueFKID", ValuePkid(type, (first_value + v) % plan_.values_per_type));
          out_.Attr("Surcharge", Fixed(rng.Percent(50) ? 0 : rng.Between(1, 40) * 50, 2));
          EndItem();
        }
      }
    }
    End();
  }

  // Combined variants: a product's variants combine one value of each of three types. VarString is the
  // key that they are found by in every shop, so each combination is used once in the whole catalogue:
  // every triple of types counts its combinations through.
  void VariantsComplex() {
    Begin("VariantsComplex");
    std::array<std::array<int, 3>, kTypeTriples> triples{};
    std::size_t n = 0;
    for (int a = 0; a < kVariantTypeCount; ++a)
      for (int b = a + 1; b < kVariantTypeCount; ++b)
        for (int c = b + 1; c < kVariantTypeCount; ++c) triples[n++] = {a, b, c};
    std::array<i64, kTypeTriples> used{};
    const i64 v = plan_.values_per_type;
    const i64 capacity = v * v * v;
    Rng rng(140);
    for (i64 j = 1; j <= plan_.products; ++j) {
      const ProductShape shape = plan_.ShapeOf(j);
      if (shape.complex_variants == 0) continue;
      std::size_t t = static_cast<std::size_t>(Pick(j, 141, kTypeTriples));
      while (used[t] + shape.complex_variants > capacity) t = (t + 1) % kTypeTriples;
      for (int k = 1; k <= shape.complex_variants; ++k) {
        const i64 combination = used[t]++;
        const std::array<i64, 3> values = {combination % v, combination / v % v, combination / (v * v)};
        std::string var_string;
        for (std::size_t g = 0; g < 3; ++g)
          var_string.append("[")
              .append(Num(static_cast<i64>(g) + 1))
              .append("]")
              .append(Num(ValuePkid(triples[t][g], values[g])));
        Item();
        out_.Attr("VarString", var_string);
        out_.Attr("ProductID", ProductId(j) + "-V" + Num(k));
        out_.Int("ProductFKID", j);
        out_.Int("DeliveryTimeFKID", 1 + rng.Below(static_cast<i64>(kDeliveryTimes.size())));
        out_.Int("ThumbMRef", rng.Percent(60) ? MediumOfKind(1 + rng.Below(plan_.media), MediaKind::kImage) : 0);
        out_.Int("PictureMRef", rng.Percent(60) ? MediumOfKind(1 + rng.Below(plan_.media), MediaKind::kImage) : 0);
        out_.Attr("Price", Fixed(rng.Between(199, 24999), 2));
        out_.Attr("Weight", Fixed(rng.Between(50, 12000), 3));
        out_.Int("Stock", rng.Between(0, 250));
        EndItem();
      }
    }
    End();
  }

  // ------------------------------------------------------------------------------------- attributes
  void AttributeClasses() {
    Begin("AttributeClasses");
    for (std::string_view name : kAttributeClasses) {
      Item();
      out_.Attr("Name", name);
      out_.Attr("Description", "Merkmale für \"" + std::string(name) + "\"");
      EndItem();
    }
    End();
  }

  void AttributeGroups() {
    Begin("AttributeGroups");
    for (std::string_view name : kAttributeGroups) {
      const i64 pkid = Item();
      out_.Attr("Name", name);
      out_.Int("SortOrder", pkid);
      EndItem();
    }
    End();
  }

  void Attributes() {
    Begin("Attributes");
    for (i64 a = 1; a <= plan_.attributes; ++a) {
      Item();
      out_.Attr("Name", AttributeName(a));
      out_.Int("GroupFKID", 1 + (a - 1) % static_cast<i64>(kAttributeGroups.size()));
      out_.Attr("DefaultSurcharge", Fixed(Pick(a, 150, 4) * 50, 2));
      out_.Attr("Unit", AttributeUnit(a));
      out_.Int("SortOrder", a);
      EndItem();
    }
    End();
  }

  // Class c holds the attributes c * attributes_per_class + 1 and up.
  void Attributes2Class() {
    Begin("Attributes2Class");
    for (i64 c = 0; c < plan_.attribute_classes; ++c) {
      for (i64 i = 0; i < plan_.attributes_per_class; ++i) {
        Item();
        out_.Int("AttributeFKID", c * plan_.attributes_per_class + i + 1);
        out_.Int("ClassFKID", c + 1);
        out_.Int("SortOrder", i + 1);
        EndItem();
      }
    }
    End();
  }

  void AttributeMultiValues() {
    Begin("AttributeMultiValues");
    for (i64 a = 1; a <= plan_.attributes; ++a) {
      if (!Plan::HasChoices(a)) continue;
      for (i64 v = 0; v < plan_.values_per_multi; ++v) {
        Item();
        out_.Int("AttributeFKID", a);
        out_.Attr("Value", ChoiceText(a, v));
        out_.Int("SortOrder", v + 1);
        EndItem();
      }
    }
    End();
  }

  void Attributes2Product() {
    Begin("Attributes2Product");
    for (i64 j = 1; j <= plan_.products; ++j) {
      const ProductShape shape = plan_.ShapeOf(j);
      for (int k = 0; k < shape.attributes; ++k) {
        Item();
        const i64 attribute = plan_.AttributeOf(j, k);
        out_.Int("AttributeFKID", attribute);
        out_.Int("ClassFKID", plan_.AttributeClassOf(j) + 1);
        out_.Int("ProductFKID", j);
        const std::string_view unit = AttributeUnit(attribute);
        out_.Attr("Value", unit.empty() ? std::string(At(kTextValues, Pick(j * 4 + k, 160, 1000)))
                                        : Num(1 + Pick(j * 4 + k, 161, 500)) + " " + std::string(unit));
        EndItem();
      }
    }
    End();
  }

  // The chosen value of each product attribute whose attribute has choices; walks the product attributes in
  // the order (and so with the PKIDs) in which Attributes2Product wrote them.
  void AttributeMultiValues2Product() {
    Begin("AttributeMultiValues2Product");
    i64 link = 0;
    for (i64 j = 1; j <= plan_.products; ++j) {
      const ProductShape shape = plan_.ShapeOf(j);
      for (int k = 0; k < shape.attributes; ++k) {
        ++link;
        const i64 attribute = plan_.AttributeOf(j, k);
        if (!Plan::HasChoices(attribute)) continue;
        Item();
        out_.Int("AttributeMultiValuesFKID", plan_.ChoicePkid(attribute, Pick(link, 170, plan_.values_per_multi)));
        out_.Int("Attributes2ProductFKID", link);
        EndItem();
      }
    }
    End();
  }

  // ------------------------------------------------------------------------------------- payment, shipping
  void PayMethods() {
    Begin("PayMethods");
    for (const Named& p : kPayMethods) {
      const i64 pkid = Item();
      out_.Attr("ID", p.id);
      out_.Attr("Name", p.name);
      out_.Int("ChargeType", pkid % 3);
      out_.Int("TransType", pkid % 2);
      out_.Int("TaxClass", 1);
      out_.Attr("Description", p.extra);
      out_.Int("SortOrder", pkid * 10);
      Body();
      out_.Child("Config", "<zahlart id=\"" + std::string(p.id) + "\"><gebuehr>0</gebuehr></zahlart>");
      CloseItem();
    }
    End();
  }

  void ShipMethods() {
    Begin("ShipMethods");
    for (const Named& s : kShipMethods) {
      const i64 pkid = Item();
      out_.Attr("ID", s.id);
      out_.Attr("Name", s.name);
      out_.Attr("ShipType", s.extra);
      YesNo("CalcProductSurcharges", pkid == 3);
      out_.Attr("Description", "Versand mit " + std::string(s.name) + " – Sendungsverfolgung inklusive");
      out_.Int("SortOrder", pkid * 10);
      Body();
      out_.Child("Config", "<versand><maxGewicht>31.5</maxGewicht><art>" + std::string(s.extra) + "</art></versand>");
      CloseItem();
    }
    End();
  }

  // Three zones per shipping method: the zone of method m and kind z has the PKID (m - 1) * 3 + z + 1.
  void ShipMethodZones() {
    Begin("ShipMethodZones");
    for (std::size_t m = 0; m < kShipMethods.size(); ++m) {
      for (std::size_t z = 0; z < kZoneNames.size(); ++z) {
        const i64 pkid = Item();
        out_.Attr("Name", kZoneNames[z]);
        out_.Int("ShipMethodFKID", static_cast<i64>(m) + 1);
        out_.Attr("Countries", kZoneCountries[z]);
        out_.Attr("tmpID", "zone-" + Num(pkid));
        YesNo("IsDefault", z == 0);
        EndItem();
      }
    }
    End();
  }

  // A calculator for each shipping method (RefType 0), then one for each zone (RefType 1).
  void ShipMethodCalculators() {
    Begin("ShipMethodCalculators");
    const i64 methods = static_cast<i64>(kShipMethods.size());
    const i64 zones = methods * static_cast<i64>(kZoneNames.size());
    for (i64 i = 1; i <= methods + zones; ++i) {
      const i64 pkid = Item();
      const bool zone = i > methods;
      out_.Int("RefType", zone ? 1 : 0);
      out_.Int("RefFKID", zone ? i - methods : i);
      out_.Attr("Countries", zone ? kZoneCountries[static_cast<std::size_t>((i - methods - 1) % 3)] : "DE");
      out_.Attr("tmpID", "calc-" + Num(pkid));
      YesNo("IsDefault", false);
      EndItem();
    }
    End();
  }

  void ShipMethodTables() {
    Begin("ShipMethodTables");
    const i64 calculators = static_cast<i64>(kShipMethods.size() * (1 + kZoneNames.size()));
    for (i64 c = 1; c <= calculators; ++c) {
      for (std::size_t r = 0; r < kRateAmounts.size(); ++r) {
        const i64 pkid = Item();
        out_.Int("ShipCalculatorFKID", c);
        out_.Int("ChargeType", r == 2 ? 1 : 0);
        out_.Attr("UpToAmount", kRateAmounts[r]);
        out_.Attr("tmpID", "tab-" + Num(pkid));
        YesNo("IsFixed", r == 0);
        out_.Attr("Charge", kRateCharges[r]);
        EndItem();
      }
    }
    End();
  }

  void Pay2ShipMethodsExcl() {
    Begin("Pay2ShipMethodsExcl");
    for (const auto& [pay, ship] : kPayShipExclusions) {
      Item();
      out_.Int("PayMethodFKID", pay);
      out_.Int("ShipMethodFKID", ship);
      EndItem();
    }
    End();
  }

  // Invoice only within the country and its neighbours, cash on delivery only at home.
  void PayMethods2RegionsExcl() {
    Begin("PayMethods2RegionsExcl");
    for (std::size_t r = 4; r < 10; ++r) {
      Item();
      out_.Int("PayMethodFKID", 3);
      out_.Attr("RegionFKID", Num(kRegions[r].pkid));
      EndItem();
    }
    for (std::size_t r = 1; r < 4; ++r) {
      Item();
      out_.Int("PayMethodFKID", 2);
      out_.Attr("RegionFKID", Num(kRegions[r].pkid));
      EndItem();
    }
    End();
  }

  // Every region in the zone of its kind for each shipping method; pickup only at home.
  void Regions2ShipZones() {
    Begin("Regions2ShipZones");
    for (std::size_t m = 0; m < kShipMethods.size(); ++m) {
      for (const Region& r : kRegions) {
        if (kShipMethods[m].extra == "abholung" && r.zone != 0) continue;
        Item();
        out_.Int("ShipZoneFKID", static_cast<i64>(m * kZoneNames.size()) + r.zone + 1);
        out_.Attr("RegionFKID", Num(r.pkid));
        EndItem();
      }
    }
    End();
  }

  // ------------------------------------------------------------------------------------- the rest
  void Discounts() {
    Begin("Discounts");
    static constexpr std::array<std::string_view, 5> kLabels = {
        "Mengenrabatt", "Frühjahrs-Special 'Garten'", "Treuebonus", "Sommerschlussverkauf", "Großabnehmer-Preis"};
    static constexpr std::array<i64, 4> kFromAmounts = {0, 50, 100, 250};
    Rng rng(180);
    for (i64 d = 1; d <= plan_.discounts; ++d) {
      Item();
      const bool percent = rng.Percent(70);
      out_.Attr("Name", std::string(rng.Of(kLabels)) + " Nr. " + Num(d));
      out_.Int("DiscountType", percent ? 0 : 1);
      out_.Attr("DiscountValue", percent ? Num(rng.Between(1, 6) * 5) : Fixed(rng.Between(1, 40) * 50, 2));
      out_.Int("ProductFKID", 1 + rng.Below(plan_.products));
      out_.Int("FromAmount", kFromAmounts[static_cast<std::size_t>(rng.Below(4))]);
      out_.Attr("ScheduleFrom", Timestamp(rng.Next(), false));
      out_.Attr("ScheduleTo", Timestamp(rng.Next(), true));
      EndItem();
    }
    End();
  }

  void ExchangeDataProfiles() {
    Begin("ExchangeDataProfiles");
    for (const Named& p : kExchangeProfiles) {
      const i64 pkid = Item();
      out_.Attr("Name", p.id);
      out_.Int("LastProcessedDate", 1700000000 + pkid * 86400);
      out_.Attr("FilePath", p.name);
      Body();
      out_.Child("UserConfig", "<profil><trennzeichen>" + std::string(p.extra) +
                                   "</trennzeichen><kodierung>UTF-8</kodierung><kopfzeile>ja</kopfzeile></profil>");
      CloseItem();
    }
    End();
  }

  void PublishProfiles() {
    Begin("PublishProfiles");
    for (const Named& p : kPublishProfiles) {
      Item();
      out_.Attr("ProfileName", p.id);
      out_.Attr("OutputPath", p.name);
      Body();
      out_.Child("UserConfig", "<veroeffentlichen><ziel>" + std::string(p.name) + "</ziel><protokoll>" +
                                   std::string(p.extra) +
                                   "</protokoll><komprimieren>ja</komprimieren></veroeffentlichen>");
      CloseItem();
    }
    End();
  }

  // Bundles: a product sold with another, sometimes with a category or one of the product's combined variants.
  void Bundles() {
    Begin("Bundles");
    Rng rng(190);
    std::set<std::pair<i64, i64>> used;
    for (i64 b = 1; b <= plan_.bundles; ++b) {
      i64 product = 0, related = 0, variant = 0;
      for (int attempt = 0; attempt < 50; ++attempt) {
        if (rng.Percent(30) && !plan_.first_variant.empty()) {
          const auto& [p, v] =
              plan_.first_variant[static_cast<std::size_t>(rng.Below(static_cast<i64>(plan_.first_variant.size())))];
          product = p;
          variant = v;
        } else {
          product = 1 + rng.Below(plan_.products);
          variant = 0;
        }
        related = plan_.products > 1 ? 1 + (product + rng.Below(plan_.products - 1)) % plan_.products : product;
        if (used.emplace(product, related).second) break;
        product = 0;
      }
      if (product == 0) continue;
      Item();
      out_.Int("ProductFKID", product);
      out_.Int("RelProductFKID", related);
      out_.Int("ProductCategoryFKID", rng.Percent(50) ? 1 + rng.Below(plan_.categories) : 0);
      out_.Int("ProductVariantFKID", variant);
      out_.Int("Quantity", rng.Between(1, 3));
      EndItem();
    }
    End();
  }

  // Cross references between pages (0), categories (1) and products (2). The importer derives the target's
  // category and combined-variant references from the source key, and a key that names no category or
  // combined variant of the catalogue ends it; sources are therefore elements whose keys the categories and
  // the combined variants have too.
  void CrossRefs() {
    Begin("CrossRefs");
    Rng rng(200);
    const i64 shared = std::min(plan_.categories, plan_.variants_complex);
    const std::array<i64, 3> sources = {std::min(plan_.pages, shared), shared, std::min(plan_.products, shared)};
    const std::array<i64, 3> targets = {plan_.pages, plan_.categories, plan_.products};
    std::set<std::tuple<i64, i64, i64, i64>> used;
    for (i64 x = 1; x <= plan_.cross_refs; ++x) {
      i64 source_type = 0, source = 0, target_type = 0, target = 0;
      bool found = false;
      for (int attempt = 0; attempt < 50 && !found; ++attempt) {
        const i64 p = rng.Below(100);
        source_type = p < 60 ? 2 : (p < 85 ? 1 : 0);
        target_type = rng.Percent(70) ? 2 : rng.Below(2);
        source = 1 + rng.Below(sources[static_cast<std::size_t>(source_type)]);
        target = 1 + rng.Below(targets[static_cast<std::size_t>(target_type)]);
        if (source_type == target_type && source == target) continue;
        found = used.emplace(source_type, source, target_type, target).second;
      }
      if (!found) continue;
      Item();
      out_.Int("ElSrcType", source_type);
      out_.Int("ElSrcRef", source);
      out_.Int("ElTargetType", target_type);
      out_.Int("ElTargetRef", target);
      out_.Int("ElTargetCategoryRef", target_type == 2 ? 1 + rng.Below(plan_.categories) : 0);
      out_.Int("ElTargetVariantRef", target_type == 2 && rng.Percent(20) ? 1 + rng.Below(plan_.variants_complex) : 0);
      out_.Int("SortOrder", x);
      EndItem();
    }
    End();
  }

  const Plan& plan_;
  XmlWriter& out_;
  std::string media_dir_;
  std::string_view section_;
  i64 count_ = 0;
};

}  // namespace

std::span<const std::string_view> CatalogSections() { return kSections; }

std::int64_t GeneratedCatalog::Count(std::string_view section) const {
  for (const SectionCount& s : sections)
    if (s.section == section) return s.items;
  return 0;
}

GeneratedCatalog GenerateCatalog(std::int64_t items, const std::string& path, const std::string& media_dir) {
  const Plan plan = MakePlan(std::max<i64>(1, items));
  XmlWriter out(path);
  Generator generator(plan, out, media_dir);
  generator.Run();
  GeneratedCatalog result;
  result.bytes = out.Finish();
  result.sections = std::move(generator.counts);
  for (const SectionCount& s : result.sections) result.items += s.items;
  result.media_files = generator.media_files;
  return result;
}

std::vector<SectionCount> CountCatalogItems(const std::string& path) {
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
  if (!file) throw std::runtime_error("cannot read " + path);
  std::vector<SectionCount> counts;
  for (std::string_view section : kSections) counts.push_back({section, 0});
  // Names of start tags, matched against "<S>Item" for every section. The scan keeps the unfinished tail of
  // each block, so that a name split between two reads is still seen whole.
  std::string carry;
  std::vector<char> block(1 << 20);
  for (;;) {
    const std::size_t got = std::fread(block.data(), 1, block.size(), file.get());
    if (got == 0) break;
    std::string text = carry;
    text.append(block.data(), got);
    std::size_t pos = 0;
    std::size_t keep_from = text.size();
    while ((pos = text.find('<', pos)) != std::string::npos) {
      std::size_t end = pos + 1;
      while (end < text.size() && text[end] != ' ' && text[end] != '>' && text[end] != '/' && text[end] != '\t' &&
             text[end] != '\n' && text[end] != '\r')
        ++end;
      if (end == text.size()) {
        keep_from = pos;
        break;
      }
      const std::string_view name(text.data() + pos + 1, end - pos - 1);
      if (name.size() > 4 && name.substr(name.size() - 4) == "Item") {
        const std::string_view section = name.substr(0, name.size() - 4);
        for (SectionCount& c : counts)
          if (c.section == section) ++c.items;
      }
      pos = end;
    }
    carry = text.substr(keep_from);
  }
  return counts;
}

}  // namespace cvimp::bench
