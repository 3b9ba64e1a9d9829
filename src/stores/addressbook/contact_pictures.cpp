#include "stores/addressbook/contact_pictures.h"

#include <algorithm>
#include <vector>

#include "platform/com/status_error.h"
#include "platform/system/debug_log.h"
#include "platform/system/file_stream.h"
#include "platform/system/service.h"
#include "support/text.h"

namespace qv {
namespace {

constexpr char16_t kPhotos[] = u"PhotoCollection";
constexpr char16_t kPhoto[] = u"PhotoCollection/Photo[1]";
constexpr char16_t kUrl[] = u"PhotoCollection/Photo[1]/Url";
constexpr char16_t kValue[] = u"PhotoCollection/Photo[1]/Value";
constexpr const char16_t* kLabels[] = {u"UserTile"};
constexpr std::u16string_view kExtension = u".jpg";
constexpr uint64_t kMostBytes = uint64_t{32} << 20;

constexpr std::u16string_view kNotLoaded =
    u"[CDataStoreWindowsContact::LoadBitmapfile] Image::FromFile GetLastStatus() != Ok";
constexpr std::u16string_view kNoBitmap =
    u"[CDataStoreWindowsContact::LoadBitmapfile] Bitmap is NULL";
constexpr std::u16string_view kNotSaved =
    u"[CDataStoreWindowsContact::LoadBitmapfile] Bitmap Save return value is not Ok";
constexpr std::u16string_view kNoLibrary = u"ERROR:GDI+ library load fail!";

IContactProperties& PropertiesOf(IContact& contact, ComPtr<IContactProperties>& holder) {
  holder = Query<IContactProperties>(&contact);
  if (!holder) throw StatusError(E_NOINTERFACE);
  return *holder;
}

std::u16string UrlOf(IContactProperties& properties) {
  Bstr url;
  const HRESULT status = properties.GetString(kUrl, url.Out());
  if (status != kContactNotFound) Check(status);
  return url.str();
}

// The native path that a Url names: "C:\..." as other programs write them, or a native one.
std::optional<std::string> NativeOf(std::u16string_view url) {
  if (url.find(u'/') == url.npos) return ToNativePath(url);
  if (!IsWellFormed(url)) return std::nullopt;
  return ToUtf8(url);
}

// A regular file of a size that a picture has; empty for any other.
std::string BytesOf(std::u16string_view url) {
  const auto path = NativeOf(url);
  std::string bytes;
  FileInfo info;
  Files& disk = Service<Files>::Get();
  if (!path || disk.Stat(*path, info) || info.isFolder || info.size > kMostBytes) return {};
  if (disk.Read(*path, bytes)) return {};
  return bytes;
}

}  // namespace

std::u16string PictureTypeOf(std::string_view bytes) {
  if (bytes.starts_with("\x89PNG")) return u"PNG";
  if (bytes.starts_with("GIF8")) return u"GIF";
  if (bytes.starts_with("BM")) return u"BMP";
  if (bytes.starts_with("RIFF")) return u"WEBP";
  return u"JPEG";
}

void ContactPictures::Open(std::u16string folder) {
  folder_ = std::move(folder);
  const auto native = ToNativePath(folder_);
  if (!native || Service<Files>::Get().MakeFolder(*native)) throw StatusError(E_FAIL);
}

bool ContactPictures::IsOwn(std::u16string_view url) const {
  const auto path = NativeOf(url);
  const auto folder = ToNativePath(folder_);
  return path && folder && path->starts_with(*folder + "/") &&
         path->find('/', folder->size() + 1) == path->npos;
}

std::string ContactPictures::ReadOwn(const std::u16string& url) {
  std::string bytes = BytesOf(url);
  if (bytes.empty()) OutputDebugStringW(kNotLoaded);
  return bytes;
}

std::string ContactPictures::Convert(const std::string& bytes) {
  std::string jpeg;
  switch (Service<Imaging>::Get().ToJpeg(bytes, kPictureBox, jpeg)) {
    case PictureError::None:
      return jpeg;
    case PictureError::NoLibrary:
      OutputDebugStringW(kNoLibrary);
      break;
    case PictureError::NotLoaded:
      OutputDebugStringW(kNotLoaded);
      break;
    case PictureError::NoBitmap:
      OutputDebugStringW(kNoBitmap);
      break;
    case PictureError::NotSaved:
      OutputDebugStringW(kNotSaved);
      break;
  }
  return {};
}

void ContactPictures::RemoveCopies(std::u16string_view guid) {
  std::vector<EntryInfo> entries;
  if (ListFolder(folder_, ListDetail::Names, entries) != kNoError) return;
  for (const EntryInfo& entry : entries) {
    if (entry.kind != EntryKind::File || entry.name.find(guid) == entry.name.npos) continue;
    const std::u16string full = Concat({folder_, u"\\", entry.name});
    if (DeleteFile(full) == kNoError) changes_.Removed(full);
  }
}

std::string ContactPictures::Read(IContact& contact, std::u16string_view guid, bool lookOnly) {
  ComPtr<IContactProperties> holder;
  IContactProperties& properties = PropertiesOf(contact, holder);
  const std::u16string url = UrlOf(properties);
  if (url.empty()) {
    Bstr type;
    ComPtr<IStream> stream;
    const HRESULT status = properties.GetBinary(kValue, type.Out(), stream.Out());
    if (status == kContactNotFound || Failed(Check(status)) || !stream) return {};
    const std::string inside = ReadStream(*stream);
    return inside.empty() ? std::string() : Convert(inside);
  }
  if (IsOwn(url)) return ReadOwn(url);
  std::string jpeg = Convert(BytesOf(url));
  if (jpeg.empty() || lookOnly) return jpeg;
  RemoveCopies(guid);
  const std::u16string full = Concat({folder_, u"\\", guid, kExtension});
  if (CreateNewFile(full, jpeg) != kNoError) {
    OutputDebugStringW(kNotSaved);
    return jpeg;
  }
  changes_.Made(full, EntryKind::File);
  const std::u16string native = FromUtf8(ToNativePath(full).value_or(""));
  if (Succeeded(properties.SetString(kUrl, native.c_str()))) {
    Query<IContactFile>(&contact)->CommitQuietly();
  }
  return jpeg;
}

void ContactPictures::Write(IContact& contact, const std::string& bytes, std::u16string& unused) {
  unused.clear();
  if (bytes.empty() || Read(contact, {}, true) == bytes) return;
  ComPtr<IContactProperties> holder;
  IContactProperties& properties = PropertiesOf(contact, holder);
  const std::u16string before = UrlOf(properties);
  const std::u16string full = Concat({folder_, u"\\", MakeGuidText(), kExtension});
  ComPtr<IFileStream> stream;
  if (CreateFileStream(full, stream) != kNoError) throw StatusError(E_FAIL);
  WriteStream(*stream, bytes);
  Check(stream->Commit());
  changes_.Made(full, EntryKind::File);
  const HRESULT gone = properties.DeleteArrayNode(kPhoto);
  if (gone != kContactNotFound) Check(gone);
  Bstr node;
  Check(properties.CreateArrayNode(kPhotos, node.Out()));
  Check(properties.SetLabels(node.get(), 1, kLabels));
  const std::u16string native = FromUtf8(ToNativePath(full).value_or(""));
  Check(properties.SetString(Concat({node.view(), u"/Url"}).c_str(), native.c_str()));
  if (const auto nodes = Query<IContactNodes>(&contact)) Check(nodes->MoveArrayNode(node.get(), 1));
  unused = before;
}

void ContactPictures::Remove(const std::u16string& url) {
  if (!IsOwn(url)) return;
  const auto native = NativeOf(url);
  const auto full = native ? FromNativePath(*native) : std::nullopt;
  if (full && DeleteFile(*full) == kNoError) changes_.Removed(*full);
}

}  // namespace qv
