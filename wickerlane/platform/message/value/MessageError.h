// Errors in messages, and of the message service itself.
#ifndef WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGEERROR_H
#define WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGEERROR_H

#include <string_view>

#include "wickerlane/platform/message/value/MessageKind.h"
#include "wickerlane/platform/message/wire/PeerVersion.h"

namespace wickerlane {

/// Key under which an error holds the text that describes it.
inline constexpr const char *messageErrorDescriptionKey = "ErrorDescription";
/// Key under which an error holds its kind, as a signed integer.
inline constexpr const char *messageErrorKindKey = "ErrorKind";

/// An error of the message service, or one sent as a value.
class WL_EXPORT MessageError : public MessageValue {
    WL_OBJECT
public:
    [[nodiscard]] static Ref<MessageError> create(std::string_view description, std::int64_t errorKind = 0);
    /// The two connection errors: immortal objects, told apart by identity.
    [[nodiscard]] static MessageError *connectionInterrupted() noexcept;
    [[nodiscard]] static MessageError *connectionInvalid() noexcept;

    [[nodiscard]] std::string_view text() const noexcept; ///< Lives as long as the error.
    /// What programs can tell apart, in numbers that both ends agree on; 0 for an error that names none.
    [[nodiscard]] std::int64_t errorKind() const noexcept;
    /// The version of the service whose reply this is; this library's own when it is none.
    [[nodiscard]] PeerVersion service() const noexcept;

    /// Before others see the error.
    void setService(const PeerVersion &version);

private:
    friend class ErrorStorage;
    MessageError() noexcept : MessageValue(MessageKind::error) {}
    constexpr explicit MessageError(ImmortalTag tag) noexcept : MessageValue(tag, MessageKind::error) {}
};

} // namespace wickerlane

#endif
