// The trash, edits and dates, with the real daemon.
#include "tests/api/CProgram.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

class CTrash : public CProgram {
protected:
    void SetUp() override {
        CProgram::SetUp();
        saved = WLSaveJobRun(jobOfBytes(picture).get(), nullptr);
        asset = assetOf(saved);
        ASSERT_TRUE(asset);
    }
    [[nodiscard]] std::int64_t codeOf(bool done) const {
        EXPECT_EQ(done, error == nullptr);
        return done ? success : WLErrorCode(error);
    }
    /// The file that programs are shown.
    [[nodiscard]] FileBytes shown() const {
        const auto path = Ref<WLString>::adopt(WLNCreatePathForPersistentURL(WLAssetURL(asset.get())));
        return path ? contentsOf(std::string(path->utf8())) : FileBytes();
    }

    const FileBytes picture = pngOf(fourCorners(20, 10));
    WLSavedAsset *saved = nullptr;
    Ref<WLAsset> asset;
};

using CEdits = CTrash;

TEST_F(CTrash, GivesAssetsBackUntilTheyAreRemoved) {
    WLURL *const url = WLAssetURL(asset.get());
    EXPECT_EQ(codeOf(WLTrashRestore(url, &error)), WLErrorNotFound) << "it is not in the trash";
    EXPECT_EQ(codeOf(WLAssetDelete(asset.get(), &error)), success);
    EXPECT_FALSE(assetOf(saved));
    const auto page = Ref<WLTrashPage>::adopt(WLTrashPageCreate(10, &error));
    ASSERT_EQ(WLTrashPageCount(page.get()), 1U);
    EXPECT_STREQ(WLAssetUUID(WLTrashPageGet(page.get(), 0)), WLAssetUUID(asset.get()));
    EXPECT_GT(WLTrashPageDate(page.get(), 0), WLAssetDateAdded(asset.get()));
    EXPECT_EQ(WLTrashPageGet(page.get(), 1), nullptr);
    EXPECT_EQ(WLTrashPageCreateNext(page.get(), &error), nullptr);
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(WLTrashPageCreate(0, &error), nullptr);
    EXPECT_EQ(WLErrorCode(error), WLErrorInvalid);
    EXPECT_EQ(codeOf(WLTrashRestore(url, &error)), success);
    EXPECT_TRUE(assetOf(saved));
    const auto query = Ref<WLAssetQuery>::adopt(WLAssetQueryCreate());
    EXPECT_EQ(WLAssetQueryCount(query.get(), &error), 1);
    EXPECT_EQ(WLAssetQueryCount(nullptr, &error), -1);
    EXPECT_EQ(codeOf(WLTrashRemove(url, &error)), success);
    EXPECT_FALSE(assetOf(saved));
    EXPECT_EQ(codeOf(WLTrashRestore(url, &error)), WLErrorNotFound) << "it is gone for good";
    EXPECT_EQ(codeOf(WLTrashRemove(url, &error)), WLErrorNotFound);
    EXPECT_EQ(codeOf(WLTrashRestore(nullptr, &error)), WLErrorInvalid);
    EXPECT_EQ(codeOf(WLTrashRemove(nullptr, &error)), WLErrorInvalid);
}

TEST_F(CTrash, WorksWithHandlersToo) {
    WLURL *const url = WLAssetURL(asset.get());
    const auto remove = [&](const auto &handler) { WLAssetDeleteWithHandler(asset.get(), handler); };
    const auto restore = [&](const auto &handler) { WLTrashRestoreWithHandler(url, handler); };
    EXPECT_EQ(codeFrom(remove), success);
    EXPECT_EQ(codeFrom(remove), WLErrorNotFound);
    EXPECT_EQ(codeFrom(restore), success);
    EXPECT_TRUE(assetOf(saved));
    EXPECT_EQ(codeFrom(remove), success);
    EXPECT_EQ(codeFrom([](const auto &handler) { WLTrashEmptyWithHandler(handler); }), success);
    EXPECT_EQ(codeFrom(restore), WLErrorNotFound);
    EXPECT_EQ(codeFrom([&](const auto &handler) { WLTrashRemoveWithHandler(url, handler); }),
              WLErrorNotFound);
    EXPECT_EQ(codeOf(WLTrashEmpty(&error)), success) << "an empty trash, too";
}

TEST_F(CEdits, AreShownUntilTheyAreReverted) {
    const FileBytes edited = pngOf(fourCorners(6, 6));
    const auto data = Ref<WLData>::adopt(WLDataCreate(edited.data(), edited.size()));
    const auto words = Ref<WLData>::adopt(WLDataCreate("words", 5));
    const auto properties = Dictionary::createWithKeys({{"crop", Number::of(true)}});
    EXPECT_EQ(codeOf(WLAssetRevert(asset.get(), &error)), WLErrorNotFound);
    EXPECT_EQ(codeOf(WLAssetSetEdit(asset.get(), words.get(), nullptr, &error)), WLErrorInvalid);
    EXPECT_EQ(codeOf(WLAssetSetEdit(asset.get(), nullptr, nullptr, &error)), WLErrorInvalid);
    EXPECT_EQ(shown(), picture);
    EXPECT_EQ(codeOf(WLAssetSetEdit(asset.get(), data.get(), properties.get(), &error)), success);
    EXPECT_EQ(shown(), edited);
    WLDictionary *said = nullptr;
    const WLURL *file = WLAssetGetEdit(asset.get(), &said, &error);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(contentsOf(file->fileSystemPath()), edited);
    EXPECT_TRUE(WLIsEqual(said, properties.get()));
    EXPECT_EQ(codeOf(WLAssetRevert(asset.get(), &error)), success);
    EXPECT_EQ(shown(), picture);
    EXPECT_EQ(WLAssetGetEdit(asset.get(), nullptr, &error), nullptr);
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(codeOf(WLAssetRevert(nullptr, &error)), WLErrorInvalid);
    EXPECT_EQ(codeOf(WLAssetSetEdit(nullptr, data.get(), nullptr, &error)), WLErrorInvalid);
}

TEST_F(CEdits, ChangeDatesAndUses) {
    const double date = WLAssetDateCreated(asset.get());
    Array *const assets = Array::of({asset.get()});
    EXPECT_EQ(codeOf(WLAssetsAdjustDates(assets, -3600, &error)), success);
    EXPECT_EQ(WLAssetDateCreated(assetOf(saved).get()), date - 3600);
    EXPECT_EQ(codeOf(WLAssetsAdjustDates(nullptr, 1, &error)), WLErrorInvalid);

    EXPECT_EQ(codeOf(WLAssetSetExternalUsageIntent(asset.get(), 3, &error)), success);
    EXPECT_EQ(WLAssetExternalUsageIntent(assetOf(saved).get()), 3U);
    const auto use = [](WLAsset *used) {
        return codeFrom(
            [used](const auto &handler) { WLAssetSetExternalUsageIntentWithHandler(used, 4, handler); });
    };
    EXPECT_EQ(use(asset.get()), success);
    EXPECT_EQ(WLAssetExternalUsageIntent(assetOf(saved).get()), 4U);
    EXPECT_EQ(use(nullptr), WLErrorInvalid);
    EXPECT_EQ(codeOf(WLAssetSetExternalUsageIntent(nullptr, 1, &error)), WLErrorInvalid);
}

} // namespace
