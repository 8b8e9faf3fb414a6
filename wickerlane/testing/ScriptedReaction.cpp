#include "wickerlane/testing/ScriptedReaction.h"

#include <stdexcept>

#include "wickerlane/protocol/Keys.h"
#include "wickerlane/protocol/QueryCoding.h"
#include "wickerlane/testing/MadeUpRecords.h"
#include "wickerlane/testing/ReactionBody.h"

namespace wickerlane {

namespace keys = protocol::keys;

ScriptedReaction::ScriptedReaction(Ref<ReactionBody> made) noexcept : body(std::move(made)) {
}
ScriptedReaction::ScriptedReaction(const ScriptedReaction &other) = default;
ScriptedReaction::ScriptedReaction(ScriptedReaction &&other) noexcept = default;
ScriptedReaction::~ScriptedReaction() = default;

ScriptedReaction &ScriptedReaction::operator=(ScriptedReaction other) noexcept {
    std::swap(body, other.body);
    return *this;
}

ReactionBody &ScriptedReaction::changed() {
    if (!body->isUnique())
        body = makeRef<ReactionBody>(*body);
    return *body;
}

MessageDictionary *ScriptedReaction::changedValues(const protocol::Field &field) {
    auto *answer = std::get_if<reaction::Answer>(&changed().what);
    if (answer == nullptr)
        throw std::invalid_argument("only an answer has values");
    if (!answer->values->isUnique()) {
        auto copy = MessageDictionary::create();
        answer->values->forEach([&](const char *key, MessageValue *value) {
            copy->set(key, value);
            return true;
        });
        answer->values = std::move(copy);
    }
    answer->fields.push_back(field);
    return answer->values.get();
}

ScriptedReaction ScriptedReaction::answer() {
    return ScriptedReaction(makeRef<ReactionBody>());
}

ScriptedReaction ScriptedReaction::answer(const Dictionary *values) {
    auto made = makeRef<ReactionBody>();
    std::get<reaction::Answer>(made->what).plain = Ref<const Dictionary>(values);
    return ScriptedReaction(std::move(made));
}

ScriptedReaction ScriptedReaction::failure(ProblemKind kind, std::string_view text) {
    using enum ProblemKind;
    if (kind == unreachable)
        throw std::invalid_argument(
            "no daemon says that it can't be reached: stop it instead, or let it die");
    if (kind == timedOut || kind == cancelled)
        throw std::invalid_argument("no daemon says that a request is late or cancelled: hold its answer");
    if (kind < failed || kind > cancelled)
        throw std::invalid_argument("there is no kind " + std::to_string(static_cast<std::int64_t>(kind)) +
                                    " of failures");
    auto made = makeRef<ReactionBody>();
    made->what = reaction::Failure{kind, std::string(text)};
    return ScriptedReaction(std::move(made));
}

ScriptedReaction ScriptedReaction::death() {
    auto made = makeRef<ReactionBody>();
    made->what = reaction::Death{};
    return ScriptedReaction(std::move(made));
}

ScriptedReaction ScriptedReaction::by(Handler<ScriptedReaction(const ScriptedRequest &)> function) {
    if (!function)
        throw std::invalid_argument("a reaction needs a function");
    auto made = makeRef<ReactionBody>();
    made->what = std::move(function);
    return ScriptedReaction(std::move(made));
}

ScriptedReaction ScriptedReaction::assets(std::vector<AssetRecord> records) {
    completeRecords(records);
    auto made = answer();
    std::get<reaction::Answer>(made.body->what).rows = std::move(records);
    return made;
}

ScriptedReaction ScriptedReaction::albums(std::vector<AlbumRecord> records) {
    completeRecords(records);
    auto made = answer();
    made.with(keys::albums, protocol::packed(std::span<const AlbumRecord>(records)).get());
    return made;
}

ScriptedReaction ScriptedReaction::moments(std::vector<MomentRecord> records) {
    completeRecords(records);
    auto made = answer();
    std::get<reaction::Answer>(made.body->what).rows = std::move(records);
    return made;
}

ScriptedReaction ScriptedReaction::duplicates(std::vector<DuplicatesRecord> groups) {
    auto made = answer();
    std::get<reaction::Answer>(made.body->what).rows = std::move(groups);
    return made;
}

ScriptedReaction ScriptedReaction::sections(const std::vector<AssetSection> &sections) {
    auto made = answer();
    made.with(keys::sections, protocol::packed(std::span(sections)).get());
    return made;
}

ScriptedReaction ScriptedReaction::changes(const ChangesPage &page) {
    auto made = answer();
    made.with(keys::changes, protocol::packed(std::span(page.changes)).get())
        .with(keys::token, String::create(page.token).get())
        .with(keys::isLast, page.isLast)
        .with(keys::isTooOld, page.isTooOld);
    return made;
}

ScriptedReaction &ScriptedReaction::after(std::chrono::nanoseconds delay) {
    changed().delay = delay;
    return *this;
}

ScriptedReaction &ScriptedReaction::whenReleased() {
    changed().isHeld = true;
    return *this;
}

} // namespace wickerlane
