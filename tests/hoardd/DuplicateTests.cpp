// Which pictures are the same, and which are alike.
#include "hoardd/analysis/DuplicateGroups.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <numeric>
#include <random>

#include "tests/support/TestImages.h"

using namespace wickerlane::hoardd;
using namespace wickerlane::test;

namespace {

std::optional<Fingerprint> seen(const Pixels &picture) {
    std::vector<std::uint8_t> bytes;
    for (const Colour &colour : picture.colours)
        bytes.insert(bytes.end(), {colour.red, colour.green, colour.blue});
    return fingerprintOf({bytes, picture.width, picture.height, 3});
}

/// Turns the light of a picture into another; places and lights are from 0 to 1.
using Light = double (*)(double x, double y, double light);

Pixels lit(Pixels picture, Light light) {
    for (std::uint32_t y = 0; y < picture.height; ++y)
        for (std::uint32_t x = 0; x < picture.width; ++x) {
            Colour &colour = picture.colours[std::size_t{y} * picture.width + x];
            const double level =
                light((x + 0.5) / picture.width, (y + 0.5) / picture.height, colour.red / 255.0);
            colour.red = colour.green = colour.blue = // smooth, not in steps
                static_cast<std::uint8_t>(std::clamp(level * 255 + (x * 7 + y * 3) % 10 / 10.0, 0.0, 255.0));
        }
    return picture;
}

// Many of them have large parts in which nothing changes, or are lighter on one side.
TEST(Fingerprint, IsStableUnderEncodingAndResizingAndTellsPicturesApart) {
    const struct {
        const char *what;
        Light light;
    } cases[] = {
        {"all over", [](double, double, double light) { return light; }},
        {"light from the left", [](double x, double, double light) { return 0.8 - 0.7 * x + 0.2 * light; }},
        {"light from the right", [](double x, double, double light) { return 0.1 + 0.7 * x + 0.2 * light; }},
        {"a mountain under a clear sky",
         [](double x, double y, double light) { return y < 0.6 ? 0.5 + 0.2 * x + 0.3 * y : 0.6 * light; }},
        {"a road under clouds",
         [](double x, double y, double light) {
             return y < 0.7 ? 0.3 + 0.3 * x + 0.12 * light : 0.2 + 0.2 * light;
         }},
        {"mist", [](double, double y, double light) { return 0.6 + 0.2 * y + 0.06 * light; }},
    };
    std::vector<Fingerprint> all;
    unsigned seed = 0;
    for (const auto &[what, light] : cases)
        for (int count = 0; count < 6; ++count) {
            ++seed;
            const auto sceneOf = [seed, &light = light](std::uint32_t width, std::uint32_t height,
                                                        double shift = 0) {
                return lit(scene(width, height, seed, shift), light);
            };
            const Pixels picture = sceneOf(256, 192);
            const auto original = seen(picture);
            ASSERT_TRUE(original) << seed << what;
            const std::pair<const char *, std::optional<Fingerprint>> copies[] = {
                {"rough", seen(decodedPicture(jpegOf(picture, 35)))},
                {"half", seen(sceneOf(128, 96))},
                {"small", seen(decodedPicture(jpegOf(sceneOf(100, 75), 60)))},
            };
            for (const auto &[form, copy] : copies) {
                ASSERT_TRUE(copy) << seed << what << form;
                EXPECT_LE(std::popcount(original->difference ^ copy->difference), 6) << seed << what << form;
                EXPECT_LE(std::popcount(original->frequency ^ copy->frequency), 6) << seed << what << form;
            }
            for (const Fingerprint &other : all)
                EXPECT_FALSE(mayBeLike(*original, other)) << seed << what;
            all.push_back(*original);
            // A hand that shook between two shots.
            EXPECT_TRUE(mayBeLike(*original, *seen(sceneOf(256, 192, 0.01)))) << seed << what;
        }
}

TEST(Fingerprint, OfPicturesWithoutFeaturesIsNone) {
    const struct {
        const char *what;
        Light light;
    } cases[] = {
        {"black", [](double, double, double) { return 0.0; }},
        {"grey", [](double, double, double) { return 0.5; }},
        {"white", [](double, double, double) { return 1.0; }},
        {"lighter to the right", [](double x, double, double) { return x; }},
        {"lighter to the left", [](double x, double, double) { return 0.7 - 0.4 * x; }},
        {"lighter downwards", [](double, double y, double) { return 0.1 + 0.3 * y; }},
        {"lighter to a corner", [](double x, double y, double) { return (x + y) / 2; }},
        {"lighter to another corner", [](double x, double y, double) { return (1 - x + y) / 2; }},
        {"steeper and steeper", [](double x, double y, double) { return std::pow(0.7 * x + 0.3 * y, 2.2); }},
        {"lightest in the middle", [](double x, double, double) { return 1 - std::abs(2 * x - 1); }},
        {"waves", [](double x, double y, double) { return 0.5 + 0.3 * std::sin(9 * x + 5 * y); }},
        {"two halves", [](double, double y, double) { return y < 0.5 ? 0.3 : 0.7; }},
        {"lightest in the centre",
         [](double x, double y, double) { return 1 - std::hypot(x - 0.5, y - 0.5); }},
        {"darkest in the centre", [](double x, double y, double) { return std::hypot(x - 0.5, y - 0.5); }},
        {"lightest elsewhere", [](double x, double y, double) { return 1 - std::hypot(x - 0.3, y - 0.4); }},
        {"a glow", [](double x, double y, double) { return std::exp(-4 * (x * x + y * y)); }},
        {"from corner to corner",
         [](double x, double y, double) { return 0.2 + 0.7 * x - 0.1 * y + 0.2 * x * y; }},
        {"next to nothing", [](double, double, double light) { return 0.5 + 0.01 * light; }},
    };
    const Pixels any = scene(256, 192, 1);
    for (const auto &[what, light] : cases) {
        const Pixels picture = lit(any, light);
        EXPECT_FALSE(seen(picture)) << what;
        EXPECT_FALSE(seen(decodedPicture(jpegOf(picture, 85)))) << what << ", as a thumbnail";
    }
    Pixels noise = fourCorners(64, 48);
    std::mt19937 random(3);
    for (Colour &colour : noise.colours)
        colour.red = colour.green = colour.blue = static_cast<std::uint8_t>(120 + random() % 3);
    EXPECT_FALSE(seen(noise));
    EXPECT_FALSE(fingerprintOf({{}, 0, 0, 3}));
    EXPECT_FALSE(fingerprintOf({{}, 10, 10, 3})) << "fewer bytes than pixels";
    EXPECT_NO_FATAL_FAILURE(seen(scene(1, 1, 1)));
    EXPECT_NO_FATAL_FAILURE(seen(scene(300, 2, 1)));
}

/// An item with a fingerprint that differs from others' in half of its bits.
DuplicateItem itemNumbered(std::int64_t key) {
    std::mt19937_64 random(static_cast<std::uint64_t>(key) * 977);
    DuplicateItem item;
    item.key = key;
    item.width = 4000;
    item.height = 3000;
    item.date = 1000.0 * static_cast<double>(key);
    item.sum[0] = static_cast<std::byte>(key);
    item.sum[1] = static_cast<std::byte>(key >> 8);
    item.fingerprint = Fingerprint{random(), random()};
    return item;
}

/// A copy of an item, under another key and with other bytes.
DuplicateItem like(const DuplicateItem &item, std::int64_t key) {
    DuplicateItem copy = item;
    copy.key = key;
    copy.sum = itemNumbered(key).sum;
    return copy;
}

void flip(std::uint64_t &hash, int bits) {
    for (int bit = 0; bit < bits; ++bit)
        hash ^= std::uint64_t{1} << (bit * 5 + bits) % 64;
}

TEST(Duplicates, AreDistinguishedFromSimilarPicturesAndFromOthers) {
    const DuplicateItem original = itemNumbered(1);
    using Change = void (*)(DuplicateItem &);
    using enum Likeness;
    constexpr auto none = std::optional<Likeness>();
    const struct {
        const char *what;
        Change change;
        std::optional<Likeness> expected;
    } cases[] = {
        {"encoded again", [](DuplicateItem &) {}, same},
        {"resized", [](DuplicateItem &i) { i.width = 1000, i.height = 750; }, same},
        {"resized, of another date", [](DuplicateItem &i) { i.width = 1000, i.height = 751, i.date += 9e6; },
         same},
        {"a few bits",
         [](DuplicateItem &i) { flip(i.fingerprint->difference, 6), flip(i.fingerprint->frequency, 6); },
         same},
        {"too many bits of one hash", [](DuplicateItem &i) { flip(i.fingerprint->difference, 7); }, none},
        {"too many bits of the other", [](DuplicateItem &i) { flip(i.fingerprint->frequency, 7); }, none},
        {"cropped", [](DuplicateItem &i) { i.height = 2500; }, none},
        {"a video", [](DuplicateItem &i) { i.kind = wickerlane::AssetKind::video; }, none},
        {"longer", [](DuplicateItem &i) { i.duration = 3; }, none},
        {"the next shot", [](DuplicateItem &i) { i.date += 0.2; }, similar},
        {"a copy that lost parts of a second",
         [](DuplicateItem &i) { i.width = 1000, i.height = 750, i.date += 0.4; }, same},
        {"a copy of the next shot", [](DuplicateItem &i) { i.width = 1000, i.height = 750, i.date += 2; },
         similar},
        {"a later shot", [](DuplicateItem &i) { i.date += 50, flip(i.fingerprint->difference, 12); },
         similar},
        {"a shot of something else",
         [](DuplicateItem &i) { i.date += 1, flip(i.fingerprint->frequency, 13); }, none},
        {"a shot of much the same, much later",
         [](DuplicateItem &i) { i.date += 61, flip(i.fingerprint->difference, 9); }, none},
        {"nothing to see", [](DuplicateItem &i) { i.fingerprint.reset(); }, none},
    };
    for (const auto &[what, change, expected] : cases) {
        DuplicateItem other = like(original, 2);
        change(other);
        EXPECT_EQ(likenessOf(original, other), expected) << what;
        EXPECT_EQ(likenessOf(other, original), expected) << what;
        other.sum = original.sum;
        EXPECT_EQ(likenessOf(original, other), same) << what << ", but of the same bytes";
    }
}

/// All pairs, without bands or order in time.
std::vector<DuplicateGroup> groupsByAllPairs(const std::vector<DuplicateItem> &items) {
    std::vector<DuplicateGroup> groups;
    for (const Likeness likeness : {Likeness::same, Likeness::similar}) {
        std::vector<std::size_t> colour(items.size());
        std::iota(colour.begin(), colour.end(), 0);
        for (std::size_t i = 0; i < items.size(); ++i)
            for (std::size_t j = 0; j < i; ++j)
                if (likenessOf(items[i], items[j]) == likeness)
                    std::ranges::replace(colour, std::size_t{colour[i]}, std::size_t{colour[j]});
        for (std::size_t each = 0; each < items.size(); ++each) {
            DuplicateGroup group{likeness, {}};
            for (std::size_t i = 0; i < items.size(); ++i)
                if (colour[i] == each)
                    group.keys.push_back(items[i].key);
            std::ranges::sort(group.keys);
            if (group.keys.size() > 1)
                groups.push_back(group);
        }
    }
    std::ranges::sort(groups, {},
                      [](const DuplicateGroup &g) { return std::pair(g.likeness, g.keys.front()); });
    return groups;
}

TEST(Duplicates, AreAllFoundInWhateverOrderTheItemsCome) {
    std::mt19937 random(11);
    std::vector<DuplicateItem> items;
    for (std::int64_t key = 1; key <= 1200; ++key) {
        if (key < 400) {
            items.push_back(itemNumbered(key));
            continue;
        }
        // Others are made of earlier ones, with bits flipped anywhere, in or out of reach.
        DuplicateItem item = like(items[random() % items.size()], key);
        const unsigned flips = random() % 16;
        for (unsigned bit = 0; bit < flips; ++bit)
            (random() % 2 == 0 ? item.fingerprint->difference : item.fingerprint->frequency) ^=
                std::uint64_t{1} << random() % 64;
        if (random() % 2 == 0)
            item.date += static_cast<double>(random() % 90);
        if (random() % 20 == 0)
            item.fingerprint.reset();
        if (random() % 20 == 0)
            item.sum = items[random() % items.size()].sum;
        items.push_back(item);
    }
    const std::vector<DuplicateGroup> expected = groupsByAllPairs(items);
    ASSERT_GT(expected.size(), 100U);
    const CannotLink strangers[] = {{1, 2}, {90'000, 90'001}};
    for (int round = 0; round < 4; ++round) {
        EXPECT_EQ(findDuplicates(items, {}), expected);
        EXPECT_EQ(findDuplicates(items, strangers), expected) << "also of what is in no group";
        std::ranges::shuffle(items, random);
    }
}

TEST(Duplicates, ThatAPersonDeniesAreKeptApart) {
    // 1 - 2 - 3 - 4, each like the next; 2 and 3 are the most alike.
    std::vector<DuplicateItem> chain{itemNumbered(1)};
    for (std::int64_t key = 2; key <= 4; ++key) {
        chain.push_back(like(chain.back(), key));
        for (int bit = 0; bit < (key == 3 ? 2 : 5); ++bit)
            chain.back().fingerprint->difference ^= std::uint64_t{1} << (key * 10 + bit);
    }
    using Groups = std::vector<std::vector<std::int64_t>>;
    const struct {
        std::vector<CannotLink> constraints;
        Groups expected;
    } cases[] = {
        {{}, {{1, 2, 3, 4}}},
        {{{2, 3}}, {{1, 2}, {3, 4}}},
        {{{1, 4}}, {{1, 2, 3}}}, // 3 and 4 are as alike as 1 and 2: the older go first
        {{{1, 2}, {1, 3}, {1, 4}}, {{2, 3, 4}}},
        {{{1, 2}, {1, 3}, {1, 4}, {2, 3}, {2, 4}, {3, 4}}, {}},
    };
    std::mt19937 random(5);
    for (const auto &[constraints, expected] : cases)
        for (int round = 0; round < 6; ++round) {
            Groups found;
            for (const DuplicateGroup &group : findDuplicates(chain, constraints))
                found.push_back(group.keys);
            EXPECT_EQ(found, expected) << constraints.size();
            std::ranges::shuffle(chain, random);
        }
    // Also of the same bytes.
    DuplicateItem twin = itemNumbered(8);
    twin.sum = chain[0].sum;
    const DuplicateItem pair[] = {chain[0], twin};
    EXPECT_EQ(findDuplicates(pair, {}).size(), 1U);
    const CannotLink apart[] = {{std::min(chain[0].key, twin.key), std::max(chain[0].key, twin.key)}};
    EXPECT_EQ(findDuplicates(pair, apart).size(), 0U);
}

} // namespace
