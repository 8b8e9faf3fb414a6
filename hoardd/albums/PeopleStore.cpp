#include "hoardd/albums/PeopleStore.h"

#include "hoardd/library/Clock.h"
#include "wickerlane/model/RecordFaults.h"

namespace wickerlane::hoardd {

using sqlite::Database;
using sqlite::Statement;

Result<std::int64_t> emailKey(Database &database, std::string_view address) {
    const auto added = database.prepare("INSERT OR IGNORE INTO zemail (address, dateadded) VALUES (?, ?)")
                           .bind(address, secondsNow())
                           .run();
    if (!added)
        return passOn(added);
    const auto key = database.prepare("SELECT key FROM zemail WHERE address = ?")
                         .bind(address)
                         .first([](const Statement &row) { return row.integer(0); });
    if (!key)
        return passOn(key);
    if (!*key)
        return fail(ProblemKind::damagedStore, "the store doesn't keep the address");
    return **key;
}

Result<std::optional<std::string>> emailAddress(Database &database, std::int64_t key) {
    auto address = database.prepare("SELECT address FROM zemail WHERE key = ?")
                       .bind(key)
                       .first([](const Statement &row) { return std::string(row.text(0)); });
    if (address && *address && !isText(**address))
        address->reset();
    return address;
}

Result<std::optional<std::vector<std::byte>>> personInfo(Database &database, std::string_view person) {
    return database.prepare("SELECT info FROM zperson WHERE personid = ?")
        .bind(person)
        .first([](const Statement &row) {
            const Bytes info = row.blob(0);
            return std::vector<std::byte>(info.begin(), info.end());
        });
}

Result<> setPersonInfo(Database &database, std::string_view person, Bytes info) {
    return database
        .prepare("INSERT INTO zperson VALUES (?, ?, ?) "
                 "ON CONFLICT (personid) DO UPDATE SET info = excluded.info")
        .bind(person, info, secondsNow())
        .run();
}

Result<> deletePersonInfo(Database &database, std::string_view person) {
    return database.prepare("DELETE FROM zperson WHERE personid = ?").bind(person).run();
}

Result<> deletePeopleAddedAfter(Database &database, double date) {
    return database.prepare("DELETE FROM zperson WHERE dateadded > ?").bind(date).run().and_then([&] {
        return database.prepare("DELETE FROM zemail WHERE dateadded > ?").bind(date).run();
    });
}

} // namespace wickerlane::hoardd
