// What stands behind OutlookManager: the open profile, and how its operations run.
#pragma once

#include <memory>
#include <new>
#include <string>
#include <vector>

#include "pim/outlook_manager.h"
#include "pim/profile_file.h"
#include "platform/com/status_error.h"

namespace qv {

// A failure that is not the file's.
struct Refusal {
  HRESULT status;
  std::string text;
};

// Makes a row tell of a content that is stored now.
void Stamp(ItemRow& row, const PackedItem& packed);

struct OutlookManager::State {
  // Runs an operation and keeps the reason of its failure.
  template <class Body>
  HRESULT Run(Body&& body) {
    try {
      body();
      return S_OK;
    } catch (const Refusal& refusal) {
      error = refusal.text;
      return refusal.status;
    } catch (const SqliteError& failure) {
      error = failure.what();
      return E_FAIL;
    } catch (const StatusError& failure) {
      error = "an item could not be made";
      return failure.status();
    } catch (const std::bad_alloc&) {
      error = "out of memory";
      return E_OUTOFMEMORY;
    }
  }

  // The same for one that fills `list`, which is empty when it fails.
  template <class Entry, class Body>
  HRESULT RunList(std::vector<Entry>& list, Body&& body) {
    list.clear();
    const HRESULT status = Run(body);
    if (Failed(status)) list.clear();
    return status;
  }

  // These throw a Refusal that names the file and the thing.
  ProfileFile& File();
  SqliteTransaction& Group();
  // Undoes what was not committed.
  void EndGroups() {
    while (!groups.empty()) groups.pop_back();
  }
  const ItemKind& Kind(OlObjectClass kind);
  int64_t Folder(OlObjectClass kind, const std::u16string& folderId);
  PackedItem Pack(OlObjectClass kind, IItemCommon* item);
  // The item of a row that was read with its content.
  ComPtr<IItemCommon> Unpack(OlObjectClass kind, const ItemRow& row, std::string_view content);
  [[noreturn]] void Refuse(const std::string& why);
  [[noreturn]] void NoSuchItem(OlObjectClass kind, const std::u16string& entryId);

  std::unique_ptr<ProfileFile> file;
  std::vector<std::unique_ptr<SqliteTransaction>> groups;  // each within the one before
  std::u16string profile;
  std::string error;
  // Whose parent items were asked to be kept at hand.
  std::vector<OlObjectClass> keptParents;
};

}  // namespace qv
