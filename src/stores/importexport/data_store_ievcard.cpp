#include "stores/importexport/data_store_ievcard.h"

#include <optional>

#include "items/item_objects.h"
#include "platform/system/debug_log.h"
#include "stores/contact_groups.h"
#include "stores/file_names.h"
#include "support/text.h"
#include "support/user_flags.h"
#include "support/vobject/group_lines.h"
#include "support/vobject/item_files.h"

namespace qv {
namespace {

constexpr std::u16string_view kExtension = u".vcf";
constexpr std::u16string_view kTooLong =
    u"[CDataStoreIEVCard] Save the file name or folder path is too long";
constexpr std::u16string_view kNotCreated =
    u"[CDataStoreIEVCard] CreateFile Failed in SaveVCard, window error-code: ";

ComPtr<IItemCommon> ParseCard(IConverter& converter, std::string_view card) {
  ComPtr<IUnknown> item;
  if (Failed(converter.Parse(MakeContentData(card).get(), item.Out()))) return nullptr;
  return Query<IItemCommon>(item);
}

std::u16string FileNameOf(IUnknown* item) {
  const Contact* contact = ContactOf(item);
  if (contact == nullptr) throw StatusError(E_FAIL);
  std::u16string name = contact->givenName + contact->familyName;
  SanitizeFileName(name);
  return name.empty() ? u"noname" : name;
}

}  // namespace

HRESULT CDataStoreIEVCard::Load() {
  items_.clear();
  for (const std::u16string_view name : NamesIn(job().fileNames)) {
    const std::optional<std::string> text = ReadNarrowFile(Concat({job().folder, u"\\", name}));
    if (!text) continue;
    VCardCutter cutter(*text);
    for (std::string card; cutter.Next(card);) {
      if (IsSyncStopped()) return E_FAIL;
      ComPtr<IItemCommon> item = ParseCard(converter(), card);
      if (item && HasGroupNames(card)) {
        TakeGroupNames(card, item.get(), session());
        item = ParseCard(converter(), card);
      }
      if (item) items_.push_back(std::move(item));
    }
  }
  return S_OK;
}

HRESULT CDataStoreIEVCard::Take(const ComPtr<IItemCommon>& item, const IncomingText& text,
                                std::u16string& sourceUid) {
  std::string card = ContentBytes(text.cdata);
  if (card.empty()) return E_FAIL;
  sourceUid = NextUid();
  return SaveVCard(item.get(), std::move(card));
}

HRESULT CDataStoreIEVCard::SaveVCard(IUnknown* item, std::string card) {
  const std::u16string stem = FileStem(job().folder, FileNameOf(item), kExtension);
  if (stem.empty()) {
    OutputDebugStringW(kTooLong);
    return E_FAIL;
  }
  MarkSavedVCard(card);
  GiveGroupNames(card, item, session());
  if (const SystemError error = names_.Create(stem, kExtension, card); error != kNoError) {
    OutputDebugStringW(Concat({kNotCreated, Decimal(error)}));
    return E_FAIL;
  }
  savedAny_ = true;
  return S_OK;
}

void CDataStoreIEVCard::FinishExport() {
  if (!savedAny_) SetExportEmpty(1);
}

}  // namespace qv
