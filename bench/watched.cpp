// A request that hoardd answers from memory, while no program watches the traffic and while one does.
// Prints microseconds in the best batch, and their ratio. A watch ends only after a while, so that the two
// are measured one after the other, not in turn.
#include "bench/InTurn.h"
#include "bench/ServedLibrary.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/client/Request.h"
#include "wickerlane/protocol/CoreRows.h"

using namespace wickerlane;
using bench::Other;

namespace {

bench::Measured measureQuestions(const char *what) {
    bench::Measured measured{};
    const auto ask = [](int times) {
        for (int i = 0; i < times; ++i)
            if (JXGatekeeperClient::sharedInstance()->getCurrentModelVersion() < 0)
                bench::fail("the daemon does not answer");
    };
    bench::measureInTurn(30, 2'000, {{what, ask}}, [&](const bench::Measured &m) { measured = m; });
    return measured;
}

/// For another process: begins to watch, says so, and takes what is noted as the command does.
[[noreturn]] void watch(int fd) {
    for (bool isNew = true;; isNew = false) {
        client::Request request(protocol::takeTraffic);
        if (request.sendAndWait(JXGatekeeperClient::sharedInstance()->connection()).isError())
            bench::fail("the daemon can't be watched");
        if (isNew)
            bench::writeAll(fd, "w", 1);
        usleep(50'000);
    }
}

void measure(const char *where, int processor) {
    bench::fillLibrary(1'000, [](std::size_t, AssetRecord &record) { record.format = "image/jpeg"; });
    char byte = 0;
    const Other daemon(processor, bench::serveLibrary);
    bench::readAll(daemon.socket, &byte, 1);
    const Other watcher(processor, [](int fd) {
        char start = 0;
        bench::readAll(fd, &start, 1);
        watch(fd);
    });
    const bench::Measured alone = measureQuestions("not watched");
    bench::writeAll(watcher.socket, "s", 1);
    bench::readAll(watcher.socket, &byte, 1);
    const bench::Measured watched = measureQuestions("watched");
    for (const bench::Measured &each : {alone, watched})
        std::printf("%-15s %-14s %6.2f us   ratio %.2f\n", each.what, where, each.best / 1e3,
                    each.best / alone.best);
}

} // namespace

int main() {
    return bench::onOneAndTwoProcessors(measure);
}
