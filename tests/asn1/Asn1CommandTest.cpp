// "sestool asn1" run as a child process over DER, PEM and broken files.
#include <gtest/gtest.h>

#include <sstream>

#include "base/Encode.h"
#include "tests/asn1/Asn1TestUtil.h"
#include "tests/support/ToolRun.h"

namespace {

using Asn1Command = CToolTest;

TEST_F(Asn1Command, OutputAndExitCodeForEachInput) {
    const std::vector<uint8_t> der = asn1test::Cert("isrg_x2_ec.der");
    const std::vector<uint8_t> json = asn1test::Cert("isrg_x2_ec.json");
    const std::string dump(json.begin(), json.end());
    std::string pem = ca::Base64Encode(der.data(), static_cast<uint32_t>(der.size()));
    for (size_t at = 64; at < pem.size(); at += 65) {
        pem.insert(at, "\n");
    }
    File("cert.der", std::string(der.begin(), der.end()));
    File("cert.pem", "-----BEGIN CERTIFICATE-----\n" + pem + "\n-----END CERTIFICATE-----\n");
    File("two.der", std::string("\x02\x01\x01\x05\x00", 5));
    File("cut.der", "\x30");
    const std::string integer =
        R"j({"structure":{"tag":2,"formattedStringValue":"1","tagString":"02 INTEGER(PRIMITIVE)",)j"
        R"j("length":3,"offset":0,"isUnknownLength":false,"corrupted":false}})j";
    const std::string null =
        R"j({"structure":{"tag":5,"formattedStringValue":"Null","tagString":"05 NULL(PRIMITIVE)",)j"
        R"j("length":2,"offset":3,"isUnknownLength":false,"corrupted":false}})j";
    struct SCase {
        std::string args;  // the last word names a file in the folder
        int exitCode;
        std::string out;  // exact standard output
        const char* err;  // in standard error
    };
    const SCase cases[] = {
        {"cert.der", 0, dump, ""},
        {"cert.pem", 0, dump, ""},
        {"two.der", 0, integer + "\n", ""},  // the first block only
        {"--path 1 two.der", 0, null + "\n", ""},
        {"--all two.der", 0, "[" + integer + "," + null + "]\n", ""},
        {"cut.der", 1, "", "0x80093102"},
        {"--path 0/2 two.der", 1, "", "no block at path '0/2'"},
        {"--path x two.der", 2, "", "--path 'x'"},
        {"missing.der", 2, "", "missing.der"},
        {"", 2, "", "expected one FILE"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args);
        std::vector<std::string> args = {"asn1"};
        std::istringstream words(c.args);
        for (std::string word; words >> word;) {
            args.push_back(word);
        }
        if (args.size() > 1) {
            args.back() = home.Path() + "/" + args.back();
        }
        const SToolRun run = Run(args);
        EXPECT_EQ(run.exitCode, c.exitCode) << run.err;
        EXPECT_EQ(run.out, c.out);
        EXPECT_THAT(run.err, HasSubstr(c.err));
    }
}

}  // namespace
