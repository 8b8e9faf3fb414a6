#include "wickerlane/platform/device/DeviceAnswers.h"

#include <charconv>
#include <cmath>

#include "wickerlane/platform/device/Device.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/preferences/Preferences.h"

using namespace wickerlane;

namespace {

float valueOf(Object *setting) {
    if (const auto *number = as<Number>(setting))
        return static_cast<float>(number->doubleValue());
    float spelt = NAN;
    if (const auto *text = as<String>(setting)) {
        const std::string_view digits = text->utf8();
        const char *end = digits.data() + digits.size();
        if (std::from_chars(digits.data(), end, spelt).ptr != end)
            return NAN;
    }
    return spelt;
}

} // namespace

float DVGetFloat32Answer(const String *question, float otherwise) {
    if (question == nullptr)
        return otherwise;
    const ReleaseScope scope;
    const float answer = valueOf(preferenceValue(question->utf8(), deviceDomain));
    return std::isfinite(answer) ? answer : otherwise;
}
