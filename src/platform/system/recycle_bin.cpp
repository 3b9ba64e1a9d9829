#include "platform/system/recycle_bin.h"

#include <gio/gio.h>

#include <memory>
#include <utility>
#include <vector>

#include "platform/system/debug_log.h"
#include "platform/system/native_entry.h"
#include "platform/system/service.h"
#include "platform/system/utf8.h"

namespace qv {
namespace {

struct Unref {
  void operator()(GFile* file) const { g_object_unref(file); }
};

std::error_code ErrorOf(const GError& error) {
  std::errc code = std::errc::io_error;
  if (error.domain == G_IO_ERROR) {
    switch (error.code) {
      case G_IO_ERROR_NOT_FOUND:
        code = std::errc::no_such_file_or_directory;
        break;
      case G_IO_ERROR_PERMISSION_DENIED:
        code = std::errc::permission_denied;
        break;
      case G_IO_ERROR_NO_SPACE:
        code = std::errc::no_space_on_device;
        break;
      case G_IO_ERROR_NOT_SUPPORTED:
        code = std::errc::operation_not_supported;
        break;
      default:
        break;
    }
  }
  return std::make_error_code(code);
}

class DesktopTrash final : public RecycleBin {
 public:
  std::error_code Take(const std::string& path) override {
    // It would be resolved by the text alone, past a link to another place.
    if (path.find("/../") != std::string::npos || path.starts_with("../")) {
      return std::make_error_code(std::errc::invalid_argument);
    }
    const std::unique_ptr<GFile, Unref> file(g_file_new_for_path(path.c_str()));
    GError* failure = nullptr;
    if (g_file_trash(file.get(), nullptr, &failure)) return {};
    const std::unique_ptr<GError, decltype(&g_error_free)> error(failure, &g_error_free);
    return error == nullptr ? std::make_error_code(std::errc::io_error) : ErrorOf(*error);
  }
};

void LogRefusal(const std::string& path, std::error_code reason) {
  std::string line = "Not recycled but deleted: ";
  line.append(path).append(": ").append(reason.message());
  OutputDebugStringW(FromUtf8(line));
}

std::error_code UnlessMissing(std::error_code error) {
  return error == std::errc::no_such_file_or_directory ? std::error_code() : error;
}

// Everything below too, links as such. Stops at the first thing that cannot be removed.
std::error_code RemoveTree(const std::string& root, EntryKind kind) {
  struct Step {
    std::string path;
    bool isFolder = false;
    bool isEmptied = false;  // what was in it has been dealt with
  };
  Files& disk = Service<Files>::Get();
  std::vector<Step> steps{{root, kind == EntryKind::Folder}};
  std::error_code error;
  while (!error && !steps.empty()) {
    Step& step = steps.back();
    if (step.isFolder && !step.isEmptied) {
      step.isEmptied = true;
      std::vector<PlainEntry> entries;
      std::string path = step.path;
      error = UnlessMissing(disk.ListEntries(path, false, entries));
      path.push_back('/');
      const size_t prefix = path.size();
      for (const PlainEntry& entry : entries) {
        path.resize(prefix);
        path.append(entry.name);
        steps.push_back({path, entry.kind == EntryKind::Folder});
      }
    } else {
      const Step last = std::move(step);
      steps.pop_back();
      error = UnlessMissing(last.isFolder ? disk.RemoveFolder(last.path) : disk.Remove(last.path));
    }
  }
  return error;
}

}  // namespace

RecycleBin& RecycleBin::Default() {
  static DesktopTrash trash;
  return trash;
}

SystemError RecycleEntry(std::u16string_view path) {
  const std::optional<std::string> native = NativeEntry(path);
  if (!native) return kInvalidName;
  if (*native == "/") return kAccessDenied;  // a drive alone names the whole system
  Files& disk = Service<Files>::Get();
  EntryStat stat;
  if (const std::error_code error = disk.StatEntry(*native, stat)) return NumberOf(error, *native);
  std::error_code error;
  if (const std::error_code refusal = Service<RecycleBin>::Get().Take(*native)) {
    LogRefusal(*native, refusal);
    error = RemoveTree(*native, stat.kind);
  }
  const std::error_code absence = disk.StatEntry(*native, stat);
  if (absence == std::errc::no_such_file_or_directory) return kNoError;
  if (!error) error = absence;
  return error ? NumberOf(error, *native) : kGeneralFailure;
}

}  // namespace qv
