#include "wickerlane/store/Sqlite.h"

#include <sqlite3.h>

#include <climits>
#include <cstdlib>
#include <memory>

namespace wickerlane::sqlite {

namespace {

/// How long a statement waits for another process's lock.
constexpr int busyMilliseconds = 10'000;

/// The path with its folder resolved, since SQLite refuses links anywhere in a path that must not end in one.
std::string resolvingFolder(const std::string &path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return path;
    const std::unique_ptr<char, decltype(&std::free)> folder(
        ::realpath(path.substr(0, slash + 1).c_str(), nullptr), &std::free);
    return folder ? std::string(folder.get()) + path.substr(slash) : path;
}

} // namespace

Statement::~Statement() {
    sqlite3_finalize(handle);
}

void Statement::note(int result) noexcept {
    if (result != SQLITE_OK && code == SQLITE_OK)
        code = result;
}

void Statement::bindInteger(std::int64_t value) {
    note(sqlite3_bind_int64(handle, ++bound, value));
}

void Statement::bindNext(double value) {
    note(sqlite3_bind_double(handle, ++bound, value));
}

// Length-counted, and never a null pointer, which SQLite would take for NULL.
void Statement::bindNext(std::string_view value) {
    note(sqlite3_bind_text64(handle, ++bound, value.data() != nullptr ? value.data() : "", value.size(),
                             SQLITE_STATIC, SQLITE_UTF8));
}

void Statement::bindNext(Bytes value) {
    note(sqlite3_bind_blob64(handle, ++bound,
                             value.data() != nullptr ? static_cast<const void *>(value.data()) : "",
                             value.size(), SQLITE_STATIC));
}

void Statement::bindNull() {
    note(sqlite3_bind_null(handle, ++bound));
}

bool Statement::next() {
    if (code != SQLITE_OK)
        return false;
    const int result = sqlite3_step(handle);
    if (result == SQLITE_ROW)
        return true;
    note(result == SQLITE_DONE ? SQLITE_OK : result);
    return false;
}

bool Statement::run() {
    while (next()) {
    }
    const bool succeeded = !failed();
    reset();
    return succeeded;
}

bool Statement::failed() const noexcept {
    return code != SQLITE_OK;
}

void Statement::reset() {
    if (handle == nullptr) // never prepared: stays failed
        return;
    sqlite3_reset(handle);
    sqlite3_clear_bindings(handle);
    code = SQLITE_OK;
    bound = 0;
}

std::int64_t Statement::integer(int column) const {
    return sqlite3_column_int64(handle, column);
}

double Statement::real(int column) const {
    return sqlite3_column_double(handle, column);
}

std::string_view Statement::text(int column) const {
    const auto *start = reinterpret_cast<const char *>(sqlite3_column_text(handle, column));
    return {start, start != nullptr ? static_cast<std::size_t>(sqlite3_column_bytes(handle, column)) : 0};
}

Bytes Statement::blob(int column) const {
    const auto *start = static_cast<const std::byte *>(sqlite3_column_blob(handle, column));
    return {start, start != nullptr ? static_cast<std::size_t>(sqlite3_column_bytes(handle, column)) : 0};
}

bool Statement::isNull(int column) const {
    return sqlite3_column_type(handle, column) == SQLITE_NULL;
}

std::optional<Database> Database::open(const std::string &path, Access access, std::string &problem) {
    const int flags =
        (access == Access::write ? SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE : SQLITE_OPEN_READONLY) |
        SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_NOFOLLOW | SQLITE_OPEN_EXRESCODE;
    sqlite3 *opened = nullptr;
    const int result = sqlite3_open_v2(resolvingFolder(path).c_str(), &opened, flags, nullptr);
    Database database(opened);
    if (result != SQLITE_OK) {
        problem = "can't open " + path + ": " + sqlite3_errstr(result);
        return std::nullopt;
    }
    sqlite3_busy_timeout(opened, busyMilliseconds);
    sqlite3_db_config(opened, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    bool ready;
    if (access == Access::write) {
        ready = database.execute("PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL; PRAGMA foreign_keys=ON;");
    } else {
        sqlite3_db_config(opened, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        sqlite3_wal_autocheckpoint(opened, 0);
        ready = database.execute("PRAGMA query_only=ON;");
    }
    if (!ready) {
        problem = "can't open " + path + ": " + database.problem();
        return std::nullopt;
    }
    return database;
}

Database::~Database() {
    sqlite3_close_v2(handle);
}

Statement Database::prepare(std::string_view sql) {
    sqlite3_stmt *prepared = nullptr;
    const int result =
        sql.size() > INT_MAX
            ? SQLITE_TOOBIG
            : sqlite3_prepare_v2(handle, sql.data(), static_cast<int>(sql.size()), &prepared, nullptr);
    return Statement(prepared, result);
}

bool Database::execute(const char *sql) {
    return sqlite3_exec(handle, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

std::optional<std::int64_t> Database::integer(std::string_view sql) {
    Statement statement = prepare(sql);
    if (!statement.next())
        return std::nullopt;
    return statement.integer(0);
}

std::int64_t Database::lastRowID() const noexcept {
    return sqlite3_last_insert_rowid(handle);
}

std::string Database::problem() const {
    return sqlite3_errmsg(handle);
}

bool Database::checkpoint() {
    return sqlite3_wal_checkpoint_v2(handle, nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr) ==
           SQLITE_OK;
}

Transaction::Transaction(Database &used) : database(used), open(used.execute("BEGIN IMMEDIATE;")) {
}

Transaction::~Transaction() {
    // Fails only when SQLite has rolled back by itself, as after a full disk.
    if (open)
        static_cast<void>(database.execute("ROLLBACK;"));
}

bool Transaction::commit() {
    if (!open)
        return false;
    if (!database.execute("COMMIT;"))
        return false; // the destructor rolls back
    open = false;
    return true;
}

} // namespace wickerlane::sqlite
