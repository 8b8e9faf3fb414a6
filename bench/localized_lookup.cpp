// Looking up a localized text, compared with a look-up in std::unordered_map and with reading the table's
// file.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <unordered_map>

#include "bench/InTurn.h"
#include "wickerlane/platform/bundle/StringTable.h"
#include "wickerlane/platform/locale/Locale.h"
#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/preferences/Preferences.h"
#include "wickerlane/util/texts/JXLocalization.h"

using namespace wickerlane;

namespace {

constexpr int texts = 200; // As many as a large table.
constexpr int rounds = 9;

std::string keyOf(int number) {
    return "SELECTED_ITEMS_TITLE_" + std::to_string(number);
}

void writeTable(const std::filesystem::path &path, const std::string &prefix) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream file(path);
    for (int i = 0; i < texts; ++i)
        file << '"' << prefix << keyOf(i) << "\" = \"Ausgewählte Objekte " << i << "\";\n";
}

} // namespace

int main() {
    std::string root = (std::filesystem::temp_directory_path() / "wickerlane-bench-XXXXXX").string();
    if (mkdtemp(root.data()) == nullptr)
        return 1;
    setenv("WICKERLANE_ROOT", root.c_str(), 1);
    setenv("WICKERLANE_BUNDLES", root.c_str(), 1);
    const std::filesystem::path folder = root;
    writeTable(folder / "Pixhold.bundle/de.lproj/Pixhold-Device.strings", "");
    writeTable(folder / "Pixhold.bundle/de.lproj/Pixhold-GM.strings", "GM_");
    writeTable(folder / "PixholdServices.bundle/de.lproj/PixholdServices.strings", "");
    setProcessLanguages({"de-AT"});
    {
        const ReleaseScope scope;
        setPreferenceValue(languagesPreference, Array::of({String::of("de-AT")}), globalPreferencesDomain);
    }

    std::unordered_map<std::string, std::string> map;
    std::vector<Ref<String>> keys, lastKeys;
    std::vector<std::string> plainKeys;
    for (int i = 0; i < texts; ++i) {
        plainKeys.push_back(keyOf(i));
        map[keyOf(i)] = "Ausgewählte Objekte " + std::to_string(i);
        keys.push_back(String::create(keyOf(i)));
        lastKeys.push_back(String::create("GM_" + keyOf(i)));
    }
    if (JXLocalizedFrameworkString(lastKeys.back().get())->utf8() != map[plainKeys.back()])
        bench::fail("texts are wrong");
    const auto eachOf = [](const auto &all, auto lookUp) {
        return [&all, lookUp](int count) {
            for (int i = 0; i < count; ++i) {
                if (i % 1000 == 0)
                    benchmark::ClobberMemory();
                const ReleaseScope scope;
                benchmark::DoNotOptimize(lookUp(all[static_cast<std::size_t>(i) % texts]));
            }
        };
    };
    const auto report = [](const bench::Measured &measured) {
        std::printf("%-58s %9.1f ns   ratio %7.2f\n", measured.what, measured.best, measured.ratio);
    };
    const bench::Way inMap{
        "in a hash map of the standard library",
        eachOf(plainKeys, [&map](const std::string &key) { return &map.find(key)->second; })};
    bench::measureInTurn(
        rounds, 200'000,
        {inMap,
         {"in a bundle's table", eachOf(keys,
                                        [bundle = JXPixholdFrameworkBundle()](const Ref<String> &key) {
                                            return bundle->localizedString(key.get(), String::empty(),
                                                                           "Pixhold-Device");
                                        })},
         {"of the user interface, in its first table",
          eachOf(keys, [](const Ref<String> &key) { return JXLocalizedFrameworkString(key.get()); })},
         {"of the user interface, in its fourth table",
          eachOf(lastKeys, [](const Ref<String> &key) { return JXLocalizedFrameworkString(key.get()); })}},
        report);
    // The daemon's look-up reads the whole file for each text.
    const std::string file = folder / "PixholdServices.bundle/de.lproj/PixholdServices.strings";
    bench::measureInTurn(rounds, 500,
                         {{"reading a table's file, and one text of it",
                           eachOf(keys,
                                  [&file](const Ref<String> &key) {
                                      return createStringTableFromFile(file)->get(key.get()) != nullptr;
                                  })},
                          {"of the services, for the daemon",
                           eachOf(keys,
                                  [](const Ref<String> &key) {
                                      return JXServicesLocalizedFrameworkStringForHoardd(key.get());
                                  })}},
                         report);
    std::filesystem::remove_all(root);
    return 0;
}
