#include "items/contact_item.h"
#include "items/content_data.h"
#include "items/vcard_converter.h"
#include "platform/com/class_factory.h"
#include "platform/com/component_ids.h"

namespace qv {

void RegisterItemClasses() {
  RegisterClass(CLSID_ContactItem, &CreateClass<ContactItem>);
  RegisterClass(CLSID_ContentData, &CreateClass<ContentData>);
  RegisterClass(CLSID_VCardConverter, &CreateClass<VCardConverter>);
}

}  // namespace qv
