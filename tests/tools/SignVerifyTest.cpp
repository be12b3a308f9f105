// "sestool sign" and "sestool verify", in one call and in chunks.
#include <filesystem>

#include "tests/support/ToolRun.h"

namespace {

using SignVerifyTest = CToolTest;

// The container sign writes: the record's certificate, then EDS with the caller's texts and the CRC
// ("123456789" has CRC-64 7800480153909949255, base64 of its digits); Attached sits between URI and CRC.
TEST_F(SignVerifyTest, SignWritesTheContainerLayout) {
    NewCert();
    const std::string record = Read(CertFolder() + "/ivanov.ses");  // its certificate, then "</SES>\n"
    const std::string head = record.substr(0, record.size() - 7) +
                             "    <EDS>\n        <SignId>*</SignId>\n        <SignTimeUTC>*</SignTimeUTC>\n";
    const std::string tail =
        "        <CRC Set=\"st_1\">NzgwMDQ4MDE1MzkwOTk0OTI1NQ==</CRC>\n    </EDS>\n</SES>\n";
    const struct {
        std::vector<std::string> options;
        std::string eds;
    } cases[] = {{{}, "        <Comment />\n        <URI />\n"},
                 {{"--comment", "ok & done", "--uri", "urn:a"},
                  "        <Comment>ok &amp; done</Comment>\n        <URI>urn:a</URI>\n"},
                 {{"--attached"},
                  "        <Comment />\n        <URI />\n        <Attached>MTIzNDU2Nzg5</Attached>\n"}};
    const std::string data = File("data.txt", "123456789");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.eds);
        std::vector<std::string> args{"sign", "--cert", "ivanov", data};
        args.insert(args.end(), c.options.begin(), c.options.end());
        const SToolRun run = Run(args);
        ASSERT_EQ(run.exitCode, 0) << Describe(run);
        EXPECT_THAT(run.out, HasSubstr("\nSignature written to " + data + ".sig.xml\n"));
        const std::string written = Read(data + ".sig.xml");
        EXPECT_EQ(Masked(written), head + c.eds + tail);
        const size_t id = written.find("<SignId>") + 8;
        EXPECT_EQ(written.find_first_not_of("0123456789", id), written.find("</SignId>")) << written;
    }
    // "-o -" puts the container on standard output and the summary on standard error.
    const SToolRun piped = Run({"sign", "--cert", "ivanov", "-o", "-", "-"}, "123456789");
    EXPECT_EQ(piped.exitCode, 0) << Describe(piped);
    EXPECT_EQ(Masked(piped.out), head + cases[0].eds + tail);
    EXPECT_THAT(piped.err, HasSubstr("Signature written to standard output\n"));
    EXPECT_FALSE(std::filesystem::exists(home.Path() + "/-"));

    const SToolRun unknown = Run({"sign", "--cert", "nobody", data, "-o", data + ".2"});
    EXPECT_EQ(unknown.exitCode, 1) << Describe(unknown);
    EXPECT_THAT(unknown.err, HasSubstr("sestool: NEED (code 16104)\n"));
    EXPECT_THAT(unknown.err, HasSubstr("no certificate 'nobody'"));
    EXPECT_FALSE(std::filesystem::exists(data + ".2"));
}

// Digits shows a text with every digit as '9', for lines that carry a time.
std::string Digits(std::string text) {
    for (char& c : text) {
        c = c >= '0' && c <= '9' ? '9' : c;
    }
    return text;
}

// verify: 0 when the data is what was signed, 1 when one byte differs; the text says it plainly
// and --json gives the module's "signInfo" with the same exit code. The comment is the signer's
// text: its line break and terminal escape are printed escaped, so it cannot forge a verdict line.
TEST_F(SignVerifyTest, VerifyTellsWhetherTheDataMatches) {
    NewCert();
    const std::string data = File("report.txt", "quarterly report\n");
    ASSERT_EQ(Run({"sign", "--cert", "ivanov", "--comment", "approved\nVALID: forged\x1b[1A\t\\\u0085\u202e",
                   "--uri", "urn:x", data})
                  .exitCode,
              0);
    const struct {
        std::string bytes;
        int exitCode;
        const char* verdict;
        const char* jsonResult;
    } cases[] = {{"quarterly report\n", 0, "VALID: the data matches the signature's CRC-64\n",
                  R"("SignatureVerifyResult":0,)"},
                 {"quarterly rePort\n", 1, "INVALID: the data does not match the signature's CRC-64\n",
                  R"("SignatureVerifyResult":16109,)"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.verdict);
        const std::string checked = File("checked.txt", c.bytes);
        const SToolRun run = Run({"verify", checked, data + ".sig.xml"});
        EXPECT_EQ(run.exitCode, c.exitCode) << Describe(run);
        const size_t comment = run.out.find("Comment:");
        EXPECT_EQ(Digits(run.out.substr(0, comment)),
                  "Signed by: Ivanov Ivan, Jr (certificate ivanov)\nSigned at: 99.99.9999 99:99:99 UTC\n");
        EXPECT_EQ(run.out.substr(comment),
                  "Comment:   approved\\nVALID: forged\\u{1b}[1A\\t\\\\\\u{85}\\u{202e}\nURI:       urn:x\n" +
                      std::string(c.verdict));
        const SToolRun json = Run({"verify", "--json", checked, data + ".sig.xml"});
        EXPECT_EQ(json.exitCode, c.exitCode) << Describe(json);
        EXPECT_EQ(json.out.rfind(R"([{"VerifyResultEx":{)", 0), 0u) << Describe(json);
        EXPECT_THAT(json.out, HasSubstr(c.jsonResult));
    }
}

// Anything that is no readable detached signature is a failure to check (2), not "INVALID" (1).
TEST_F(SignVerifyTest, UnverifiableSignaturesExitTwo) {
    NewCert();
    const std::string data = File("data.txt", "abc");
    const std::string attached = home.Path() + "/attached.xml";
    ASSERT_EQ(Run({"sign", "--cert", "ivanov", "--attached", data, "-o", attached}).exitCode, 0);
    const struct {
        std::string signature;
        std::vector<const char*> says;
    } cases[] = {{attached, {"(code 16101)", "attached signature", "cannot be verified"}},
                 {File("garbage.xml", "not a container"), {"(code 16101)", "not a well-formed"}},
                 {CertFolder() + "/ivanov.ses", {"holds no signature"}},
                 {File("empty.xml", ""), {"is empty"}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.signature);
        const SToolRun run = Run({"verify", data, c.signature});
        EXPECT_EQ(run.exitCode, 2) << Describe(run);
        for (const char* text : c.says) {
            EXPECT_THAT(run.err, HasSubstr(text));
        }
        EXPECT_EQ(run.out.find("VALID"), std::string::npos) << Describe(run);
    }
}

// A chunked signature signs the same bytes as one call: only SignId and SignTimeUTC differ, whether
// the chunks divide the data evenly, leave a short last chunk or come from a pipe. "-v" shows one
// "> StreamSign" line per chunk, so the count proves the data really went in those chunks.
TEST_F(SignVerifyTest, StreamedSignatureEqualsOneShot) {
    NewCert();
    const std::string data = File("data.txt", "123456789");
    const std::string out = home.Path() + "/signed.xml";
    ASSERT_EQ(Run({"sign", "--cert", "ivanov", data, "-o", out, "--comment", "ok"}).exitCode, 0);
    const std::string oneShot = Masked(Read(out));
    ASSERT_THAT(oneShot, HasSubstr("<Comment>ok</Comment>"));
    const struct {
        const char* chunkSize;
        bool fromStdin;
        size_t chunks;  // 0: one call, no stream
    } cases[] = {{"3", false, 3}, {"4", false, 3}, {"1", false, 9}, {"2", true, 5}, {"1K", false, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.chunkSize) + (c.fromStdin ? " from stdin" : ""));
        const SToolRun run = Run({"sign", "--cert", "ivanov", "-v", c.fromStdin ? "-" : data, "--chunk-size",
                                  c.chunkSize, "-o", out, "--comment", "ok"},
                                 "123456789");
        ASSERT_EQ(run.exitCode, 0) << Describe(run);
        EXPECT_EQ(Count(run.err, "[log] > StreamSign\n"), c.chunks) << run.err;
        EXPECT_EQ(Count(run.err, "[log] > Sign\n"), c.chunks == 0 ? 1u : 0u) << run.err;
        EXPECT_EQ(Masked(Read(out)), oneShot);
    }
    // The module's error on the final chunk is reported like any other, and nothing is written.
    const SToolRun unknown = Run({"sign", "--cert", "nobody", "--chunk-size", "2", data, "-o", out + "2"});
    EXPECT_EQ(unknown.exitCode, 1) << Describe(unknown);
    EXPECT_THAT(unknown.err, HasSubstr("sestool: NEED (code 16104)\n"));
    EXPECT_FALSE(std::filesystem::exists(out + "2"));
}

// verify through StreamGetSignInfo: the container rides on the final chunk only, and the verdict is
// the one-shot verdict.
TEST_F(SignVerifyTest, StreamedVerifyGivesTheOneShotVerdict) {
    NewCert();
    const std::string data = File("report.txt", "quarterly report\n");
    ASSERT_EQ(Run({"sign", "--cert", "ivanov", data}).exitCode, 0);
    const struct {
        std::string bytes;
        bool fromStdin;
        int exitCode;
        size_t chunks;
    } cases[] = {{"quarterly report\n", false, 0, 4},
                 {"quarterly report\n", true, 0, 4},
                 {"quarterly rePort\n", false, 1, 4},
                 {"quarterly report", false, 1, 4},
                 {"quarterly report\nmore!", false, 1, 5}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.bytes + (c.fromStdin ? " from a pipe" : ""));
        const std::string checked = c.fromStdin ? "-" : File("checked.txt", c.bytes);
        const SToolRun run = Run({"verify", "-v", "--chunk-size", "5", checked, data + ".sig.xml"}, c.bytes);
        EXPECT_EQ(run.exitCode, c.exitCode) << Describe(run);
        EXPECT_THAT(run.out, HasSubstr(c.exitCode == 0 ? "\nVALID: the data matches"
                                                       : "\nINVALID: the data does not match"));
        EXPECT_EQ(Count(run.err, "[log] > StreamGetSignInfo\n"), c.chunks) << run.err;
    }
}

}  // namespace
