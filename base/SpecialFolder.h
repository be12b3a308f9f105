#pragma once

#include <string>

namespace ca {

enum class ConfigType { kUser = 0 };

// GetSpecialFolder returns the configuration folder of the given kind, without a trailing "/": for
// kUser the home folder ($HOME, else the password database) followed by "/.config".
std::string GetSpecialFolder(ConfigType type);

}  // namespace ca
