#include <gtest/gtest.h>

#include "wickerlane/platform/surface/ImageSurface.h"

using namespace wickerlane;

TEST(ImageSurface, PassesItsPixelsInAMessageObject) {
    const auto surface = ImageSurface::create(3, 2, PixelFormat::bgra8);
    ASSERT_NE(surface, nullptr);
    EXPECT_EQ(surface->bytesPerRow(), 64U);
    static_cast<unsigned char *>(surface->writableBytes())[64 + 4] = 0xAB;
    const auto object = surface->createMessageObject();
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(surface->writableBytes(), nullptr);
    EXPECT_EQ(static_cast<const unsigned char *>(surface->bytes())[64 + 4], 0xAB);
    const auto found = ImageSurface::lookUp(object.get());
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->width(), 3U);
    EXPECT_EQ(found->height(), 2U);
    EXPECT_EQ(found->pixelFormat(), PixelFormat::bgra8);
    EXPECT_EQ(found->bytesPerRow(), 64U);
    EXPECT_EQ(static_cast<const unsigned char *>(found->bytes())[64 + 4], 0xAB);
    EXPECT_TRUE(surface->createMessageObject()->isEqual(object.get())) << "it may be sent again";
}

TEST(ImageSurface, HasAGeometryThatFits) {
    EXPECT_EQ(ImageSurface::create(0, 1, PixelFormat::bgra8), nullptr);
    EXPECT_EQ(ImageSurface::create(1, 65'501, PixelFormat::gray8), nullptr);
    EXPECT_EQ(ImageSurface::create(65'500, 65'500, PixelFormat::rgba8), nullptr);
    EXPECT_EQ(ImageSurface::create(1, 1, PixelFormat{1}), nullptr);
    EXPECT_NE(ImageSurface::create(65'500, 1, PixelFormat::gray8), nullptr);
}

TEST(ImageSurface, BelievesNothingThatAMessageSaysOfItsMemory) {
    EXPECT_EQ(ImageSurface::lookUp(nullptr), nullptr);
    EXPECT_EQ(ImageSurface::lookUp(MessageScalar::createInt64(1).get()), nullptr);
    const auto object = [] {
        const auto made = ImageSurface::create(100, 100, PixelFormat::bgra8)->createMessageObject();
        return Ref<MessageDictionary>(static_cast<MessageDictionary *>(made.get()));
    };
    ASSERT_NE(ImageSurface::lookUp(object().get()), nullptr);
    const struct {
        const char *key;
        std::uint64_t value;
    } lies[] = {
        {"width", 0},
        {"width", 113},
        {"width", UINT64_MAX},
        {"height", 101},
        {"height", UINT64_MAX},
        {"bytesPerRow", 399},
        {"bytesPerRow", 449},
        {"bytesPerRow", UINT64_MAX},
        {"bytesPerRow", UINT64_MAX / 100 + 2},
        {"pixelFormat", 1},
        {"pixelFormat", std::uint64_t{0x42475241} | std::uint64_t{1} << 32},
    };
    for (const auto &lie : lies) {
        const auto changed = object();
        changed->setUInt64(lie.key, lie.value);
        EXPECT_EQ(ImageSurface::lookUp(changed.get()), nullptr) << lie.key << " " << lie.value;
    }
    const auto without = object();
    without->set("memory", nullptr);
    EXPECT_EQ(ImageSurface::lookUp(without.get()), nullptr);
}
