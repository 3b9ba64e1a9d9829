#include <gtest/gtest.h>

#include "items/converters.h"
#include "items/item_objects.h"
#include "kit/platform_fakes.h"
#include "platform/com/class_factory.h"

namespace qv {
namespace {

// Parsed and serialized by the converter of a class.
template <class Item>
ComPtr<Item> Parsed(const CLSID& converter, std::string_view text) {
  ComPtr<IUnknown> item;
  EXPECT_EQ(CreateInstance<IConverter>(converter)->Parse(MakeContentData(text).get(), item.Out()),
            S_OK);
  return item ? Query<Item>(item.get()) : nullptr;
}

std::string Serialized(const CLSID& converter, IUnknown* item) {
  ComPtr<IUnknown> cdata;
  EXPECT_EQ(CreateInstance<IConverter>(converter)->Serialize(item, cdata.Out()), S_OK);
  return ContentBytes(cdata.get());
}

class BookmarkItems : public testing::Test {
 protected:
  BookmarkItems() { RegisterItemClasses(); }

  test::FixedZone zone_;  // UTC
  ScopedService<TimeZone> scope_{zone_};
};

TEST_F(BookmarkItems, SayFromTheirMakingWhetherTheyAreFolders) {
  const struct {
    ComPtr<IItemCommon> item;
    BOOL isFolder;
  } kRows[] = {
      {CreateInstance<IItemCommon>(CLSID_FolderItem), kTrue},
      {MakeFolderItem({}), kTrue},
      {CreateInstance<IItemCommon>(CLSID_BookmarkItem), kFalse},
      {MakeBookmarkItem({}), kFalse},
  };
  for (const auto& row : kRows) {
    BOOL isFolder = 7;
    EXPECT_EQ(row.item->get_IsFolder(&isFolder), S_OK);
    EXPECT_EQ(isFolder, row.isFolder);
    EXPECT_EQ(FolderOf(row.item.get()) != nullptr, row.isFolder == kTrue);
    EXPECT_EQ(BookmarkOf(row.item.get()) != nullptr, row.isFolder == kFalse);
  }
}

TEST_F(BookmarkItems, HoldEachValueInItsOwnPlace) {
  const auto bookmark = CreateInstance<IBookmarkItem>(CLSID_BookmarkItem);
  bookmark->SetURL(Bstr(u"http://a/"));
  bookmark->SetTitle(Bstr(u"A"));
  bookmark->AddExtraProperty(Bstr(u"X-B"), Bstr(u"c"));
  EXPECT_EQ(Serialized(CLSID_BookmarkConverter, bookmark.get()),
            "BEGIN:VBKM\r\nVERSION:1.0\r\nTITLE:A\r\nURL:http://a/\r\nX-B:c\r\nEND:VBKM\r\n");

  const auto folder = CreateInstance<IFolderItem>(CLSID_FolderItem);
  folder->SetName(Bstr(u"News"));
  folder->SetCreated(2.0);
  folder->SetModified(3.0);
  folder->SetAccessed(4.0);
  const auto again =
      Parsed<IFolderItem>(CLSID_FolderConverter, Serialized(CLSID_FolderConverter, folder.get()));
  ASSERT_TRUE(again);
  DATE created = -1.0;
  DATE modified = -1.0;
  DATE accessed = -1.0;
  again->GetCreated(&created);
  again->GetModified(&modified);
  again->GetAccessed(&accessed);
  EXPECT_EQ(created, 2.0);
  EXPECT_EQ(modified, 3.0);
  EXPECT_EQ(accessed, 4.0);
  EXPECT_FALSE(Parsed<IFolderItem>(CLSID_FolderConverter, "<Folder/>"));
  EXPECT_FALSE(Parsed<IBookmarkItem>(CLSID_BookmarkConverter, "<Folder/>"));
}

}  // namespace
}  // namespace qv
