// Many small pictures in one.
#ifndef EXAMPLES_CONTACTSHEET_H
#define EXAMPLES_CONTACTSHEET_H

#include <memory>
#include <span>
#include <string>

namespace examples {

/// Equal tiles with captions, row by row. Throws std::exception when a picture can't be read or written.
class ContactSheet {
public:
    static constexpr std::size_t maxTiles = 120;

    ContactSheet();
    ~ContactSheet();

    /// Adds a picture, cropped to the shape of a tile. `encoded` is a file in any common format.
    void add(std::span<const std::byte> encoded, const std::string &caption);
    [[nodiscard]] std::size_t count() const noexcept;
    /// Writes all tiles, of which there must be at least one, as a JPEG file.
    void write(const std::string &path, const std::string &title) const;

private:
    struct Tiles;
    std::unique_ptr<Tiles> tiles;
};

} // namespace examples

#endif
