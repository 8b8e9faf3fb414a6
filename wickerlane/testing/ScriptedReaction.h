// What a scripted daemon does when a request comes.
#ifndef WICKERLANE_TESTING_SCRIPTEDREACTION_H
#define WICKERLANE_TESTING_SCRIPTEDREACTION_H

#include <chrono>
#include <string_view>
#include <vector>

#include "wickerlane/model/AssetChange.h"
#include "wickerlane/model/AssetQuery.h"
#include "wickerlane/model/ManagedAlbum.h"
#include "wickerlane/model/Moments.h"
#include "wickerlane/model/Problem.h"
#include "wickerlane/platform/object/Handler.h"
#include "wickerlane/protocol/Row.h"
#include "wickerlane/testing/ScriptedRequest.h"

namespace wickerlane {

struct ReactionBody;

/// One reaction, for any number of requests. Copies are independent.
///
///     ScriptedReaction::answer().with(protocol::keys::version, 3).after(std::chrono::milliseconds(200))
///     ScriptedReaction::failure(ProblemKind::busy, "the library is in use")
///
/// What no daemon could send, as a key that the operation's reply does not have, throws
/// std::invalid_argument: here, or where the reaction is given to the daemon.
class WL_EXPORT ScriptedReaction {
public:
    // Copies share what they hold until one of them is changed.
    ScriptedReaction(const ScriptedReaction &other);
    ScriptedReaction(ScriptedReaction &&other) noexcept;
    ScriptedReaction &operator=(ScriptedReaction other) noexcept;
    ~ScriptedReaction();

    /// An answer with nothing in it, to be filled by with().
    [[nodiscard]] static ScriptedReaction answer();
    /// An answer with plain values by the keys of the operation's reply, of the types that ScriptedRequest
    /// names. Under "assets", "albums", "changes" and the like stand arrays of dictionaries; docs/testing.md
    /// lists their keys. An open file is the path of a file, which is opened for each answer.
    [[nodiscard]] static ScriptedReaction answer(const Dictionary *values);
    /// The daemon says no, in the way that it has for the operation: with an error of that kind and text, or
    /// with the keys by which the operation says so. `text` is a line for people.
    /// Never `unreachable`, `timedOut` or `cancelled`: stop() the daemon, or hold its answer.
    [[nodiscard]] static ScriptedReaction failure(ProblemKind kind, std::string_view text);
    /// The daemon is gone, as if it was killed: all connections end, nothing that waits is answered. The next
    /// request reaches a new one, as if it had been started again.
    [[nodiscard]] static ScriptedReaction death();
    /// What the function returns for each request. It runs on a thread of the daemon's, and must not wait.
    [[nodiscard]] static ScriptedReaction by(Handler<ScriptedReaction(const ScriptedRequest &)> function);

    // Answers to queries. Pages begin at the cursor of the query and have as many as it asks for; nothing is
    // filtered or sorted. What records leave out is made up: primary keys, UUIDs, names.

    [[nodiscard]] static ScriptedReaction assets(std::vector<AssetRecord> records);
    [[nodiscard]] static ScriptedReaction albums(std::vector<AlbumRecord> records);
    [[nodiscard]] static ScriptedReaction moments(std::vector<MomentRecord> records);
    [[nodiscard]] static ScriptedReaction duplicates(std::vector<DuplicatesRecord> groups);
    [[nodiscard]] static ScriptedReaction sections(const std::vector<AssetSection> &sections);
    [[nodiscard]] static ScriptedReaction changes(const ChangesPage &page);

    /// Adds a value to an answer.
    template <class Coding>
    ScriptedReaction &with(const protocol::Key<Coding> &key,
                           std::type_identity_t<typename Coding::Write> value) {
        Coding::write(changedValues(key), key.text, value);
        return *this;
    }

    /// It comes after `delay`. Other requests don't wait for it.
    ScriptedReaction &after(std::chrono::nanoseconds delay);
    /// It comes when ScriptedDaemon::release() is called; never if it isn't.
    ScriptedReaction &whenReleased();

private:
    friend class ScriptedDaemon;

    explicit ScriptedReaction(Ref<ReactionBody> made) noexcept;
    [[nodiscard]] ReactionBody &changed();
    [[nodiscard]] MessageDictionary *changedValues(const protocol::Field &field);
    Ref<ReactionBody> body;
};

} // namespace wickerlane

#endif
