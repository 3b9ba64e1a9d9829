// Identifiers of the classes and interfaces that have no other home: items, converters, lists, the
// database accessor, the engine's bag. Persisted contract: made once, never changed.
#pragma once

#include "platform/com/guid.h"

namespace qv {

inline constexpr CLSID CLSID_DBAccessor = "{9E66DB50-41F9-4DA8-85A9-CD5A1938109F}"_guid;
inline constexpr CLSID CLSID_UnkList = "{6BD52822-DAD3-4CBB-B052-B6CACE0A6C97}"_guid;
inline constexpr CLSID CLSID_VarList = "{FA570F6C-7640-4F8F-A95D-A73DFB28C2A6}"_guid;
inline constexpr CLSID CLSID_ContentData = "{FE23E96E-F707-4BB9-A1DC-1165EDE2C623}"_guid;
inline constexpr CLSID CLSID_ContactItem = "{D9533554-15B2-4783-9752-621541C0FD12}"_guid;
inline constexpr CLSID CLSID_CalendarItem = "{1E9169CB-CFF5-4BFD-BE60-37A70F0575DB}"_guid;
inline constexpr CLSID CLSID_NoteItem = "{C0CD8326-F7FD-4306-80AE-71215020D0A0}"_guid;
inline constexpr CLSID CLSID_BookmarkItem = "{D3FBED21-5A20-4138-B7F9-582E080F33AA}"_guid;
inline constexpr CLSID CLSID_FolderItem = "{E55562E7-B3FA-4C0F-9675-72B93F225D89}"_guid;
inline constexpr CLSID CLSID_ContactGroupItem = "{4EBECB69-2C63-44C2-931F-7EF06D4CF1DA}"_guid;
inline constexpr CLSID CLSID_VCardConverter = "{CFD7CB9C-4381-4931-98CB-1630917F374A}"_guid;
inline constexpr CLSID CLSID_VCalendarConverter = "{D995F6D1-F372-456E-9549-D8DC41D1EA20}"_guid;
inline constexpr CLSID CLSID_VNoteConverter = "{FF3027E9-49E3-4390-B96E-D1E5D308C602}"_guid;
inline constexpr CLSID CLSID_BookmarkConverter = "{610E01D4-3405-46F3-8D65-1E612FE72014}"_guid;
inline constexpr CLSID CLSID_FolderConverter = "{BB032ED7-E629-49FB-9FD9-2E5284CFCEAD}"_guid;
inline constexpr CLSID CLSID_VCardGroupConverter = "{6194E157-3302-4B23-90A4-583CD9BC73A0}"_guid;
inline constexpr CLSID CLSID_ModuleSettings = "{C5D0CE03-43D3-4312-B201-F9CB2EC52C33}"_guid;
inline constexpr CLSID CLSID_ContactManager = "{388F5DEE-7E39-41E7-A61B-22F089F30109}"_guid;
inline constexpr CLSID CLSID_Contact = "{600A6380-3126-49AE-8162-15AC866AE766}"_guid;

inline constexpr IID IID_IEngineConfig = "{185D1E6B-D51D-4F2F-BA47-E88C5A63FC39}"_guid;
inline constexpr IID IID_IDBAccessor = "{3C387135-B328-4E55-901E-A231140D25A7}"_guid;
inline constexpr IID IID_IDBBatch = "{74615517-F5DE-4B99-BEC4-51860CF31717}"_guid;
inline constexpr IID IID_IDBTransaction = "{36461895-5B68-4263-A736-96C56F6BD74F}"_guid;
inline constexpr IID IID_IUnkList = "{F870B8BB-8DF6-49DC-B437-E4E98606C9B7}"_guid;
inline constexpr IID IID_IVarList = "{383742B0-8E52-4FDB-8E0A-83AD5857F1EB}"_guid;
inline constexpr IID IID_IContentData = "{7F6668EE-FB19-4BC6-A374-6AD175CC7D16}"_guid;
inline constexpr IID IID_IItemCommon = "{77BF34A5-5E04-4358-AEFB-8B0AD1F14B6D}"_guid;
inline constexpr IID IID_IContactItem = "{9FA6C1CB-42C2-4533-9ADD-FD5B2B8C3234}"_guid;
inline constexpr IID IID_ICalendarItem = "{D7A4929E-878E-41D1-9DF1-CB91278DF089}"_guid;
inline constexpr IID IID_INoteItem = "{1DAE8726-81FD-4A15-8AA9-8718D1FC1662}"_guid;
inline constexpr IID IID_IBookmarkItem = "{FB89A038-D0D4-4F15-90D3-ADEAD98FEFE5}"_guid;
inline constexpr IID IID_IFolderItem = "{F4F5A1D1-82AD-417F-A95A-333DAF18C5B0}"_guid;
inline constexpr IID IID_IContactGroupItem = "{21E529AD-9ABC-49B1-8BBB-F82B67157A27}"_guid;
inline constexpr IID IID_IVCardConverter = "{4C3F1E29-F4BC-4B24-97DF-9E56FDBBF8A8}"_guid;
inline constexpr IID IID_IVCalendarConverter = "{54881226-3F6C-414F-BAB2-D477DA7CEA2B}"_guid;
inline constexpr IID IID_IVNoteConverter = "{5D473598-2662-492A-AEFB-949C43F3E9BB}"_guid;
inline constexpr IID IID_IBookmarkConverter = "{1284DE26-ED41-4944-A1BE-68AE7CDC934D}"_guid;
inline constexpr IID IID_IFolderConverter = "{DB568A19-E6AB-4194-A940-060EAE27C5CE}"_guid;
inline constexpr IID IID_IVCardGroupConverter = "{3AB45D9F-6A81-4490-BEA0-E296757EC465}"_guid;
inline constexpr IID IID_IContactAccess = "{3E64058F-78B6-4D3D-837A-52D6ED475D75}"_guid;
inline constexpr IID IID_IModuleSettings = "{D6BC37D5-3C6A-4EBA-8191-40C0114554DC}"_guid;
inline constexpr IID IID_IConverter = "{3089DE10-8D86-41ED-AF6E-9133D63EBFB6}"_guid;
inline constexpr IID IID_IItemAccess = "{18B21FFB-D625-4AEC-AA66-961426DAF479}"_guid;
inline constexpr IID IID_ICalendarAccess = "{A3318A2F-5A70-4286-851B-7DFF6F56333D}"_guid;
inline constexpr IID IID_IBookmarkAccess = "{B86F8B34-DEF2-4710-8FBA-D1AECC64C401}"_guid;
inline constexpr IID IID_IFolderAccess = "{DC9D9678-EC7A-4C44-82C7-4693F4875D7B}"_guid;
inline constexpr IID IID_INoteAccess = "{83724D95-6745-4A48-86FD-72C8BB41C784}"_guid;
inline constexpr IID IID_IBookmarkTreeInfo = "{4DD0CC05-C452-428D-B496-EEAF204E4447}"_guid;
inline constexpr IID IID_IStream = "{8AAC2801-4C41-44C7-9C71-77429835516F}"_guid;
inline constexpr IID IID_IFileStream = "{0E2330EC-894F-494A-BE15-DB2DBC1A9129}"_guid;
inline constexpr IID IID_IContactManager = "{CDBFCB6F-84D9-4FE3-8EBE-3ADF5E910801}"_guid;
inline constexpr IID IID_IContactCollection = "{85BD8FA0-400D-41BD-A848-B1D530039FE7}"_guid;
inline constexpr IID IID_IContact = "{1D286846-01A4-47F4-B644-568E81251F36}"_guid;
inline constexpr IID IID_IContactProperties = "{785D73CF-FB5D-45FC-800D-08767D585795}"_guid;
inline constexpr IID IID_IPersistStreamInit = "{62AF1F50-E6A5-4958-A2B7-A8D125095151}"_guid;
inline constexpr IID IID_IContactFile = "{817B1487-DEE8-49BC-8FB8-0D582D1E23B1}"_guid;
inline constexpr IID IID_IContactNodes = "{DB100566-E063-407F-A03E-36506FD75169}"_guid;
inline constexpr IID IID_IContactFolder = "{D431876F-8402-46D4-8467-7FE8DACECBB8}"_guid;
inline constexpr IID IID_IAddressBookInfo = "{4B2CB246-204C-49A1-82AD-463611E428E5}"_guid;

}  // namespace qv
