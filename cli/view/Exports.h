// Archives of assets' files, which are made while they are sent.
#ifndef CLI_VIEW_EXPORTS_H
#define CLI_VIEW_EXPORTS_H

#include <httplib.h>

#include <chrono>
#include <list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cli/Output.h"
#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/object/Number.h"

namespace wickerlane::cli::view {

/// Where archives are.
inline constexpr std::string_view exportPath = "/export/";

/// A few archives that were asked for and not fetched yet, each good once and for some minutes: a download
/// can't send a body. Thread-safe.
class Exports {
public:
    /// Of the assets that /api/export names, which are added to those of the address that it may name too.
    /// Gives the archive's address.
    [[nodiscard]] Result<JSON> offer(const JSON &body);
    /// Answers the address of an archive.
    [[nodiscard]] Result<> answer(const httplib::Request &request, httplib::Response &response);

private:
    struct Offer {
        std::string key;
        std::vector<UUIDBytes> uuids;
        bool edited = false; ///< The edited versions of those that have one.
        std::chrono::steady_clock::time_point end;
    };

    Result<JSON> add(std::string_view href, std::span<const UUIDBytes> uuids);
    void dropLateOffers() WL_REQUIRES(mutex);
    [[nodiscard]] std::size_t assetsOffered() const WL_REQUIRES(mutex);

    Mutex mutex;
    std::list<Offer> offers WL_GUARDED_BY(mutex); // the oldest first
};

} // namespace wickerlane::cli::view

#endif
