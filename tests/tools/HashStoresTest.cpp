// "sestool hash" in one call and in chunks, its progress line, and "sestool stores".
#include "tests/support/ToolRun.h"

namespace {

using HashStoresTest = CToolTest;

// hash through the hashing stream equals the one-shot CRC, known answer included.
TEST_F(HashStoresTest, HashPrintsTheCrc64InOneCallOrInChunks) {
    std::string mixed;
    for (int i = 0; i < 5000; ++i) {
        mixed += static_cast<char>((i * 7919) % 251);
    }
    const SToolRun oneShot = Run({"hash", File("mixed.bin", mixed)});
    ASSERT_EQ(oneShot.exitCode, 0) << Describe(oneShot);
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
                 {mixed, "999", false, oneShot.out, 6},
                 {mixed, "1k", true, oneShot.out, 5}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.printed + (c.chunkSize != nullptr ? c.chunkSize : "one call") +
                     (c.fromStdin ? ", piped" : ""));
        std::vector<std::string> args{"hash", "-v", c.fromStdin ? "-" : File("data.bin", c.bytes)};
        if (c.chunkSize != nullptr) {
            args.insert(args.end(), {"--chunk-size", c.chunkSize});
        }
        const SToolRun run = Run(args, c.bytes);
        EXPECT_EQ(run.exitCode, 0) << Describe(run);
        EXPECT_EQ(run.out, c.printed);
        EXPECT_EQ(Count(run.err, "[log] > StreamHash\n"), c.chunks) << run.err;
    }
}

// The progress line is for someone watching a terminal: a redirected standard error stays clean,
// and a single call has no progress to show.
TEST_F(HashStoresTest, ProgressLineOnlyOnATerminalWhileStreaming) {
    const std::string data = File("data.bin", std::string(1000, 'x'));
    const SToolRun redirected = Run({"hash", "--chunk-size", "100", data});
    EXPECT_EQ(redirected.exitCode, 0) << Describe(redirected);
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
    const SToolRun text = Run({"stores"});
    EXPECT_EQ(text.exitCode, 0) << Describe(text);
    EXPECT_EQ(text.out, "Stores of the module:\n  MY\nCurrent store of this client:\n  VALKOTempStore\n");
    EXPECT_EQ(Run({"stores", "--json"}).out,
              R"({"stores":["MY"],"storeAddresses":[{"location":"","address":"","name":"VALKOTempStore"}]})"
              "\n");
}

}  // namespace
