// A count through the C entry point and the real daemon, beside the same number of bytes over a bare socket:
// with libraries of no, a thousand and a hundred thousand assets. The daemon is another process, bound to the
// same processor as this one and to another. Prints nanoseconds of the best batch, and the median ratio to
// the bare ping-pong of the same round.
#include "bench/InTurn.h"
#include "bench/ServedLibrary.h"
#include "wickerlane/api/WLCallables.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/object/Number.h"

using namespace wickerlane;
using bench::Other;

namespace {

constexpr std::size_t messageBytes = 100; // about what the request and its reply have
std::size_t assets = 0;

void echo(int fd) {
    char bytes[messageBytes];
    for (;;) {
        bench::readAll(fd, bytes, sizeof bytes);
        bench::writeAll(fd, bytes, sizeof bytes);
    }
}

/// Rows without files, which a count does not miss.
void fillLibrary() {
    bench::fillLibrary(assets, [](std::size_t number, AssetRecord &record) {
        record.kind = number % 10 == 0 ? AssetKind::video : AssetKind::photo;
    });
}

void askCounts(int times) {
    const auto answered = Semaphore::create(0);
    std::uint64_t sum = 0;
    for (int i = 0; i < times; ++i) {
        RZGetPhotosAndVideosCount([&](const Number *photos, const Number *videos) {
            sum += photos != nullptr && videos != nullptr ? photos->uint64Value() + videos->uint64Value() : 1;
            answered->signal();
        });
        answered->wait();
    }
    if (sum != assets * static_cast<std::uint64_t>(times))
        bench::fail("counts are wrong");
}

void measure(const char *where, int processor) {
    fillLibrary();
    Other floor(processor, echo);
    const Other daemon(processor, bench::serveLibrary);
    char byte = 0;
    bench::readAll(daemon.socket, &byte, 1);
    bench::measureInTurn(assets > 10'000 ? 20 : 100, assets > 10'000 ? 20 : 200,
                         {{"bare ping-pong",
                           [&](int times) {
                               char bytes[messageBytes] = {};
                               for (int i = 0; i < times; ++i) {
                                   bench::writeAll(floor.socket, bytes, sizeof bytes);
                                   bench::readAll(floor.socket, bytes, sizeof bytes);
                               }
                           }},
                          {"version, awaited",
                           [&](int times) {
                               for (int i = 0; i < times; ++i)
                                   if (JXGatekeeperClient::sharedInstance()->getCurrentModelVersion() < 0)
                                       bench::fail("versions are missing");
                           }},
                          {"count", askCounts}},
                         [&](const bench::Measured &m) {
                             std::printf("%7zu assets  %-18s %-14s %10.0f ns  %7.2f x bare\n", assets, m.what,
                                         where, m.best, m.ratio);
                         });
}

} // namespace

int main() {
    int status = 0;
    for (const std::size_t each : {0, 1'000, 100'000}) {
        if (bench::isQuick() && each > 1'000)
            break;
        assets = each;
        status |= bench::onOneAndTwoProcessors(measure);
    }
    return status;
}
