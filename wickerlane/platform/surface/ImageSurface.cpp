#include "wickerlane/platform/surface/ImageSurface.h"

#include <sys/mman.h>

namespace wickerlane {

constinit const Class ImageSurface::classInfo{"ImageSurface", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(ImageSurface);

namespace {

constexpr std::uint32_t maxSide = 65'500;
constexpr std::size_t rowAlignment = 64;
constexpr std::size_t maxBytes = std::size_t{2} << 30;

constexpr const char *widthKey = "width";
constexpr const char *heightKey = "height";
constexpr const char *formatKey = "pixelFormat";
constexpr const char *rowBytesKey = "bytesPerRow";
constexpr const char *memoryKey = "memory";

// Bytes of a pixel; 0 for a format that is not known.
std::size_t pixelBytes(PixelFormat format) {
    switch (format) {
    case PixelFormat::bgra8:
    case PixelFormat::rgba8:
        return 4;
    case PixelFormat::gray8:
        return 1;
    }
    return 0;
}

bool isGeometry(std::uint64_t width, std::uint64_t height, PixelFormat format) {
    return width != 0 && height != 0 && width <= maxSide && height <= maxSide && pixelBytes(format) != 0;
}

} // namespace

ImageSurface::~ImageSurface() {
    if (mapping != nullptr)
        munmap(mapping, mappedLength);
}

Ref<ImageSurface> ImageSurface::create(std::uint32_t width, std::uint32_t height, PixelFormat format) {
    if (!isGeometry(width, height, format))
        return nullptr;
    auto made = Ref<ImageSurface>::adopt(new ImageSurface);
    made->pixelWidth = width;
    made->pixelHeight = height;
    made->format = format;
    made->rowBytes = (width * pixelBytes(format) + rowAlignment - 1) / rowAlignment * rowAlignment;
    if (made->rowBytes > maxBytes / height)
        return nullptr;
    made->memory = SharedMemory::create(made->rowBytes * height);
    return made->memory != nullptr ? made : nullptr;
}

Ref<ImageSurface> ImageSurface::lookUp(MessageValue *value) {
    const auto *object = as<MessageDictionary>(value);
    if (object == nullptr)
        return nullptr;
    const std::uint64_t width = object->getUInt64(widthKey);
    const std::uint64_t height = object->getUInt64(heightKey);
    const std::uint64_t rowBytes = object->getUInt64(rowBytesKey);
    const std::uint64_t formatCode = object->getUInt64(formatKey);
    const auto format = static_cast<PixelFormat>(formatCode);
    const auto *shared = as<MessageSharedMemory>(object->get(memoryKey));
    if (shared == nullptr || formatCode > UINT32_MAX || !isGeometry(width, height, format) ||
        rowBytes < width * pixelBytes(format) || rowBytes > maxBytes / height ||
        rowBytes * height > shared->memory()->length())
        return nullptr;
    auto made = Ref<ImageSurface>::adopt(new ImageSurface);
    made->pixelWidth = static_cast<std::uint32_t>(width);
    made->pixelHeight = static_cast<std::uint32_t>(height);
    made->format = format;
    made->rowBytes = rowBytes;
    made->memory = shared->memory();
    made->mapping = made->memory->map(&made->mappedLength);
    return made->mapping != nullptr ? made : nullptr;
}

Ref<MessageValue> ImageSurface::createMessageObject() {
    if (!memory->seal())
        return nullptr;
    const auto shared = MessageSharedMemory::create(memory.get());
    if (shared == nullptr)
        return nullptr;
    auto object = MessageDictionary::create();
    object->setUInt64(widthKey, pixelWidth);
    object->setUInt64(heightKey, pixelHeight);
    object->setUInt64(formatKey, static_cast<std::uint32_t>(format));
    object->setUInt64(rowBytesKey, rowBytes);
    object->set(memoryKey, shared.get());
    return object;
}

} // namespace wickerlane
