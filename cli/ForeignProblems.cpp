#include "cli/ForeignProblems.h"

#include <optional>
#include <string>
#include <utility>

#include "cli/Texts.h"

namespace wickerlane::cli {
namespace {

/// Empty where the kind says nothing.
std::string wordsFor(ProblemKind kind) {
    switch (kind) {
    case ProblemKind::failed:
        return {};
    case ProblemKind::invalid:
        return localized("invalid");
    case ProblemKind::notFound:
        return localized("not found");
    case ProblemKind::refused:
        return localized("not permitted");
    case ProblemKind::busy:
        return localized("something else is working on the same");
    case ProblemKind::ending:
        return localized("the daemon is ending");
    case ProblemKind::exists:
        return localized("it already exists");
    case ProblemKind::damagedStore:
        return localized("the library's store is damaged");
    case ProblemKind::noSpace:
        return localized("the disk is full");
    case ProblemKind::notWritable:
        return localized("permissions or the file system forbid it");
    case ProblemKind::newerVersion:
        return localized("the library was made by a newer version");
    case ProblemKind::unreachable:
        return localized("the daemon can't be reached");
    case ProblemKind::empty:
        return localized("there is nothing to work on");
    case ProblemKind::queueFull:
        return localized("too much work is waiting");
    case ProblemKind::timedOut:
        return localized("no answer came in time");
    case ProblemKind::cancelled:
        return localized("it was cancelled");
    }
    return {};
}

} // namespace

std::string translated(std::string text) {
    std::optional<std::string> translation = translatedProblem(text);
    return translation ? *std::move(translation) : std::move(text);
}

Problem withKindInWords(Problem told) {
    if (isInEnglish())
        return told;
    if (std::optional<std::string> translation = translatedProblem(told.text))
        told.text = *std::move(translation);
    else if (const std::string words = wordsFor(told.kind); !words.empty())
        told.text = localized("{}: {}", words, told.text);
    return told;
}

} // namespace wickerlane::cli
