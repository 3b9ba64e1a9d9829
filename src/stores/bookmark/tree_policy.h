// The two stores over a tree of shortcut files side by side: every difference is a cell here.
#pragma once

#include <string_view>

#include "framework/store_base.h"
#include "stores/bookmark/bookmark_texts.h"

namespace qv {

struct TreePolicy {
  StoreIdentity identity;
  std::u16string_view illegalInTitles;   // each becomes "+" in the name of a file
  std::u16string_view tooLong;           // logged where the name leaves no room
  std::u16string_view renameFileFailed;  // logged with the system error; empty for not logged
  std::u16string_view renameFolderFailed;
  std::u16string_view removeFolderFailed;
  bool rootFollowsDevice;   // the Favorites folder where the device takes folders, else flat in
                            // the fixed folder below; otherwise always that, with its folders
  bool makesFavorites;      // the folder above a root that is missing
  bool modifiedIsFileTime;  // a bookmark's object time is its file's, not the map's
  bool folderNamesAreSafe;  // made legal and unique; otherwise they are taken as they stand
  bool foldersMove;         // a replaced folder goes to its new parent, and the paths below follow
  bool touchesAncestors;    // a change is noted on the folders above it
  bool refusesFullFolders;  // a hard delete does; otherwise all deletes are soft
  bool cleansMap;           // rows of what is gone fall away at the end of a two-way session
  bool sessionNeedsRoot;    // a missing root fails IStatusDB::Initialize
  bool folderConverterMayLack;  // then the store stays as it is, and says S_OK
};

inline constexpr TreePolicy kFavoritesPolicy = {
    .identity = {.family = StoreFamily::Favorites,
                 .className = u"CDataStoreBookmark",
                 .configName = kBookmarkConfig,
                 .clearsWinner = true},
    .illegalInTitles = u"\\/:*?\"<>|",
    .tooLong = u"[CDataStoreBookmark] Save the file name or folder path is too long",
    .renameFileFailed =
        u"[CDataStoreBookmark] _wrename Failed in Replace(file), window "
        u"error-code: ",
    .renameFolderFailed =
        u"[CDataStoreBookmark] _wrename Failed in Replace(folder), window "
        u"error-code: ",
    .removeFolderFailed =
        u"[CDataStoreBookmark] RemoveDirectory Failed in Delete(folder), window "
        u"error-code: ",
    .rootFollowsDevice = true,
    .makesFavorites = true,
    .modifiedIsFileTime = false,
    .folderNamesAreSafe = true,
    .foldersMove = true,
    .touchesAncestors = true,
    .refusesFullFolders = true,
    .cleansMap = true,
    .sessionNeedsRoot = false,
    .folderConverterMayLack = false,
};

inline constexpr TreePolicy kFixedFolderPolicy = {
    .identity = {.family = StoreFamily::Favorites,
                 .className = u"CDataStoreFireFox",
                 .configName = kBookmarkConfig,
                 .logsInitialize = false,
                 .clearsWinner = true},
    .illegalInTitles = u"\\/:*?<>|",  // the double quote stays, and the file system refuses it
    .tooLong = u"[CDataStoreFireFox] Save the file name or folder path is too long",
    .renameFileFailed = {},
    .renameFolderFailed = {},
    .removeFolderFailed = {},
    .rootFollowsDevice = false,
    .makesFavorites = false,
    .modifiedIsFileTime = true,
    .folderNamesAreSafe = false,
    .foldersMove = false,
    .touchesAncestors = false,
    .refusesFullFolders = false,
    .cleansMap = false,
    .sessionNeedsRoot = true,
    .folderConverterMayLack = true,
};

}  // namespace qv
