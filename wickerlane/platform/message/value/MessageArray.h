// Arrays in messages.
#ifndef WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGEARRAY_H
#define WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGEARRAY_H

#include "wickerlane/platform/message/value/MessageKind.h"

namespace wickerlane {

/// An ordered collection of values.
class WL_EXPORT MessageArray : public MessageValue {
    WL_OBJECT
public:
    [[nodiscard]] static Ref<MessageArray> create();

    [[nodiscard]] std::size_t count() const noexcept;
    /// The value at an index below count(); lives as long as the array.
    [[nodiscard]] MessageValue *at(std::size_t index) const;
    [[nodiscard]] std::uint64_t uint64At(std::size_t index) const noexcept; ///< 0 for another kind.

    void append(MessageValue *value);
    void appendUInt64(std::uint64_t value);
    void appendData(const void *copied, std::size_t length);

private:
    friend class ArrayStorage;
    MessageArray() noexcept : MessageValue(MessageKind::array) {}
};

} // namespace wickerlane

#endif
