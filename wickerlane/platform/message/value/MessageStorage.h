// What stands behind the classes of message values but dictionaries.
#ifndef WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGESTORAGE_H
#define WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGESTORAGE_H

#include <cstring>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/message/value/InlineVector.h"
#include "wickerlane/platform/message/value/MessageSlot.h"
#include "wickerlane/platform/message/value/MessageValue.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane {

/// An array.
class ArrayStorage final : public MessageArray {
public:
    ArrayStorage() noexcept = default;
    explicit ArrayStorage(MessageOrigin received) noexcept : origin(std::move(received)) {}
    ~ArrayStorage() override;

    [[nodiscard]] static ArrayStorage *of(MessageArray *array) noexcept {
        return static_cast<ArrayStorage *>(array);
    }
    [[nodiscard]] static const ArrayStorage *of(const MessageArray *array) noexcept {
        return static_cast<const ArrayStorage *>(array);
    }

    InlineVector<MessageSlot, 0> slots;
    MessageOrigin origin;
};

class ScalarStorage final : public MessageScalar {
public:
    explicit ScalarStorage(MessageKind kind) noexcept : MessageScalar(kind) {}
    union {
        std::int64_t signedValue = 0;
        std::uint64_t unsignedValue;
        double realValue;
        bool boolean;
    };
    std::string text; ///< Also the 16 bytes of a UUID.
};

/// The bytes of an open file, which are mapped when somebody looks at them.
class LentFile {
public:
    LentFile(UniqueFd lent, std::size_t count) noexcept : file(std::move(lent)), length(count) {}
    LentFile(const LentFile &) = delete;
    LentFile &operator=(const LentFile &) = delete;
    ~LentFile();

    [[nodiscard]] int descriptor() const noexcept { return file.get(); }
    [[nodiscard]] const std::byte *bytes();

private:
    const UniqueFd file;
    const std::size_t length;
    std::once_flag isMapped;
    void *mapped = nullptr;
};

class DataStorage final : public MessageData {
public:
    DataStorage(const void *start, std::size_t length) noexcept
        : first(static_cast<const std::byte *>(start)), count(length) {}
    ~DataStorage() override;
    [[nodiscard]] static const DataStorage *of(const MessageData *data) noexcept {
        return static_cast<const DataStorage *>(data);
    }

    const std::byte *first; ///< Null for a file's.
    std::size_t count;
    std::unique_ptr<LentFile> file;
    std::unique_ptr<std::byte[]> copied;
    Ref<Object> keeper; ///< What the bytes belong to.
    Ref<WorkQueue> queue;
    Handler<void()> destructor;
};

class ErrorStorage final : public MessageError {
public:
    ErrorStorage(std::string_view copied, std::int64_t errorKind)
        : owned(new char[copied.size() + 1]), number(errorKind) {
        std::memcpy(owned.get(), copied.data(), copied.size());
        owned[copied.size()] = 0;
        shown = {owned.get(), copied.size()};
    }
    /// One that is never destroyed.
    constexpr explicit ErrorStorage(const char *constant) noexcept
        : MessageError(ImmortalTag{}), shown(constant) {}
    [[nodiscard]] static const ErrorStorage *of(const MessageError *error) noexcept {
        return static_cast<const ErrorStorage *>(error);
    }

    std::unique_ptr<char[]> owned;
    std::string_view shown; ///< NUL-terminated.
    std::int64_t number = 0;
    std::optional<PeerVersion> service{}; ///< Set before others see the error.
};

} // namespace wickerlane

#endif
