#include "cli/view/Answers.h"

#include <nlohmann/json.hpp>
#include <utility>

namespace wickerlane::cli::view {
namespace {

struct Meaning {
    int status;
    const char *code;
};

Meaning meaningOf(ProblemKind kind) {
    switch (kind) {
    case ProblemKind::invalid:
    case ProblemKind::empty:
        return {400, "invalid"};
    case ProblemKind::refused:
    case ProblemKind::notWritable:
        return {403, "refused"};
    case ProblemKind::notFound:
        return {404, "notFound"};
    case ProblemKind::exists:
        return {409, "exists"};
    case ProblemKind::unreachable:
        return {503, "unreachable"};
    case ProblemKind::ending:
    case ProblemKind::cancelled:
        return {503, "restarting"};
    case ProblemKind::busy:
    case ProblemKind::queueFull:
        return {503, "busy"};
    case ProblemKind::timedOut:
        return {504, "timedOut"};
    case ProblemKind::noSpace:
        return {507, "full"};
    default:
        return {500, "failed"};
    }
}

} // namespace

httplib::Headers commonHeaders() {
    return {
        {"Content-Security-Policy",
         "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob:; media-src 'self'; "
         "connect-src 'self'; manifest-src 'self'; base-uri 'none'; form-action 'none'; "
         "frame-ancestors 'none'"},
        {"X-Content-Type-Options", "nosniff"},
        {"Referrer-Policy", "no-referrer"},
        {"Cross-Origin-Resource-Policy", "same-origin"},
        {"Cross-Origin-Opener-Policy", "same-origin"}};
}

void setHeader(httplib::Response &response, const char *name, const std::string &value) {
    response.headers.erase(name);
    response.set_header(name, value);
}

void answerText(httplib::Response &response, std::string json) {
    response.status = 200;
    response.body = std::move(json);
    setHeader(response, "Content-Type", "application/json");
    setHeader(response, "Cache-Control", "no-store");
}

void answerJSON(httplib::Response &response, const JSON &value) {
    answerText(response, value.dump(-1, ' ', false, JSON::error_handler_t::replace));
}

void answerError(httplib::Response &response, int status, std::string_view code, std::string_view text) {
    answerJSON(response, {{"error", {{"code", code}, {"text", text}}}});
    response.status = status;
}

void answerProblem(httplib::Response &response, const Problem &problem) {
    const Meaning meaning = meaningOf(problem.kind);
    answerError(response, meaning.status, meaning.code, problem.text);
}

void answerBytes(httplib::Response &response, std::size_t count, const std::string &type,
                 httplib::ContentProvider give) {
    if (count > 0)
        response.set_content_provider(count, type, std::move(give));
    else // a provider of nothing is taken for one that fails
        response.set_header("Content-Type", type);
}

} // namespace wickerlane::cli::view
