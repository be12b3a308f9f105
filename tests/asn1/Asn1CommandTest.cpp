// "sestool asn1" run as a child process over DER, PEM and broken files in a temporary folder.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "base/Encode.h"
#include "tests/asn1/Asn1TestUtil.h"
#include "tests/support/ToolRun.h"

namespace {

namespace fs = std::filesystem;

using SRun = SToolRun;

class Asn1Command : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "asn1-command-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        _dir = pattern;
    }
    void TearDown() override {
        std::error_code ignored;
        fs::remove_all(_dir, ignored);
    }

    std::string File(const std::string& name, const std::vector<uint8_t>& bytes) {
        std::ofstream(_dir / name, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        return (_dir / name).string();
    }

    // Run starts "sestool asn1 ARGS".
    SRun Run(std::vector<std::string> args) {
        args.insert(args.begin(), "asn1");
        return RunSestool(_dir.string(), args);
    }

    static std::string Read(const fs::path& path) {
        const auto bytes = asn1test::ReadFile(path.string());
        return {bytes.begin(), bytes.end()};
    }

    // Expected is the dump the library gives for the same bytes.
    static std::string Expected(std::vector<uint8_t> bytes, const wchar_t* path = nullptr) {
        CCryptAsn1Parser parser;
        parser.Parse(bytes.data(), bytes.size(), false, false, path == nullptr);
        if (path == nullptr) {
            return parser.GetAsn1Structure() + "\n";
        }
        rapidjson::StringBuffer buffer;
        parser.GetBlockByPath(path)->ToJson(buffer);
        return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
    }

    fs::path _dir;
};

std::string Describe(const SRun& run) {
    return "exit " + std::to_string(run.exitCode) + "\nstdout: " + run.out + "\nstderr: " + run.err;
}

TEST_F(Asn1Command, DerAndPemGiveTheSameDump) {
    const std::vector<uint8_t> der = asn1test::ReadFile(asn1test::CertPath("isrg_x2_ec.der"));
    std::string body = ca::Base64Encode(der.data(), static_cast<uint32_t>(der.size()));
    for (size_t at = 64; at < body.size(); at += 65) {
        body.insert(at, "\n");
    }
    const std::string pem = "-----BEGIN CERTIFICATE-----\n" + body + "\n-----END CERTIFICATE-----\n";
    const std::string bare = ca::Base64Encode(der.data(), static_cast<uint32_t>(der.size()));
    const std::string expected = Expected(der);
    for (const std::string& file : {File("cert.der", der), File("cert.pem", {pem.begin(), pem.end()}),
                                    File("cert.b64", {bare.begin(), bare.end()})}) {
        SCOPED_TRACE(file);
        const SRun run = Run({file});
        EXPECT_EQ(run.exitCode, 0) << Describe(run);
        EXPECT_EQ(run.out, expected);
    }
}

TEST_F(Asn1Command, PathAndAll) {
    const std::vector<uint8_t> der = asn1test::ReadFile(asn1test::CertPath("comodo_rsa.der"));
    const std::string cert = File("cert.der", der);
    SRun run = Run({"--path", "0/0/1", cert});
    EXPECT_EQ(run.exitCode, 0) << Describe(run);
    EXPECT_EQ(run.out, Expected(der, L"0/0/1"));
    EXPECT_NE(run.out.find(R"j("tagString":"02 INTEGER(PRIMITIVE)","length":18,"offset":13)j"), std::string::npos);

    const std::string two = File("two.der", asn1test::FromHex("020101 0500"));
    run = Run({"--all", two});
    EXPECT_EQ(run.exitCode, 0) << Describe(run);
    EXPECT_EQ(run.out,
              R"j([{"structure":{"tag":2,"formattedStringValue":"1","tagString":"02 INTEGER(PRIMITIVE)","length":3,)j"
              R"j("offset":0,"isUnknownLength":false,"corrupted":false}},)j"
              R"j({"structure":{"tag":5,"formattedStringValue":"Null","tagString":"05 NULL(PRIMITIVE)","length":2,)j"
              R"j("offset":3,"isUnknownLength":false,"corrupted":false}}])j"
              "\n");
    run = Run({two});
    EXPECT_EQ(run.exitCode, 0) << Describe(run);
    EXPECT_EQ(run.out.find("NULL"), std::string::npos);  // the first block only
    run = Run({"--path", "1", two});
    EXPECT_NE(run.out.find("05 NULL(PRIMITIVE)"), std::string::npos) << Describe(run);
}

TEST_F(Asn1Command, BadInputExitsOneWithTheCode) {
    struct SCase {
        const char* hex;
        std::vector<std::string> options;
        const char* says;
    };
    const SCase cases[] = {
        {"30", {}, "0x80093102"},
        {"", {}, "0x80093102"},
        {"3080020105", {}, "0x80093102"},
        {"3004020105", {}, "0x80093102"},
        {"170135", {}, "0x80093102"},  // the block parses, its value does not
        {"3003020105", {"--path", "0/1"}, "no block at path '0/1'"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.hex);
        std::vector<std::string> args = c.options;
        args.push_back(File("bad.der", asn1test::FromHex(c.hex)));
        const SRun run = Run(args);
        EXPECT_EQ(run.exitCode, 1) << Describe(run);
        EXPECT_NE(run.err.find(c.says), std::string::npos) << Describe(run);
        EXPECT_EQ(run.out, "");
    }
}

TEST_F(Asn1Command, UsageErrorsExitTwoAndHelpExplains) {
    const std::string file = File("ok.der", asn1test::FromHex("0500"));
    struct SCase {
        std::vector<std::string> args;
        const char* says;
    };
    const SCase cases[] = {
        {{}, "expected one FILE"},
        {{"--path", "x", file}, "--path 'x'"},
        {{"--path", "0", "--all", file}, "exclude each other"},
        {{(_dir / "missing.der").string()}, "missing.der"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.says);
        const SRun run = Run(c.args);
        EXPECT_EQ(run.exitCode, 2) << Describe(run);
        EXPECT_NE(run.err.find(c.says), std::string::npos) << Describe(run);
    }
    const SRun help = Run({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_NE(help.out.find("Usage: sestool asn1 [--path P] [--all] FILE"), std::string::npos);
    EXPECT_NE(help.out.find("the module\nitself is not loaded"), std::string::npos);
}

}  // namespace
