#include <gtest/gtest.h>

#include "items/converters.h"
#include "items/item_objects.h"
#include "items/key_text.h"
#include "platform/com/class_factory.h"
#include "support/text.h"

namespace qv {
namespace {

class Items : public testing::Test {
 protected:
  void SetUp() override { RegisterItemClasses(); }
  ComPtr<IContactItem> item_ = Query<IContactItem>(MakeContactItem({}));
};

BSTR Poison() {
  static char16_t poison[1];
  return poison;
}

TEST_F(Items, OneObjectOffersItsInterfaces) {
  const auto item = CreateInstance<IContactItem>(CLSID_ContactItem);
  const auto common = Query<IItemCommon>(item);
  ASSERT_TRUE(common);
  EXPECT_EQ(common->put_ObjUid(Bstr(u"uid")), S_OK);
  EXPECT_EQ(item->put_GivenName(nullptr), S_OK);
  ASSERT_NE(ContactOf(item.get()), nullptr);
  EXPECT_EQ(FieldsOf(item.get())->objUid, u"uid");
  EXPECT_EQ(ContactOf(MakeContentData("").get()), nullptr);
  EXPECT_EQ(ContactOf(nullptr), nullptr);
  EXPECT_EQ(item->get_Note(nullptr), E_POINTER);
}

// Each text property reads what was written to it and to no other.
TEST_F(Items, TextPropertiesAreApart) {
  using Get = HRESULT (IContactItem::*)(BSTR*) noexcept;
  using Put = HRESULT (IContactItem::*)(BSTR) noexcept;
  const std::pair<Get, Put> properties[] = {
      {&IContactItem::get_GivenName, &IContactItem::put_GivenName},
      {&IContactItem::get_FamilyName, &IContactItem::put_FamilyName},
      {&IContactItem::get_AdditionalNames, &IContactItem::put_AdditionalNames},
      {&IContactItem::get_NamePrefix, &IContactItem::put_NamePrefix},
      {&IContactItem::get_NameSuffix, &IContactItem::put_NameSuffix},
      {&IContactItem::get_FormattedName, &IContactItem::put_FormattedName},
      {&IContactItem::get_Nickname, &IContactItem::put_Nickname},
      {&IContactItem::get_CompanyName, &IContactItem::put_CompanyName},
      {&IContactItem::get_Department, &IContactItem::put_Department},
      {&IContactItem::get_JobTitle, &IContactItem::put_JobTitle},
      {&IContactItem::get_MessengerAddress, &IContactItem::put_MessengerAddress},
      {&IContactItem::get_Note, &IContactItem::put_Note},
  };
  int i = 0;
  for (const auto& [get, put] : properties) {
    Bstr value;
    EXPECT_EQ((item_.get()->*get)(value.Out()), S_OK);
    EXPECT_EQ(value.view(), u"");
    EXPECT_EQ((item_.get()->*put)(Bstr(Decimal(i++))), S_OK);
  }
  i = 0;
  for (const auto& [get, put] : properties) {
    Bstr value;
    EXPECT_EQ((item_.get()->*get)(value.Out()), S_OK);
    EXPECT_EQ(value.view(), Decimal(i++));
  }
  // The views made one entry each, of its own kind.
  const Contact& contact = *ContactOf(item_.get());
  ASSERT_EQ(contact.organisations.size(), 1u);
  EXPECT_EQ(contact.organisations[0].kind, OrganisationKind::Work);
  ASSERT_EQ(contact.messengers.size(), 1u);
  EXPECT_EQ(contact.messengers[0].kind, MessengerKind::Other);
}

TEST_F(Items, ListsRefuseWhatIsNotInThem) {
  EXPECT_EQ(item_->AddTelephone(21, Bstr(u"1")), S_OK);
  for (const int32_t kind : {0, 18, 20, 22, -1}) {
    EXPECT_EQ(item_->AddTelephone(kind, Bstr(u"1")), E_INVALIDARG) << kind;
  }
  EXPECT_EQ(item_->AddMail(1, nullptr), E_INVALIDARG);
  EXPECT_EQ(item_->AddWebAddress(5, nullptr), E_INVALIDARG);
  EXPECT_EQ(item_->AddMessenger(10, nullptr), E_INVALIDARG);
  EXPECT_EQ(item_->AddOrganisation(1, nullptr, nullptr), E_INVALIDARG);
  EXPECT_EQ(item_->AddEvent(3, 1.0), E_INVALIDARG);
  EXPECT_EQ(item_->AddEvent(1, 1e300), E_INVALIDARG);
  EXPECT_EQ(item_->AddAddress(5, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
            E_INVALIDARG);
  for (const int32_t index : {-1, 1}) {
    int32_t kind = 7;
    BSTR number = Poison();
    EXPECT_EQ(item_->GetTelephone(index, &kind, &number), E_INVALIDARG) << index;
    EXPECT_EQ(kind, 0);
    EXPECT_EQ(number, nullptr);
  }
  EXPECT_EQ(item_->AddEvent(1, 100.75), S_OK);
  EXPECT_EQ(ContactOf(item_.get())->events[0].date, 100.0);
}

TEST_F(Items, AddressesHavePositionsWithGaps) {
  const auto set = [&](int32_t position) {
    return item_->SetAddress(position, nullptr, nullptr, Bstr(u"s"), nullptr, nullptr, nullptr,
                             nullptr);
  };
  EXPECT_EQ(set(-1), E_INVALIDARG);
  EXPECT_EQ(set(100'000), E_INVALIDARG);
  EXPECT_EQ(item_->AddAddress(2, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
            S_OK);
  EXPECT_EQ(set(0), S_OK);
  EXPECT_EQ(set(3), S_OK);
  int32_t count = 0;
  EXPECT_EQ(item_->AddressCount(&count), S_OK);
  EXPECT_EQ(count, 4);
  for (const auto& [position, expected] :
       {std::pair{-1, kFalse}, {0, kTrue}, {1, kFalse}, {3, kTrue}, {4, kFalse}}) {
    BOOL present = 5;
    EXPECT_EQ(item_->HasAddress(position, &present), S_OK);
    EXPECT_EQ(present, expected) << position;
  }
  const auto& addresses = ContactOf(item_.get())->addresses;
  EXPECT_EQ(addresses[0]->kind, PlaceKind::Home);
  EXPECT_EQ(addresses[3]->kind, PlaceKind::Other);
  EXPECT_EQ(addresses[3]->parts[2], u"s");
  int32_t kind = 9;
  Bstr texts[7];
  EXPECT_EQ(item_->GetAddress(1, &kind, texts[0].Out(), texts[1].Out(), texts[2].Out(),
                              texts[3].Out(), texts[4].Out(), texts[5].Out(), texts[6].Out()),
            E_INVALIDARG);
  EXPECT_EQ(kind, 0);
}

TEST_F(Items, PhotoAndSideData) {
  const uint8_t bytes[] = {1, 2, 3};
  EXPECT_EQ(item_->PutPhoto(nullptr, 3, nullptr), E_POINTER);
  EXPECT_EQ(item_->PutPhoto(bytes, -1, nullptr), E_INVALIDARG);
  EXPECT_EQ(item_->PutPhoto(bytes, 3, nullptr), S_OK);
  EXPECT_EQ(ContactOf(item_.get())->photoType, u"JPEG");
  int32_t length = 9;
  uint8_t buffer[3];
  EXPECT_EQ(item_->GetPhoto(nullptr, 0, &length), S_OK);
  EXPECT_EQ(length, 3);
  EXPECT_EQ(item_->GetPhoto(buffer, 2, &length), E_INVALIDARG);
  EXPECT_EQ(item_->GetPhoto(buffer, 3, &length), S_OK);
  EXPECT_EQ(buffer[2], 3);
  EXPECT_EQ(item_->AddExtra(Bstr(u"X"), nullptr), S_OK);
  EXPECT_EQ(item_->AddHidden(Bstr(u"TEL"), Bstr(u"1"), Bstr(u"MSG"), 1), S_OK);
  Bstr property, value, extended;
  BOOL custom = kFalse;
  EXPECT_EQ(item_->GetHidden(0, property.Out(), value.Out(), extended.Out(), &custom), S_OK);
  EXPECT_EQ(custom, kTrue);
  EXPECT_EQ(extended.view(), u"MSG");
  EXPECT_EQ(Query<IItemCommon>(item_)->DropSideData(), S_OK);
  EXPECT_TRUE(ContactOf(item_.get())->hidden.empty());
  EXPECT_TRUE(ContactOf(item_.get())->fields.extras.empty());
}

TEST_F(Items, ContentDataHoldsBytes) {
  const auto content = CreateInstance<IContentData>(CLSID_ContentData);
  int32_t length = 5;
  EXPECT_EQ(content->GetLength(&length), S_OK);
  EXPECT_EQ(length, 0);
  EXPECT_EQ(content->SetText(nullptr, 0), E_POINTER);
  EXPECT_EQ(content->SetText("abc", -1), E_INVALIDARG);
  EXPECT_EQ(content->SetText("a\0c", 3), S_OK);
  char buffer[3];
  EXPECT_EQ(content->GetText(buffer, 2), E_INVALIDARG);
  EXPECT_EQ(content->GetText(nullptr, 3), E_POINTER);
  EXPECT_EQ(content->GetText(buffer, 3), S_OK);
  EXPECT_EQ(ContentBytes(content.get()), std::string("a\0c", 3));
  EXPECT_THROW(ContentBytes(item_.get()), StatusError);
}

TEST_F(Items, ConverterThroughItsInterface) {
  const auto converter = CreateInstance<IVCardConverter>(CLSID_VCardConverter);
  const auto card = MakeContentData("BEGIN:VCARD\r\nN:Doe;;;;\r\nX-A:1\r\nEND:VCARD\r\n");
  ComPtr<IUnknown> item;
  ComPtr<IUnknown> text;
  EXPECT_EQ(converter->Initialize(nullptr), E_POINTER);
  EXPECT_EQ(converter->Initialize(card.get()), S_OK);
  EXPECT_EQ(converter->Parse(card.get(), item.Out()), S_OK);
  ASSERT_NE(ContactOf(item.get()), nullptr);
  EXPECT_EQ(converter->Serialize(item.get(), text.Out()), S_OK);
  EXPECT_EQ(ContentBytes(text.get()),
            "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Doe;;;;\r\nX-A:1\r\nEND:VCARD\r\n");
  EXPECT_EQ(converter->FromText(text.get(), item.Out()), S_OK);
  EXPECT_EQ(converter->ToText(item.get(), text.Out()), S_OK);
  // Unreadable text is no failure and no item; an object of the wrong kind is a failure.
  EXPECT_EQ(converter->Parse(MakeContentData("BEGIN:VCARD").get(), item.Out()), S_OK);
  EXPECT_FALSE(item);
  EXPECT_EQ(converter->Parse(converter.get(), item.Out()), E_FAIL);
  EXPECT_EQ(converter->Serialize(card.get(), text.Out()), E_FAIL);
  EXPECT_EQ(converter->Parse(nullptr, item.Out()), E_POINTER);
  EXPECT_EQ(converter->Serialize(card.get(), nullptr), E_POINTER);
}

TEST(ContactKey, IsMadeOfItsFieldsInOrder) {
  const auto phone = [](int kind, const char16_t* number) {
    return Telephone{static_cast<PhoneKind>(kind), number};
  };
  struct Case {
    std::vector<Telephone> telephones;
    std::u16string numbers;
  };
  const Case cases[] = {
      {{}, u""},
      {{phone(8, u"h1"), phone(10, u"m1"), phone(10, u"m2"), phone(3, u"w")}, u"m1h1"},
      {{phone(10, u""), phone(10, u"m2")}, u""},
      {{phone(8, u""), phone(8, u"h1"), phone(8, u"h2"), phone(8, u"h3")}, u"h1h2"},
      {{phone(8, u"h1"), phone(8, u""), phone(8, u"h3")}, u"h1"},
  };
  for (const Case& c : cases) {
    Contact contact;
    contact.givenName = u"g";
    contact.familyName = u"f";
    contact.additionalNames = u"a";
    contact.namePrefix = u"p";
    contact.nameSuffix = u"s";
    contact.telephones = c.telephones;
    contact.mails = {{MailKind::Home, u"x"},
                     {MailKind::Home, u""},
                     {MailKind::Home, u"y"},
                     {MailKind::Home, u"z"}};
    EXPECT_EQ(MakeContactKey(contact), ComputeMd5(u"fgaps" + c.numbers + u"xy"));
  }
  EXPECT_EQ(MakeContactKey({}), u"d41d8cd98f00b204e9800998ecf8427e");
}

}  // namespace
}  // namespace qv
