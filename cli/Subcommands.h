// The subcommands of `wickerlane`. XxxCommand.cpp has the function setUpXxx, which says which options the
// subcommand takes and what it does.
#ifndef CLI_SUBCOMMANDS_H
#define CLI_SUBCOMMANDS_H

#include "cli/CommandLine.h"

namespace wickerlane::cli {

using SetUp = void(Command command);

SetUp setUpImport, setUpList, setUpShow, setUpCount, setUpWatch, setUpExport, setUpResolve, setUpThumbnail,
    setUpPreview, setUpAdjustDate, setUpSet, setUpVideoInfo, setUpEstimate, setUpRevert, setUpDelete,
    setUpTrash, setUpChanges, setUpView;
SetUp setUpAlbum, setUpFeed, setUpBulletins, setUpStream, setUpPurge, setUpPerson;
SetUp setUpMoments, setUpDuplicates;
SetUp setUpDaemon, setUpCheck, setUpSizes, setUpRebuildThumbnails, setUpRestore, setUpBackup;
SetUp setUpConsent, setUpEntitlement;
SetUp setUpMonitor, setUpText, setUpDescribe, setUpUuid, setUpProcess, setUpDevice;

struct Subcommand {
    const char *name;
    const char *group;   ///< The heading under which help lists it.
    const char *summary; ///< In help, as its first line.
    SetUp *setUp;
};

/// In the order in which help lists them.
inline constexpr Subcommand subcommands[] = {
    {"import", "Photos and videos", "Save photos and videos into the library", setUpImport},
    {"list", "Photos and videos", "List assets by date of creation", setUpList},
    {"show", "Photos and videos", "Show all that the library knows about an asset", setUpShow},
    {"count", "Photos and videos", "Say how many photos and videos the library holds", setUpCount},
    {"watch", "Photos and videos", "Show how many photos and videos there are, again after each change",
     setUpWatch},
    {"export", "Photos and videos", "Copy originals out of the library", setUpExport},
    {"resolve", "Photos and videos", "Write the paths of the files that persistent URLs stand for",
     setUpResolve},
    {"thumbnail", "Photos and videos", "Write the picture of an asset in one of the library's formats",
     setUpThumbnail},
    {"preview", "Photos and videos", "Set an edited picture to be shown for an asset", setUpPreview},
    {"adjust-date", "Photos and videos", "Move the dates of photos whose camera's clock was wrong",
     setUpAdjustDate},
    {"set", "Photos and videos", "Set the rating, caption, keywords and marks of assets", setUpSet},
    {"video-info", "Photos and videos", "Show the metadata of a video file", setUpVideoInfo},
    {"estimate", "Photos and videos", "Estimate the size of an exported video", setUpEstimate},
    {"revert", "Photos and videos", "Take the edits of assets back, so that they show their originals",
     setUpRevert},
    {"delete", "Photos and videos", "Move assets to the trash, from where they can be had again for 30 days",
     setUpDelete},
    {"trash", "Photos and videos", "List, restore or delete what was deleted in the last 30 days",
     setUpTrash},
    {"changes", "Photos and videos", "List which assets were added, changed and removed", setUpChanges},
    {"view", "Photos and videos", "Show the library in a browser on this machine", setUpView},
    {"album", "Albums and sharing", "Create albums and add assets to them", setUpAlbum},
    {"feed", "Albums and sharing", "List what was added to shared albums, newest first", setUpFeed},
    {"bulletins", "Albums and sharing", "Show what has happened in shared albums, and to originals",
     setUpBulletins},
    {"stream", "Albums and sharing", "Create the shared album of a stream, and write its URL", setUpStream},
    {"purge", "Albums and sharing", "Free disk space that shared albums use", setUpPurge},
    {"person", "Albums and sharing", "Show or set information about a person", setUpPerson},
    {"moments", "Moments and duplicates", "List moments: photos and videos taken at the same time and place",
     setUpMoments},
    {"duplicates", "Moments and duplicates",
     "List groups of photos and videos that are duplicates or look alike", setUpDuplicates},
    {"daemon", "Maintenance", "Show the state of the daemon", setUpDaemon},
    {"check", "Maintenance", "Check the library's store, originals, edits and thumbnails", setUpCheck},
    {"sizes", "Maintenance", "Say how much disk space the library uses", setUpSizes},
    {"rebuild-thumbnails", "Maintenance", "Make the thumbnails of all assets again", setUpRebuildThumbnails},
    {"backup", "Maintenance", "Back the library up into a folder, or restore it from there", setUpBackup},
    {"restore", "Maintenance", "Restore a library from its files", setUpRestore},
    {"consent", "Permissions", "Decide which programs may use the library", setUpConsent},
    {"entitlement", "Permissions", "Decide which programs may edit and delete assets", setUpEntitlement},
    {"monitor", "Tools", "Show what travels between applications and the daemon", setUpMonitor},
    {"text", "Tools", "Show a text of the library in a language", setUpText},
    {"describe", "Tools", "Describe numbers of photos and videos in words", setUpDescribe},
    {"uuid", "Tools", "Make UUIDs, or write them in the library's form", setUpUuid},
    {"process", "Tools", "Find a process by its command name", setUpProcess},
    {"device", "Tools", "Show what the library knows about this device", setUpDevice},
};

} // namespace wickerlane::cli

#endif
