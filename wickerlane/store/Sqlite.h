// SQLite behind owning types: what the store's readers and its one writer share.
//
// The version in use can damage a database when two connections write or checkpoint at once. So one
// connection, the daemon's, is opened with Access::write; all others are opened with Access::read, and those
// neither write nor checkpoint, not even when they close last.
//
// A connection and its statements belong to one thread at a time.
#ifndef WICKERLANE_STORE_SQLITE_H
#define WICKERLANE_STORE_SQLITE_H

#include <concepts>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/Data.h"
#include "wickerlane/platform/object/Handler.h"

struct sqlite3;
struct sqlite3_stmt;

namespace wickerlane::sqlite {

/// Has SQLite not count the memory that this process takes for it, for which each allocation takes a lock
/// that all connections share. For a process of our own, before it opens a database.
WL_EXPORT void leaveMemoryUncounted() noexcept;

enum class ColumnType { null, integer, real, text, blob };

/// How much work a statement may take: the pages of a damaged file can lead it in circles.
struct WorkLimit {
    std::uint64_t done = 0; ///< By the statement that runs, in units of the progress handler.
    std::uint64_t limit = 0;
    std::string path; ///< Of the database.
};

/// A prepared statement. Values are bound in order with bind(), then rows are read:
///
///     const auto names = database.prepare("SELECT name FROM t WHERE a = ?").bind(17).all(
///         [](const Statement &row) { return std::string(row.text(0)); });
class WL_EXPORT Statement {
public:
    Statement(Statement &&other) noexcept
        : connection(other.connection), handle(std::exchange(other.handle, nullptr)), work(other.work),
          code(other.code), bound(other.bound) {}
    Statement &operator=(Statement &&) = delete;
    ~Statement();

    /// Binds the next parameters. Texts and bytes must stay unchanged until the statement is reset.
    template <class... Values>
    Statement &bind(const Values &...values) {
        (bindNext(values), ...);
        return *this;
    }

    /// Binds the value of a column of another statement's current row. It is copied.
    Statement &bindColumn(const Statement &row, int column);

    // Each of these calls `read` with the statement at a row, and resets the statement.

    /// Calls `read` for all rows.
    template <class Read>
    [[nodiscard]] Result<> forEach(const Read &read) {
        while (next())
            read(std::as_const(*this));
        return end();
    }
    /// Calls `read` for rows as long as it gives true. Gives whether it did for all.
    template <class Read>
    [[nodiscard]] Result<bool> forEachWhile(const Read &read) {
        bool goesOn = true;
        while (goesOn && next())
            goesOn = read(std::as_const(*this));
        const Result<> ended = end();
        if (!ended)
            return passOn(ended);
        return goesOn;
    }
    /// What `read` makes of each row.
    template <class Read, class Row = std::invoke_result_t<const Read &, const Statement &>>
    [[nodiscard]] Result<std::vector<Row>> all(const Read &read) {
        std::vector<Row> rows;
        const Result<> ended = forEach([&](const Statement &row) { rows.push_back(read(row)); });
        if (!ended)
            return passOn(ended);
        return rows;
    }
    /// What `read` makes of the first row, if there is one.
    template <class Read, class Row = std::invoke_result_t<const Read &, const Statement &>>
    [[nodiscard]] Result<std::optional<Row>> first(const Read &read) {
        std::optional<Row> row;
        if (next())
            row = read(std::as_const(*this));
        const Result<> ended = end();
        if (!ended)
            return passOn(ended);
        return row;
    }
    /// Whether there is a row.
    [[nodiscard]] Result<bool> any();

    /// Steps to the next row. False when there is none, or on failure, which failed() tells.
    [[nodiscard]] bool next();
    /// Runs a statement, whatever rows it gives, and resets it.
    [[nodiscard]] Result<> run();
    [[nodiscard]] bool failed() const noexcept;
    /// Makes the statement ready to be bound and run again.
    void reset();

    // Columns of the current row, counted from 0. Views live until the next step or reset.
    [[nodiscard]] std::int64_t integer(int column) const;
    [[nodiscard]] double real(int column) const;
    [[nodiscard]] std::string_view text(int column) const;
    [[nodiscard]] Bytes blob(int column) const;
    [[nodiscard]] bool isNull(int column) const;
    [[nodiscard]] ColumnType type(int column) const;

    // Columns of the statement's result.
    [[nodiscard]] int columnCount() const;
    [[nodiscard]] std::string_view columnName(int column) const;

private:
    friend class Database;
    Statement(sqlite3 *database, sqlite3_stmt *prepared, WorkLimit *counted, int result) noexcept
        : connection(database), handle(prepared), work(counted), code(result) {}

    template <std::integral Integer>
    void bindNext(Integer value) {
        bindInteger(static_cast<std::int64_t>(value));
    }
    void bindNext(double value);
    void bindNext(std::string_view value);
    void bindNext(Bytes value);
    template <class Value>
    void bindNext(const std::optional<Value> &value) {
        if (value)
            bindNext(*value);
        else
            bindNull();
    }
    void bindInteger(std::int64_t value);
    void bindNull();
    void note(int result) noexcept;
    [[nodiscard]] Result<> end();

    sqlite3 *connection;
    sqlite3_stmt *handle;
    WorkLimit *work;
    int code; // the first failure; stays until reset() when it came from running
    int bound = 0;
};

/// A connection to a database file.
class WL_EXPORT Database {
public:
    enum class Access {
        read,  ///< Reads a file that exists; never writes it and never checkpoints.
        write, ///< Creates the file if need be; in write-ahead mode, each commit synced. The one writer.
    };

    /// Opens a file, whose folder must exist, without following a link in its last component. One that is
    /// opened for writing is made readable and writable for its owner alone, whatever the umask.
    [[nodiscard]] static Result<Database> open(const std::string &path, Access access);
    Database(Database &&other) noexcept
        : handle(std::exchange(other.handle, nullptr)), work(std::move(other.work)) {}
    Database &operator=(Database &&other) noexcept {
        std::swap(handle, other.handle);
        std::swap(work, other.work);
        return *this;
    }
    ~Database();

    /// A statement that failed to prepare fails when it is run.
    [[nodiscard]] Statement prepare(std::string_view sql);
    /// Runs statements, separated by semicolons, whose rows do not matter.
    [[nodiscard]] Result<> execute(const char *sql);
    /// The single number that a query gives; fails without a row.
    [[nodiscard]] Result<std::int64_t> integer(std::string_view sql);
    [[nodiscard]] std::int64_t lastRowID() const noexcept;
    /// What failed last on this connection, which has failed.
    [[nodiscard]] Problem problem() const;
    /// Moves the whole write-ahead log into the database file. The writer's alone.
    [[nodiscard]] Result<> checkpoint();
    /// Copies the database as it is at one time into a new file, in small steps, so that the writer need not
    /// wait. Before each step `goesOn` is asked, which may pause; when it says no, the copy fails with
    /// `ending`.
    [[nodiscard]] Result<> copyTo(const std::string &path, const Handler<bool()> &goesOn);
    /// What is wrong with the database, one line each, at most `limit`; none when it is sound.
    [[nodiscard]] Result<std::vector<std::string>> faults(int limit);
    /// Whether triggers run when this connection changes something; they do at first.
    void setTriggersRun(bool run);

private:
    explicit Database(sqlite3 *opened) : handle(opened), work(std::make_unique<WorkLimit>()) {}
    void limitWork(const std::string &path);

    sqlite3 *handle;
    std::unique_ptr<WorkLimit> work;
};

/// Writes that take effect together: rolled back unless they are committed.
class WL_EXPORT Transaction {
public:
    /// Takes the right to write at once, so that a later statement cannot fail for want of it.
    explicit Transaction(Database &database);
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;
    ~Transaction();

    [[nodiscard]] bool isOpen() const noexcept { return open; }
    /// On failure everything is rolled back, at the latest at the end of this object.
    [[nodiscard]] Result<> commit();
    void rollBack();

private:
    Database &database;
    bool open;
};

/// While it lives, the connection reads the database as it is at one time, whatever others commit.
class WL_EXPORT Snapshot {
public:
    explicit Snapshot(Database &database);
    Snapshot(const Snapshot &) = delete;
    Snapshot &operator=(const Snapshot &) = delete;
    ~Snapshot();

private:
    Database &database;
    bool open;
};

} // namespace wickerlane::sqlite

#endif
