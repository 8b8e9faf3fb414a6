#include "wickerlane/store/Sqlite.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>

#include "wickerlane/platform/file/Files.h"
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
    case SQLITE_INTERRUPT: // by the limit of work
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
    return {kindOf(code), code == SQLITE_INTERRUPT ? "its pages lead in circles" : sqlite3_errmsg(connection),
            file != nullptr ? file : ""};
}

/// How many steps of its program a statement takes between two calls of the progress handler.
constexpr int workUnit = 1'000'000;

/// Far more than any statement of ours takes on a sound database of that size, and so little that one which
/// goes in circles ends within a moment.
std::uint64_t workLimit(const std::string &path) {
    constexpr std::uint64_t bytesPerUnit = 16'384, unitsAtLeast = 10;
    std::uint64_t size = 0;
    for (const char *suffix : {"", "-wal"}) {
        struct stat status {};
        if (::stat((path + suffix).c_str(), &status) == 0)
            size += static_cast<std::uint64_t>(status.st_size);
    }
    return unitsAtLeast + size / bytesPerUnit;
}

int noteWork(void *counted) {
    auto *work = static_cast<WorkLimit *>(counted);
    if (++work->done <= work->limit)
        return 0;
    work->limit = workLimit(work->path); // it may have grown since
    return work->done > work->limit ? 1 : 0;
}

/// Makes a database that does not exist, and lets only its owner at it and at what SQLite keeps beside it,
/// which gets the same mode. One of another owner is left to its owner.
Result<> makePrivate(const std::string &path) {
    constexpr mode_t privateMode = S_IRUSR | S_IWUSR;
    for (const char *suffix : {"", "-wal", "-shm"}) {
        const UniqueFd file = openFile(path + suffix, O_RDWR | (*suffix == 0 ? O_CREAT : 0));
        struct stat status {};
        if (!file)
            continue; // opening the database tells why
        if (::fstat(file.get(), &status) != 0 ||
            (status.st_uid == ::geteuid() && S_ISREG(status.st_mode) &&
             (status.st_mode & ALLPERMS) != privateMode && ::fchmod(file.get(), privateMode) != 0))
            return failSystem("protect", path + suffix);
    }
    return {};
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

void leaveMemoryUncounted() noexcept {
    sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
}

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

Statement &Statement::bindColumn(const Statement &row, int column) {
    note(sqlite3_bind_value(handle, ++bound, sqlite3_column_value(row.handle, column)));
    return *this;
}

bool Statement::next() {
    if (code != SQLITE_OK)
        return false;
    if (sqlite3_stmt_busy(handle) == 0)
        work->done = 0;
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

ColumnType Statement::type(int column) const {
    switch (sqlite3_column_type(handle, column)) {
    case SQLITE_INTEGER:
        return ColumnType::integer;
    case SQLITE_FLOAT:
        return ColumnType::real;
    case SQLITE_TEXT:
        return ColumnType::text;
    case SQLITE_BLOB:
        return ColumnType::blob;
    default:
        return ColumnType::null;
    }
}

int Statement::columnCount() const {
    return sqlite3_column_count(handle);
}

std::string_view Statement::columnName(int column) const {
    const char *name = sqlite3_column_name(handle, column);
    return name != nullptr ? name : "";
}

Result<Database> Database::open(const std::string &path, Access access) {
    const int flags =
        (access == Access::write ? SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE : SQLITE_OPEN_READONLY) |
        SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_NOFOLLOW | SQLITE_OPEN_EXRESCODE;
    if (access == Access::write)
        if (const auto isPrivate = makePrivate(path); !isPrivate)
            return passOn(isPrivate);
    sqlite3 *opened = nullptr;
    const int result = sqlite3_open_v2(resolvingFolder(path).c_str(), &opened, flags, nullptr);
    Database database(opened);
    if (result != SQLITE_OK)
        return fail(kindOfOpening(opened, result, access),
                    "can't open " + path + ": " + sqlite3_errstr(result), path);
    waitWhenBusy(opened, busyMilliseconds);
    database.limitWork(path);
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

void Database::limitWork(const std::string &path) {
    work->path = path;
    work->limit = workLimit(path);
    sqlite3_progress_handler(handle, workUnit, noteWork, work.get());
}

Statement Database::prepare(std::string_view sql) {
    sqlite3_stmt *prepared = nullptr;
    const int result =
        sql.size() > INT_MAX
            ? SQLITE_TOOBIG
            : sqlite3_prepare_v2(handle, sql.data(), static_cast<int>(sql.size()), &prepared, nullptr);
    return Statement(handle, prepared, work.get(), result);
}

Result<> Database::execute(const char *sql) {
    work->done = 0;
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

Result<> Database::copyTo(const std::string &path, const Handler<bool()> &goesOn) {
    constexpr int pagesInAStep = 64;
    auto copy = open(path, Access::write);
    if (!copy)
        return passOn(copy);
    // The file stands alone, and counts only once it is complete.
    if (const auto alone = copy->execute("PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF;"); !alone)
        return alone;
    const Snapshot snapshot(*this); // or each commit would have the copy begin again
    if (const auto begun = integer("SELECT count(*) FROM sqlite_schema"); !begun)
        return passOn(begun);
    sqlite3_backup *backup = sqlite3_backup_init(copy->handle, "main", handle, "main");
    if (backup == nullptr)
        return fail(copy->problem());
    int result = SQLITE_OK;
    bool isStopped = false;
    while (result == SQLITE_OK) {
        isStopped = goesOn && !goesOn();
        if (isStopped)
            break;
        result = sqlite3_backup_step(backup, pagesInAStep);
    }
    sqlite3_backup_finish(backup);
    if (isStopped)
        return fail(ProblemKind::ending, "the copy was stopped");
    if (result != SQLITE_DONE)
        return fail(kindOf(result), "can't copy the database: " + std::string(sqlite3_errstr(result)), path);
    if (const auto closed = copy->execute("PRAGMA journal_mode=DELETE;"); !closed)
        return closed;
    const UniqueFd file = openFile(path, O_RDONLY);
    if (!file || ::fsync(file.get()) != 0)
        return failSystem("write", path);
    return {};
}

Result<std::vector<std::string>> Database::faults(int limit) {
    auto lines =
        prepare("PRAGMA integrity_check(" + std::to_string(limit) + ")").all([](const Statement &row) {
            return std::string(row.text(0));
        });
    if (lines && lines->size() == 1 && lines->front() == "ok")
        lines->clear();
    return lines;
}

void Database::setTriggersRun(bool run) {
    sqlite3_db_config(handle, SQLITE_DBCONFIG_ENABLE_TRIGGER, run ? 1 : 0, nullptr);
}

Transaction::Transaction(Database &used)
    : database(used), open(used.execute("BEGIN IMMEDIATE;").has_value()) {
}

Transaction::~Transaction() {
    rollBack();
}

void Transaction::rollBack() {
    // Fails only when SQLite has rolled back by itself, as after a full disk.
    if (std::exchange(open, false))
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
