#include "host/settings_store.h"

#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <pugixml.hpp>
#include <sstream>
#include <system_error>

#include "common/error.h"

namespace cvimp::host {

namespace fs = std::filesystem;

namespace {

constexpr const char* kFileName = "settings.xml";
constexpr const char* kRoot = "settings";
constexpr const char* kSection = "section";

[[noreturn]] void Refuse(const std::string& what) { throw Error(ErrorCode::kInvalidArgument, what); }
[[noreturn]] void WriteFailed(const std::string& what) { throw Error(ErrorCode::kDatabase, what); }

// Reads the settings file into `doc`; a missing file gives an empty <settings/>.
void ReadFile(const fs::path& file, pugi::xml_document& doc) {
  std::error_code ec;
  if (!fs::exists(file, ec)) {
    doc.append_child(kRoot);
    return;
  }
  pugi::xml_parse_result result = doc.load_file(file.c_str());
  if (!result) Refuse("The settings file " + file.string() + " cannot be read: " + result.description());
  if (std::strcmp(doc.document_element().name(), kRoot) != 0)
    Refuse("The settings file " + file.string() + " is not a settings file");
}

pugi::xml_node FindSection(const pugi::xml_document& doc, const std::string& section) {
  for (pugi::xml_node node : doc.document_element().children(kSection))
    if (section == node.attribute("name").value()) return node;
  return {};
}

void WriteAll(int fd, const std::string& data, const fs::path& temp) {
  std::size_t done = 0;
  while (done < data.size()) {
    ssize_t n = ::write(fd, data.data() + done, data.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) WriteFailed("Cannot write " + temp.string() + ": " + std::strerror(errno));
    done += static_cast<std::size_t>(n);
  }
}

// Writes the text to a temporary file beside `file`, flushes it to disk and renames it over `file`.
void ReplaceFile(const fs::path& file, const std::string& data) {
  const fs::path temp = file.string() + ".tmp." + std::to_string(::getpid());
  int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (fd < 0) WriteFailed("Cannot create " + temp.string() + ": " + std::strerror(errno));
  try {
    WriteAll(fd, data, temp);
    if (::fsync(fd) != 0) WriteFailed("Cannot flush " + temp.string() + ": " + std::strerror(errno));
  } catch (...) {
    ::close(fd);
    ::unlink(temp.c_str());
    throw;
  }
  if (::close(fd) != 0) {
    ::unlink(temp.c_str());
    WriteFailed("Cannot close " + temp.string());
  }
  std::error_code ec;
  fs::rename(temp, file, ec);
  if (ec) {
    ::unlink(temp.c_str());
    WriteFailed("Cannot replace " + file.string() + ": " + ec.message());
  }
}

}  // namespace

std::string EscapeXml(const std::string& text) {
  std::string out;
  out.reserve(text.size());
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
        out += "&quot;";
        break;
      case '\'':
        out += "&apos;";
        break;
      // Written as references so that they survive attribute-value normalisation when read back.
      case '\t':
        out += "&#9;";
        break;
      case '\n':
        out += "&#10;";
        break;
      case '\r':
        out += "&#13;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

SettingsStore::SettingsStore(fs::path folder) : folder_(std::move(folder)), file_(folder_ / kFileName) {}

fs::path SettingsStore::FolderFor(const std::optional<std::string>& xdg_config_home,
                                  const std::optional<std::string>& home) {
  // XDG_CONFIG_HOME counts only as an absolute path; anything else is to be ignored.
  if (xdg_config_home && !xdg_config_home->empty() && fs::path(*xdg_config_home).is_absolute())
    return fs::path(*xdg_config_home) / "cvimport";
  if (home && !home->empty()) return fs::path(*home) / ".config" / "cvimport";
  throw Error(ErrorCode::kObjectRequired, "No home folder for the settings file");
}

fs::path SettingsStore::DefaultFolder() {
  auto env = [](const char* name) -> std::optional<std::string> {
    const char* value = std::getenv(name);
    return value ? std::optional<std::string>(value) : std::nullopt;
  };
  std::optional<std::string> home = env("HOME");
  if (!home || home->empty()) {
    if (const passwd* user = ::getpwuid(::getuid()); user && user->pw_dir) home = user->pw_dir;
  }
  return FolderFor(env("XDG_CONFIG_HOME"), home);
}

void SettingsStore::Save(const std::string& section, const std::string& fragment) {
  pugi::xml_document content;
  pugi::xml_parse_result parsed = content.load_buffer(fragment.data(), fragment.size(),
                                                      pugi::parse_default | pugi::parse_fragment, pugi::encoding_utf8);
  if (!parsed) Refuse("Settings of section " + section + " are not well-formed XML: " + parsed.description());

  pugi::xml_document doc;
  ReadFile(file_, doc);
  pugi::xml_node node = FindSection(doc, section);
  if (!node) {
    node = doc.document_element().append_child(kSection);
    node.append_attribute("name").set_value(section.c_str());
  }
  while (node.first_child()) node.remove_child(node.first_child());
  for (pugi::xml_node child : content.children()) node.append_copy(child);

  std::ostringstream text;
  doc.save(text, "", pugi::format_raw, pugi::encoding_utf8);
  text << '\n';

  std::error_code ec;
  fs::create_directories(folder_, ec);
  if (ec) WriteFailed("Cannot create the settings folder " + folder_.string() + ": " + ec.message());
  ReplaceFile(file_, text.str());
}

std::shared_ptr<const catalog::Document> SettingsStore::Load(const std::string& section) const {
  std::error_code ec;
  if (!fs::exists(file_, ec)) return nullptr;
  pugi::xml_document doc;
  ReadFile(file_, doc);
  pugi::xml_node node = FindSection(doc, section);
  if (!node) return nullptr;
  std::ostringstream text;
  node.print(text, "", pugi::format_raw, pugi::encoding_utf8);
  auto result = std::make_shared<catalog::Document>();
  if (!result->LoadXml(text.str())) Refuse("The stored section " + section + " cannot be read back");
  return result;
}

std::string SettingsStore::FormatProperty(const std::string& name, const std::string& value) {
  return "<property name=\"" + EscapeXml(name) + "\" value=\"" + EscapeXml(value) + "\"/>";
}

}  // namespace cvimp::host
