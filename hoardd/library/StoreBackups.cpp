#include "hoardd/library/StoreBackups.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <thread>

#include "hoardd/library/DurableFolders.h"
#include "wickerlane/model/RecordFaults.h"
#include "wickerlane/store/Schema.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd {

namespace fs = std::filesystem;
using sqlite::Database;
using store::LibraryPaths;

namespace {

constexpr std::size_t generations = 4;
constexpr std::chrono::hours timeBetween{6};
constexpr std::string_view namePrefix = "Pixhold-", nameEnd = ".sqlite", unfinishedPrefix = "unfinished-";

/// Sorts by time.
std::string nameOfNow() {
    using namespace std::chrono;
    const auto now = duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
    constexpr std::int64_t perSecond = 1'000'000;
    const auto seconds = static_cast<std::time_t>(now / perSecond);
    std::tm parts{};
    ::gmtime_r(&seconds, &parts);
    char text[40];
    const std::size_t length = std::strftime(text, sizeof text, "%Y%m%d-%H%M%S-", &parts);
    std::snprintf(text + length, sizeof text - length, "%06d", static_cast<int>(now % perSecond));
    return std::string(namePrefix).append(text).append(nameEnd);
}

std::optional<fs::file_time_type> changeOf(const std::string &path) {
    std::error_code none;
    const auto time = fs::last_write_time(path, none);
    return none ? std::nullopt : std::optional(time);
}

void removeUnfinished(const std::string &folder) {
    std::error_code ignored;
    for (const auto &entry : fs::directory_iterator(folder, ignored))
        if (entry.path().filename().string().starts_with(unfinishedPrefix))
            fs::remove(entry.path(), ignored);
}

} // namespace

std::vector<std::string> storeBackups(const LibraryPaths &paths) {
    std::vector<std::string> backups;
    std::error_code none;
    for (const auto &entry : fs::directory_iterator(backupsFolder(paths), none)) {
        const std::string name = entry.path().filename();
        if (name.starts_with(namePrefix) && name.ends_with(nameEnd))
            backups.push_back(entry.path());
    }
    std::ranges::sort(backups, std::greater());
    return backups;
}

bool isBackupDue(const LibraryPaths &paths) {
    const auto backups = storeBackups(paths);
    if (backups.empty())
        return true;
    const auto last = changeOf(backups.front());
    if (!last)
        return false;
    if (fs::file_time_type::clock::now() - *last < timeBetween && *last < fs::file_time_type::clock::now())
        return false;
    return std::ranges::any_of(std::initializer_list<const char *>{"", "-wal"}, [&](const char *suffix) {
        const auto changed = changeOf(paths.database() + suffix);
        return changed && *changed > *last;
    });
}

Result<> checkStoreFile(const std::string &path) {
    auto database = Database::open(path, Database::Access::read);
    if (!database)
        return passOn(database);
    const auto faults = database->faults(1);
    if (!faults)
        return passOn(faults);
    if (!faults->empty())
        return fail(ProblemKind::damagedStore, path + " is damaged: " + faults->front(), path);
    const auto version = database->integer("PRAGMA user_version");
    if (!version)
        return passOn(version);
    if (*version > store::modelVersion())
        return fail(ProblemKind::newerVersion, path + " is of a newer hoardd", path);
    const auto uuid = database->prepare("SELECT uuid FROM zlibrary").first([](const sqlite::Statement &row) {
        return std::string(row.text(0));
    });
    if (!uuid || !isUUID(uuid->value_or("")))
        return fail(ProblemKind::damagedStore, path + " has no identity", path);
    return {};
}

Result<> backUpStore(const LibraryPaths &paths, const Handler<bool()> &goesOn) {
    const std::string folder = backupsFolder(paths);
    if (const auto made = makeDurableFolder(folder); !made)
        return made;
    removeUnfinished(folder);
    auto database = Database::open(paths.database(), Database::Access::read);
    if (!database)
        return passOn(database);
    const std::string name = nameOfNow(), unfinished = folder + '/' + std::string(unfinishedPrefix) + name;
    constexpr std::chrono::milliseconds pause{2};
    Result<> copied = database->copyTo(unfinished, [&] {
        std::this_thread::sleep_for(pause);
        return !goesOn || goesOn();
    });
    if (copied)
        copied = checkStoreFile(unfinished);
    if (copied && ::rename(unfinished.c_str(), (folder + '/' + name).c_str()) != 0)
        copied = failSystem("write", folder + '/' + name);
    if (!copied) {
        removeUnfinished(folder);
        return copied;
    }
    if (const auto durable = makeNamesDurable(folder); !durable)
        return durable;
    const auto backups = storeBackups(paths);
    for (std::size_t i = generations; i < backups.size(); ++i)
        ::unlink(backups[i].c_str());
    return {};
}

} // namespace wickerlane::hoardd
