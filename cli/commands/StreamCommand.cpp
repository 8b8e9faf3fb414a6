// wickerlane stream
#include "cli/DaemonRequests.h"
#include "cli/Output.h"
#include "cli/Queries.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane::cli {
namespace {

struct Options {
    std::string streamID;
};

Result<ExitCode> stream(const Options &options) {
    if (const auto answers = requireDaemon(); !answers)
        return passOn(answers);
    JXGatekeeperClient::sharedInstance()->createSnapriverAlbumWithStreamID(String::of(options.streamID));
    const auto albums = askForAlbums();
    if (!albums)
        return passOn(albums);
    for (const auto &album : *albums)
        if (album->record().streamID == options.streamID) {
            print(album->groupURL()->absoluteString()->utf8());
            return ExitCode::success;
        }
    return fail(ProblemKind::failed, localized("the stream has no album; see the daemon's log"));
}

} // namespace

void setUpStream(Command command) {
    command.footer("There is no server: a stream is kept in the library alone.\n\n"
                   "Example:\n  wickerlane stream dunes-2019");
    Options &options = command.runs(stream);
    command.addOption("STREAM", options.streamID, "ID of the stream").required().notEmpty();
}

} // namespace wickerlane::cli
