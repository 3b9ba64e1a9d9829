// What the registry says of a user's own folders, and of the system.
//
// Paths are full paths of the module's form, without a "\" at their end.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qv {

// Persisted contract.
inline constexpr std::string_view kShellFoldersKey =
    R"(Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders)";
inline constexpr std::string_view kFavoritesValue = "Favorites";
inline constexpr std::string_view kContactsValue = "Contacts";
inline constexpr std::string_view kLocalDataValue = "Local AppData";
inline constexpr std::string_view kSystemKey = R"(SOFTWARE\Microsoft\Windows NT\CurrentVersion)";
inline constexpr std::string_view kMajorVersionValue = "CurrentMajorVersionNumber";

// The value with its variables expanded; empty where the registry has none, and for one of 2048
// bytes and more.
std::u16string ShellFolder(std::string_view value);
// Empty where it is not known.
std::u16string FavoritesFolder();
// "Contacts" in the user's home folder unless the registry says another.
std::u16string ContactsFolder();
// Where programs keep a user's data, unless the registry says another.
std::u16string LocalDataFolder();
// 6 unless the registry says another.
uint32_t OsMajorVersion();

}  // namespace qv
