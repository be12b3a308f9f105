#pragma once

#include <string>
#include <vector>

namespace sestool {

// Exit codes shared by every command.
constexpr int kExitOk = 0;      // the module answered "errorCode" 0 (verify: the signature is valid)
constexpr int kExitFailed = 1;  // the module answered with an error code (verify: the signature is invalid)
constexpr int kExitUsage = 2;   // bad usage, unreadable input, module not loadable

using CommandHandler = int (*)(const std::vector<std::string>& args);

// SCommand is one row of the command table: "sestool NAME ARGS..." runs handler(ARGS). help is the
// full text of "sestool NAME --help".
struct SCommand {
    const char* name;
    const char* summary;
    CommandHandler handler;
    const char* help;
};

// RunSestool dispatches argv to the command table; returns the process exit code.
int RunSestool(int argc, char** argv);

// A command lives in its own unit: a handler and its help text, listed in the table in Commands.cpp.
int RunHelp(const std::vector<std::string>& args);
extern const char kHelpHelp[];
int RunRequest(const std::vector<std::string>& args);
extern const char kRequestHelp[];
int RunSession(const std::vector<std::string>& args);
extern const char kSessionHelp[];
int RunCert(const std::vector<std::string>& args);
extern const char kCertHelp[];
int RunCerts(const std::vector<std::string>& args);
extern const char kCertsHelp[];
int RunSign(const std::vector<std::string>& args);
extern const char kSignHelp[];
int RunVerify(const std::vector<std::string>& args);
extern const char kVerifyHelp[];
int RunHash(const std::vector<std::string>& args);
extern const char kHashHelp[];
int RunStores(const std::vector<std::string>& args);
extern const char kStoresHelp[];
int RunAsn1(const std::vector<std::string>& args);
extern const char kAsn1Help[];
int RunX509(const std::vector<std::string>& args);
extern const char kX509Help[];
int RunCrl(const std::vector<std::string>& args);
extern const char kCrlHelp[];
int RunCms(const std::vector<std::string>& args);
extern const char kCmsHelp[];
int RunConfig(const std::vector<std::string>& args);
extern const char kConfigHelp[];
int RunVersion(const std::vector<std::string>& args);
extern const char kVersionHelp[];

}  // namespace sestool
