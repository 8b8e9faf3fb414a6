// The subcommands of `wickerlane`. XxxCommand.cpp has the function setUpXxx, which says what the subcommand
// is, which options it takes and what it does.
#ifndef CLI_SUBCOMMANDS_H
#define CLI_SUBCOMMANDS_H

#include "cli/CommandLine.h"

namespace wickerlane::cli {

using SetUp = void(Command command);

SetUp setUpImport, setUpList, setUpShow, setUpCount, setUpWatch, setUpExport, setUpResolve, setUpThumbnail,
    setUpPreview, setUpAdjustDate, setUpVideoInfo, setUpEstimate, setUpRevert, setUpDelete, setUpTrash,
    setUpChanges;
SetUp setUpAlbum, setUpFeed, setUpBulletins, setUpStream, setUpPurge, setUpPerson;
SetUp setUpMoments, setUpDuplicates;
SetUp setUpDaemon, setUpCheck, setUpSizes, setUpRebuildThumbnails, setUpRestore, setUpBackup;
SetUp setUpConsent, setUpEntitlement;
SetUp setUpText, setUpDescribe, setUpUuid, setUpProcess, setUpDevice;

struct Subcommand {
    const char *name;
    const char *group; ///< The heading under which help lists it.
    SetUp *setUp;
};

/// In the order in which help lists them.
inline constexpr Subcommand subcommands[] = {
    {"import", "Photos and videos", setUpImport},
    {"list", "Photos and videos", setUpList},
    {"show", "Photos and videos", setUpShow},
    {"count", "Photos and videos", setUpCount},
    {"watch", "Photos and videos", setUpWatch},
    {"export", "Photos and videos", setUpExport},
    {"resolve", "Photos and videos", setUpResolve},
    {"thumbnail", "Photos and videos", setUpThumbnail},
    {"preview", "Photos and videos", setUpPreview},
    {"adjust-date", "Photos and videos", setUpAdjustDate},
    {"video-info", "Photos and videos", setUpVideoInfo},
    {"estimate", "Photos and videos", setUpEstimate},
    {"revert", "Photos and videos", setUpRevert},
    {"delete", "Photos and videos", setUpDelete},
    {"trash", "Photos and videos", setUpTrash},
    {"changes", "Photos and videos", setUpChanges},
    {"album", "Albums and sharing", setUpAlbum},
    {"feed", "Albums and sharing", setUpFeed},
    {"bulletins", "Albums and sharing", setUpBulletins},
    {"stream", "Albums and sharing", setUpStream},
    {"purge", "Albums and sharing", setUpPurge},
    {"person", "Albums and sharing", setUpPerson},
    {"moments", "Moments and duplicates", setUpMoments},
    {"duplicates", "Moments and duplicates", setUpDuplicates},
    {"daemon", "Maintenance", setUpDaemon},
    {"check", "Maintenance", setUpCheck},
    {"sizes", "Maintenance", setUpSizes},
    {"rebuild-thumbnails", "Maintenance", setUpRebuildThumbnails},
    {"backup", "Maintenance", setUpBackup},
    {"restore", "Maintenance", setUpRestore},
    {"consent", "Permissions", setUpConsent},
    {"entitlement", "Permissions", setUpEntitlement},
    {"text", "Tools", setUpText},
    {"describe", "Tools", setUpDescribe},
    {"uuid", "Tools", setUpUuid},
    {"process", "Tools", setUpProcess},
    {"device", "Tools", setUpDevice},
};

} // namespace wickerlane::cli

#endif
