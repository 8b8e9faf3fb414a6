#include "wickerlane/util/count/JXGenericAssetCount.h"

#include <sqlite3.h>
#include <sys/stat.h>
#include <syslog.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/object/Format.h"
#include "wickerlane/store/ConnectionInternal.h"

using namespace wickerlane;

namespace {

constexpr const char *opening = "open database for fetching asset count";
constexpr const char *fetching = "fetch asset count";

// A daemon that starts or ends locks the database for a moment.
constexpr int busyMilliseconds = 2'000;

template <class... Values>
void logError(const char *format, Values... values) {
    // A path may contain anything, but must not forge a log line.
    const std::string line = escapingControls(formatUTF8(format, values...));
    ::syslog(LOG_ERR, "%s", line.c_str());
}

void logFailure(const char *action, int code, sqlite3 *database) {
    logError("Failed to %s %d %s", action, code, sqlite3_errmsg(database));
}

std::int64_t countIn(sqlite3 *database) {
    sqlite3_stmt *statement = nullptr;
    int code = sqlite3_prepare_v2(database, "SELECT count(*) FROM zgenericasset;", -1, &statement, nullptr);
    if (code != SQLITE_OK) {
        logFailure(fetching, code, database);
        return -1;
    }
    std::int64_t count = -1;
    while (sqlite3_step(statement) == SQLITE_ROW)
        count = sqlite3_column_int64(statement, 0);
    // Returns the error of a step that failed.
    code = sqlite3_finalize(statement);
    if (code != SQLITE_OK)
        logFailure(fetching, code, database);
    return count;
}

// The result for a file that could not be opened.
std::int64_t countWithoutDatabase(const char *path) {
    struct stat status {};
    if (::stat(path, &status) == 0) {
        logError("Failed to %s on %s (uid %d, size %d)", opening, path, static_cast<int>(status.st_uid),
                 static_cast<int>(status.st_size));
        return -1;
    }
    if (errno == ENOENT)
        return 0;
    logError("Failed to %s, can't stat %s error=%s", opening, path, std::strerror(errno));
    return -1;
}

} // namespace

std::int64_t JXGenericAssetCountInDatabaseWithPath(const char *path) {
    if (path == nullptr)
        return -1; // SQLite would open a temporary database.
    sqlite3 *database = nullptr;
    const int code = sqlite3_open_v2(path, &database, SQLITE_OPEN_READWRITE, nullptr);
    std::int64_t count = -1;
    if (code == SQLITE_OK) {
        sqlite::neverCheckpoint(database);
        sqlite::waitWhenBusy(database, busyMilliseconds);
        count = countIn(database);
    } else {
        count = countWithoutDatabase(path);
    }
    sqlite3_close(database);
    return count;
}

std::int64_t JXGenericAssetCountInPixholdStore(String *path) {
    return JXGenericAssetCountInDatabaseWithPath(path != nullptr ? path->UTF8String() : nullptr);
}
