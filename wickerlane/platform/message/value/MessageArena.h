// Memory for what a container copies.
#ifndef WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGEARENA_H
#define WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGEARENA_H

#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

namespace wickerlane {

/// Memory for keys and short contents, freed as a whole. The first bytes lie in the object itself.
template <std::size_t inlineBytes>
class MessageArena {
public:
    [[nodiscard]] char *allocate(std::size_t count) {
        if (count <= available) {
            char *result = next;
            next += count;
            available -= count;
            return result;
        }
        if (count > blockBytes / 4) {
            blocks.push_back(std::make_unique_for_overwrite<char[]>(count));
            return blocks.back().get();
        }
        blocks.push_back(std::make_unique_for_overwrite<char[]>(blockBytes));
        next = blocks.back().get() + count;
        available = blockBytes - count;
        return blocks.back().get();
    }
    /// A NUL-terminated copy.
    [[nodiscard]] const char *copyText(std::string_view text) {
        char *copy = allocate(text.size() + 1);
        if (!text.empty())
            std::memcpy(copy, text.data(), text.size());
        copy[text.size()] = 0;
        return copy;
    }

private:
    static constexpr std::size_t blockBytes = 4096;
    char *next = first;
    std::size_t available = inlineBytes;
    std::vector<std::unique_ptr<char[]>> blocks;
    char first[inlineBytes];
};

} // namespace wickerlane

#endif
