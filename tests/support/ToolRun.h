#pragma once

#include <string>
#include <vector>

// SToolRun is what one run of the built sestool gave: its exit code and its output.
struct SToolRun {
    int exitCode = -1;
    std::string out;
    std::string err;
};

// RunSestool runs the built sestool with args as a child process. Its standard streams are files in
// dir (standard input holds input); home, when not empty, becomes HOME with XDG_CONFIG_HOME under it.
// stderrFd, when not negative, replaces the standard-error file (a pseudo-terminal, say).
SToolRun RunSestool(const std::string& dir, const std::vector<std::string>& args, const std::string& input = {},
                    const std::string& home = {}, int stderrFd = -1);
