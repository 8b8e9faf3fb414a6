// Tests a function of an application with a scripted daemon: test_albums
#include <cstdio>
#include <string>

#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/protocol/AlbumRows.h"
#include "wickerlane/protocol/QueryRows.h"
#include "wickerlane/testing/ScriptedDaemon.h"

using namespace wickerlane;

// The application: its albums in one line.
static std::string albumLine() {
    const auto albums = JXGatekeeperClient::sharedInstance()->albums();
    if (!albums)
        return "Photos can't be read now.";
    std::string line;
    for (const auto &album : *albums)
        line += (line.empty() ? "" : ", ") + album->record().name;
    return line;
}

static int failures = 0;

static void expect(const std::string &seen, const std::string &expected) {
    if (seen == expected)
        return;
    std::printf("%s, and not %s\n", seen.c_str(), expected.c_str());
    ++failures;
}

int main() {
    AlbumRecord dunes, seas;
    dunes.name = "Dunes";
    seas.name = "Seas";
    ScriptedDaemon daemon;
    daemon.on(protocol::allAlbums, ScriptedReaction::albums({dunes, seas}));
    daemon.onNth(2, protocol::allAlbums, ScriptedReaction::failure(ProblemKind::busy, "in use"));
    daemon.onNth(3, protocol::allAlbums, ScriptedReaction::death());
    expect(albumLine(), "Dunes, Seas");
    expect(albumLine(), "Photos can't be read now.");
    expect(albumLine(), "Photos can't be read now.");
    expect(albumLine(), "Dunes, Seas");

    daemon.on(protocol::renameAlbum, ScriptedReaction::answer());
    const bool isRenamed =
        JXGatekeeperClient::sharedInstance()->renameAlbumWithUUID(String::of("A1"), String::of("Hills"));
    expect(isRenamed ? "renamed" : "not renamed", "renamed");
    expect(daemon.requests().back().text(), "renameAlbumWithUUID:to: albumUUID=A1 name=Hills");
    return failures;
}
