// wickerlane set, and what show says of it
#include "tests/cli/CommandRun.h"
#include "tests/support/TestImages.h"

using namespace wickerlane::test;

namespace {

class SetCommand : public Commands {
protected:
    static nlohmann::json shown(const std::string &uuid) { return run({"show", uuid, "--json"}).json(); }
};

TEST_F(SetCommand, ShowSaysWhatTheFileSays) {
    TestExif exif;
    exif.make = "MAKER CORPORATION";
    exif.model = "Model 7";
    exif.lens = "A lens";
    exif.exposure = {1, 125};
    exif.aperture = {28, 10};
    exif.focalLength = {50, 1};
    exif.isoSpeed = 400;
    const std::string taken =
        imported(file("a.jpg", withXmp(jpegOf(fourCorners(16, 16), exif),
                                       "<xmp:Rating>4</xmp:Rating><dc:subject><rdf:Bag><rdf:li>Sea</rdf:li>"
                                       "<rdf:li>Sky</rdf:li></rdf:Bag></dc:subject>"
                                       "<dc:description>By day\nand night</dc:description>")));
    const auto json = shown(taken);
    EXPECT_EQ(json["camera"], "MAKER Model 7");
    EXPECT_EQ(json["lens"], "A lens");
    EXPECT_EQ(json["exposureSeconds"], 0.008);
    EXPECT_EQ(json["aperture"], 2.8);
    EXPECT_EQ(json["focalLength"], 50);
    EXPECT_EQ(json["isoSpeed"], 400);
    EXPECT_EQ(json["rating"], 4);
    EXPECT_EQ(json["caption"], "By day\nand night");
    EXPECT_EQ(json["keywords"], nlohmann::json::array({"Sea", "Sky"}));
    const std::string text = run({"show", taken}).output;
    for (const char *line : {"Camera      MAKER Model 7\n", "Lens        A lens\n",
                             "Exposure    1/125 s, f/2.8, ISO 400, 50 mm\n", "Rating      4 of 5\n",
                             "Caption     By day\n            and night\n", "Keywords    Sea, Sky\n"})
        EXPECT_NE(text.find(line), std::string::npos) << text;

    const auto plain = shown(imported(file("b.jpg", jpegPicture())));
    for (const char *key : {"camera", "exposureSeconds", "favourite", "rating", "caption", "keywords"})
        EXPECT_FALSE(plain.contains(key)) << key;
}

TEST_F(SetCommand, SetsWhatIsGivenAndNothingElse) {
    const std::string one = imported(file("a.jpg", jpegPicture())),
                      two = imported(file("b.png", pngPicture()));
    EXPECT_EQ(run({"set", "--favourite", "--hidden", "--rating", "5", "--caption", "At sea", "--keyword",
                   "Sea", "--keyword", "Wide sky", one, two, one})
                  .output,
              "2 assets changed\n");
    EXPECT_EQ(shown(two)["keywords"], nlohmann::json::array({"Sea", "Wide sky"}));
    EXPECT_EQ(
        run({"set", one, "--no-hidden", "--remove-keyword", "Sea", "--caption", "", "--rating=0"}).output,
        "1 asset changed\n");
    const auto json = shown(one);
    EXPECT_EQ(json["favourite"], true);
    for (const char *key : {"hidden", "rating", "caption"})
        EXPECT_FALSE(json.contains(key)) << key;
    EXPECT_EQ(json["keywords"], nlohmann::json::array({"Wide sky"}));
    EXPECT_EQ(run({"set", "--no-favourite", one}).exitCode, 0);
    EXPECT_FALSE(shown(one).contains("favourite"));
    EXPECT_EQ(shown(two)["caption"], "At sea");

    for (const std::vector<std::string> &wrong : std::vector<std::vector<std::string>>{
             {"set", one, "--rating", "6"},
             {"set", one, "--rating", "-1"},
             {"set", one, "--favourite", "--no-favourite"},
             {"set", "--favourite"},
         })
        EXPECT_EQ(run(wrong).exitCode, 2) << wrong.back();
    EXPECT_NE(run({"set", one}).exitCode, 0);
    const auto refused = run({"set", two, "--rating", "1", "--keyword", std::string(65, 'x')});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_NE(refused.errors.find("addKeywords must be an array"), std::string::npos) << refused.errors;
    EXPECT_EQ(run({"set", "--rating", "1", two, absentUUID}).exitCode, 4);
    EXPECT_EQ(shown(two)["rating"], 5);
}

} // namespace
