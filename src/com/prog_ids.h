// The names of the automation classes the plug-in creates or registers, in one place.
#pragma once

namespace cvimp::com {

// The plug-in's own class, registered by DllRegisterServer.
inline constexpr char kManagerProgId[] = "CVImpVelXMLCat.Manager";
inline constexpr wchar_t kManagerClsidText[] = L"{56C1A27F-DC5A-40FC-ABE4-6C6593001922}";

// The classes the plug-in creates: the ADO record set and the host library's creatable classes.
inline constexpr char kAdoRecordsetProgId[] = "ADODB.Recordset";
inline constexpr char kTextCatalogProgId[] = "CalvoraVel.TextCatalog";
inline constexpr char kHostToolsProgId[] = "CalvoraVel.Tools";

}  // namespace cvimp::com
