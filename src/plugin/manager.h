// Manager: the plug-in object. The host creates it, hands it the HostApi, initialises it, reads the page
// descriptor, reports page changes, starts the import and disposes of it (IImportPlugin). It owns the
// session state that the table importers share: the catalogue document, the working recordset, the update
// mode and the last statement text.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "catalog/document.h"
#include "common/error_regime.h"
#include "plugin/host_contract.h"
#include "plugin/platform.h"
#include "recordset/recordset.h"

namespace cvimp::settings {
class frmVelXMLSettings;
}

namespace cvimp::plugin {

class ImportObserver;
class ImportTracker;

class Manager {
 public:
  explicit Manager(std::shared_ptr<Platform> platform);
  ~Manager();  // disposes first when still initialised
  Manager(const Manager&) = delete;
  Manager& operator=(const Manager&) = delete;

  // IImportPlugin. None of them reports a failure: each runs with failing statements skipped.
  void Api(std::shared_ptr<HostApi> rhs);
  void CancelImport(bool rhs);
  void Dispose();
  void ExecuteImport();
  void Init(const std::string& data_source_id, const std::string& serialized_plugin_config,
            const std::string& user_config);
  std::string PagesConfig();
  bool SelectedPageChanged(const std::string& new_page_key);
  std::string UserConfig();

  // Session state, read by the importers and by tests.
  const std::shared_ptr<HostApi>& host_api() const { return host_api_; }
  Platform& platform() const { return *platform_; }
  const std::shared_ptr<catalog::Document>& catalog_document() const { return catalog_; }
  recordset::Recordset* working_recordset() const { return working_.get(); }
  std::int16_t update_mode() const { return update_mode_; }
  const std::string& last_sql() const { return last_sql_; }
  void set_last_sql(std::string sql) {
    last_sql_ = std::move(sql);
    ++last_sql_count_;
  }
  // How many statement texts were kept so far: tells whether one was kept since a given moment.
  std::uint64_t last_sql_count() const { return last_sql_count_; }
  bool initialised() const { return initialised_; }
  bool import_started() const { return import_started_; }
  bool cancel_requested() const { return cancel_requested_; }
  const std::string& data_source_id() const { return data_source_id_; }
  // The host's listener to the run, set in C++ by a host that reports on it (no part of the host contract);
  // nullptr, the default, removes it. The observer must outlive the runs it listens to.
  void set_observer(ImportObserver* observer);
  // The run's tracker while an observer is set, else nullptr: the importers report to it when it is there.
  ImportTracker* tracker() const { return tracker_.get(); }
  // The regime of a routine that skips failing statements: each one skipped is reported to the tracker.
  ErrorRegime SkipFailingStatements() const;

  // The shared settings form (created on first touch).
  settings::frmVelXMLSettings& Form() const;

  // Key translation through the loaded catalogue.
  std::int32_t TranslateKey(std::int32_t old_key, const std::string& section) const;
  std::string FolderPath(std::int32_t folder_key) const;
  std::string FolderName(std::int32_t folder_key) const;
  std::string FolderParentKey(std::int32_t folder_key) const;

  // Table importers of the reference data.
  void ImportCurrencies();
  void ImportDeliveryTimes();
  void ImportMeasureUnits();
  void ImportQuantityUnits();
  void ImportRegions();
  void ImportManufacturers();
  void ImportKeywords();
  void ImportKeywordRefs();

  // Table importers of the site structure and the goods.
  void ImportFolders();
  void ImportPages();
  // The page data of one element (0 page, 1 category, 2 product), called for every such record written.
  void ImportPageData(std::int16_t element_type, std::int32_t old_key, std::int32_t new_key);
  void ImportCategories();
  void ImportProducts();
  void ImportProducts2Categories();

  // Table importers of the media (records and files) and their assignments to elements.
  void ImportMedia();
  void ImportElement2Media();
  // Table importers of the variants.
  void ImportVariantTypes();
  void ImportVariantValues();
  void ImportVariantsSimple();
  void ImportVariantsComplex();
  // A variant key text ("[1]17[2]42") with the catalogue's value keys rewritten as the target's, the groups
  // ordered by the target's variant types.
  std::string fEditVarstring(const std::string& VarStr);

  // Table importers of the attributes.
  void ImportAttributeClasses();
  void ImportAttributeGroups();
  void ImportAttributes();
  void ImportAttributes2Class();
  void ImportAttributeMultiValues();
  void ImportAttributes2Product();
  void ImportAttributeMultiValues2Product();
  // Table importers of payment and shipping.
  void ImportPayMethods();
  void ImportShipMethods();
  void ImportShipMethodZones();
  void ImportShipMethodCalculators();
  void ImportShipMethodTables();
  void ImportPay2ShipMethodsExcl();
  void ImportPayMethods2RegionsExcl();
  void ImportRegions2ShipZones();
  // Table importers of discounts, profiles, bundles and cross references.
  void ImportDiscounts();
  void ImportExchangeDataProfiles();
  void ImportPublishProfiles();
  void ImportBundles();
  void ImportCrossRefs();

  // Replaces the working recordset by a new, closed one; the one it held is released (and so closed).
  void RenewWorkingRecordset();

 private:
  std::string BuildPageDescriptor();
  void RunImport();

  std::shared_ptr<Platform> platform_;
  std::shared_ptr<HostApi> host_api_;
  std::string data_source_id_;
  std::unique_ptr<catalog::Document> plugin_config_;
  std::unique_ptr<catalog::Document> user_config_;
  std::shared_ptr<catalog::Document> catalog_;
  std::unique_ptr<recordset::Recordset> working_;
  std::string page_descriptor_;
  bool cancel_requested_ = false;
  bool initialised_ = false;
  bool import_started_ = false;
  std::string last_sql_;
  std::uint64_t last_sql_count_ = 0;
  std::int16_t update_mode_ = 0;
  std::unique_ptr<ImportTracker> tracker_;
};

}  // namespace cvimp::plugin
