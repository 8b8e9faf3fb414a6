// The subcommands of `wickerlane`. XxxCommand.cpp has the function setUpXxx, which says which options the
// subcommand takes and what it does.
#ifndef CLI_SUBCOMMANDS_H
#define CLI_SUBCOMMANDS_H

#include "cli/CommandLine.h"

namespace wickerlane::cli {

using SetUp = void(Command command);

SetUp setUpImport, setUpExport, setUpThumbnail;
SetUp setUpList, setUpFind, setUpShow, setUpCount, setUpMoments, setUpDuplicates, setUpVideoInfo,
    setUpEstimate, setUpView;
SetUp setUpAlbum, setUpSet, setUpAdjustDate, setUpPreview, setUpRevert, setUpDelete, setUpTrash, setUpPerson;
SetUp setUpStream, setUpFeed, setUpBulletins, setUpPurge, setUpConsent, setUpEntitlement;
SetUp setUpCheck, setUpBackup, setUpRestore, setUpSizes, setUpRebuildThumbnails, setUpDaemon;
SetUp setUpWatch, setUpChanges, setUpResolve, setUpMonitor, setUpDebug;
SetUp setUpText, setUpDescribe, setUpUuid, setUpProcess, setUpDevice;

struct Subcommand {
    const char *name;
    const char *group;   ///< The heading under which help lists it; empty for one that it does not list.
    const char *summary; ///< In help, as its first line.
    SetUp *setUp;
};

inline constexpr const char *saving = "Saving", *finding = "Finding", *organising = "Organising",
                            *sharing = "Sharing", *lookingAfter = "Looking after the library",
                            *forDevelopers = "For developers";

/// In the order in which help lists them.
inline constexpr Subcommand subcommands[] = {
    {"import", saving, "Save photos and videos into the library", setUpImport},
    {"export", saving, "Copy originals out of the library", setUpExport},
    {"thumbnail", saving, "Write the picture of an asset in one of the library's formats", setUpThumbnail},
    {"list", finding, "List assets by date of creation", setUpList},
    {"find", finding, "Find assets by words in names, captions, keywords, cameras and albums", setUpFind},
    {"show", finding, "Show all that the library knows about an asset", setUpShow},
    {"count", finding, "Say how many photos and videos the library holds", setUpCount},
    {"moments", finding, "List moments: photos and videos taken at the same time and place", setUpMoments},
    {"duplicates", finding, "List groups of photos and videos that are duplicates or look alike",
     setUpDuplicates},
    {"view", finding, "Show the library in a browser on this machine", setUpView},
    {"video-info", finding, "Show the metadata of a video file", setUpVideoInfo},
    {"estimate", finding, "Estimate the size of an exported video", setUpEstimate},
    {"album", organising, "Create albums and add assets to them", setUpAlbum},
    {"set", organising, "Set the rating, caption, keywords and marks of assets", setUpSet},
    {"adjust-date", organising, "Move the dates of photos whose camera's clock was wrong", setUpAdjustDate},
    {"preview", organising, "Set an edited picture to be shown for an asset", setUpPreview},
    {"revert", organising, "Take the edits of assets back, so that they show their originals", setUpRevert},
    {"delete", organising, "Move assets to the trash, from where they can be had again for 30 days",
     setUpDelete},
    {"trash", organising, "List, restore or delete what was deleted in the last 30 days", setUpTrash},
    {"person", organising, "Show or set information about a person", setUpPerson},
    {"stream", sharing, "Create the shared album of a stream, and write its URL", setUpStream},
    {"feed", sharing, "List what was added to shared albums, newest first", setUpFeed},
    {"bulletins", sharing, "Show what has happened in shared albums, and to originals", setUpBulletins},
    {"purge", sharing, "Free disk space that shared albums use", setUpPurge},
    {"consent", sharing, "Decide which programs may use the library", setUpConsent},
    {"entitlement", sharing, "Decide which programs may edit and delete assets", setUpEntitlement},
    {"check", lookingAfter, "Check the library's store, originals, edits and thumbnails", setUpCheck},
    {"backup", lookingAfter, "Back the library up into a folder, or restore it from there", setUpBackup},
    {"restore", lookingAfter, "Restore a library from its files", setUpRestore},
    {"sizes", lookingAfter, "Say how much disk space the library uses", setUpSizes},
    {"rebuild-thumbnails", lookingAfter, "Make the thumbnails of all assets again", setUpRebuildThumbnails},
    {"daemon", lookingAfter, "Show the state of the daemon", setUpDaemon},
    {"watch", forDevelopers, "Show how many photos and videos there are, again after each change",
     setUpWatch},
    {"changes", forDevelopers, "List which assets were added, changed and removed", setUpChanges},
    {"resolve", forDevelopers, "Write the paths of the files that persistent URLs stand for", setUpResolve},
    {"monitor", forDevelopers, "Show what travels between applications and the daemon", setUpMonitor},
    {"debug", forDevelopers, "Show what the library knows of texts, UUIDs, processes and the device",
     setUpDebug},
};

/// Those of `wickerlane debug`. For one release they also stand by themselves, as they once did.
inline constexpr Subcommand debugSubcommands[] = {
    {"text", "", "Show a text of the library in a language", setUpText},
    {"describe", "", "Describe numbers of photos and videos in words", setUpDescribe},
    {"uuid", "", "Make UUIDs, or write them in the library's form", setUpUuid},
    {"process", "", "Find a process by its command name", setUpProcess},
    {"device", "", "Show what the library knows about this device", setUpDevice},
};

} // namespace wickerlane::cli

#endif
