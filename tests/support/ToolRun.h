#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/TestSupport.h"

// SToolRun is what one run of the built sestool gave: its exit code and its output.
struct SToolRun {
    int exitCode = -1;
    std::string out;
    std::string err;
};

// CToolTest runs sestool in a fresh temporary HOME that also holds the test's files.
class CToolTest : public ::testing::Test {
public:
    static std::string Read(const std::string& path);
    static std::string Describe(const SToolRun& run);
    static size_t Count(const std::string& text, const std::string& what);

protected:
    // Run starts sestool with args as a child process, HOME and XDG_CONFIG_HOME under the test's HOME
    // and standard input from input; terminalStderr gives it a pseudo-terminal as standard error
    // instead of a file.
    SToolRun Run(const std::vector<std::string>& args, const std::string& input = {},
                 bool terminalStderr = false);
    // RunOk is Run that expects exit code 0; RunFails expects exitCode and says in standard error.
    SToolRun RunOk(const std::vector<std::string>& args, const std::string& input = {});
    SToolRun RunFails(const std::vector<std::string>& args, int exitCode, const std::string& says);
    // File writes bytes to name in the test folder and returns its path.
    std::string File(const std::string& name, const std::string& bytes) const;
    std::string CertFolder() const { return home.Path() + "/.config/VALKO/SesCertificates"; }
    // NewCert makes the certificate "ivanov" the signing tests use; ", " inside its values must not
    // cut the name out of the module's "SN=..., G=..., O=..." description.
    void NewCert();

    CTempHome home;
};
