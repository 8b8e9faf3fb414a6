// What a reaction holds.
#ifndef WICKERLANE_TESTING_REACTIONBODY_H
#define WICKERLANE_TESTING_REACTIONBODY_H

#include <variant>

#include "wickerlane/testing/ScriptedReaction.h"

namespace wickerlane::reaction {

/// Records of which each answer holds a page.
using Rows = std::variant<std::monostate, std::vector<AssetRecord>, std::vector<MomentRecord>,
                          std::vector<DuplicatesRecord>>;

struct Answer {
    Ref<MessageDictionary> values = MessageDictionary::create();
    std::vector<protocol::Field> fields{}; ///< Of the values.
    Ref<const Dictionary> plain{};         ///< More of them, not yet in the form in which they travel.
    Rows rows{};
};

struct Failure {
    ProblemKind kind;
    std::string text;
};

struct Death {};

using Function = Handler<ScriptedReaction(const ScriptedRequest &)>;

} // namespace wickerlane::reaction

namespace wickerlane {

struct ReactionBody final : Object {
    ReactionBody() = default;
    ReactionBody(const ReactionBody &other)
        : Object(), what(other.what), delay(other.delay), isHeld(other.isHeld) {}

    std::variant<reaction::Answer, reaction::Failure, reaction::Death, reaction::Function> what;
    std::chrono::nanoseconds delay{0};
    bool isHeld = false;
};

} // namespace wickerlane

#endif
