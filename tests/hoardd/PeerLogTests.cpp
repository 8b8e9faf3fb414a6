// How much a client can have hoardd log.
#include <csignal>
#include <fstream>

#include "tests/hoardd/RunningHoardd.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/protocol/ServiceName.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

class PeerLog : public RunningHoardd {
protected:
    /// The lines of the log when the daemon has ended.
    [[nodiscard]] std::vector<std::string> loggedLines() const {
        const Process running = daemon();
        if (running.handle)
            end(running, SIGTERM);
        std::ifstream file(
            pathUnderRoot(std::string("/var/log/wickerlane/") + WickerlaneGatekeeperName + ".log"));
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);)
            lines.push_back(line);
        return lines;
    }
};

TEST_F(PeerLog, LeavesOutWhatIsTooMuchAndSaysHowMuch) {
    ReleaseScope scope;
    constexpr std::size_t notices = 2000;
    for (std::size_t i = 0; i < notices; ++i)
        connection->send(request(9999).get());
    answer(request(15).get());
    std::size_t refused = 0;
    std::string rest;
    for (const std::string &line : loggedLines())
        if (line.find("refused a request of process " + std::to_string(getpid())) != std::string::npos)
            ++refused;
        else
            rest += line + "\n";
    EXPECT_GE(refused, 1U);
    EXPECT_LT(refused, notices / 2) << "even if the machine is slow";
    constexpr std::string_view said = "left out ";
    std::size_t leftOut = 0;
    for (std::size_t at = rest.find(said); at != rest.npos; at = rest.find(said, at + 1))
        leftOut += std::stoul(rest.substr(at + said.size()));
    EXPECT_EQ(refused + leftOut, notices) << rest;
}

TEST_F(PeerLog, ShowsTheBeginningOfALongText) {
    ReleaseScope scope;
    answer(request(15).get());
    const auto notice = request(29);
    notice->setString("name", "Sad");
    std::string reason = "a";
    for (int i = 0; i < 30'000; ++i)
        reason += "\u00e9";
    notice->setString("reason", reason.c_str());
    answer(notice.get());
    std::string found;
    for (const std::string &line : loggedLines())
        if (const auto at = line.find("ends by an exception: Sad: "); at != line.npos)
            found = line.substr(at + std::string_view("ends by an exception: Sad: ").size());
    EXPECT_EQ(found, reason.substr(0, 1023) + "...") << "whole characters of the first KiB";
}

} // namespace
