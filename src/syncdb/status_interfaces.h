// Snapshots of a store as trees, and the interface that hands them out.
#pragma once

#include "platform/com/bstr.h"
#include "platform/com/unknown.h"

namespace qv {

// `modified` was read on an item without a time: 0.0 comes out. Informative, no failure.
inline constexpr HRESULT DS_S_NO_MODIFIED = 0x00040204;

enum STATUSDB_UPDATECMD : int32_t {
  STATDBUPDATE_ADD,
  STATDBUPDATE_REPL,
  STATDBUPDATE_DEL,
  STATDBUPDATE_MOVE,
};

struct IStatusDBItem : IDispatch {
  static constexpr IID kIid = "{CD60F2BE-68F1-4525-8F5E-556311A75D6A}"_guid;
  virtual HRESULT get_sourceUid(BSTR* value) noexcept = 0;
  virtual HRESULT put_sourceUid(BSTR value) noexcept = 0;
  virtual HRESULT get_parentUid(BSTR* value) noexcept = 0;
  virtual HRESULT put_parentUid(BSTR value) noexcept = 0;
  virtual HRESULT get_modified(DATE* value) noexcept = 0;
  virtual HRESULT put_modified(DATE value) noexcept = 0;
  virtual HRESULT get_IsFolder(BOOL* value) noexcept = 0;
  virtual HRESULT put_IsFolder(BOOL value) noexcept = 0;
  virtual HRESULT get_md5(BSTR* value) noexcept = 0;
  virtual HRESULT put_md5(BSTR value) noexcept = 0;

 protected:
  ~IStatusDBItem() = default;
};

struct IStatusDBItemTree : IDispatch {
  static constexpr IID kIid = "{A036494C-0656-4989-B670-AE0BC0847ED6}"_guid;
  virtual HRESULT get_Item(IStatusDBItem** value) noexcept = 0;
  virtual HRESULT put_Item(IStatusDBItem* value) noexcept = 0;
  // An IUnkList of IStatusDBItemTree; null for a node without children. Writing anything but a
  // list gives E_INVALIDARG, null clears.
  virtual HRESULT get_SubItemTree(IUnknown** value) noexcept = 0;
  virtual HRESULT put_SubItemTree(IUnknown* value) noexcept = 0;

 protected:
  ~IStatusDBItemTree() = default;
};

struct IStatusDB : IDispatch {
  static constexpr IID kIid = "{8C9E8889-B297-48FE-B762-E915D91BADBD}"_guid;
  virtual HRESULT Initialize() noexcept = 0;
  // What the phone and the PC last agreed on.
  virtual HRESULT GetBackupStatusDB(IStatusDBItemTree** tree) noexcept = 0;
  // What is there now.
  virtual HRESULT GetCurrentStatusDB(IStatusDBItemTree** tree) noexcept = 0;
  virtual HRESULT DeleteAllStatusBackupDB() noexcept = 0;
  virtual HRESULT UpdateBackupStatusDB(STATUSDB_UPDATECMD cmd,
                                       IStatusDBItem* pIStatusDBItem) noexcept = 0;

 protected:
  ~IStatusDB() = default;
};

}  // namespace qv
