#include "wickerlane/platform/object/Paths.h"

#include <gtest/gtest.h>

using namespace wickerlane;

TEST(Paths, HaveTheseParts) {
    const struct {
        const char *path, *folder, *name, *extension;
    } cases[] = {
        {"/a/b.txt", "/a", "b.txt", "txt"},
        {"/a/b/", "/a", "b", ""},
        {"/a", "/", "a", ""},
        {"/", "/", "/", ""},
        {"", "", "", ""},
        {"a", "", "a", ""},
        {"a//b", "a", "b", ""},
        {"a.b/c", "a.b", "c", ""},
        {".hidden", "", ".hidden", ""},
        {"x/..", "x", "..", ""},
        {"a.", "", "a.", ""},
        {"a.tar.gz", "", "a.tar.gz", "gz"},
        {"/d.x/", "/", "d.x", "x"},
    };
    for (const auto &each : cases) {
        SCOPED_TRACE(each.path);
        EXPECT_EQ(parentFolder(each.path), each.folder);
        EXPECT_EQ(lastPathComponent(each.path), each.name);
        EXPECT_EQ(pathExtension(each.path), each.extension);
    }
}
