// "sestool x509 | crl | cms": PEM, DER and standard input read alike; --json is the record itself;
// bad input exits 1 with the code on stderr.
#include "tests/support/Fixtures.h"
#include "tests/support/ToolRun.h"

namespace {

using X509CommandTest = CToolTest;

TEST_F(X509CommandTest, ReadsEveryEncodingAndPrintsTheRecord) {
    const std::string folder = testsupport::FixtureDir();
    const std::string der = Read(folder + "/cert-names.der");
    const SToolRun fromDer = Run({"x509", "--json", folder + "/cert-names.der"});
    ASSERT_EQ(fromDer.exitCode, 0) << Describe(fromDer);
    EXPECT_EQ(fromDer.out.rfind(R"({"Id":")", 0), 0u);
    EXPECT_EQ(Run({"x509", "--json", folder + "/cert-names.pem"}).out, fromDer.out);
    EXPECT_EQ(Run({"x509", "--json", "-"}, der).out, fromDer.out);
    EXPECT_EQ(Run({"x509", "--json", File("bare.b64", B64(der))}).out, fromDer.out);

    const struct {
        std::vector<std::string> args;
        const char* text;  // a part of the text output
    } texts[] = {
        {{"x509", folder + "/cert-ku-all.der"}, "Key usage: Цифровая подпись; Неотрекаемость;"},
        {{"x509", "--lang", "ru", folder + "/cert-root.der"}, "Сертификат:\n  Субъект: C=RU"},
        {{"crl", folder + "/crl-root.pem"}, "Revoked certificates (5):"},
        {{"cms", folder + "/cms-countersigned.der"}, "    Co-signer 1:\n"},
        {{"cms", "--json", folder + "/p7-certs.der"}, "[]\n"},
    };
    for (const auto& t : texts) {
        const SToolRun run = Run(t.args);
        EXPECT_EQ(run.exitCode, 0) << Describe(run);
        EXPECT_NE(run.out.find(t.text), std::string::npos) << Describe(run);
    }
}

TEST_F(X509CommandTest, BadInputExitsOneWithTheCode) {
    const std::string folder = testsupport::FixtureDir();
    const struct {
        std::vector<std::string> args;
        int exitCode;
        const char* err;
    } cases[] = {
        {{"x509", File("cut.der", Read(folder + "/cert-root.der").substr(0, 100))}, 1, "error 0x80093102"},
        {{"crl", folder + "/cert-root.der"}, 1, "error 0x8009310B"},  // a certificate is no CRL
        {{"cms", File("text.txt", "not a signature")}, 1, "error 0x"},
        {{"x509", "--lang", "de", folder + "/cert-root.der"}, 2, "--lang takes en or ru"},
        {{"x509", "missing.der"}, 2, "missing.der"},
    };
    for (const auto& c : cases) {
        const SToolRun run = Run(c.args);
        EXPECT_EQ(run.exitCode, c.exitCode) << Describe(run);
        EXPECT_NE(run.err.find(c.err), std::string::npos) << Describe(run);
        EXPECT_EQ(run.out, "");
    }
}

}  // namespace
