#pragma once

#include <map>
#include <string>
#include <vector>

namespace sestool {

// SOptionSpec names one option of a command: a flag, or one that takes a value ("--out FILE" or
// "--out=FILE"). shortName is an alias such as "-v", or null.
struct SOptionSpec {
    const char* name;
    const char* shortName;
    bool takesValue;
};

// SParsedArgs holds the options given (by long name; flags map to "") and the positional arguments.
struct SParsedArgs {
    std::map<std::string, std::string> options;
    std::vector<std::string> positional;

    bool Has(const std::string& name) const { return options.count(name) != 0; }
    std::string Value(const std::string& name) const;
};

// ParseOptions splits a command's arguments by the accepted options. "--" ends the options and a lone "-" is
// positional (standard input). Returns false with a message for an unknown option or a missing value.
bool ParseOptions(const std::vector<std::string>& args, const std::vector<SOptionSpec>& accepted,
                  SParsedArgs& out, std::string& error);

}  // namespace sestool
