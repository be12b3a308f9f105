#include "tests/support/ToolRun.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

namespace {

std::string ReadAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace

SToolRun RunSestool(const std::string& dir, const std::vector<std::string>& args, const std::string& input,
                    const std::string& home, int stderrFd) {
    const std::string in = dir + "/stdin";
    const std::string out = dir + "/stdout";
    const std::string err = dir + "/stderr";
    std::ofstream(in, std::ios::binary) << input;
    std::string tool = SES_TOOL_PATH;
    std::vector<std::string> copies(args);
    std::vector<char*> argv{tool.data()};
    for (auto& arg : copies) {
        argv.push_back(arg.data());
    }
    argv.push_back(nullptr);
    const std::string config = home + "/.config";

    SToolRun run;
    const pid_t pid = fork();
    if (pid == 0) {
        const int fdIn = open(in.c_str(), O_RDONLY);
        const int fdOut = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        const int fdErr = stderrFd >= 0 ? stderrFd : open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (fdIn < 0 || fdOut < 0 || fdErr < 0 || dup2(fdIn, 0) < 0 || dup2(fdOut, 1) < 0 || dup2(fdErr, 2) < 0) {
            _exit(127);
        }
        if (!home.empty()) {
            setenv("HOME", home.c_str(), 1);
            setenv("XDG_CONFIG_HOME", config.c_str(), 1);
        }
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
        execv(argv[0], argv.data());
        _exit(127);
    }
    int status = 0;
    if (pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status)) {
        run.exitCode = WEXITSTATUS(status);
    }
    run.out = ReadAll(out);
    run.err = stderrFd >= 0 ? std::string() : ReadAll(err);
    return run;
}
