// What a client reads from an answer to a query, and what hoardd reads from a query.
#include <cstdint>
#include <cstdlib>

#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/protocol/QueryCoding.h"

using namespace wickerlane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
    ReleaseScope scope;
    const auto data = Data::create(bytes, size);
    // What was read is written and read again the same.
    if (const auto assets = protocol::unpackedAssets(data.get(), AssetFields::all)) {
        const auto packed = protocol::packed(*assets, AssetFields::all);
        const auto again = protocol::unpackedAssets(packed.get(), AssetFields::all);
        if (!again || again->size() != assets->size())
            std::abort();
    }
    static_cast<void>(protocol::unpackedAssets(data.get(), AssetFields::identity));
    static_cast<void>(protocol::unpackedSections(data.get()));
    static_cast<void>(protocol::unpackedAlbums(data.get()));
    for (const bool withAssets : {false, true})
        static_cast<void>(protocol::unpackedMoments(data.get(), withAssets));
    static_cast<void>(protocol::unpackedGroups(data.get()));
    static_cast<void>(protocol::unpackedChanges(data.get()));
    static_cast<void>(protocol::unpackedMomentLists(data.get()));
    static_cast<void>(protocol::unpackedFeed(data.get()));
    static_cast<void>(protocol::unpackedCompanions(data.get()));
    static_cast<void>(protocol::unpackedTrash(data.get()));
    return 0;
}
