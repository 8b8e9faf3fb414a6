// Who may ask the server for what.
#ifndef CLI_VIEW_ACCESS_H
#define CLI_VIEW_ACCESS_H

#include <httplib.h>

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/Mutex.h"

namespace wickerlane::cli::view {

/// Of a JSON body.
inline constexpr std::uint64_t maxBodyBytes = 1 << 20;

/// Where files are sent, whose bodies may be larger.
inline constexpr std::string_view importPath = "/api/import";

/// Where an export is asked for, which changes nothing.
inline constexpr std::string_view offerPath = "/api/export";

/// A text that can't be guessed, of 64 hexadecimal digits.
Result<std::string> randomText();

/// Why the server itself refuses a request.
struct Refusal {
    int status = 403;
    std::string code;
    std::string text;
};

/// Other users, other programs and the pages of other sites can all send requests to a port of this machine.
/// One browser gets in by an invitation that is good once; from then on it is known by its cookie.
/// Thread-safe.
class Access {
public:
    struct Secrets {
        std::string invitation;
        std::string cookie;
        std::string change; ///< What the page sends with each change.
    };
    [[nodiscard]] static Result<Secrets> makeSecrets();

    /// `port` is that of the server.
    Access(Secrets secrets, int port, bool readOnly);

    /// The address that lets a browser in.
    [[nodiscard]] std::string address() const;
    /// The cookie as a header sets it.
    [[nodiscard]] std::string cookieHeader() const;
    [[nodiscard]] const std::string &changeToken() const noexcept { return secret.change; }
    [[nodiscard]] bool isReadOnly() const noexcept { return forbidsChanges; }

    /// Whether the request has the cookie.
    [[nodiscard]] bool isKnown(const httplib::Request &request) const;
    /// Whether the request redeems the invitation, which no later one can then.
    [[nodiscard]] bool redeems(const httplib::Request &request);
    /// Whether the request is one that a browser would send for this server's own page, and has a plain form.
    /// The refusal if not.
    [[nodiscard]] std::optional<Refusal> refusalOfForm(const httplib::Request &request) const;
    /// The same of who asks, and for which change.
    [[nodiscard]] std::optional<Refusal> refusalOfSender(const httplib::Request &request) const;

private:
    [[nodiscard]] bool isOwnHost(const std::string &host) const;

    const Secrets secret;
    const std::array<std::string, 2> hosts;
    const std::string cookieName; // browsers tell servers apart by their ports in nothing else of a cookie
    const bool forbidsChanges;
    Mutex mutex;
    bool isRedeemed WL_GUARDED_BY(mutex) = false;
};

} // namespace wickerlane::cli::view

#endif
