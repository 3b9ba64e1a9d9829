// The pictures of the contacts of files: JPEG copies in a folder of their own, named by the
// contacts' "PhotoCollection/Photo[1]/Url".
#pragma once

#include <string>
#include <string_view>

#include "platform/contacts/contact_folder.h"
#include "platform/system/imaging.h"
#include "stores/unsettled_changes.h"

namespace qv {

// The largest a copy is.
inline constexpr PictureSize kPictureBox = {235, 148};

class ContactPictures {
 public:
  // Throws StatusError where the folder is missing and cannot be made. Full path of the module's
  // form, without a "\" at its end.
  void Open(std::u16string folder);

  // The bytes of a contact's picture; empty for none, and for one that cannot be read, which the
  // log tells. A picture from elsewhere is copied into the folder, in the place of an older copy,
  // and the contact's file names the copy from then on, without a new time of last write; with
  // `lookOnly`, and of one that lies in the contact itself, it is made in memory alone.
  std::string Read(IContact& contact, std::u16string_view guid, bool lookOnly);

  // Puts these bytes into a new file of the folder, which the contact names; the file that it named
  // before goes behind `unused`. Bytes that `Read` would give already touch nothing. The contact is
  // not committed. Throws StatusError.
  void Write(IContact& contact, const std::string& bytes, std::u16string& unused);

  // Removes a picture, if it is one of this folder.
  void Remove(const std::u16string& url);
  bool IsOwn(std::u16string_view url) const;
  SystemError Settle() { return changes_.Settle(); }

 private:
  std::string ReadOwn(const std::u16string& url);
  std::string Convert(const std::string& bytes);
  void RemoveCopies(std::u16string_view guid);

  std::u16string folder_;
  UnsettledChanges changes_;
};

// What a picture's bytes are: "JPEG", "PNG", "GIF", "BMP", "WEBP".
std::u16string PictureTypeOf(std::string_view bytes);

}  // namespace qv
