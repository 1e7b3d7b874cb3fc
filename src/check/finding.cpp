#include "check/finding.h"

namespace cvimp::check {

std::string_view KindName(FindingKind kind) {
  switch (kind) {
    case FindingKind::kNotWellFormed:
      return "not-well-formed";
    case FindingKind::kWrongRoot:
      return "wrong-root";
    case FindingKind::kUnknownSection:
      return "unknown-section";
    case FindingKind::kStrayElement:
      return "stray-element";
    case FindingKind::kUnknownAttribute:
      return "unknown-attribute";
    case FindingKind::kMissingKey:
      return "missing-key";
    case FindingKind::kRepeatedKey:
      return "repeated-key";
    case FindingKind::kMissingValue:
      return "missing-value";
    case FindingKind::kUnresolvedReference:
      return "unresolved-reference";
    case FindingKind::kParentLoop:
      return "parent-loop";
  }
  return "unknown";
}

std::ostream& operator<<(std::ostream& out, const Finding& f) {
  return out << KindName(f.kind) << " " << f.section << "#" << f.item << " key=\"" << f.key << "\" at " << f.line << ":"
             << f.column << " attribute=\"" << f.attribute << "\" value=\"" << f.value << "\": " << f.message;
}

}  // namespace cvimp::check
