#include "tests/support/Fixtures.h"

#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <stdexcept>

namespace testsupport {

namespace {

// STempFixtures removes the folder a process made for itself when the process ends.
struct STempFixtures {
    std::string path;
    ~STempFixtures() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
};

}  // namespace

std::string FixtureDir() {
    if (const char* dir = getenv("SES_X509_FIXTURES"); dir != nullptr && *dir != '\0') {
        return dir;
    }
    static STempFixtures made;
    static std::once_flag once;
    std::call_once(once, [] {
        char pattern[] = "/tmp/ses-x509-XXXXXX";
        if (mkdtemp(pattern) == nullptr) {
            throw std::runtime_error("mkdtemp failed");
        }
        made.path = pattern;
        const std::string command = "bash '" SES_TEST_DATA "/x509/make-fixtures.sh' '" + made.path + "'";
        if (system(command.c_str()) != 0) {
            throw std::runtime_error("make-fixtures.sh failed");
        }
    });
    return made.path;
}

Expect ReadExpect(const std::string& path) {
    std::ifstream in(path);
    if (!in) {
        throw std::runtime_error("cannot read " + path);
    }
    Expect expect;
    for (std::string line; std::getline(in, line);) {
        const size_t equals = line.find('=');
        if (equals == std::string::npos) {
            throw std::runtime_error(path + ": no '=' in \"" + line + "\"");
        }
        expect.emplace(line.substr(0, equals), line.substr(equals + 1));
    }
    return expect;
}

std::vector<std::string> Values(const Expect& expect, const std::string& key) {
    std::vector<std::string> values;
    const auto range = expect.equal_range(key);
    for (auto it = range.first; it != range.second; ++it) {
        values.push_back(it->second);
    }
    return values;
}

std::vector<std::string> DebianRoots() {
    std::vector<std::string> roots;
    std::error_code error;
    for (const auto& entry :
         std::filesystem::directory_iterator("/usr/share/ca-certificates/mozilla", error)) {
        if (entry.path().extension() == ".crt") {
            roots.push_back(entry.path().string());
        }
    }
    std::sort(roots.begin(), roots.end());
    return roots;
}

}  // namespace testsupport
