// wickerlane check
#include <fcntl.h>
#include <fmt/format.h>
#include <openssl/evp.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <optional>

#include "cli/Interrupt.h"
#include "cli/OpenedLibrary.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/store/LibraryCheck.h"

namespace wickerlane::cli {
namespace {

struct Options {
    bool repair = false;
    bool withoutSums = false;
    bool json = false;
    bool quiet = false;
};

std::optional<store::Sha256> sumOfFile(const std::string &path) {
    const UniqueFd file = openFile(path, O_RDONLY);
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    if (!file || !context || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1)
        return std::nullopt;
    std::vector<std::byte> block(256 << 10);
    ssize_t count = 0;
    while ((count = read(file.get(), block.data(), block.size())) > 0)
        if (EVP_DigestUpdate(context.get(), block.data(), static_cast<std::size_t>(count)) != 1)
            return std::nullopt;
    store::Sha256 sum;
    if (count < 0 ||
        EVP_DigestFinal_ex(context.get(), reinterpret_cast<unsigned char *>(sum.data()), nullptr) != 1)
        return std::nullopt;
    return sum;
}

/// Checks, showing progress. Nothing, after an error on standard error, on failure.
std::optional<store::CheckReport> runCheck(const store::LibraryPaths &paths, const Options &options) {
    std::unique_ptr<Progress> progress;
    std::size_t shown = 0;
    store::CheckOptions wanted;
    if (!options.withoutSums)
        wanted.sumOfFile = [](const std::string &path) { return sumOfFile(path); };
    wanted.isCancelled = [] { return isInterrupted(); };
    wanted.progress = [&](std::size_t done, std::size_t total) {
        if (!progress)
            progress = std::make_unique<Progress>("checked", total, options.quiet);
        progress->advance(done - shown);
        shown = done;
    };
    std::string problem;
    auto report = store::checkLibrary(paths, wanted, problem);
    if (!report)
        fail(ExitCode::failure, fmt::format("the library can't be checked: {}", problem));
    return report;
}

JSON describe(const store::CheckReport &report, std::size_t mended) {
    JSON findings = JSON::array();
    for (const store::Finding &each : report.findings) {
        findings.push_back({{"kind", nameOf(each.kind)}, {"path", each.path}});
        if (!each.uuid.empty())
            findings.back()["uuid"] = each.uuid;
        if (!each.detail.empty())
            findings.back()["detail"] = each.detail;
    }
    return {{"assets", report.assets},
            {"findings", findings},
            {"mended", mended},
            {"interrupted", isInterrupted()}};
}

ExitCode check(const Options &options) {
    ReleaseScope scope;
    const auto store = openStore();
    if (!store)
        return ExitCode::notFound;
    auto report = runCheck(store->paths(), options);
    if (!report)
        return ExitCode::failure;
    std::size_t mended = 0;
    if (options.repair && !report->findings.empty() && !isInterrupted()) {
        JXGatekeeperClient::sharedInstance()->repairPotentialModelCorruption();
        if (!daemonAnswers())
            return failUnreachable();
        const std::size_t before = report->findings.size();
        report = runCheck(store->paths(), options);
        if (!report)
            return ExitCode::failure;
        mended = before - std::min(before, report->findings.size());
    }
    if (options.json) {
        printJSON(describe(*report, mended));
    } else {
        for (const store::Finding &each : report->findings)
            print(fmt::format("{}: {}{}", nameOf(each.kind), each.path,
                              each.detail.empty() ? "" : " (" + each.detail + ")"));
        std::string summary = countText(report->assets, "asset", "assets") + " checked";
        if (options.withoutSums)
            summary += " without their sums";
        if (mended > 0)
            summary += fmt::format(", {} mended", mended);
        summary +=
            report->findings.empty()
                ? ", all is well"
                : fmt::format(", {} to look at", countText(report->findings.size(), "thing", "things"));
        if (isInterrupted())
            summary += "; interrupted, the rest was left out";
        print(summary);
        if (!report->findings.empty() && !options.repair)
            note("What can be mended is mended by: wickerlane check --repair");
    }
    return report->findings.empty() && !isInterrupted() ? ExitCode::success : ExitCode::failure;
}

} // namespace

void addCheck(Command app, Action &chosen) {
    const auto command =
        app.addSubcommand("check", "Verify the library: its rows, files, sums and thumbnails");
    command.footer(
        "Reads every original unless --no-sums is given. It may run while the library is in use.\n\n"
        "--repair makes missing thumbnails, and moves files that no asset has into\n"
        "PhotoData/LostAndFound. Nothing is ever removed; an original that is missing or changed is\n"
        "told of, and stays for you to bring back from a copy.\n\n"
        "Example:\n  wickerlane check --json | jq -r '.findings[].path'");
    auto options = std::make_shared<Options>();
    command.addFlag("--repair", options->repair, "Mend what can be mended");
    command.addFlag("--no-sums", options->withoutSums, "Compare sizes only, which is quick");
    command.addFlag("--json", options->json, "Write JSON");
    command.addFlag("-q,--quiet", options->quiet, "Show no progress");
    command.callback([options, &chosen] { chosen = [options] { return check(*options); }; });
}

} // namespace wickerlane::cli
