// The headers, compiled as C++11 and used by it.
#include "tests/api/FromC.h"
#include "wickerlane/api/Wickerlane.h"

static_assert(__cplusplus == 201103L, "this file is compiled as C++11");

long countFromOldCpp() {
    WLScope *scope = WLScopePush();
    WLAssetQuery *query = WLAssetQueryCreate();
    WLError *error = nullptr;
    long count = 0;
    for (WLAssetPage *page = WLAssetPageCreate(query, &error); page != nullptr;) {
        count += static_cast<long>(WLAssetPageCount(page));
        WLAssetPage *next = WLAssetPageCreateNext(page, &error);
        WLRelease(page);
        page = next;
    }
    if (error != nullptr)
        count = -1;
    WLRelease(query);
    WLScopePop(scope);
    return count;
}
