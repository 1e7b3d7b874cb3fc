#include "host/cli_platform.h"

#include <cstdio>
#include <filesystem>
#include <system_error>

#include "common/file_open.h"
#include "host/host_tools.h"

namespace cvimp::host {

std::shared_ptr<plugin::TextCatalog> CliPlatform::NewTextCatalog() {
  return std::make_shared<CliTextCatalog>(overrides_);
}

std::shared_ptr<plugin::HostTools> CliPlatform::NewHostTools() { return std::make_shared<CliHostTools>(); }

std::unique_ptr<settings::SettingsView> CliPlatform::NewSettingsView() {
  return std::make_unique<HeadlessSettingsView>();
}

bool CliPlatform::CopyFile(const std::string& existing, const std::string& target, bool fail_if_exists) {
  namespace fs = std::filesystem;
  const std::string from = PosixPath(existing), to = PosixPath(target);
  std::error_code ec;
  if (from.empty() || to.empty() || !fs::is_regular_file(PathFromUtf8(from), ec)) return false;
  std::FILE* in = OpenFile(from, "rb");
  if (!in) return false;
  // The target is created only if it does not exist yet, in one step.
  std::FILE* out = fail_if_exists ? CreateNewFile(to) : OpenFile(to, "wb");
  if (!out) {
    std::fclose(in);
    return false;
  }
  char buffer[65536];
  bool ok = true;
  for (std::size_t n; ok && (n = std::fread(buffer, 1, sizeof buffer, in)) > 0;)
    ok = std::fwrite(buffer, 1, n, out) == n;
  ok = ok && !std::ferror(in);
  ok = (std::fclose(out) == 0) && ok;
  std::fclose(in);
  if (!ok) fs::remove(PathFromUtf8(to), ec);
  return ok;
}

}  // namespace cvimp::host
