#include "pim/outlook_state.h"

#include "items/item_objects.h"
#include "platform/system/clock.h"
#include "platform/system/identifiers.h"
#include "platform/system/service.h"
#include "platform/system/utf8.h"
#include "support/date_time.h"

namespace qv {
namespace {

std::u16string ContentMd5(std::string_view content) {
  const std::optional<Md5Digest> digest = Service<Md5Provider>::Get().Digest(content);
  if (!digest) throw Refusal{E_FAIL, "the checksum service failed"};
  constexpr std::u16string_view kDigits = u"0123456789abcdef";
  std::u16string text;
  for (const uint8_t byte : *digest) {
    text.push_back(kDigits[byte >> 4]);
    text.push_back(kDigits[byte & 0xF]);
  }
  return text;
}

}  // namespace

void Stamp(ItemRow& row, const PackedItem& packed) {
  row.modifiedUtc = Service<Clock>::Get().UtcSeconds();
  const DateTimeValue local = UtcToLocal(DateFromUnixSeconds(row.modifiedUtc), true);
  row.modifiedLocal = UnixSecondsFromDate(local.value);
  row.md5 = ContentMd5(packed.content);
  row.keyText = packed.keyText;
  row.name = packed.name;
}

ProfileFile& OutlookManager::State::File() {
  if (file == nullptr) throw Refusal{E_FAIL, "no profile of Outlook is open"};
  return *file;
}

SqliteTransaction& OutlookManager::State::Group() {
  if (groups.empty()) Refuse("no group is open");
  return *groups.back();
}

const ItemKind& OutlookManager::State::Kind(OlObjectClass kind) {
  const ItemKind* row = FindItemKind(kind);
  if (row == nullptr) Refuse("items of the kind " + std::to_string(kind) + " are not kept");
  return *row;
}

int64_t OutlookManager::State::Folder(OlObjectClass kind, const std::u16string& folderId) {
  const ItemKind& row = Kind(kind);
  const std::optional<int64_t> folder = File().FindFolder(kind, folderId);
  if (!folder) Refuse(std::string("no ") + row.noun + " folder " + ToUtf8(folderId));
  return *folder;
}

PackedItem OutlookManager::State::Pack(OlObjectClass kind, IItemCommon* item) {
  const ItemKind& row = Kind(kind);
  if (item == nullptr) throw Refusal{E_POINTER, File().path() + ": no item to store"};
  PackedItem packed;
  if (!row.pack(item, packed)) Refuse(std::string("the item is no ") + row.noun);
  return packed;
}

ComPtr<IItemCommon> OutlookManager::State::Unpack(OlObjectClass kind, const ItemRow& row,
                                                  std::string_view content) {
  std::string why = "its checksum does not fit";
  ComPtr<IItemCommon> item;
  if (ContentMd5(content) == row.md5) item = Kind(kind).unpack(content, why);
  if (!item) Refuse("item " + ToUtf8(row.entryId) + " is damaged: " + why);
  ItemFields& fields = *FieldsOf(item.get());
  fields.sourceUid = row.entryId;
  fields.modified = DateFromUnixSeconds(row.modifiedUtc);
  fields.md5 = row.md5;
  return item;
}

void OutlookManager::State::Refuse(const std::string& why) {
  throw Refusal{E_FAIL, File().path() + ": " + why};
}

void OutlookManager::State::NoSuchItem(OlObjectClass kind, const std::u16string& entryId) {
  Refuse(std::string("no ") + Kind(kind).noun + " " + ToUtf8(entryId));
}

}  // namespace qv
