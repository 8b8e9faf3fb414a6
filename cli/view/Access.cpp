#include "cli/view/Access.h"

#include <fmt/format.h>
#include <sys/random.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <span>
#include <string_view>

#include "wickerlane/platform/file/Retry.h"
#include "wickerlane/platform/object/Hexadecimal.h"

namespace wickerlane::cli::view {
namespace {

/// The longest path, decoded, and the most parameters that the page asks with.
constexpr std::size_t maxPathBytes = 1'024;
constexpr std::size_t maxParameters = 32;

/// Takes as long for each text of the same length.
bool isSecret(std::string_view text, std::string_view secret) {
    if (text.size() != secret.size())
        return false;
    volatile unsigned char difference = 0;
    for (std::size_t i = 0; i < text.size(); ++i)
        difference = static_cast<unsigned char>(
            difference | (static_cast<unsigned char>(text[i]) ^ static_cast<unsigned char>(secret[i])));
    return difference == 0;
}

/// The value of a cookie in a header "a=1; b=2"; empty without one.
std::string_view cookieIn(std::string_view header, std::string_view name) {
    while (!header.empty()) {
        const std::size_t length = std::min(header.find(';'), header.size());
        std::string_view each = header.substr(0, length);
        header.remove_prefix(std::min(length + 1, header.size()));
        each.remove_prefix(std::min(each.find_first_not_of(' '), each.size()));
        if (each.starts_with(name) && each.substr(name.size()).starts_with('='))
            return each.substr(name.size() + 1);
    }
    return {};
}

Refusal denied(std::string text) {
    return {403, "denied", std::move(text)};
}

Refusal malformed(int status, std::string text) {
    return {status, "invalid", std::move(text)};
}

std::optional<Refusal> refusalOfBody(const httplib::Request &request) {
    const bool isChange = request.method == "POST";
    const std::size_t lengths = request.get_header_value_count("Content-Length");
    if (request.has_header("Transfer-Encoding") || request.has_header("Content-Encoding") ||
        request.get_header_value("Content-Type").starts_with("multipart/"))
        return malformed(411, "a body is sent plain, with its length");
    if (lengths > 1 || (isChange && lengths == 0))
        return malformed(411, "a change has one Content-Length");
    const std::string length = request.get_header_value("Content-Length");
    if (length.size() > 15 ||
        !std::ranges::all_of(length, [](char each) { return each >= '0' && each <= '9'; }))
        return malformed(400, "the Content-Length is no number");
    if (!isChange && lengths != 0 && length != "0")
        return malformed(400, "a question has no body");
    // Files are of any size: they go to the disk.
    if (isChange && request.path != importPath && std::strtoull(length.c_str(), nullptr, 10) > maxBodyBytes)
        return malformed(413, "the body of a change has at most 1 MiB");
    return std::nullopt;
}

} // namespace

Result<std::string> randomText() {
    std::array<std::byte, 32> bytes{};
    if (retryInterrupted([&] { return ::getrandom(bytes.data(), bytes.size(), 0); }) !=
        static_cast<ssize_t>(bytes.size()))
        return failSystem("get random bytes from", "the system");
    return hexadecimal(bytes);
}

Result<Access::Secrets> Access::makeSecrets() {
    Secrets secrets;
    for (std::string *each : {&secrets.invitation, &secrets.cookie, &secrets.change}) {
        auto text = randomText();
        if (!text)
            return passOn(text);
        *each = *std::move(text);
    }
    return secrets;
}

Access::Access(Secrets secrets, int port, bool readOnly)
    : secret(std::move(secrets)), hosts{fmt::format("127.0.0.1:{}", port), fmt::format("localhost:{}", port)},
      cookieName(fmt::format("wickerlane-{}", port)), forbidsChanges(readOnly) {
}

std::string Access::address() const {
    return fmt::format("http://{}/?token={}", hosts[0], secret.invitation);
}

std::string Access::cookieHeader() const {
    return fmt::format("{}={}; HttpOnly; SameSite=Strict; Path=/", cookieName, secret.cookie);
}

bool Access::isKnown(const httplib::Request &request) const {
    return request.get_header_value_count("Cookie") == 1 &&
           isSecret(cookieIn(request.get_header_value("Cookie"), cookieName), secret.cookie);
}

bool Access::redeems(const httplib::Request &request) {
    if (!isSecret(request.get_param_value("token"), secret.invitation))
        return false;
    const MutexLock lock(mutex);
    return !std::exchange(isRedeemed, true);
}

bool Access::isOwnHost(const std::string &host) const {
    return std::ranges::find(hosts, host) != hosts.end();
}

std::optional<Refusal> Access::refusalOfForm(const httplib::Request &request) const {
    if (request.method != "GET" && request.method != "POST")
        return malformed(405, "there are only GET and POST here");
    if (request.get_header_value_count("Host") != 1 || !isOwnHost(request.get_header_value("Host")))
        return denied("this server answers requests for its own address only");
    if (request.has_header("Origin")) {
        const std::string origin = request.get_header_value("Origin");
        if (request.get_header_value_count("Origin") != 1 || !origin.starts_with("http://") ||
            !isOwnHost(origin.substr(7)))
            return denied("this server answers its own page only");
    }
    for (std::size_t i = 0; i < request.get_header_value_count("Sec-Fetch-Site"); ++i)
        if (const std::string site = request.get_header_value("Sec-Fetch-Site", i);
            site != "same-origin" && site != "none")
            return denied("this server answers its own page only");
    if (request.path.size() > maxPathBytes || request.params.size() > maxParameters ||
        request.path.find('\0') != std::string::npos)
        return malformed(400, "the address is too long, or holds a NUL character");
    return refusalOfBody(request);
}

std::optional<Refusal> Access::refusalOfSender(const httplib::Request &request) const {
    if (!isKnown(request))
        return denied("this browser has not been let in, or the server was started again since. To get a new "
                      "address: wickerlane view");
    if (request.method != "POST")
        return std::nullopt;
    if (request.get_header_value_count("X-Wickerlane-Token") != 1 ||
        !isSecret(request.get_header_value("X-Wickerlane-Token"), secret.change))
        return denied("this page is from before the server was started. Load it again");
    if (forbidsChanges && request.path != offerPath)
        return Refusal{403, "readOnly",
                       "changes are refused, since the command was started with --read-only"};
    return std::nullopt;
}

} // namespace wickerlane::cli::view
