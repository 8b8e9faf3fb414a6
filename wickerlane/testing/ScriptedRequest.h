// A request that a scripted daemon has received.
#ifndef WICKERLANE_TESTING_SCRIPTEDREQUEST_H
#define WICKERLANE_TESTING_SCRIPTEDREQUEST_H

#include <sys/types.h>

#include <string>
#include <string_view>
#include <vector>

#include "wickerlane/platform/object/Dictionary.h"

namespace wickerlane {

/// What was sent, as copies that own what they hold.
struct WL_EXPORT ScriptedRequest {
    std::string operation; ///< Its name; empty when it is a request of none.
    /// The values by their keys, in the order in which they were sent, without the code of the operation:
    /// texts, numbers, data, arrays and dictionaries. URLs and object IDs are texts. An open file, or the
    /// pixels of a picture, are a text for people.
    Ref<Dictionary> values;
    bool wantsReply = false;
    pid_t process = 0; ///< Who sent it.

    /// Null when there is none, or one of another type; lives as long as the request.
    template <class T>
    [[nodiscard]] T *get(std::string_view key) const {
        return values->get<T>(key);
    }
    /// In the order in which they were sent.
    [[nodiscard]] std::vector<std::string> keys() const;
    /// The request on one line: "renameAlbumWithUUID:to: albumUUID=... name=Dunes".
    [[nodiscard]] std::string text() const;
};

} // namespace wickerlane

#endif
