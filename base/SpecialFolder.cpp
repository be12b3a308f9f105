#include "base/SpecialFolder.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

namespace ca {

namespace {

std::string HomeFolder() {
    if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') {
        return home;
    }
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr &&
        found->pw_dir != nullptr) {
        return found->pw_dir;
    }
    return "/tmp";
}

}  // namespace

std::string GetSpecialFolder(ConfigType type) {
    switch (type) {
        case ConfigType::kUser:
            break;
    }
    return HomeFolder() + "/.config";
}

}  // namespace ca
