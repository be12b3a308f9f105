// "sestool session" (one module, one JSON line per request) and batch verification.
#include "tests/support/ToolRun.h"

namespace {

using SessionTest = CToolTest;
using VerifyBatchTest = CToolTest;

// Each case is a whole session: the lines in, the lines out, the exit status. A certificate added
// by one line is listed by the next, so the lines share one module.
TEST_F(SessionTest, AnswersEachLineInOrder) {
    const std::string card = B64(R"({"ID":"petrova","Surname":"Petrova"})");
    const struct {
        std::string in;
        std::string out;
        int exitCode;
    } cases[] = {
        {"{\"mode\":45,\"fileData\":\"" + card + "\"}\n{\"mode\":38}\n",
         "*\n{\"errorCode\":0,\"errorMessage\":\"DONE\",\"certificates\":[\"petrova\"]}\n", 0},
        // Raw bytes both ways: "fileDataSize" is set to the decoded count, whatever the request said.
        {"\n# a comment\r\n{\"request\":{\"mode\":50,\"fileDataSize\":99},\"data\":\"MTIzNDU2Nzg5\"}\r\n",
         "{\"response\":{\"errorCode\":0,\"errorMessage\":\"DONE\",\"fileDataSize\":19},"
         "\"data\":\"NzgwMDQ4MDE1MzkwOTk0OTI1NQ==\"}\n",
         0},
        // A line is sent as written, so the module itself judges it; the last line needs no line end.
        {"{\"mode\":37,\n{\"mode\":37}",
         "{\"errorCode\":16300,\"errorMessage\":\"ERROR Error parsing JSON.\"}\n"
         "{\"errorCode\":0,\"errorMessage\":\"DONE\",\"stores\":[\"MY\"]}\n",
         1},
        {"{\"request\":{\"mode\":50},\"data\":\"MTI*\"}\n{\"request\":{\"mode\":50}}\n{\"mode\":37}\n",
         "{\"sessionError\":\"line 1: \\\"data\\\" is no base64 text\"}\n"
         "{\"sessionError\":\"line 2: a wrapped request is "
         "{\\\"request\\\":{...},\\\"data\\\":\\\"BASE64\\\"} "
         "and nothing else\"}\n"
         "{\"errorCode\":0,\"errorMessage\":\"DONE\",\"stores\":[\"MY\"]}\n",
         2},
        // The bound: a longer line is skipped, not held, and the next one is answered.
        {"{\"mode\":37,\"x\":\"" + std::string(64 << 20, 'a') + "\"}\n{\"mode\":37}\n",
         "{\"sessionError\":\"line 1: longer than 67108864 bytes\"}\n"
         "{\"errorCode\":0,\"errorMessage\":\"DONE\",\"stores\":[\"MY\"]}\n",
         2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.in.substr(0, 80));
        const SToolRun run = Run({"session"}, c.in);
        EXPECT_EQ(run.exitCode, c.exitCode) << Describe(run);
        if (c.out[0] == '*') {
            EXPECT_EQ(run.out.substr(run.out.find('\n')), c.out.substr(1)) << Describe(run);
        } else {
            EXPECT_EQ(run.out, c.out) << Describe(run);
        }
    }
}

// "--remote" reaches the module as isLocal false: the signing methods answer 50.
TEST_F(SessionTest, RemoteMarksEveryRequest) {
    const SToolRun run = Run({"session", "--remote"}, "{\"mode\":14,\"test\":true}\n{\"mode\":11}\n");
    EXPECT_EQ(run.exitCode, 1) << Describe(run);
    const std::string refused = "{\"errorCode\":50,\"errorMessage\":\"\"}\n";
    EXPECT_EQ(run.out, refused + refused) << Describe(run);
}

// One line per file, in order; the exit status is the worst: unchecked (2) over invalid (1).
TEST_F(VerifyBatchTest, OneLinePerFileAndTheWorstStatus) {
    NewCert();
    const std::string a = File("a.txt", "alpha"), b = File("b c.txt", "beta");
    ASSERT_EQ(Run({"sign", "--cert", "ivanov", a}).exitCode, 0);
    ASSERT_EQ(Run({"sign", "--cert", "ivanov", b}).exitCode, 0);
    const std::string list = File("list", "# checked nightly\n\n" + a + " " + a + ".sig.xml\r\n\"" + b +
                                              "\" \"" + b + ".sig.xml\"\none two three\n");
    const struct {
        std::vector<std::string> args;
        std::string out;
        int exitCode;
    } cases[] = {
        {{a, a + ".sig.xml", b, b + ".sig.xml"}, "VALID " + a + "\nVALID " + b + "\n", 0},
        {{a, b + ".sig.xml", a, a + ".sig.xml"}, "INVALID " + a + "\nVALID " + a + "\n", 1},
        {{"missing", a + ".sig.xml", a, b + ".sig.xml"},
         "ERROR missing: cannot open 'missing': No such file or directory\nINVALID " + a + "\n",
         2},
        {{"--batch", list},
         "VALID " + a + "\nVALID " + b + "\nERROR " + list + ":5: expected FILE SIGNATURE\n",
         2},
        {{a, a + ".sig.xml", "--batch", "-"}, "VALID " + a + "\nVALID " + a + "\n", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.out);
        std::vector<std::string> args{"verify"};
        args.insert(args.end(), c.args.begin(), c.args.end());
        const SToolRun run = Run(args, a + " " + a + ".sig.xml\n");
        EXPECT_EQ(run.exitCode, c.exitCode) << Describe(run);
        EXPECT_EQ(run.out, c.out) << Describe(run);
    }
    const SToolRun odd = Run({"verify", a, a + ".sig.xml", b});
    EXPECT_EQ(odd.exitCode, 2) << Describe(odd);
    EXPECT_NE(odd.err.find("the last FILE has no SIGNATURE"), std::string::npos) << Describe(odd);
}

}  // namespace
