// Another reader and writer of both formats, Python's, must agree with ours.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "tests/platform/propertylist/Lists.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

// Writes a tree of every kind to the files it is given, as binary and XML.
constexpr const char *script = R"(
import datetime, plistlib, sys
shared = {'deep': [{'x': [b'', 'y' * 300]}]}
tree = {
    'integers': [0, 1, 255, 256, 65535, 65536, 2**32 - 1, 2**32, 2**63 - 1, 2**63, 2**64 - 1, -1, -128, -2**63],
    'reals': [0.1, -2.5, 1e300, 5e-324, float('inf')],
    'booleans': [True, False],
    'dates': [datetime.datetime(2001, 1, 1), datetime.datetime(1969, 7, 20, 20, 17, 40)],
    'data': [bytes(range(256)), b'x'],
    'texts': ['', 'plain', '\u00e9\u20ac\U0001f600', 'x' * 15, '<&>'],
    'many': ['item %d' % i for i in range(500)],
    'shared': [shared, shared],
    '\u00fcber': {},
}
for path, format in ((sys.argv[1], plistlib.FMT_BINARY), (sys.argv[2], plistlib.FMT_XML)):
    with open(path, 'wb') as file:
        plistlib.dump(tree, file, fmt=format, sort_keys=False)
)";

std::string contentsOf(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(PropertyList, AgreesWithPythons) {
    const std::string root = std::getenv("WICKERLANE_ROOT");
    std::ofstream(root + "/tree.py") << script;
    const std::string command = "python3 " + root + "/tree.py " + root + "/binary " + root + "/xml";
    if (std::system("python3 -c 'import plistlib'") != 0)
        GTEST_SKIP() << "there is no Python here";
    ASSERT_EQ(std::system(command.c_str()), 0);

    const std::string binary = contentsOf(root + "/binary");
    const auto fromBinary = readBack(binary);
    ASSERT_TRUE(fromBinary);
    EXPECT_EQ(written(fromBinary.get()), binary);

    PropertyListFormat format{};
    const auto fromXML = readBack(contentsOf(root + "/xml"), nullptr, &format);
    ASSERT_TRUE(fromXML);
    EXPECT_EQ(format, PropertyListFormat::xml);
    EXPECT_TRUE(areEqual(fromBinary.get(), fromXML.get()));
}

} // namespace
