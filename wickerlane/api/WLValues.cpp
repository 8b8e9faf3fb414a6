#include "wickerlane/api/WLValues.h"

using namespace wickerlane;

WLString *WLStringCreate(const char *text) {
    return String::create(text).leak();
}

const char *WLStringText(const WLString *string) {
    return string != nullptr ? string->UTF8String() : nullptr;
}

size_t WLStringLength(const WLString *string) {
    return string != nullptr ? string->utf8().size() : 0;
}

WLURL *WLURLCreate(const char *text) {
    return text != nullptr ? URL::create(text).leak() : nullptr;
}

WLURL *WLURLCreateWithPath(const char *path) {
    return path != nullptr ? URL::createWithPath(path).leak() : nullptr;
}

WLString *WLURLText(const WLURL *url) {
    return url != nullptr ? url->absoluteString() : nullptr;
}

WLString *WLURLPath(const WLURL *url) {
    return url != nullptr ? url->path() : nullptr;
}

WLNumber *WLNumberCreateWithBool(bool value) {
    return Number::create(value).leak();
}

WLNumber *WLNumberCreateWithInt64(int64_t value) {
    return Number::create(value).leak();
}

WLNumber *WLNumberCreateWithUInt64(uint64_t value) {
    return Number::create(value).leak();
}

WLNumber *WLNumberCreateWithDouble(double value) {
    return Number::create(value).leak();
}

bool WLNumberBool(const WLNumber *number) {
    return number != nullptr && number->boolValue();
}

int64_t WLNumberInt64(const WLNumber *number) {
    return number != nullptr ? number->int64Value() : 0;
}

uint64_t WLNumberUInt64(const WLNumber *number) {
    return number != nullptr ? number->uint64Value() : 0;
}

double WLNumberDouble(const WLNumber *number) {
    return number != nullptr ? number->doubleValue() : 0;
}

WLDate *WLDateCreate(double seconds) {
    return Date::createWithReferenceSeconds(seconds).leak();
}

double WLDateSeconds(const WLDate *date) {
    return date != nullptr ? date->referenceSeconds() : 0;
}

WLData *WLDataCreate(const void *bytes, size_t length) {
    return bytes != nullptr || length == 0 ? Data::create(bytes, length).leak() : nullptr;
}

const void *WLDataBytes(const WLData *data) {
    return data != nullptr ? data->bytes() : nullptr;
}

size_t WLDataLength(const WLData *data) {
    return data != nullptr ? data->length() : 0;
}
