// The campaign of forks: threads ask for answers that differ, while another forks and children use the
// library.
//   campaign_forks CALLS
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "wickerlane/api/Wickerlane.h"
#include "wickerlane/platform/object/ReleaseScope.h"

using namespace wickerlane;

namespace {

constexpr int addresses = 64, threads = 4;

std::string addressOf(int number) {
    return "person-" + std::to_string(number) + "@example.org";
}

[[noreturn]] void fail(const char *problem) {
    std::fprintf(stderr, "%s\n", problem);
    _exit(2);
}

/// Whether the library refuses this process, and says so.
bool isRefused(int key) {
    const ReleaseScope scope;
    WLError *error = nullptr;
    return WLEmailAddressOfKey(key, &error) == nullptr && WLErrorCode(error) == WLErrorUnreachable &&
           std::string(WLStringText(WLErrorText(error))).find("fork()") != std::string::npos;
}

/// A child, which ends in one of several ways. Whether it was refused and ended well.
bool runChild(int number, int key) {
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);
        if (freopen("/dev/null", "w", stderr) == nullptr || !isRefused(key))
            _exit(1);
        if (number % 3 == 0)
            std::exit(0);
        if (number % 3 == 1)
            execl("/bin/true", "true", static_cast<char *>(nullptr));
        _exit(0);
    }
    int status = 0;
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace

int main(int count, char **arguments) {
    const long calls = count == 2 ? std::strtol(arguments[1], nullptr, 10) : 0;
    if (calls <= 0)
        fail("usage: campaign_forks CALLS");
    std::vector<int> keys;
    for (int i = 0; i < addresses; ++i) {
        keys.push_back(WLEmailAddressKey(addressOf(i).c_str(), nullptr));
        if (keys.back() < 0)
            fail("hoardd keeps no addresses");
    }
    std::atomic<long> begun{0}, astray{0}, failed{0};
    std::vector<std::thread> asking;
    for (int thread = 0; thread < threads; ++thread)
        asking.emplace_back([&] {
            for (long call; (call = begun++) < calls;) {
                const ReleaseScope scope;
                const std::size_t which = static_cast<std::size_t>(call) % keys.size();
                const WLString *address = WLEmailAddressOfKey(keys[which], nullptr);
                if (address == nullptr)
                    ++failed;
                else if (WLStringText(address) != addressOf(static_cast<int>(which)))
                    ++astray;
            }
        });
    int children = 0, wrong = 0;
    while (begun < calls) {
        if (!runChild(children, keys.front()))
            ++wrong;
        ++children;
    }
    for (std::thread &each : asking)
        each.join();
    std::printf("%ld calls of %d threads beside %d children of fork(): %ld answers astray, %ld calls failed, "
                "%d children not refused\n",
                calls, threads, children, astray.load(), failed.load(), wrong);
    return astray == 0 && failed == 0 && wrong == 0 && children > 0 ? 0 : 1;
}
