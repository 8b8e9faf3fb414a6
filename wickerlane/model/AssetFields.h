// The fields of an asset, listed once for all that reads or writes them.
#ifndef WICKERLANE_MODEL_ASSETFIELDS_H
#define WICKERLANE_MODEL_ASSETFIELDS_H

#include <cstdint>
#include <string_view>
#include <tuple>

#include "wickerlane/model/AssetRecord.h"

namespace wickerlane {

/// A member of AssetRecord, and its name in the store.
template <auto memberPointer>
struct AssetMember {
    static constexpr auto member = memberPointer;
    std::string_view name;
};

/// All but the primary key, in the order of the store's columns and of AssetField.
inline constexpr std::tuple assetMembers{
    AssetMember<&AssetRecord::uuid>{"uuid"},
    AssetMember<&AssetRecord::kind>{"kind"},
    AssetMember<&AssetRecord::directory>{"directory"},
    AssetMember<&AssetRecord::filename>{"filename"},
    AssetMember<&AssetRecord::originalFilename>{"originalfilename"},
    AssetMember<&AssetRecord::format>{"format"},
    AssetMember<&AssetRecord::width>{"width"},
    AssetMember<&AssetRecord::height>{"height"},
    AssetMember<&AssetRecord::orientation>{"orientation"},
    AssetMember<&AssetRecord::dateCreated>{"datecreated"},
    AssetMember<&AssetRecord::dateAdded>{"dateadded"},
    AssetMember<&AssetRecord::latitude>{"latitude"},
    AssetMember<&AssetRecord::longitude>{"longitude"},
    AssetMember<&AssetRecord::byteSize>{"bytesize"},
    AssetMember<&AssetRecord::sha256>{"sha256"},
    AssetMember<&AssetRecord::thumbnailIndex>{"thumbnailindex"},
    AssetMember<&AssetRecord::problem>{"problem"},
    AssetMember<&AssetRecord::duration>{"duration"},
    AssetMember<&AssetRecord::clockDate>{"clockdate"},
    AssetMember<&AssetRecord::zoneMinutes>{"zoneminutes"},
    AssetMember<&AssetRecord::externalUsageIntent>{"externalusageintent"},
    AssetMember<&AssetRecord::camera>{"camera"},
    AssetMember<&AssetRecord::lens>{"lens"},
    AssetMember<&AssetRecord::exposureSeconds>{"exposureseconds"},
    AssetMember<&AssetRecord::aperture>{"aperture"},
    AssetMember<&AssetRecord::isoSpeed>{"isospeed"},
    AssetMember<&AssetRecord::focalLength>{"focallength"},
    AssetMember<&AssetRecord::favourite>{"favourite"},
    AssetMember<&AssetRecord::hidden>{"hidden"},
    AssetMember<&AssetRecord::rating>{"rating"},
    AssetMember<&AssetRecord::caption>{"caption"},
    AssetMember<&AssetRecord::keywords>{"keywords"},
    AssetMember<&AssetRecord::dueDetails>{"duedetails"},
};

/// A set of fields: bit n stands for the n-th of the list. The numbers travel in requests, so the list only
/// grows at its end. The primary key, UUID, folder and file name are always there.
enum class AssetFields : std::uint64_t {
    identity = 1U << 0 | 1U << 2 | 1U << 3,
    all = (std::uint64_t{1} << std::tuple_size_v<decltype(assetMembers)>)-1,
};

constexpr AssetFields operator|(AssetFields one, AssetFields other) {
    return AssetFields{static_cast<std::uint64_t>(one) | static_cast<std::uint64_t>(other)};
}

constexpr bool hasField(AssetFields fields, std::size_t number) {
    return (static_cast<std::uint64_t>(fields) >> number & 1U) != 0;
}

/// The set of one field.
template <auto member>
consteval AssetFields fieldOf() {
    std::uint64_t bit = 1, found = 0;
    std::apply(
        [&](const auto &...each) {
            const auto look = [&]<class Each>(const Each &) {
                if constexpr (std::is_same_v<std::remove_const_t<decltype(Each::member)>, decltype(member)>)
                    if (Each::member == member)
                        found = bit;
                bit <<= 1U;
            };
            (look(each), ...);
        },
        assetMembers);
    if (found == 0)
        throw "assets have no such field";
    return AssetFields{found};
}

} // namespace wickerlane

#endif
