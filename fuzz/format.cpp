// Formats that came from outside, given as many arguments as they may ask for. An object serves as an
// argument of every kind: as text it is its first bytes, which the zeros of an address end; as a number it is
// its address.
#include "wickerlane/platform/object/Format.h"

#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>
#include <new>

#include "wickerlane/platform/object/String.h"

using namespace wickerlane;

namespace {

template <class... Arguments>
std::string formatWith(const char *format, Arguments... a) {
    return formatUTF8(format, a..., a..., a..., 1.5, -0.0, 1e300, 0.1, 2.0, 3.0, 4.0, 5.0, a..., a..., a...);
}

class Text final : public String {
public:
    [[nodiscard]] std::size_t length() const override { return 3; }
    [[nodiscard]] char16_t characterAtIndex(std::size_t index) const override { return u"x\u00E4y"[index]; }
};

// At a low address, so that it is no great width either.
Object *object() {
    constexpr std::uintptr_t low = 0x10000;
    static Object *const made = [] {
        void *page = mmap(reinterpret_cast<void *>(low), 4096, PROT_READ | PROT_WRITE, // NOLINT
                          MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        return page == MAP_FAILED ? nullptr : new (page) Text;
    }();
    return made;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
    if (size > 60) // one slot of arguments for each conversion, widths included
        return 0;
    const std::string format(reinterpret_cast<const char *>(bytes), size);
    Object *const o = object();
    const std::string text = formatWith(format.c_str(), o, o, o, o, o, o, o, o, o, o, o, o, o, o, o, o);
    if (!String::create(text) || text.size() > (std::size_t{64} << 20))
        std::abort();
    return 0;
}
