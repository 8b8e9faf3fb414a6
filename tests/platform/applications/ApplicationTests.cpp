#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "wickerlane/platform/applications/library/DesktopWorkspace.h"
#include "wickerlane/platform/object/String.h"

using namespace wickerlane;
namespace fs = std::filesystem;

namespace {

const std::string application = "[Desktop Entry]\nType=Application\nName=Painter\n";

// Data folders of its own: "home" of the user, "first" and "second" of the machine.
class Applications : public ::testing::Test {
protected:
    void SetUp() override {
        root = std::getenv("WICKERLANE_ROOT");
        setenv("XDG_DATA_HOME", (root / "home").c_str(), 1);
        setenv("XDG_DATA_DIRS",
               ("relative:" + (root / "first").string() + "::" + (root / "second/").string()).c_str(), 1);
    }
    void write(const std::string &path, const std::string &contents = application) const {
        fs::create_directories((root / path).parent_path());
        std::ofstream(root / path) << contents;
    }
    [[nodiscard]] static bool isInstalled(std::string_view identifier) {
        const auto made = Ref<Object>::adopt(classNamed("ApplicationWorkspace")->instantiate());
        return as<ApplicationWorkspace>(made.get())->isInstalled(String::of(identifier));
    }

    fs::path root;
};

} // namespace

TEST_F(Applications, AreFoundInEveryDataFolderByTheirIdentifier) {
    EXPECT_FALSE(isInstalled("org.example.Painter"));
    write("home/applications/org.example.Painter.desktop");
    write("first/applications/kit/pack/org.example.Drawer.desktop");
    write("second/applications/a-b.desktop");
    write("second/stray.desktop");
    for (const char *there : {"org.example.Painter", "kit-pack-org.example.Drawer", "a-b"})
        EXPECT_TRUE(isInstalled(there)) << there;
    for (const char *absent :
         {"", "org.example.painter", "org.example.Painter.desktop", "kit-org.example.Drawer",
          "kit/pack/org.example.Drawer", "a", "..-stray", "../stray", "-a-b", ".-a-b", "b"})
        EXPECT_FALSE(isInstalled(absent)) << absent;
    EXPECT_FALSE(isInstalled(std::string_view("a-b\0", 4)));
    EXPECT_FALSE(isInstalled(std::string(5000, 'a')));

    unsetenv("XDG_DATA_HOME");
    setenv("HOME", (root / "user").c_str(), 1);
    EXPECT_FALSE(isInstalled("org.example.Painter"));
    write("user/.local/share/applications/org.example.Painter.desktop");
    EXPECT_TRUE(isInstalled("org.example.Painter"));
}

TEST_F(Applications, TheFirstWellFormedEntryDecides) {
    write("first/applications/a.desktop", "no entry");
    write("second/applications/a.desktop");
    EXPECT_TRUE(isInstalled("a")) << "one that is malformed does not count";
    write("home/applications/a.desktop", "[Desktop Entry]\nHidden=true\n");
    EXPECT_FALSE(isInstalled("a")) << "the user removed it";
}

TEST_F(Applications, NeedTheProgramThatTheirEntryNames) {
    write("bin/tool");
    write("bin/folder/inner");
    setenv("PATH", ("bin:" + (root / "bin").string()).c_str(), 1);
    const auto isInstalledTrying = [&](const std::string &program) {
        write("home/applications/a.desktop", application + "TryExec=" + program + "\n");
        return isInstalled("a");
    };
    EXPECT_TRUE(isInstalledTrying(""));
    const std::string tool = root / "bin/tool";
    for (const std::string &program : {tool, std::string("tool")})
        EXPECT_FALSE(isInstalledTrying(program)) << "not executable: " << program;
    chmod(tool.c_str(), 0700);
    for (const std::string &program : {tool, std::string("tool")})
        EXPECT_TRUE(isInstalledTrying(program)) << program;
    for (const std::string &program :
         {tool + "s", std::string("tools"), std::string("bin/tool"), std::string("folder")})
        EXPECT_FALSE(isInstalledTrying(program)) << program;
}

TEST_F(Applications, OddFilesDoNoHarm) {
    const fs::path folder = root / "home/applications";
    write("package/a.desktop");
    fs::create_directories(folder / "folder.desktop");
    fs::create_symlink(root / "package/a.desktop", folder / "linked.desktop");
    fs::create_symlink("loop.desktop", folder / "loop.desktop");
    ASSERT_EQ(mkfifo((folder / "pipe.desktop").c_str(), 0600), 0);
    write("home/applications/huge.desktop", application + std::string(std::size_t{1} << 20, '\n'));
    EXPECT_TRUE(isInstalled("linked")) << "packages install links";
    for (const char *odd : {"folder", "loop", "pipe", "huge"})
        EXPECT_FALSE(isInstalled(odd)) << odd;

    // A folder that leads back to where it stands can be entered in very many ways.
    fs::create_directory_symlink(".", folder / "a");
    fs::create_directory_symlink(".", folder / "a-a");
    std::string endless = "a";
    for (int i = 0; i < 100; ++i)
        endless += "-a";
    EXPECT_FALSE(isInstalled(endless));
}
