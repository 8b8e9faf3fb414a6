// Runs the tests. Each test has a root of its own, and must leave no descriptor open that was not open
// before.
#include "tests/support/Descriptors.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>

#include "tests/support/WaitUntil.h"

namespace wickerlane::test {
namespace {

/// The links of descriptors.
using Links = std::multiset<std::string>;

Links openDescriptors() {
    Links links;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        links.insert(std::filesystem::read_symlink(entry.path(), gone));
    }
    return links;
}

/// What is open beyond `known`.
Links leakedDescriptors(const Links &known) {
    Links leaked = openDescriptors();
    for (const std::string &link : known)
        if (const auto found = leaked.find(link); found != leaked.end())
            leaked.erase(found);
    return leaked;
}

/// Those that the running test may leave open.
Links allowed;

class RootAndDescriptors : public ::testing::EmptyTestEventListener {
    std::filesystem::path root;
    Links before;

    void OnTestStart(const ::testing::TestInfo &) override {
        // A process that a test started as its peer shares the root of that test.
        if (const char *shared = getenv("WICKERLANE_TEST_SHARED_ROOT")) {
            setenv("WICKERLANE_ROOT", shared, 1);
            return;
        }
        std::string made = (std::filesystem::temp_directory_path() / "wickerlane-test-XXXXXX").string();
        if (mkdtemp(made.data()) == nullptr)
            std::abort();
        root = made;
        setenv("WICKERLANE_ROOT", made.c_str(), 1);
        before = openDescriptors();
    }

    void OnTestEnd(const ::testing::TestInfo &) override {
        if (root.empty())
            return;
        Links known = before;
        known.merge(allowed);
        allowed.clear();
        // Other threads may release what their last work items held shortly after the test.
        if (!waitUntil([&] { return leakedDescriptors(known).empty(); }, std::chrono::seconds(10)))
            ADD_FAILURE() << "the test leaves descriptors open: "
                          << ::testing::PrintToString(leakedDescriptors(known));
        std::error_code ignored;
        std::filesystem::remove_all(root, ignored);
    }
};

} // namespace

void allowLastingDescriptors(std::span<const char *const> links) {
    allowed.insert(links.begin(), links.end());
}

} // namespace wickerlane::test

int main(int argc, char **argv) {
    ::testing::InitGoogleTest(&argc, argv);
    ::testing::UnitTest::GetInstance()->listeners().Append(new wickerlane::test::RootAndDescriptors);
    return RUN_ALL_TESTS();
}
