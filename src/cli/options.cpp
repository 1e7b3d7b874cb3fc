#include "cli/options.h"

namespace cvimp::cli {

namespace {

ParseResult Refuse(std::string why) { return {std::nullopt, std::move(why)}; }

bool IsHelp(const std::string& a) { return a == "--help" || a == "-h"; }

// A word that looks like an option is never taken for a file name: a file whose name starts with "-" is
// given as ./-name or after "--".
bool LooksLikeOption(const std::string& a) { return a.size() > 1 && a[0] == '-'; }

// The words after the command, one at a time: "--opt=value" is split into the option and its value, and
// after "--" every word is a file name.
class Words {
 public:
  Words(const std::vector<std::string>& args) : args_(args) {}

  // The next word; false at the end. `option` is true for an option (its name in `word`, an attached value
  // in attached_), false for a file name.
  bool Next(std::string& word, bool& option) {
    attached_.reset();
    if (i_ >= args_.size()) return false;
    const std::string& a = args_[i_++];
    if (!files_only_ && a == "--") {
      files_only_ = true;
      return Next(word, option);
    }
    option = !files_only_ && LooksLikeOption(a);
    word = a;
    if (option && a.rfind("--", 0) == 0) {
      if (const std::size_t eq = a.find('='); eq != std::string::npos) {
        word = a.substr(0, eq);
        attached_ = a.substr(eq + 1);
      }
    }
    return true;
  }
  bool has_attached() const { return attached_.has_value(); }
  const std::string& attached() const { return *attached_; }

  // The value of the option just read: the attached one, else the next word unless it is an option.
  bool Value(std::string& out) {
    if (attached_) {
      out = *attached_;
      return true;
    }
    if (i_ >= args_.size() || LooksLikeOption(args_[i_])) return false;
    out = args_[i_++];
    return true;
  }

 private:
  const std::vector<std::string>& args_;
  std::size_t i_ = 1;
  bool files_only_ = false;
  std::optional<std::string> attached_;
};

ParseResult ParseInit(const std::vector<std::string>& args) {
  Words words(args);
  std::string word;
  bool option = false;
  std::vector<std::string> files;
  while (words.Next(word, option)) {
    if (option && IsHelp(word)) return {HelpCommand{"init"}, {}};
    if (option) return Refuse("unknown option '" + word + "' (a file whose name starts with '-' is given as ./" + word + ")");
    files.push_back(word);
  }
  if (files.size() != 1) return Refuse("init takes exactly one argument, the database file");
  return {InitCommand{files[0]}, {}};
}

ParseResult ParseRestore(const std::vector<std::string>& args) {
  Words words(args);
  std::string word;
  bool option = false;
  RestoreCommand restore;
  bool have_backup = false;
  bool have_database = false;
  while (words.Next(word, option)) {
    if (option && IsHelp(word)) return {HelpCommand{"restore"}, {}};
    if (option && word == "--db") {
      if (!words.Value(restore.database)) return Refuse("--db needs a file");
      have_database = true;
    } else if (option) {
      return Refuse("unknown option '" + word + "'");
    } else if (!have_backup) {
      restore.backup = word;
      have_backup = true;
    } else {
      return Refuse("restore takes one backup file ('" + restore.backup + "' and '" + word + "' given)");
    }
  }
  if (!have_backup) return Refuse("restore needs the backup file");
  if (!have_database) return Refuse("restore needs --db, the database to put the backup in place of");
  return {restore, {}};
}

}  // namespace

std::optional<int> ParseMode(const std::string& value) {
  if (value == "0" || value == "add-update") return 0;
  if (value == "1" || value == "add") return 1;
  if (value == "2" || value == "update") return 2;
  return std::nullopt;
}

ParseResult ParseCommandLine(const std::vector<std::string>& args) {
  if (args.empty()) return Refuse("no command given");
  const std::string& verb = args[0];
  if (verb == "--help" || verb == "-h") return {HelpCommand{}, {}};
  if (verb == "help") return {HelpCommand{args.size() > 1 ? args[1] : std::string()}, {}};
  if (verb == "--version") return {VersionCommand{}, {}};
  if (verb == "init") return ParseInit(args);
  if (verb == "restore") return ParseRestore(args);
  if (verb != "import" && verb != "check") return Refuse("unknown command '" + verb + "'");

  const bool check = verb == "check";
  bool database_given = false;
  ImportCommand import;
  bool have_catalog = false;
  Words words(args);
  std::string a;
  bool option = false;
  while (words.Next(a, option)) {
    std::string v;
    // Options without a value refuse one given with "=".
    const bool flag = !words.has_attached();
    if (!option) {
      if (have_catalog)
        return Refuse("more than one catalogue given ('" + import.catalog + "' and '" + a + "')");
      import.catalog = a;
      have_catalog = true;
    } else if (IsHelp(a)) {
      return {HelpCommand{verb}, {}};
    } else if (a == "--db") {
      if (!words.Value(import.database)) return Refuse("--db needs a file");
      database_given = true;
    } else if (a == "--mode") {
      const std::optional<int> mode = words.Value(v) ? ParseMode(v) : std::nullopt;
      if (!mode) return Refuse("--mode takes add-update (0), add (1) or update (2)");
      import.mode = *mode;
    } else if (a == "--report") {
      if (!words.Value(v)) return Refuse("--report needs a file");
      import.report = v;
    } else if (a == "--project" && !check) {
      if (!words.Value(v)) return Refuse("--project needs a folder");
      import.project = v;
    } else if (a == "--config-dir" && !check) {
      if (!words.Value(v)) return Refuse("--config-dir needs a folder");
      import.config_dir = v;
    } else if (a == "--backup" && !check) {
      // Only "--backup=FILE" names the file: a word after "--backup" is the catalogue.
      if (words.has_attached() && words.attached().empty()) return Refuse("--backup= needs a file");
      import.backup = words.has_attached() ? words.attached() : std::string();
    } else if (!flag) {
      return Refuse("option '" + a + "' takes no value");
    } else if (a == "--media") {
      import.media = true;
    } else if (a == "--quiet") {
      import.quiet = true;
    } else if (a == "--atomic" && !check) {
      import.atomic = true;
    } else if (a == "--no-create" && !check) {
      import.no_create = true;
    } else if (a == "--regions") {
      import.regions = true;
    } else if (a == "--plain") {
      import.plain = true;
    } else if (a == "--verbose") {
      import.verbose = true;
    } else {
      return Refuse("unknown option '" + a + "'");
    }
  }
  if (!have_catalog) return Refuse(verb + " needs the catalogue file");
  if (check) return {CheckCommand{import, database_given}, {}};
  return {import, {}};
}

}  // namespace cvimp::cli
