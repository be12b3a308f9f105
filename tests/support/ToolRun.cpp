#include "tests/support/ToolRun.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

SToolRun CToolTest::Run(const std::vector<std::string>& args, const std::string& input, bool terminalStderr) {
    const std::string dir = home.Path();
    std::ofstream(dir + "/stdin", std::ios::binary) << input;
    std::string tool = SES_TOOL_PATH;
    std::vector<std::string> copies(args);
    std::vector<char*> argv{tool.data()};
    for (auto& arg : copies) {
        argv.push_back(arg.data());
    }
    argv.push_back(nullptr);
    int master = -1;
    int terminal = -1;
    if (terminalStderr) {
        master = posix_openpt(O_RDWR | O_NOCTTY);
        if (master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0) {
            terminal = open(ptsname(master), O_RDWR | O_NOCTTY);
        }
        EXPECT_GE(terminal, 0);
    }
    const pid_t pid = fork();
    if (pid == 0) {
        const int fdIn = open((dir + "/stdin").c_str(), O_RDONLY);
        const int fdOut = open((dir + "/stdout").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        const int fdErr =
            terminal >= 0 ? terminal : open((dir + "/stderr").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (fdIn < 0 || fdOut < 0 || fdErr < 0 || dup2(fdIn, 0) < 0 || dup2(fdOut, 1) < 0 ||
            dup2(fdErr, 2) < 0) {
            _exit(127);
        }
        setenv("HOME", dir.c_str(), 1);
        setenv("XDG_CONFIG_HOME", (dir + "/.config").c_str(), 1);
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
        execv(argv[0], argv.data());
        _exit(127);
    }
    SToolRun run;
    int status = 0;
    if (pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status)) {
        run.exitCode = WEXITSTATUS(status);
    }
    run.out = Read(dir + "/stdout");
    run.err = terminalStderr ? std::string() : Read(dir + "/stderr");
    if (master >= 0) {
        // The terminal side stays open here until the master is drained: no hang-up loses output.
        fcntl(master, F_SETFL, O_NONBLOCK);
        char piece[4096];
        for (ssize_t n; (n = read(master, piece, sizeof(piece))) > 0;) {
            run.err.append(piece, static_cast<size_t>(n));
        }
        close(master);
    }
    if (terminal >= 0) {
        close(terminal);
    }
    return run;
}

SToolRun CToolTest::RunOk(const std::vector<std::string>& args, const std::string& input) {
    SToolRun run = Run(args, input);
    EXPECT_EQ(run.exitCode, 0) << Describe(run);
    return run;
}

SToolRun CToolTest::RunFails(const std::vector<std::string>& args, int exitCode, const std::string& says) {
    SToolRun run = Run(args);
    EXPECT_EQ(run.exitCode, exitCode) << Describe(run);
    EXPECT_THAT(run.err, HasSubstr(says));
    return run;
}

std::string CToolTest::File(const std::string& name, const std::string& bytes) const {
    const std::string path = home.Path() + "/" + name;
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

void CToolTest::NewCert() {
    RunOk({"cert", "new", "--id", "ivanov", "--surname", "Ivanov", "--given-name", "Ivan, Jr",
           "--organization", "Roga, Kopyta", "--email", "ivan@example.org"});
}

std::string CToolTest::Read(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string CToolTest::Describe(const SToolRun& run) {
    return "exit " + std::to_string(run.exitCode) + "\nstdout: " + run.out + "\nstderr: " + run.err;
}

size_t CToolTest::Count(const std::string& text, const std::string& what) {
    size_t n = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + what.size())) {
        ++n;
    }
    return n;
}
