// "sestool sign", "verify" and "hash", in one call and in chunks; "sestool stores".
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
    const std::string plain = "        <Comment />\n        <URI />\n";
    const std::string data = File("data.txt", "123456789");
    for (const auto& [options, eds] :
         {std::pair<std::vector<std::string>, std::string>{{}, plain},
          {{"--comment", "ok & done", "--uri", "urn:a"},
           "        <Comment>ok &amp; done</Comment>\n        <URI>urn:a</URI>\n"},
          {{"--attached"}, plain + "        <Attached>MTIzNDU2Nzg5</Attached>\n"}}) {
        std::vector<std::string> args{"sign", "--cert", "ivanov", data};
        args.insert(args.end(), options.begin(), options.end());
        EXPECT_THAT(RunOk(args).out, HasSubstr("\nSignature written to " + data + ".sig.xml\n"));
        const std::string written = Read(data + ".sig.xml");
        EXPECT_EQ(Masked(written), head + eds + tail);
        const size_t id = written.find("<SignId>") + 8;
        EXPECT_EQ(written.find_first_not_of("0123456789", id), written.find("</SignId>")) << written;
    }
    // "-o -" puts the container on standard output and the summary on standard error.
    const SToolRun piped = RunOk({"sign", "--cert", "ivanov", "-o", "-", "-"}, "123456789");
    EXPECT_EQ(Masked(piped.out), head + plain + tail);
    EXPECT_THAT(piped.err, HasSubstr("Signature written to standard output\n"));
    EXPECT_FALSE(std::filesystem::exists(home.Path() + "/-"));
    EXPECT_THAT(
        RunFails({"sign", "--cert", "nobody", data, "-o", data + ".2"}, 1, "sestool: NEED (code 16104)\n")
            .err,
        HasSubstr("no certificate 'nobody'"));
    EXPECT_FALSE(std::filesystem::exists(data + ".2"));
}

// Digits shows a text with every digit as '9', for lines that carry a time.
std::string Digits(std::string text) {
    for (char& c : text) {
        c = c >= '0' && c <= '9' ? '9' : c;
    }
    return text;
}

// verify: 0 when the data is what was signed, 1 when one byte differs; the text says it plainly,
// --json gives the module's "signInfo" with the same exit code, and in chunks (StreamGetSignInfo, the
// container on the final chunk only) the verdict is the same. The comment is the signer's text: its
// line break and terminal escape are printed escaped, so it cannot forge a verdict line.
TEST_F(SignVerifyTest, VerifyTellsWhetherTheDataMatches) {
    NewCert();
    const std::string data = File("report.txt", "quarterly report\n");
    const std::string signature = data + ".sig.xml";
    RunOk({"sign", "--cert", "ivanov", "--comment", "approved\nVALID: forged\x1b[1A\t\\\u0085\u202e", "--uri",
           "urn:x", data});
    const struct {
        std::string bytes;
        int exitCode;
        const char* verdict;
        const char* jsonResult;
        size_t chunks;  // of 5 bytes
    } cases[] = {{"quarterly report\n", 0, "VALID: the data matches the signature's CRC-64\n",
                  R"("SignatureVerifyResult":0,)", 4},
                 {"quarterly rePort\n", 1, "INVALID: the data does not match the signature's CRC-64\n",
                  R"("SignatureVerifyResult":16109,)", 4},
                 {"quarterly report\nmore!", 1, "INVALID: the data does not match the signature's CRC-64\n",
                  R"("SignatureVerifyResult":16109,)", 5}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.bytes);
        const std::string checked = File("checked.txt", c.bytes);
        const SToolRun run = Run({"verify", checked, signature});
        EXPECT_EQ(run.exitCode, c.exitCode) << Describe(run);
        const size_t comment = run.out.find("Comment:");
        EXPECT_EQ(Digits(run.out.substr(0, comment)),
                  "Signed by: Ivanov Ivan, Jr (certificate ivanov)\nSigned at: 99.99.9999 99:99:99 UTC\n");
        EXPECT_EQ(run.out.substr(comment),
                  "Comment:   approved\\nVALID: forged\\u{1b}[1A\\t\\\\\\u{85}\\u{202e}\nURI:       urn:x\n" +
                      std::string(c.verdict));
        const SToolRun json = Run({"verify", "--json", checked, signature});
        EXPECT_EQ(json.exitCode, c.exitCode) << Describe(json);
        EXPECT_THAT(json.out, StartsWith(R"([{"VerifyResultEx":{)"));
        EXPECT_THAT(json.out, HasSubstr(c.jsonResult));
        const SToolRun chunked = Run({"verify", "-v", "--chunk-size", "5", "-", signature}, c.bytes);
        EXPECT_EQ(chunked.exitCode, c.exitCode) << Describe(chunked);
        EXPECT_THAT(chunked.out, HasSubstr(c.verdict));
        EXPECT_EQ(Count(chunked.err, "[log] > StreamGetSignInfo\n"), c.chunks) << chunked.err;
    }
}

// Anything that is no readable detached signature is a failure to check (2), not "INVALID" (1).
TEST_F(SignVerifyTest, UnverifiableSignaturesExitTwo) {
    NewCert();
    const std::string data = File("data.txt", "abc");
    const std::string attached = home.Path() + "/attached.xml";
    RunOk({"sign", "--cert", "ivanov", "--attached", data, "-o", attached});
    const struct {
        std::string signature;
        std::vector<const char*> says;
    } cases[] = {{attached, {"(code 16101)", "attached signature", "cannot be verified"}},
                 {File("garbage.xml", "not a container"), {"(code 16101)", "not a well-formed"}},
                 {CertFolder() + "/ivanov.ses", {"holds no signature"}},
                 {File("empty.xml", ""), {"is empty"}}};
    for (const auto& c : cases) {
        const SToolRun run = RunFails({"verify", data, c.signature}, 2, c.says[0]);
        for (const char* text : c.says) {
            EXPECT_THAT(run.err, HasSubstr(text));
        }
        EXPECT_THAT(run.out, ::testing::Not(HasSubstr("VALID")));
    }
}

// A chunked signature signs the same bytes as one call: only SignId and SignTimeUTC differ, whether
// the chunks divide the data evenly, leave a short last chunk or come from a pipe. "-v" shows one
// "> StreamSign" line per chunk, so the count proves the data really went in those chunks.
TEST_F(SignVerifyTest, StreamedSignatureEqualsOneShot) {
    NewCert();
    const std::string data = File("data.txt", "123456789");
    const std::string out = home.Path() + "/signed.xml";
    RunOk({"sign", "--cert", "ivanov", data, "-o", out, "--comment", "ok"});
    const std::string oneShot = Masked(Read(out));
    ASSERT_THAT(oneShot, HasSubstr("<Comment>ok</Comment>"));
    // The chunk size, whether the data comes from a pipe, and the chunks (0: one call, no stream).
    for (const auto& [chunkSize, fromStdin, chunks] : {std::tuple{"3", false, 3u},
                                                       {"4", false, 3u},
                                                       {"1", false, 9u},
                                                       {"2", true, 5u},
                                                       {"1K", false, 0u}}) {
        const SToolRun run = RunOk({"sign", "--cert", "ivanov", "-v", fromStdin ? "-" : data, "--chunk-size",
                                    chunkSize, "-o", out, "--comment", "ok"},
                                   "123456789");
        EXPECT_EQ(Count(run.err, "[log] > StreamSign\n"), chunks) << run.err;
        EXPECT_EQ(Count(run.err, "[log] > Sign\n"), chunks == 0 ? 1u : 0u) << run.err;
        EXPECT_EQ(Masked(Read(out)), oneShot);
    }
    // The module's error on the final chunk is reported like any other, and nothing is written.
    RunFails({"sign", "--cert", "nobody", "--chunk-size", "2", data, "-o", out + "2"}, 1,
             "sestool: NEED (code 16104)\n");
    EXPECT_FALSE(std::filesystem::exists(out + "2"));
}

using HashStoresTest = CToolTest;

// hash through the hashing stream equals the one-shot CRC, known answer included.
TEST_F(HashStoresTest, HashPrintsTheCrc64InOneCallOrInChunks) {
    std::string mixed;
    for (int i = 0; i < 5000; ++i) {
        mixed += static_cast<char>((i * 7919) % 251);
    }
    const std::string oneShot = RunOk({"hash", File("mixed.bin", mixed)}).out;
    const struct {
        std::string bytes;
        const char* chunkSize;  // null: one call
        bool fromStdin;
        std::string printed;
        size_t chunks;
    } cases[] = {{"123456789", nullptr, false, "7800480153909949255\n", 0},
                 {"123456789", nullptr, true, "7800480153909949255\n", 0},
                 {"", nullptr, false, "0\n", 0},
                 {"123456789", "2", false, "7800480153909949255\n", 5},
                 {"123456789", "4", true, "7800480153909949255\n", 3},
                 {mixed, "999", false, oneShot, 6},
                 {mixed, "1k", true, oneShot, 5}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.printed + (c.chunkSize != nullptr ? c.chunkSize : "one call") +
                     (c.fromStdin ? ", piped" : ""));
        std::vector<std::string> args{"hash", "-v", c.fromStdin ? "-" : File("data.bin", c.bytes)};
        if (c.chunkSize != nullptr) {
            args.insert(args.end(), {"--chunk-size", c.chunkSize});
        }
        const SToolRun run = RunOk(args, c.bytes);
        EXPECT_EQ(run.out, c.printed);
        EXPECT_EQ(Count(run.err, "[log] > StreamHash\n"), c.chunks) << run.err;
    }
}

// The progress line is for someone watching a terminal: a redirected standard error stays clean,
// and a single call has no progress to show.
TEST_F(HashStoresTest, ProgressLineOnlyOnATerminalWhileStreaming) {
    const std::string data = File("data.bin", std::string(1000, 'x'));
    const SToolRun redirected = RunOk({"hash", "--chunk-size", "100", data});
    EXPECT_EQ(redirected.err, "");
    const SToolRun terminal = Run({"hash", "--chunk-size", "100", data}, {}, true);
    EXPECT_EQ(terminal.exitCode, 0) << Describe(terminal);
    EXPECT_EQ(terminal.out, redirected.out);
    EXPECT_THAT(terminal.err, HasSubstr("\rhash [########################] 0.0 / 0.0 MiB  100%  "));
    EXPECT_THAT(terminal.err, HasSubstr(" MB/s"));
    EXPECT_TRUE(!terminal.err.empty() && terminal.err.back() == '\n') << "the line is finished";
    EXPECT_EQ(Run({"hash", data}, {}, true).err, "");
}

TEST_F(HashStoresTest, StoresListsTheStoresAndTheCurrentStore) {
    EXPECT_EQ(RunOk({"stores"}).out,
              "Stores of the module:\n  MY\nCurrent store of this client:\n  VALKOTempStore\n");
    EXPECT_EQ(Run({"stores", "--json"}).out,
              R"({"stores":["MY"],"storeAddresses":[{"location":"","address":"","name":"VALKOTempStore"}]})"
              "\n");
}

}  // namespace
