#include "ContactSheet.h"

#include <algorithm>

#include <cmath>
#include <stdexcept>
#include <vector>
#include <vips/vips8>

using vips::VImage;

namespace examples {
namespace {

constexpr int tileWidth = 320;
constexpr int tileHeight = 240;
constexpr int captionHeight = 34;
constexpr int gap = 18;
constexpr int margin = 48;
constexpr int titleHeight = 76;

std::vector<double> background() {
    return {24, 26, 30};
}

std::vector<double> captionColour() {
    return {172, 178, 188};
}

std::vector<double> titleColour() {
    return {240, 242, 245};
}

/// Text without markup for Pango, which would interpret it.
std::string escaped(const std::string &text) {
    std::string result;
    for (const char c : text) {
        if (c == '&')
            result += "&amp;";
        else if (c == '<')
            result += "&lt;";
        else
            result += c;
    }
    return result;
}

/// The text shortened in the middle, where file names differ least, between characters.
std::string shortened(const std::string &text) {
    constexpr std::size_t maxBytes = 38;
    if (text.size() <= maxBytes)
        return text;
    const auto isInside = [&](std::size_t i) { return (static_cast<unsigned char>(text[i]) & 0xC0) == 0x80; };
    std::size_t head = maxBytes - 14;
    std::size_t tail = text.size() - 12;
    while (head > 0 && isInside(head))
        --head;
    while (tail < text.size() && isInside(tail))
        ++tail;
    return text.substr(0, head) + "…" + text.substr(tail);
}

/// A line of text on the background, at the left of an area.
VImage textLine(const std::string &text, const char *font, const std::vector<double> &colour, int width,
                int height) {
    const VImage mask =
        VImage::text(escaped(text).c_str(), VImage::option()->set("font", font)->set("dpi", 96));
    const VImage shown =
        mask.extract_area(0, 0, std::min(mask.width(), width), std::min(mask.height(), height));
    const VImage placed = shown.embed(0, (height - shown.height()) / 2, width, height);
    return placed.ifthenelse(colour, background(), VImage::option()->set("blend", true))
        .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
}

/// The number of tiles in a row: the sheet is wider than high, like a screen, and the last row as full as
/// possible.
int tilesAcross(int count) {
    const double shape = 1.5 * (tileHeight + captionHeight) / tileWidth;
    const int ideal = std::max(1, static_cast<int>(std::lround(std::sqrt(count * shape))));
    const auto missing = [&](int across) { return (across - count % across) % across; };
    int best = std::min(ideal, count);
    for (const int other : {ideal - 1, ideal + 1})
        if (other > 0 && other <= count && missing(other) < missing(best))
            best = other;
    return best;
}

} // namespace

struct ContactSheet::Tiles {
    std::vector<VImage> list;
};

ContactSheet::ContactSheet() : tiles(std::make_unique<Tiles>()) {
    if (VIPS_INIT("wickerlane-demo") != 0)
        throw std::runtime_error(vips_error_buffer());
}

ContactSheet::~ContactSheet() = default;

std::size_t ContactSheet::count() const noexcept {
    return tiles->list.size();
}

void ContactSheet::add(std::span<const std::byte> encoded, const std::string &caption) {
    VipsBlob *blob = vips_blob_copy(encoded.data(), encoded.size());
    VImage picture = VImage::thumbnail_buffer(
        blob, tileWidth, VImage::option()->set("height", tileHeight)->set("crop", VIPS_INTERESTING_CENTRE));
    vips_area_unref(VIPS_AREA(blob));
    picture = picture.colourspace(VIPS_INTERPRETATION_sRGB);
    if (picture.has_alpha())
        picture = picture.flatten(VImage::option()->set("background", background()));
    picture =
        picture.cast(VIPS_FORMAT_UCHAR)
            .gravity(
                VIPS_COMPASS_DIRECTION_CENTRE, tileWidth, tileHeight,
                VImage::option()->set("extend", VIPS_EXTEND_BACKGROUND)->set("background", background()));
    const VImage line = textLine(shortened(caption), "sans 9", captionColour(), tileWidth, captionHeight);
    tiles->list.push_back(picture.join(line.cast(VIPS_FORMAT_UCHAR), VIPS_DIRECTION_VERTICAL).copy_memory());
}

void ContactSheet::write(const std::string &path, const std::string &title) const {
    const int across = tilesAcross(static_cast<int>(count()));
    const VImage grid = VImage::arrayjoin(
        tiles->list,
        VImage::option()->set("across", across)->set("shim", gap)->set("background", background()));
    const int width = std::max(grid.width(), 2 * tileWidth);
    const VImage head =
        textLine(title, "sans bold 20", titleColour(), width, titleHeight).cast(VIPS_FORMAT_UCHAR);
    const auto onBackground = [] {
        return VImage::option()->set("extend", VIPS_EXTEND_BACKGROUND)->set("background", background());
    };
    head.join(grid.embed(0, 0, width, grid.height(), onBackground()), VIPS_DIRECTION_VERTICAL)
        .embed(margin, margin / 2, width + 2 * margin, titleHeight + grid.height() + margin, onBackground())
        .jpegsave(path.c_str(), VImage::option()->set("Q", 90)->set("optimize_coding", true));
}

} // namespace examples
