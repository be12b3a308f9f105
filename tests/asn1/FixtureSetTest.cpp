// The openssl-made X.509 fixture set is whole, and the block parser writes each file back unchanged.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include "tests/asn1/Asn1TestUtil.h"
#include "tests/support/Fixtures.h"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> Files(const std::string& extension) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(testsupport::FixtureDir())) {
        if (entry.path().extension() == extension) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

TEST(X509Fixtures, EveryFileHasItsExpectationsAndEveryKindIsThere) {
    std::set<std::string> kinds;
    for (fs::path der : Files(".der")) {
        const auto kind =
            testsupport::Values(testsupport::ReadExpect(der.replace_extension(".expect")), "kind");
        ASSERT_EQ(kind.size(), 1u) << der;
        kinds.insert(kind[0]);
    }
    EXPECT_EQ(kinds, (std::set<std::string>{"cert", "cms", "crl"}));
    const auto pems = Files(".pem");
    EXPECT_GE(pems.size(), 3u);
    for (fs::path pem : pems) {
        EXPECT_TRUE(fs::exists(pem.replace_extension(".der"))) << pem;
    }
    EXPECT_FALSE(testsupport::DebianRoots().empty());
}

TEST(X509Fixtures, TheBlockParserWritesEachFileBackUnchanged) {
    for (const fs::path& der : Files(".der")) {
        asn1test::CInput input(asn1test::ReadFile(der.string()));
        CCryptAsn1Parser parser;
        parser.Parse(input.data(), input.size(), false, true);
        EXPECT_EQ(parser.GetInnerBlockCount(), 1u) << der;
        EXPECT_EQ(parser.Build(), input.bytes()) << der;
    }
}

}  // namespace
