// A picture of many small pictures.
#ifndef EXAMPLES_CONTACTSHEET_H
#define EXAMPLES_CONTACTSHEET_H

#include <memory>
#include <span>
#include <string>

namespace examples {

/// Equal tiles with captions, row by row. Throws std::exception when a picture can't be read or written.
class ContactSheet {
public:
    /// Tiles that one sheet has room for.
    static constexpr std::size_t room = 120;

    ContactSheet();
    ~ContactSheet();

    /// Adds a picture, cut to the tile's shape. `encoded` (JPEG, PNG and the like) is not used afterwards.
    void add(std::span<const std::byte> encoded, const std::string &caption);
    [[nodiscard]] std::size_t count() const noexcept;
    /// Writes all tiles as one JPEG file. There must be one at least.
    void write(const std::string &path, const std::string &title) const;

private:
    struct Tiles;
    std::unique_ptr<Tiles> tiles;
};

} // namespace examples

#endif
