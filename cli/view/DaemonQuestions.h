// Questions to the daemon, and why one has failed.
#ifndef CLI_VIEW_DAEMONQUESTIONS_H
#define CLI_VIEW_DAEMONQUESTIONS_H

#include <chrono>
#include <string>
#include <thread>

#include "wickerlane/model/AssetFields.h"
#include "wickerlane/model/ManagedAsset.h"
#include "wickerlane/model/Result.h"

namespace wickerlane::cli::view {

/// Why the client's last operation on this thread has failed. `absence` is said when the daemon has answered,
/// but gave nothing.
Failure failAsked(std::string absence = "there is no such thing in the library");
/// Whether it has failed because the daemon ended, so that it may be asked again.
bool hasEnded();

/// Asks the daemon a question, which changes nothing: again, if the daemon ended before it answered. Gives
/// what `ask` gives: something that is false when there is no answer.
template <class Ask>
auto askAgain(const Ask &ask) {
    auto given = ask();
    for (int times = 0; !given && hasEnded() && times < 5; ++times) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        given = ask();
    }
    return given;
}

/// An asset by its UUID, with those fields.
Result<Ref<ManagedAsset>> assetWithUUID(const std::string &uuid, AssetFields fields = AssetFields::all);

} // namespace wickerlane::cli::view

#endif
