// A test of an application that knows of the library what is installed of it.
#include <cstdio>

#include <wickerlane/client/JXGatekeeperClient.h>
#include <wickerlane/protocol/LibraryRows.h>
#include <wickerlane/testing/ScriptedDaemon.h>

using namespace wickerlane;

int main() {
    ScriptedDaemon daemon;
    daemon.on(protocol::getCurrentModelVersion, ScriptedReaction::answer().with(protocol::keys::version, 7));
    std::printf("version: %lld\n",
                static_cast<long long>(JXGatekeeperClient::sharedInstance()->getCurrentModelVersion()));
    return 0;
}
