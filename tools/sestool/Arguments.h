#pragma once

// A command's argument checks: the options every command of a kind accepts, the count of positional
// arguments, and byte sizes given as option values.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/sestool/Options.h"

namespace sestool {

// SPositional says how many positional arguments a command takes and names them for the message.
struct SPositional {
    size_t min;
    size_t max;
    const char* names;  // "FILE and SIGNATURE"
};

// ParseCommandLine splits args by the accepted options and checks the count of positional arguments. Prints
// the problem and returns false on a usage error.
bool ParseCommandLine(const char* command, const std::vector<std::string>& args,
                      const std::vector<SOptionSpec>& accepted, const SPositional& positional,
                      SParsedArgs& parsed);

// WithModuleOptions adds the options of every command that loads the module: "--module PATH" and
// "-v"/"--verbose".
std::vector<SOptionSpec> WithModuleOptions(std::vector<SOptionSpec> accepted);

// WithChunkSizeOption adds "--chunk-size N" of the commands that send a file.
std::vector<SOptionSpec> WithChunkSizeOption(std::vector<SOptionSpec> accepted);

// ParseByteSize reads a byte count: decimal digits with an optional K, M or G (either case, powers
// of 1024). False for anything else or a value past 64 bits.
bool ParseByteSize(const std::string& text, uint64_t& out);

}  // namespace sestool
