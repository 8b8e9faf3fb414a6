#include "hoardd/service/Battery.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace wickerlane::hoardd {

namespace fs = std::filesystem;

namespace {

std::string lineIn(const fs::path &file) {
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    return line;
}

} // namespace

bool isOnBattery(const std::string &folder) {
    std::error_code none;
    return std::ranges::any_of(fs::directory_iterator(folder, none), [](const fs::directory_entry &supply) {
        return lineIn(supply.path() / "type") == "Battery" && lineIn(supply.path() / "scope") != "Device" &&
               lineIn(supply.path() / "status") == "Discharging";
    });
}

} // namespace wickerlane::hoardd
