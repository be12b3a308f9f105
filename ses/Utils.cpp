#include "ses/Utils.h"

#include <cstdlib>
#include <mutex>
#include <random>

#include "base/Encode.h"

namespace {

// NextRandom draws a value in [0, RAND_MAX] from the module's own generator: rand() would share
// (and, once seeded, change) the host's sequence, and unseeded it repeats in every process.
int NextRandom() {
    static std::mutex lock;
    static std::mt19937 generator{std::random_device{}()};
    std::lock_guard<std::mutex> guard(lock);
    return std::uniform_int_distribution<int>(0, RAND_MAX)(generator);
}

}  // namespace

std::string GetRandom(int n) {
    std::string text = std::to_string(NextRandom());
    for (int i = 0; i < n; ++i) {
        text += std::to_string(NextRandom());
    }
    return text;
}

std::wstring GetDateTimeString(const struct tm& t, bool toUtc, bool tmIsUtc) {
    struct tm copy = t;
    const time_t value = tmIsUtc ? timegm(&copy) : mktime(&copy);
    return FormatDateTime(value, toUtc);
}

std::wstring FormatDateTime(time_t value, bool toUtc) {
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
    // Deliberate: the clock value is formatted directly; the round trip through a local tm and
    // mktime gives the same text but makes glibc re-read the zone (tzset) on every call.
    return FormatDateTime(time(nullptr), toUtc);
}
