// The catalogue lookups that the importers make in a run, by form and section, for the load to prepare.
#pragma once

#include "catalog/document.h"

namespace cvimp::plugin {

catalog::LookupPlan ImporterLookups();

}  // namespace cvimp::plugin
