#include "host/engine/phone_id.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <stdexcept>

#include "platform/com/guid.h"
#include "platform/system/files.h"
#include "platform/system/service.h"
#include "support/text.h"

namespace qv {
namespace {

constexpr std::string_view kIdFile = "/.qvsync-phone";
constexpr std::string_view kNewPhoneHint =
    "If this is another phone or a new card, run the sync again with --new-phone.";

// Links are followed, as far as there is something.
std::string RealPath(const std::string& folder) {
  std::error_code error;
  std::filesystem::path path = std::filesystem::weakly_canonical(folder, error);
  if (error) path = std::filesystem::absolute(folder, error).lexically_normal();
  std::string text = path.string();
  while (text.size() > 1 && text.ends_with('/')) text.pop_back();
  return text.empty() ? folder : text;
}

std::string IdPath(const std::string& folder) {
  std::string path = folder;
  return path.append(kIdFile);
}

struct IdFile {
  std::error_code error;
  std::string id;  // empty when the file holds none
};

IdFile ReadIdFile(const std::string& folder) {
  IdFile file;
  std::string text;
  file.error = Service<Files>::Get().Read(IdPath(folder), text);
  if (file.error) return file;
  const size_t end = text.find_last_not_of(" \t\r\n");
  text.resize(end == text.npos ? 0 : end + 1);
  std::u16string braced = u"{";
  braced.append(FromUtf8(text)).append(u"}");
  if (const auto guid = ParseGuid(braced)) {
    file.id = ToUtf8(FormatGuid(*guid)).substr(1, 36);
  }
  return file;
}

PhoneIdentity Refused(std::string why) {
  PhoneIdentity phone;
  phone.refusal = std::move(why);
  return phone;
}

std::string PlainFolderTrouble(const std::string& folder) {
  FileInfo info;
  if (const std::error_code error = Service<Files>::Get().Stat(folder, info)) {
    return "the phone folder " + folder + " cannot be reached: " + error.message() +
           ". Nothing was changed; is the phone mounted?";
  }
  if (!info.isFolder) return "the phone folder " + folder + " is no folder";
  return {};
}

}  // namespace

bool IsWithin(const std::string& folder, const std::string& outer) {
  const std::string inner = RealPath(folder) + "/";
  return inner.starts_with(RealPath(outer) + "/");
}

bool IsPhoneAt(const std::string& folder, const std::string& id) {
  const IdFile file = ReadIdFile(folder);
  return !file.error && file.id == id;
}

// Whether the identifier is that of a known phone whose own place does not carry it any longer.
bool IsElsewhereNoMore(const std::vector<KnownPhone>& phones, const std::string& id,
                       const std::string& folder) {
  const auto seen = std::ranges::find(phones, id, &KnownPhone::id);
  if (id.empty() || seen == phones.end() || seen->path == folder) return false;
  return seen->path.empty() || !IsPhoneAt(seen->path, id);
}

PhoneIdentity MeetPhone(EngineRecord& record, const std::string& folder, bool newPhone) {
  if (std::string trouble = PlainFolderTrouble(folder); !trouble.empty()) return Refused(trouble);
  PhoneIdentity phone;
  phone.folder = RealPath(folder);
  const IdFile file = ReadIdFile(phone.folder);
  const bool missing = file.error == std::errc::no_such_file_or_directory;
  if (file.error && !missing) {
    return Refused("cannot read " + IdPath(phone.folder) + ": " + file.error.message());
  }
  const std::vector<KnownPhone> phones = record.Phones();
  if (newPhone && IsElsewhereNoMore(phones, file.id, phone.folder)) {
    phone.id = file.id;  // a phone that is known, at the place of another
    return phone;
  }
  if (newPhone) {
    phone.id = ToUtf8(MakeGuidText());
    phone.fileMissing = true;
    return phone;
  }
  const auto here = std::ranges::find(phones, phone.folder, &KnownPhone::path);
  if (here != phones.end() && file.id != here->id) {
    const char* what = missing           ? "its identifier file is gone"
                       : file.id.empty() ? "its identifier file is damaged"
                                         : "it holds the identifier of another phone";
    return Refused("the folder " + phone.folder + " was a known phone, but " + what +
                   "; an unmounted or swapped card looks like this. Nothing was changed. " +
                   std::string(kNewPhoneHint));
  }
  if (!missing && file.id.empty()) {
    return Refused(IdPath(phone.folder) + " holds no identifier. " + std::string(kNewPhoneHint));
  }
  if (missing) {
    phone.id = ToUtf8(MakeGuidText());
    phone.fileMissing = true;
    return phone;
  }
  phone.id = file.id;
  phone.known = here != phones.end();
  const auto seen = std::ranges::find(phones, phone.id, &KnownPhone::id);
  if (!phone.known && seen != phones.end() && !seen->path.empty() &&
      IsPhoneAt(seen->path, phone.id)) {
    return Refused("the folders " + seen->path + " and " + phone.folder +
                   " hold the same phone identifier: one is a copy of the other. Nothing was "
                   "changed. Sync the first one, or make the second a phone of its own with "
                   "--new-phone.");
  }
  return phone;
}

void WelcomePhone(EngineRecord& record, PhoneIdentity& phone) {
  record.Upgrade();
  if (phone.known) return;
  if (phone.fileMissing) {
    Files& files = Service<Files>::Get();
    const std::string path = IdPath(phone.folder);
    std::error_code error = files.WriteAtomic(path, phone.id + "\n");
    if (!error) error = files.SyncFolder(phone.folder);
    if (error) throw std::runtime_error("cannot write " + path + ": " + error.message());
  }
  // Only now: a record without the file would look like a swapped card.
  record.SavePhone(phone.id, phone.folder);
  phone.known = true;
}

}  // namespace qv
