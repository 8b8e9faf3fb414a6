#include "tests/support/StoreView.h"

namespace wickerlane::test {

namespace {

constexpr std::size_t all = 10'000;

template <class Found>
Found *orNull(Result<Ref<Found>> found) {
    return found ? autorelease(*std::move(found)) : nullptr;
}

} // namespace

std::unique_ptr<StoreView> StoreView::open(const store::LibraryPaths &paths) {
    auto opened = store::StoreReader::open(paths);
    if (!opened)
        return nullptr;
    auto view = std::make_unique<StoreView>();
    view->reader = *std::move(opened);
    return view;
}

Array *StoreView::assets(const AssetFilter &filter) const {
    auto page = reader->page({.filter = filter, .limit = all});
    if (!page)
        return nullptr;
    auto assets = MutableArray::create();
    for (AssetRecord &each : page->records)
        assets->append(
            ManagedAsset::create(std::move(each), reader->paths().folder(), reader->storeUUID()).get());
    return autorelease(std::move(assets));
}

std::optional<store::AssetCounts> StoreView::counts() const {
    const auto counts = reader->counts();
    return counts ? std::optional(*counts) : std::nullopt;
}

ManagedAsset *StoreView::assetWithUUID(std::string_view uuid) const {
    return orNull(reader->assetWithUUID(uuid));
}

ManagedAsset *StoreView::assetWithURL(const URL *assetURL) const {
    return orNull(reader->assetWithURL(assetURL));
}

ManagedAsset *StoreView::assetWithObjectID(const ManagedObjectID *objectID) const {
    return orNull(reader->assetWithObjectID(objectID));
}

Array *StoreView::albums() const {
    const auto found = reader->albums();
    if (!found)
        return nullptr;
    auto albums = MutableArray::create();
    for (const Ref<ManagedAlbum> &each : *found)
        albums->append(each.get());
    return autorelease(std::move(albums));
}

ManagedAlbum *StoreView::albumWithUUID(std::string_view uuid) const {
    return orNull(reader->albumWithUUID(uuid));
}

ManagedAlbum *StoreView::albumNamed(std::string_view name) const {
    const auto found = reader->albums();
    for (const Ref<ManagedAlbum> &each : found.value())
        if (each->record().name == name)
            return autorelease(Ref<ManagedAlbum>(each));
    return nullptr;
}

std::optional<std::vector<AssetChange>> StoreView::changes(const std::string &token) const {
    auto page = reader->changesSince(token, all);
    return page ? std::optional(std::move(page->changes)) : std::nullopt;
}

} // namespace wickerlane::test
