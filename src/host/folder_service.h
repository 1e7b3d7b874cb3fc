// The folder service of the command-line host: paths of folder records of the shop database.
#pragma once

#include <memory>
#include <string>

#include "plugin/host_contract.h"
#include "recordset/recordset.h"

namespace cvimp::host {

class CliFolderService : public plugin::FolderService {
 public:
  explicit CliFolderService(std::shared_ptr<recordset::Connection> connection);

  // "/" followed by the names of the folder's ancestors from the top and its own, joined by "/": the
  // Folders record with PKID = the key, then its parents by ParentFolderFKID until 0. A Null name counts
  // as empty, a Null parent as 0. Raises cvimp::Error for a key that is not a whole number
  // (kInvalidArgument), a folder or parent that is not there and a parent chain that loops (kNotFound /
  // kInvalidArgument), and whatever the connection raises.
  std::string HostFolderPath(const std::string& folder_key) override;

 private:
  std::shared_ptr<recordset::Connection> connection_;
};

}  // namespace cvimp::host
