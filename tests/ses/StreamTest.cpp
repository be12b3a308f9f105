#include <gtest/gtest.h>

#include "ca/ErrorCodes.h"
#include "module/SesModule.h"

namespace {

// Chunk sends one stream call straight to the module's stream array.
uint32_t Chunk(CStreamArray& streams, uint32_t& id, const char* bytes, bool final, ca::StreamType type,
               std::string* payload = nullptr) {
    ca::CryptPacket packet;
    packet.request.streamId = id;
    packet.request.streamFinalChunk = final;
    if (bytes != nullptr) {
        packet.request.SetObject(
            std::make_unique<ca::FileData>(reinterpret_cast<const uint8_t*>(bytes), static_cast<uint32_t>(std::strlen(bytes))),
            false);
    }
    CancellationToken token;
    try {
        streams.Stream(packet, type, token);
    } catch (const ca::Exception& e) {
        return e.code;
    }
    id = packet.response.streamId;
    if (payload != nullptr) {
        const auto& holder = type == ca::StreamType::kHash ? static_cast<const ca::SerializableContainer&>(packet.response)
                                                           : packet.request;
        *payload = holder.GetFileData() == nullptr
                       ? std::string()
                       : std::string(reinterpret_cast<const char*>(holder.GetFileData()), holder.GetFileDataSize());
    }
    return 0;
}

TEST(Streams, ChunksAreAssembledInOrder) {
    uint32_t now = 1000;
    CStreamArray streams(nullptr, [&now] { return now; });
    uint32_t id = 0;
    std::string payload = "untouched";
    ASSERT_EQ(Chunk(streams, id, "ab", false, ca::StreamType::kSimple, &payload), 0u);
    EXPECT_EQ(id, 1000u);
    EXPECT_EQ(payload, "");  // earlier chunks leave the request without data
    ASSERT_EQ(Chunk(streams, id, "", false, ca::StreamType::kSimple), 0u);
    EXPECT_EQ(Chunk(streams, id, nullptr, false, ca::StreamType::kSimple), ca::kNoDataInArgs);
    ASSERT_EQ(Chunk(streams, id, "cde", false, ca::StreamType::kSimple), 0u);
    ASSERT_EQ(Chunk(streams, id, "", true, ca::StreamType::kSimple, &payload), 0u);
    EXPECT_EQ(payload, "abcde");  // the failed call kept the earlier chunks
    EXPECT_EQ(id, 1000u);
    EXPECT_EQ(streams.Count(), 0u);  // the final chunk closed the stream
}

TEST(Streams, NewIdsAndSingleFinalChunk) {
    uint32_t now = 7;
    CStreamArray streams(nullptr, [&now] { return now; });
    uint32_t first = 0, second = 0, unknown = 12345;
    ASSERT_EQ(Chunk(streams, first, "x", false, ca::StreamType::kSimple), 0u);
    ASSERT_EQ(Chunk(streams, second, "y", false, ca::StreamType::kSimple), 0u);
    EXPECT_EQ(first, 7u);
    EXPECT_EQ(second, 8u);  // same millisecond as the last stream: one more
    ASSERT_EQ(Chunk(streams, unknown, "z", false, ca::StreamType::kSimple), 0u);
    EXPECT_EQ(unknown, 9u);  // an unknown id gets a new stream, never the id of an open one
    std::string payload;
    uint32_t single = 0;
    now = 50;
    ASSERT_EQ(Chunk(streams, single, "only", true, ca::StreamType::kSimple, &payload), 0u);
    EXPECT_EQ(payload, "only");
    EXPECT_EQ(streams.Count(), 3u);
    uint32_t none = 0;
    EXPECT_EQ(Chunk(streams, none, "q", false, ca::StreamType::kEncode), ca::kExecutionError);
}

TEST(Streams, HashStreamAnswersTheCrcOfTheWhole) {
    uint32_t now = 1;
    CStreamArray streams(nullptr, [&now] { return now; });
    uint32_t id = 0;
    std::string answer;
    ASSERT_EQ(Chunk(streams, id, "1234", false, ca::StreamType::kHash, &answer), 0u);
    EXPECT_EQ(answer, "");
    ASSERT_EQ(Chunk(streams, id, "56789", true, ca::StreamType::kHash, &answer), 0u);
    EXPECT_EQ(answer, "7800480153909949255");
}

}  // namespace

namespace {

TEST(Streams, AbandonedStreamsAreSweptAfterThreeIdleHours) {
    uint32_t now = 4000000;  // past the first hour: the first lookup sweeps (nothing yet)
    CStreamArray streams(nullptr, [&now] { return now; });
    uint32_t abandoned = 0, active = 0;
    ASSERT_EQ(Chunk(streams, abandoned, "old", false, ca::StreamType::kSimple), 0u);
    now += 1;
    ASSERT_EQ(Chunk(streams, active, "a", false, ca::StreamType::kSimple), 0u);

    now += CStreamArray::kMaxIdle;  // "abandoned" is now idle one millisecond too long
    ASSERT_EQ(Chunk(streams, active, "b", false, ca::StreamType::kSimple), 0u);
    EXPECT_EQ(streams.Count(), 1u);

    std::string payload;
    ASSERT_EQ(Chunk(streams, active, "c", true, ca::StreamType::kSimple, &payload), 0u);
    EXPECT_EQ(payload, "abc");  // the stream in use kept all its chunks
    uint32_t reused = abandoned;
    ASSERT_EQ(Chunk(streams, reused, "new", false, ca::StreamType::kSimple), 0u);
    EXPECT_NE(reused, abandoned);  // the swept id now names nothing: a new stream answers
}

}  // namespace
