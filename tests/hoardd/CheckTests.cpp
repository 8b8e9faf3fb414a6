// What a check finds, what a repair mends, and what is recognised as there already.
#include <sys/resource.h>
#include <sys/stat.h>

#include <filesystem>
#include <map>
#include <set>

#include "tests/hoardd/FileAge.h"
#include "tests/hoardd/FileSum.h"
#include "tests/hoardd/RunningHoardd.h"
#include "wickerlane/store/LibraryCheck.h"

using namespace wickerlane;
using namespace wickerlane::test;
using store::Finding;
namespace fs = std::filesystem;

namespace {

class Check : public RunningHoardd {
protected:
    std::multimap<Finding::Kind, std::string> findings() const {
        store::CheckOptions options;
        options.sumOfFile = [](const std::string &path) { return Result<Sha256>(sumOfFile(path)); };
        const auto report = store::checkLibrary(paths, options);
        EXPECT_TRUE(report) << report.error().text;
        std::multimap<Finding::Kind, std::string> found;
        if (report)
            for (const Finding &each : report->findings)
                found.emplace(each.kind, each.path);
        return found;
    }
    /// What a save of each of these, unless its bytes are there already, answers.
    std::vector<MutableDictionary *> saveOnce(const std::vector<FileBytes> &pictures) const {
        auto coded = MessageArray::create();
        for (const FileBytes &picture : pictures)
            coded->append(Ref<MessageDictionary>::adopt(
                              JXJobCreateMsgDictionaryFromDictionary(
                                  Dictionary::createWithKeys({{"imageData", dataOf(picture).get()},
                                                              {"unlessPresent", Number::of(true)}})
                                      .get()))
                              .get());
        const auto message = request(9);
        message->set("jobDictionaries", coded.get());
        const auto reply = answer(message.get());
        const MessageArray *results = reply->getArray("resultJobDictionaries");
        std::vector<MutableDictionary *> saved;
        for (std::size_t i = 0; results != nullptr && i < results->count(); ++i)
            saved.push_back(JXJobDictionaryFromMsgDictionary(results->at(i)));
        return saved;
    }
};

TEST_F(Check, FindsEachFaultAndRepairMendsWhatCanBe) {
    ReleaseScope scope;
    EXPECT_EQ(answer(request(16).get())->getUInt64("photoCount"), 0U);
    std::vector<AssetRecord> assets;
    for (std::uint32_t i = 0; i < 5; ++i) {
        const MutableDictionary *saved = saveData(jpegOf(fourCorners(300 + i, 200)));
        const auto edited = request(17);
        edited->setString("assetURL", textIn(saved, "assetURL"));
        const FileBytes picture = pngOf(fourCorners(40, 30 + i));
        edited->setData("imageData", picture.data(), picture.size());
        EXPECT_TRUE(answer(edited.get())->getBool("success"));
        assets.push_back(StoreView::open()->assetWithUUID(textIn(saved, "uuid"))->record());
    }
    EXPECT_TRUE(findings().empty());

    const std::string changed = paths.original(assets[0]), shortened = paths.original(assets[1]);
    chmod(changed.c_str(), 0600);
    FileBytes bytes = contentsOf(changed);
    bytes[bytes.size() / 2] ^= std::byte{1};
    writeFile(changed, bytes);
    chmod(shortened.c_str(), 0600);
    fs::resize_file(shortened, 10);
    const std::string missing = paths.original(assets[2]);
    fs::remove(missing);
    const std::string thumbnail = paths.thumbnail(assets[3].uuid, store::ThumbnailSize::small);
    fs::remove(thumbnail);
    const std::string rendition = fs::directory_iterator(paths.renditionFolder(assets[4].uuid))->path();
    fs::remove(rendition);
    const std::string edited = fs::directory_iterator(paths.renditionFolder(assets[1].uuid))->path();
    FileBytes edit = contentsOf(edited);
    edit.back() ^= std::byte{1};
    writeFile(edited, edit);
    const std::string strays[] = {paths.folder() + "/DCIM/AA/stray.JPG",
                                  paths.folder() + "/PhotoData/Thumbnails/AA/stray.JPG",
                                  paths.folder() + "/PhotoData/Renditions/AA/stray.JPG"};
    const FileBytes words(30, std::byte{'w'}); // no picture, which would become an asset
    for (const std::string &stray : strays) {
        fs::create_directories(fs::path(stray).parent_path());
        writeFile(stray, words);
        letSettle(stray);
    }

    using Kind = Finding::Kind;
    std::multimap<Kind, std::string> expected{
        {Kind::changedOriginal, changed}, {Kind::changedOriginal, shortened},
        {Kind::missingOriginal, missing}, {Kind::missingThumbnail, thumbnail},
        {Kind::changedRendition, edited}, {Kind::missingRendition, rendition},
        {Kind::strayOriginal, strays[0]}, {Kind::strayThumbnail, strays[1]},
        {Kind::strayRendition, strays[2]}};
    const auto sorted = [](const auto &map) {
        return std::set<std::pair<Kind, std::string>>(map.begin(), map.end());
    };
    EXPECT_EQ(sorted(findings()), sorted(expected));

    SCOPED_TRACE(refusal(request(27).get())); // says what stays broken
    for (const Kind kind : {Kind::missingThumbnail, Kind::missingRendition, Kind::strayOriginal,
                            Kind::strayThumbnail, Kind::strayRendition})
        expected.erase(kind);
    EXPECT_EQ(sorted(findings()), sorted(expected));
    EXPECT_GT(decodedPicture(contentsOf(thumbnail)).width, 0U);
    std::size_t kept = 0;
    for (const auto &entry : fs::directory_iterator(paths.lostAndFound()))
        kept += contentsOf(entry.path()) == words ? 1 : 0;
    EXPECT_EQ(kept, std::size(strays)) << "strays are kept";
}

TEST_F(Check, KnowsWhatIsThereAlready) {
    ReleaseScope scope;
    const FileBytes one = jpegOf(fourCorners(64, 48)), two = pngOf(fourCorners(20, 20));
    const auto first = saveOnce({one, two, one});
    ASSERT_EQ(first.size(), 3U);
    EXPECT_EQ(textIn(first[2], "uuid"), textIn(first[0], "uuid")) << "within one batch";
    EXPECT_NE(textIn(first[0], "uuid"), textIn(first[1], "uuid"));
    const auto again = saveOnce({two, one});
    for (const std::size_t i : {0U, 1U}) {
        EXPECT_EQ(textIn(again[i], "uuid"), textIn(first[1 - i], "uuid"));
        EXPECT_EQ(numberIn(again[i], "wasPresent"), 1);
        EXPECT_EQ(imageData(again[i], 0), i == 0 ? two : one);
    }
    EXPECT_EQ(answer(request(16).get())->getUInt64("photoCount"), 2U);
    EXPECT_NE(textIn(saveData(one), "uuid"), textIn(first[0], "uuid")) << "as often as it is asked for";
    EXPECT_TRUE(findings().empty());
    EXPECT_TRUE(fs::is_empty(paths.saving()));
}

TEST_F(Check, WritesThatFailCostOnlyTheirOwnSave) {
    ReleaseScope scope;
    const FileBytes small = pngOf(fourCorners(8, 8)), large = jpegOf(fourCorners(1400, 1100), 100);
    std::vector<std::pair<MutableDictionary *, FileBytes>> answered;
    answered.emplace_back(saveData(small), small);
    const pid_t process = daemon().id;
    // Files can't grow beyond this many bytes from now on, as on a disk that is full.
    const auto limit = [&](rlim_t bytes) {
        rlimit limits{};
        getrlimit(RLIMIT_FSIZE, &limits);
        limits.rlim_cur = std::min(bytes, limits.rlim_max);
        ASSERT_EQ(prlimit(process, RLIMIT_FSIZE, &limits, nullptr), 0);
    };
    std::size_t refused = 0;
    for (const rlim_t bytes : {rlim_t{20'000}, rlim_t{4096}, rlim_t{100}}) {
        limit(bytes);
        for (const FileBytes &picture : {large, small, jpegOf(fourCorners(900, 700))}) {
            MutableDictionary *result = saveData(picture);
            if (const std::string error = textIn(result, "error"); !error.empty()) {
                ++refused;
                EXPECT_NE(error.find("can't "), std::string::npos) << error;
            } else {
                answered.emplace_back(result, picture);
            }
        }
    }
    EXPECT_GT(refused, 3U);
    limit(RLIM_INFINITY);
    answered.emplace_back(saveData(large), large);
    EXPECT_EQ(textIn(answered.back().first, "error"), "") << "with room again, it goes on";
    end(daemon(), SIGTERM);
    connection = connect();
    for (const auto &[result, picture] : answered)
        EXPECT_EQ(imageData(result, 0), picture);
    EXPECT_EQ(answer(request(16).get())->getUInt64("photoCount"), answered.size());
    EXPECT_TRUE(findings().empty());
    EXPECT_TRUE(fs::is_empty(paths.saving()));
}

} // namespace
