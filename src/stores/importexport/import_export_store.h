// The frame of the stores that put files in the place of a data source.
//
// An import is a source whose items all are new: the files are read when the status side is
// initialised, and an item's identifier is its place in the list. An export is a source that only
// takes: what is added goes to files, at once or when the store's last reference goes. All other
// operations answer from the stub table.
#pragma once

#include <memory>
#include <string>

#include "stores/file_items.h"
#include "stores/importexport/import_export_traits.h"

namespace qv {

class ImportExportStore : public StoreBase {
 protected:
  // What the bag says of the job.
  struct Job {
    FileDirection direction = FileDirection::Neither;
    std::u16string folder;     // it was there when the store was initialised
    std::u16string fileNames;  // to import
    int32_t fileType = 0;      // kept, like the next: nothing hangs on them
    int32_t syncType = 0;
  };

  explicit ImportExportStore(const ImportExportTraits& traits);

  const Job& job() const { return job_; }
  // Throws StatusError(E_FAIL) before a successful `Initialize`.
  IConverter& converter() const;
  // One more was taken: the identifier that `Add` hands out.
  std::u16string NextUid();
  // The folder of the job as the bag has it now; empty where there is none.
  std::u16string ReadFolder() const;

 private:
  HRESULT OnCheckBag() final;
  HRESULT OnInitialize() final;
  ComPtr<IItemCommon> OnParse(const IncomingText& text) final;
  HRESULT OnAdd(const IncomingText& text, std::u16string& sourceUid) final;
  HRESULT OnGet(const std::u16string& sourceUid, bool updateField, OutgoingItem& out) final;
  HRESULT OnStatusInitialize() final;
  HRESULT OnBackupTree(ComPtr<IStatusDBItemTree>& root) final;
  HRESULT OnCurrentTree(ComPtr<IStatusDBItemTree>& root) final;
  HRESULT OnDeleteAllStatus() final { return S_OK; }
  HRESULT OnUpdateStatus(STATUSDB_UPDATECMD, const StatusRow&) final { return S_OK; }
  void OnFinalRelease() final;

  // Import: reads the files anew. What cannot be read is left out. E_FAIL when the user stops it.
  virtual HRESULT Load() = 0;
  virtual size_t ItemCount() const = 0;
  // Null for a text that no longer gives an item.
  virtual ComPtr<IItemCommon> ItemAt(size_t place) = 0;
  // Export: forgets what was collected, where a second start does so; takes one item; the store
  // goes away.
  virtual void ClearExport() {}
  virtual HRESULT Take(const ComPtr<IItemCommon>& item, const IncomingText& text,
                       std::u16string& sourceUid) = 0;
  virtual void FinishExport() = 0;

  HRESULT ReadJob();

  const ImportExportTraits& traits_;
  Job job_;
  ComPtr<IConverter> converter_;
  int32_t addCount_ = 0;
};

}  // namespace qv
