#include "wickerlane/api/WLAssetQuery.h"

#include <limits>

#include "wickerlane/api/FactsInternal.h"
#include "wickerlane/api/PageInternal.h"

using namespace wickerlane;

namespace {

constexpr bool isSame(int order, AssetOrder same) {
    return order == static_cast<int>(same);
}

static_assert(isSame(WLAssetOrderDate, AssetOrder::date));
static_assert(isSame(WLAssetOrderAdded, AssetOrder::added));
static_assert(isSame(WLAssetOrderSize, AssetOrder::size));
static_assert(isSame(WLAssetOrderName, AssetOrder::name));
static_assert(WLSectionDay == static_cast<int>(SectionUnit::day));
static_assert(WLSectionMonth == static_cast<int>(SectionUnit::month));

constexpr const char *noQuery = "there is no query to ask";

constexpr std::uint64_t bitOf(int field) {
    return std::uint64_t{1} << static_cast<unsigned>(field);
}

template <auto member>
consteval bool isField(int field) {
    return fieldOf<member>() == AssetFields{bitOf(field)};
}

static_assert(isField<&AssetRecord::kind>(WLAssetFieldKind));
static_assert(isField<&AssetRecord::originalFilename>(WLAssetFieldOriginalFilename));
static_assert(isField<&AssetRecord::format>(WLAssetFieldFormat));
static_assert(isField<&AssetRecord::width>(WLAssetFieldWidth));
static_assert(isField<&AssetRecord::height>(WLAssetFieldHeight));
static_assert(isField<&AssetRecord::orientation>(WLAssetFieldOrientation));
static_assert(isField<&AssetRecord::dateCreated>(WLAssetFieldDateCreated));
static_assert(isField<&AssetRecord::dateAdded>(WLAssetFieldDateAdded));
static_assert(isField<&AssetRecord::latitude>(WLAssetFieldLatitude));
static_assert(isField<&AssetRecord::longitude>(WLAssetFieldLongitude));
static_assert(isField<&AssetRecord::byteSize>(WLAssetFieldByteSize));
static_assert(isField<&AssetRecord::sha256>(WLAssetFieldSHA256));
static_assert(isField<&AssetRecord::thumbnailIndex>(WLAssetFieldThumbnailIndex));
static_assert(isField<&AssetRecord::problem>(WLAssetFieldProblem));
static_assert(isField<&AssetRecord::duration>(WLAssetFieldDuration));
static_assert(isField<&AssetRecord::clockDate>(WLAssetFieldClockDate));
static_assert(isField<&AssetRecord::zoneMinutes>(WLAssetFieldZoneMinutes));
static_assert(isField<&AssetRecord::externalUsageIntent>(WLAssetFieldExternalUsageIntent));
static_assert(isField<&AssetRecord::camera>(WLAssetFieldCamera));
static_assert(isField<&AssetRecord::lens>(WLAssetFieldLens));
static_assert(isField<&AssetRecord::exposureSeconds>(WLAssetFieldExposureSeconds));
static_assert(isField<&AssetRecord::aperture>(WLAssetFieldAperture));
static_assert(isField<&AssetRecord::isoSpeed>(WLAssetFieldISOSpeed));
static_assert(isField<&AssetRecord::focalLength>(WLAssetFieldFocalLength));
static_assert(isField<&AssetRecord::favourite>(WLAssetFieldFavourite));
static_assert(isField<&AssetRecord::hidden>(WLAssetFieldHidden));
static_assert(isField<&AssetRecord::rating>(WLAssetFieldRating));
static_assert(isField<&AssetRecord::caption>(WLAssetFieldCaption));
static_assert(isField<&AssetRecord::keywords>(WLAssetFieldKeywords));

void set(AssetQueryObject *query, std::optional<std::string> AssetFilter::*condition, const char *text) {
    if (query != nullptr)
        query->query.filter.*condition = text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

template <class Value>
void set(AssetQueryObject *query, std::optional<Value> AssetFilter::*condition, const Value &value) {
    if (query != nullptr)
        query->query.filter.*condition = value;
}

// A number of an enumeration. One that it can't hold becomes one that hoardd does not know and refuses.
template <class Enumeration>
Enumeration valueOf(int number) {
    using Number = std::underlying_type_t<Enumeration>;
    return static_cast<Enumeration>(std::in_range<Number>(number) ? number
                                                                  : std::numeric_limits<Number>::max());
}

AssetPageObject *create(const AssetQuery &query, WLError **error) {
    return createPage<AssetPageObject>(
        &JXGatekeeperClient::assetsMatchingQuery, query,
        [](AssetPage page) { return std::move(page.assets); }, error);
}

} // namespace

WLAssetQuery *WLAssetQueryCreate() {
    return makeRef<AssetQueryObject>().leak();
}

void WLAssetQuerySetIdentity(WLAssetQuery *query, const char *identity) {
    set(query, &AssetFilter::identity, identity);
}

void WLAssetQuerySetKind(WLAssetQuery *query, int kind) {
    set(query, &AssetFilter::kind, valueOf<AssetKind>(kind));
}

void WLAssetQuerySetFrom(WLAssetQuery *query, double date) {
    set(query, &AssetFilter::from, date);
}

void WLAssetQuerySetUntil(WLAssetQuery *query, double date) {
    set(query, &AssetFilter::until, date);
}

void WLAssetQuerySetBox(WLAssetQuery *query, double south, double west, double north, double east) {
    set(query, &AssetFilter::south, south);
    set(query, &AssetFilter::west, west);
    set(query, &AssetFilter::north, north);
    set(query, &AssetFilter::east, east);
}

void WLAssetQuerySetNear(WLAssetQuery *query, double latitude, double longitude, double radius) {
    set(query, &AssetFilter::nearLatitude, latitude);
    set(query, &AssetFilter::nearLongitude, longitude);
    set(query, &AssetFilter::radius, radius);
}

void WLAssetQuerySetAlbum(WLAssetQuery *query, const char *uuid) {
    set(query, &AssetFilter::album, uuid);
}

void WLAssetQuerySetMoment(WLAssetQuery *query, int64_t moment) {
    set(query, &AssetFilter::moment, moment);
}

void WLAssetQuerySetName(WLAssetQuery *query, const char *name) {
    set(query, &AssetFilter::name, name);
}

void WLAssetQuerySetText(WLAssetQuery *query, const char *text) {
    set(query, &AssetFilter::text, text);
}

void WLAssetQuerySetFormat(WLAssetQuery *query, const char *format) {
    set(query, &AssetFilter::format, format);
}

void WLAssetQuerySetCamera(WLAssetQuery *query, const char *camera) {
    set(query, &AssetFilter::camera, camera);
}

void WLAssetQuerySetFavourite(WLAssetQuery *query, bool isFavourite) {
    set(query, &AssetFilter::isFavourite, isFavourite);
}

void WLAssetQuerySetHidden(WLAssetQuery *query, bool isHidden) {
    set(query, &AssetFilter::isHidden, isHidden);
}

void WLAssetQuerySetMinimumRating(WLAssetQuery *query, int64_t rating) {
    set(query, &AssetFilter::minRating, rating);
}

void WLAssetQuerySetEdited(WLAssetQuery *query, bool isEdited) {
    set(query, &AssetFilter::isEdited, isEdited);
}

void WLAssetQuerySetProblem(WLAssetQuery *query, bool hasProblem) {
    set(query, &AssetFilter::hasProblem, hasProblem);
}

void WLAssetQuerySetSizes(WLAssetQuery *query, uint64_t minimum, uint64_t maximum) {
    if (query == nullptr)
        return;
    AssetFilter &filter = query->query.filter;
    filter.minBytes = minimum != 0 ? std::optional(minimum) : std::nullopt;
    filter.maxBytes = maximum != UINT64_MAX ? std::optional(maximum) : std::nullopt;
}

void WLAssetQuerySetOrder(WLAssetQuery *query, int order, bool isDescending) {
    if (query == nullptr)
        return;
    query->query.order = valueOf<AssetOrder>(order);
    query->query.isDescending = isDescending;
}

void WLAssetQuerySetLimit(WLAssetQuery *query, size_t limit) {
    if (query != nullptr)
        query->query.limit = limit;
}

void WLAssetQuerySetCursor(WLAssetQuery *query, const char *cursor) {
    if (query != nullptr)
        query->query.cursor = cursor != nullptr ? cursor : "";
}

void WLAssetQueryAddField(WLAssetQuery *query, int field) {
    if (query == nullptr)
        return;
    // The last bit stands for no field: hoardd refuses it.
    const int bit = field >= 0 && field <= WLAssetFieldKeywords ? field : 63;
    AssetFields &fields = query->query.fields;
    fields = (fields == AssetFields::all ? AssetFields::identity : fields) | AssetFields{bitOf(bit)};
}

int64_t WLAssetQueryCount(const WLAssetQuery *query, WLError **error) {
    if (query == nullptr)
        return failing<int64_t>(-1, ProblemKind::invalid, noQuery, error);
    const auto count = JXGatekeeperClient::sharedInstance()->countOfAssets(query->query.filter);
    return withLastError(count ? static_cast<int64_t>(*count) : -1, error);
}

WLAssetPage *WLAssetPageCreate(const WLAssetQuery *query, WLError **error) {
    return query != nullptr ? create(query->query, error)
                            : failing<WLAssetPage *>(nullptr, ProblemKind::invalid, noQuery, error);
}

WLAssetPage *WLAssetPageCreateNext(const WLAssetPage *page, WLError **error) {
    return createNext(page, create, error);
}

size_t WLAssetPageCount(const WLAssetPage *page) {
    return page != nullptr ? page->count() : 0;
}

WLAsset *WLAssetPageGet(const WLAssetPage *page, size_t index) {
    return page != nullptr ? page->at(index) : nullptr;
}

const char *WLAssetPageCursor(const WLAssetPage *page) {
    return page != nullptr ? textOrNull(page->next().cursor) : nullptr;
}

WLAssetSections *WLAssetSectionsCreate(const WLAssetQuery *query, int unit, WLError **error) {
    if (query == nullptr)
        return failing<WLAssetSections *>(nullptr, ProblemKind::invalid, noQuery, error);
    auto sections = JXGatekeeperClient::sharedInstance()->sectionsOfAssets(
        query->query.filter, valueOf<SectionUnit>(unit), query->query.isDescending);
    return withLastError(sections ? makeRef<SectionsObject>(*std::move(sections)).leak() : nullptr, error);
}

size_t WLAssetSectionsCount(const WLAssetSections *sections) {
    return sections != nullptr ? sections->record().size() : 0;
}

double WLAssetSectionsStart(const WLAssetSections *sections, size_t index) {
    return index < WLAssetSectionsCount(sections) ? sections->record()[index].start : 0;
}

size_t WLAssetSectionsAssetCount(const WLAssetSections *sections, size_t index) {
    return index < WLAssetSectionsCount(sections) ? sections->record()[index].shapes.size() : 0;
}

const uint16_t *WLAssetSectionsShapes(const WLAssetSections *sections, size_t index) {
    return index < WLAssetSectionsCount(sections) ? sections->record()[index].shapes.data() : nullptr;
}
