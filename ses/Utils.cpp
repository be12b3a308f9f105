#include "ses/Utils.h"

#include <cstdlib>

#include "ca/Encode.h"

std::string GetRandom(int n) {
    std::string text = std::to_string(std::rand());
    for (int i = 0; i < n; ++i) {
        text += std::to_string(std::rand());
    }
    return text;
}

std::wstring GetDateTimeString(const struct tm& t, bool toUtc, bool tmIsUtc) {
    struct tm copy = t;
    const time_t value = tmIsUtc ? timegm(&copy) : mktime(&copy);
    struct tm out {};
    if (toUtc) {
        gmtime_r(&value, &out);
    } else {
        localtime_r(&value, &out);
    }
    char text[64];
    const size_t length = std::strftime(text, sizeof(text), "%d.%m.%Y %T", &out);
    return ca::u8u16(text, length);
}

std::wstring NowDateTimeString(bool toUtc) {
    const time_t now = time(nullptr);
    struct tm local {};
    localtime_r(&now, &local);
    return GetDateTimeString(local, toUtc, false);
}
