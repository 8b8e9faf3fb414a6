// What a program in C does with the real daemon.
#ifndef WICKERLANE_TESTS_API_CPROGRAM_H
#define WICKERLANE_TESTS_API_CPROGRAM_H

#include "tests/api/HandlerCode.h"
#include "tests/hoardd/RunningHoardd.h"
#include "wickerlane/api/Wickerlane.h"

namespace wickerlane::test {

class CProgram : public RunningHoardd {
protected:
    static Ref<WLSaveJob> jobOfFile(const std::string &path) {
        return Ref<WLSaveJob>::adopt(WLSaveJobCreateWithFile(path.c_str()));
    }
    static Ref<WLSaveJob> jobOfBytes(const FileBytes &bytes) {
        const auto data = Ref<WLData>::adopt(WLDataCreate(bytes.data(), bytes.size()));
        return Ref<WLSaveJob>::adopt(WLSaveJobCreateWithData(data.get()));
    }
    /// The one asset of that identity, or of the album; null when there is none.
    static Ref<WLAsset> assetOf(const WLSavedAsset *saved, const char *album = nullptr) {
        const auto query = Ref<WLAssetQuery>::adopt(WLAssetQueryCreate());
        WLAssetQuerySetIdentity(query.get(), WLStringText(WLSavedAssetUUID(saved)));
        WLAssetQuerySetAlbum(query.get(), album);
        const auto page = Ref<WLAssetPage>::adopt(WLAssetPageCreate(query.get(), nullptr));
        return WLAssetPageGet(page.get(), 0);
    }

    WLError *error = nullptr;
    ReleaseScope scope;
};

} // namespace wickerlane::test

#endif
