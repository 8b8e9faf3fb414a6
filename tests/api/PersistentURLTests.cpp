#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>

#include "tests/support/Descriptors.h"
#include "wickerlane/api/Wickerlane.h"
#include "wickerlane/platform/consent/Consent.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/process/ProcessFacts.h"

using namespace wickerlane;

namespace {

constexpr const char *photo = "rez-vault://asset/asset.JPG?id=1";
constexpr const char *song = "jukelet-library://item/item.m4a?id=1";
constexpr const char *loudPhoto = "REZ-VAULT://asset/asset.JPG?id=1";
constexpr const char *page = "https://example.org/";
constexpr const char *relative = "asset.JPG";

TEST(PersistentURL, IsRecognisedByItsScheme) {
    ReleaseScope scope;
    const struct {
        const char *url;
        bool isPersistent;
    } cases[] = {{photo, true},
                 {song, true},
                 {"rez-vault:", true},
                 {loudPhoto, false},
                 {"Jukelet-library:x", false},
                 {"rez-vault2:x", false},
                 {page, false},
                 {relative, false}};
    for (const auto &[url, isPersistent] : cases)
        EXPECT_EQ(WLNIsPersistentURL(URL::of(url)), isPersistent) << url;
    EXPECT_FALSE(WLNIsPersistentURL(nullptr));
}

TEST(PersistentURL, IsAccessibleByConsentAndLibrary) {
    test::allowLastingDescriptors(test::folderWatchDescriptors);
    ReleaseScope scope;
    makeFolders(rootPath());
    const PeerIdentity self{getuid(), getgid(), getpid(), startTimeOf(getpid()), programOf(getpid())};
    PeerIdentity gone = self;
    gone.startTime += 1;
    const auto access = [](const char *url, const PeerIdentity &peer) {
        WLAuditToken token;
        std::ranges::copy(auditTokenOf(peer), token.words);
        return WLNGetCurrentAccessForURLAndToken(url != nullptr ? URL::of(url) : nullptr, token);
    };
    const char *const urls[] = {photo, song, loudPhoto, page, relative, nullptr};
    for (const char *url : urls)
        EXPECT_EQ(access(url, self), 2) << "the owner of the library has consent: " << url;

    ASSERT_TRUE(ConsentStore::shared().decide({kPVGServicePhotos, self.program.path, self.user, false}));
    for (const char *url : urls)
        for (const PeerIdentity &peer : {self, gone})
            EXPECT_EQ(access(url, peer), url == song ? 2 : 0) << (url != nullptr ? url : "null");

    ASSERT_TRUE(ConsentStore::shared().decide({kPVGServicePhotos, self.program.path, self.user, true}));
    EXPECT_EQ(access(photo, self), 2);
    EXPECT_EQ(access(photo, gone), 0) << "another process that had the same id";
    EXPECT_EQ(WLNGetCurrentAccessForURLAndToken(URL::of(photo), WLAuditToken{}), 0) << "no token";
    EXPECT_EQ(WLNGetCurrentAccess(), 2);
}

} // namespace
