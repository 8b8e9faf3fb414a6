#include "wickerlane/store/Sqlite.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>

#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/store/ConnectionInternal.h"

namespace wickerlane::sqlite {

namespace {

/// How long a statement waits for another process's lock.
constexpr int busyMilliseconds = 10'000;

ProblemKind kindOf(int code) {
    switch (code & 0xFF) { // without what an extended code adds
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
        return ProblemKind::damagedStore;
    case SQLITE_FULL:
        return ProblemKind::noSpace;
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_CANTOPEN:
        return ProblemKind::notWritable;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return ProblemKind::busy;
    default:
        return ProblemKind::failed;
    }
}

/// Of a connection that could not be opened.
ProblemKind kindOfOpening(sqlite3 *connection, int code, Database::Access access) {
    if (access == Database::Access::write || (code & 0xFF) != SQLITE_CANTOPEN)
        return kindOf(code);
    if (code == SQLITE_CANTOPEN_SYMLINK)
        return ProblemKind::invalid;
    switch (sqlite3_system_errno(connection)) {
    case ENOENT:
        return ProblemKind::notFound;
    case EACCES:
    case EPERM:
        return ProblemKind::refused;
    default:
        return ProblemKind::failed;
    }
}

Problem problemOf(sqlite3 *connection, int code) {
    const char *file = sqlite3_db_filename(connection, "main");
    return {kindOf(code), sqlite3_errmsg(connection), file != nullptr ? file : ""};
}

/// The path with its folder resolved, since SQLite refuses links anywhere in a path that must not end in one.
std::string resolvingFolder(const std::string &path) {
    const std::string given(parentFolder(path));
    if (given.empty())
        return path;
    const std::unique_ptr<char, decltype(&std::free)> folder(::realpath(given.c_str(), nullptr), &std::free);
    return folder ? std::string(folder.get()).append("/").append(lastPathComponent(path)) : path;
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

Result<> Statement::run() {
    while (next()) {
    }
    Result<> ended = end();
    reset();
    return ended;
}

bool Statement::failed() const noexcept {
    return code != SQLITE_OK;
}

Result<bool> Statement::any() {
    const bool found = next();
    const Result<> ended = end();
    if (!ended)
        return passOn(ended);
    return found;
}

Result<> Statement::end() {
    if (failed())
        return fail(problemOf(connection, code));
    reset();
    return {};
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

Result<Database> Database::open(const std::string &path, Access access) {
    const int flags =
        (access == Access::write ? SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE : SQLITE_OPEN_READONLY) |
        SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_NOFOLLOW | SQLITE_OPEN_EXRESCODE;
    sqlite3 *opened = nullptr;
    const int result = sqlite3_open_v2(resolvingFolder(path).c_str(), &opened, flags, nullptr);
    Database database(opened);
    if (result != SQLITE_OK)
        return fail(kindOfOpening(opened, result, access),
                    "can't open " + path + ": " + sqlite3_errstr(result), path);
    waitWhenBusy(opened, busyMilliseconds);
    sqlite3_db_config(opened, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    Result<> ready;
    if (access == Access::write) {
        ready = database.execute("PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL; PRAGMA foreign_keys=ON;");
    } else {
        neverCheckpoint(opened);
        ready = database.execute("PRAGMA query_only=ON;");
    }
    if (!ready)
        return fail(ready.error().kind, "can't open " + path + ": " + ready.error().text, path);
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
    return Statement(handle, prepared, result);
}

Result<> Database::execute(const char *sql) {
    if (sqlite3_exec(handle, sql, nullptr, nullptr, nullptr) != SQLITE_OK)
        return fail(problem());
    return {};
}

Result<std::int64_t> Database::integer(std::string_view sql) {
    const auto number = prepare(sql).first([](const Statement &row) { return row.integer(0); });
    if (!number)
        return passOn(number);
    if (!*number)
        return fail(ProblemKind::notFound, "the query gives no row");
    return **number;
}

std::int64_t Database::lastRowID() const noexcept {
    return sqlite3_last_insert_rowid(handle);
}

Problem Database::problem() const {
    return problemOf(handle, sqlite3_errcode(handle));
}

Result<> Database::checkpoint() {
    if (sqlite3_wal_checkpoint_v2(handle, nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr) != SQLITE_OK)
        return fail(problem());
    return {};
}

Transaction::Transaction(Database &used)
    : database(used), open(used.execute("BEGIN IMMEDIATE;").has_value()) {
}

Transaction::~Transaction() {
    // Fails only when SQLite has rolled back by itself, as after a full disk.
    if (open)
        static_cast<void>(database.execute("ROLLBACK;"));
}

Result<> Transaction::commit() {
    if (!open)
        return fail(ProblemKind::failed, "there is no transaction to commit");
    const Result<> committed = database.execute("COMMIT;");
    open = !committed; // then the destructor rolls back
    return committed;
}

Snapshot::Snapshot(Database &read) : database(read), open(read.execute("BEGIN;").has_value()) {
}

Snapshot::~Snapshot() {
    if (open)
        static_cast<void>(database.execute("COMMIT;"));
}

} // namespace wickerlane::sqlite
