// Setting what people say of assets, through a running daemon.
#include "tests/hoardd/RunningHoardd.h"
#include "wickerlane/store/Sqlite.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

class Details : public RunningHoardd {
protected:
    static Ref<Array> textsOf(const std::vector<std::string> &values) {
        auto texts = MutableArray::create();
        for (const std::string &each : values)
            texts->append(String::of(each));
        return texts;
    }
    [[nodiscard]] static Ref<MessageDictionary> setting(Dictionary *properties,
                                                        const std::vector<std::string> &uuids) {
        auto message = request(1040);
        JXMsgDictionarySetDictionary(message.get(), "properties", properties);
        JXMsgDictionarySetArray(message.get(), "photoUUIDs", textsOf(uuids).get());
        return message;
    }
    [[nodiscard]] std::string set(std::string_view key, Object *value,
                                  const std::vector<std::string> &uuids) const {
        return refusal(setting(Dictionary::createWithKeys({{key, value}}).get(), uuids).get());
    }
    [[nodiscard]] static AssetRecord recordOf(const std::string &uuid) {
        const auto store = StoreView::open();
        return store->assetWithUUID(uuid)->record();
    }
    [[nodiscard]] std::string saved(std::uint32_t width) const {
        return textIn(saveData(pngOf(fourCorners(width, 8))), "uuid");
    }
    [[nodiscard]] std::int64_t number(const char *sql) const {
        auto database = sqlite::Database::open(paths.database(), sqlite::Database::Access::read);
        return database ? database->integer(sql).value_or(-1) : -1;
    }
};

TEST_F(Details, AreSetForAllAssetsAndCanBeReadFromTheStore) {
    const ReleaseScope scope;
    const std::string one = saved(4), two = saved(5), other = saved(6);
    const auto changes = [&] { return number("SELECT count(*) FROM zchange WHERE what = 1"); };
    const auto all = Dictionary::createWithKeys({{"favourite", Number::of(true)},
                                                 {"hidden", Number::of(true)},
                                                 {"rating", Number::of(5)},
                                                 {"caption", String::of("At sea\nby night \xF0\x9F\x8C\x99")},
                                                 {"keywords", textsOf({"Sky", "Sea", "Sky"}).get()}});
    const std::int64_t before = changes();
    EXPECT_EQ(refusal(setting(all.get(), {one, two}).get()), "");
    EXPECT_EQ(changes(), before + 2);
    for (const std::string &uuid : {one, two}) {
        const AssetRecord record = recordOf(uuid);
        EXPECT_TRUE(record.favourite && record.hidden);
        EXPECT_EQ(record.rating, 5);
        EXPECT_EQ(record.caption, "At sea\nby night \xF0\x9F\x8C\x99");
        EXPECT_EQ(record.keywords, "Sky\nSea");
    }
    EXPECT_FALSE(recordOf(other).favourite || recordOf(other).rating > 0);

    EXPECT_EQ(set("favourite", Number::of(false), {one}), "");
    EXPECT_EQ(set("rating", Number::of(std::uint64_t{0}), {one}), "");
    EXPECT_EQ(set("caption", String::of(""), {one}), "");
    EXPECT_EQ(set("addKeywords", textsOf({"Night", "Sea"}).get(), {one, other}), "");
    const AssetRecord record = recordOf(one);
    EXPECT_FALSE(record.favourite);
    EXPECT_TRUE(record.hidden) << "what is not named stays";
    EXPECT_EQ(record.rating, 0);
    EXPECT_EQ(record.caption, "");
    EXPECT_EQ(record.keywords, "Sky\nSea\nNight");
    EXPECT_EQ(recordOf(other).keywords, "Night\nSea");
    EXPECT_EQ(set("removeKeywords", textsOf({"Sea", "none"}).get(), {one, other, other}), "");
    EXPECT_EQ(recordOf(one).keywords, "Sky\nNight");
    EXPECT_EQ(recordOf(other).keywords, "Night");
    const auto moved = Dictionary::createWithKeys({{"addKeywords", textsOf({"Sky"}).get()},
                                                   {"removeKeywords", textsOf({"Sky", "Dune"}).get()},
                                                   {"keywords", textsOf({"Sky", "Dune", "Tree"}).get()}});
    EXPECT_EQ(refusal(setting(moved.get(), {one}).get()), "");
    EXPECT_EQ(recordOf(one).keywords, "Tree\nSky");
}

TEST_F(Details, ThatAreWrongChangeNothingAndTheRefusalSaysWhatIsAllowed) {
    const ReleaseScope scope;
    const std::string one = saved(4), two = saved(5);
    std::vector<std::string> many;
    for (int i = 0; i < 64; ++i)
        many.push_back("word " + std::to_string(i));
    ASSERT_EQ(set("keywords", textsOf(many).get(), {two}), "");
    many.emplace_back("one more");
    const struct {
        const char *key;
        Ref<Object> value;
        const char *allowed;
    } cases[] = {
        {"favourite", Number::create(1), "favourite must be a boolean"},
        {"hidden", String::create("yes"), "hidden must be a boolean"},
        {"rating", Number::create(6), "rating must be an integer from 0 to 5"},
        {"rating", Number::create(-1), "rating must be an integer from 0 to 5"},
        {"rating", Number::create(UINT64_MAX), "rating must be an integer from 0 to 5"},
        {"rating", Number::create(2.5), "rating must be an integer from 0 to 5"},
        {"rating", Number::create(true), "rating must be an integer from 0 to 5"},
        {"caption", Number::create(1), "caption must be a text of at most 4096 bytes"},
        {"caption", String::create(std::string(4097, 'x')), "caption must be a text of at most 4096 bytes"},
        {"caption", String::create("\x1B[2J"), "caption must be a text of at most 4096 bytes"},
        {"keywords", String::create("Sea"), "keywords must be an array of at most 64 texts of 1 to 64 bytes"},
        {"keywords", textsOf(many), "keywords must be an array of at most 64 texts of 1 to 64 bytes"},
        {"addKeywords", textsOf({""}), "addKeywords must be an array"},
        {"addKeywords", textsOf({"a\nb"}), "addKeywords must be an array"},
        {"addKeywords", textsOf({" a"}), "addKeywords must be an array"},
        {"addKeywords", textsOf({std::string(65, 'x')}), "addKeywords must be an array"},
        {"removeKeywords", Array::create(std::initializer_list<Object *>{Number::of(1)}),
         "removeKeywords must be an array"},
        {"addKeywords", textsOf({"one more"}), "an asset can have at most 64 keywords"},
        {"colour", Number::create(1), "properties may hold favourite, hidden, rating, caption"},
    };
    for (const auto &each : cases) {
        const auto properties =
            Dictionary::createWithKeys({{"caption", String::of("new")}, {each.key, each.value.get()}});
        const std::string refused = refusal(setting(properties.get(), {one, two}).get());
        EXPECT_TRUE(refused.starts_with(each.allowed)) << refused;
    }
    EXPECT_NE(refusal(setting(Dictionary::create().get(), {one}).get()), "");
    const std::string absent = "00000000-0000-4000-8000-000000000000";
    EXPECT_EQ(set("rating", Number::of(3), {one, absent}), "there is no such asset");
    EXPECT_EQ(set("addKeywords", textsOf({"a"}).get(), {one, absent}), "there is no such asset");
    EXPECT_EQ(set("rating", Number::of(3), {}), "photoUUIDs must name 1 to 10000 assets");
    EXPECT_EQ(set("rating", Number::of(3), std::vector<std::string>(10'001, one)),
              "photoUUIDs must name 1 to 10000 assets");
    EXPECT_EQ(recordOf(one).caption + recordOf(one).keywords, "");
    EXPECT_EQ(recordOf(one).rating, 0);
    EXPECT_EQ(recordOf(two).caption, "");
    EXPECT_EQ(set("rating", Number::of(3), std::vector<std::string>(10'000, one)), "");
    EXPECT_EQ(recordOf(one).rating, 3);
}

TEST_F(Details, KeywordsThatAreStillInTheFileAloneAreKept) {
    const ReleaseScope scope;
    const std::string uuid = textIn(
        saveData(withIptc(jpegOf(fourCorners(16, 16)), {{25, "Sea"}, {25, "Sky"}, {120, "By the sea"}})),
        "uuid");
    ASSERT_EQ(recordOf(uuid).keywords, "Sea\nSky");
    end(daemon(), SIGTERM);
    {
        auto database = sqlite::Database::open(paths.database(), sqlite::Database::Access::write);
        ASSERT_TRUE(
            database->execute("UPDATE zgenericasset SET keywords = '', caption = '', duedetails = 15;"));
    }
    connection = connect();
    const auto properties = Dictionary::createWithKeys({{"addKeywords", textsOf({"Night"}).get()},
                                                        {"removeKeywords", textsOf({"Sky"}).get()},
                                                        {"caption", String::of("Mine")}});
    EXPECT_EQ(refusal(setting(properties.get(), {uuid}).get()), "");
    EXPECT_EQ(recordOf(uuid).keywords, "Sea\nNight");
    EXPECT_EQ(recordOf(uuid).caption, "Mine");
    EXPECT_EQ(recordOf(uuid).dueDetails, 0);
}

} // namespace
