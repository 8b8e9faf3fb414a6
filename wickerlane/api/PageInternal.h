// How pages are asked for.
#ifndef WICKERLANE_API_PAGEINTERNAL_H
#define WICKERLANE_API_PAGEINTERNAL_H

#include "wickerlane/api/ErrorInternal.h"
#include "wickerlane/api/QueryObjects.h"
#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane {

/// Asks by `ask`, a member of the client; `itemsOf` takes the answer's objects out of it. Owned; null, with
/// an error, on failure.
template <class Page, class Query, class Answer, class ItemsOf>
Page *createPage(std::optional<Answer> (JXGatekeeperClient::*ask)(const Query &), Query query,
                 const ItemsOf &itemsOf, WLError **error) {
    std::optional<Answer> answer = (JXGatekeeperClient::sharedInstance()->*ask)(query);
    if (!answer)
        return withLastError<Page *>(nullptr, error);
    query.cursor = std::move(answer->next);
    return withLastError(makeRef<Page>(std::move(query), itemsOf(*std::move(answer))).leak(), error);
}

/// The page that follows by `create`, which takes a query and an error; null without an error when there is
/// none.
template <class Page>
Page *createNext(const Page *page, Page *(*create)(const decltype(page->next()) &, WLError **),
                 WLError **error) {
    if (page != nullptr && !page->isLast())
        return create(page->next(), error);
    if (error != nullptr)
        *error = nullptr;
    return nullptr;
}

} // namespace wickerlane

#endif
