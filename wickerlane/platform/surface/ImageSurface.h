// The shareable image buffer.
#ifndef WICKERLANE_PLATFORM_SURFACE_IMAGESURFACE_H
#define WICKERLANE_PLATFORM_SURFACE_IMAGESURFACE_H

#include "wickerlane/platform/memory/SharedMemory.h"
#include "wickerlane/platform/message/value/MessageValue.h"

namespace wickerlane {

/// Four characters that name how pixels are laid out.
enum class PixelFormat : std::uint32_t {
    bgra8 = 0x42475241, ///< 'BGRA': blue, green, red, alpha (premultiplied), one byte each; sRGB.
    rgba8 = 0x52474241, ///< 'RGBA'.
    gray8 = 0x4C303038, ///< 'L008': one byte of brightness.
};

/// An image buffer in shared memory. Its owner fills it through writableBytes(); once it has been sent it is
/// sealed and can only be read.
class WL_EXPORT ImageSurface final : public Object {
    WL_OBJECT
public:
    /// Null when a size is 0 or above 65,500, the format is unknown, or there is no memory for it. Rows are
    /// aligned to 64 bytes.
    [[nodiscard]] static Ref<ImageSurface> create(std::uint32_t width, std::uint32_t height,
                                                  PixelFormat format);
    /// The surface of a message object made by createMessageObject(), in any process; null when the
    /// value is not one, or what it says of itself does not fit its memory.
    [[nodiscard]] static Ref<ImageSurface> lookUp(MessageValue *value);

    [[nodiscard]] std::uint32_t width() const noexcept { return pixelWidth; }
    [[nodiscard]] std::uint32_t height() const noexcept { return pixelHeight; }
    [[nodiscard]] PixelFormat pixelFormat() const noexcept { return format; }
    [[nodiscard]] std::size_t bytesPerRow() const noexcept { return rowBytes; }
    /// The pixels, read-only; live as long as the surface.
    [[nodiscard]] const void *bytes() const noexcept {
        return mapping != nullptr ? mapping : memory->bytes();
    }
    /// Null once the surface has been sealed.
    [[nodiscard]] void *writableBytes() const noexcept { return memory->writableBytes(); }
    [[nodiscard]] SharedMemory *sharedMemory() const noexcept { return memory.get(); }
    /// Seals the surface and makes the value that carries it in a message; null on failure.
    [[nodiscard]] Ref<MessageValue> createMessageObject();

    ~ImageSurface() override;

private:
    ImageSurface() = default;
    std::uint32_t pixelWidth = 0;
    std::uint32_t pixelHeight = 0;
    PixelFormat format{};
    std::size_t rowBytes = 0;
    Ref<SharedMemory> memory;
    void *mapping = nullptr; // of one that was looked up
    std::size_t mappedLength = 0;
};

} // namespace wickerlane

#endif
