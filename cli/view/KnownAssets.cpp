#include "cli/view/KnownAssets.h"

#include <charconv>

#include "cli/view/DaemonQuestions.h"

namespace wickerlane::cli::view {
namespace {

/// In each half.
constexpr std::size_t maxNumbers = 10'000;

/// The UUID of the store in the URI of an object ID: "x-hoard-store://UUID/GenericAsset/p12".
std::string_view storeIn(std::string_view uri) {
    const std::size_t begin = uri.find("://") + 3;
    return uri.substr(begin, uri.find('/', begin) - begin);
}

} // namespace

KnownAssets::Key KnownAssets::keyOf(std::string_view uuid) {
    std::string digits;
    for (const char each : uuid)
        if (each != '-')
            digits += each;
    Key key{};
    constexpr std::size_t half = 16;
    for (std::size_t i = 0; i < key.size() && digits.size() == 2 * half; ++i) {
        const char *begin = digits.data() + i * half;
        std::from_chars(begin, begin + half, key.at(i), 16);
    }
    return key;
}

void KnownAssets::put(const Key &key, std::int64_t number) {
    recent[key] = number;
    if (recent.size() < maxNumbers)
        return;
    earlier = std::move(recent);
    recent.clear();
}

void KnownAssets::note(const ManagedAsset &asset) {
    const std::string_view of = storeIn(asset.objectID()->uriRepresentation()->absoluteString()->utf8());
    const MutexLock lock(mutex);
    if (store != of) {
        store = of;
        recent.clear();
        earlier.clear();
    }
    put(keyOf(asset.record().uuid), asset.record().primaryKey);
}

Result<Ref<ManagedObjectID>> KnownAssets::objectID(const std::string &uuid) {
    {
        const Key key = keyOf(uuid);
        const MutexLock lock(mutex);
        std::int64_t number = 0;
        if (const auto found = recent.find(key); found != recent.end())
            number = found->second;
        else if (const auto before = earlier.find(key); before != earlier.end())
            put(key, number = before->second);
        if (number != 0)
            return ManagedObjectID::create(URL::create(objectURI(store, number)).get());
    }
    const auto asset = assetWithUUID(uuid, AssetFields::identity);
    if (!asset)
        return passOn(asset);
    note(**asset);
    return Ref<ManagedObjectID>((*asset)->objectID());
}

void KnownAssets::forget(const std::string &uuid) {
    const Key key = keyOf(uuid);
    const MutexLock lock(mutex);
    recent.erase(key);
    earlier.erase(key);
}

} // namespace wickerlane::cli::view
