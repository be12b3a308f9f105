#include <gtest/gtest.h>

#include <set>

#include "base/ErrorCodes.h"
#include "module/SesModule.h"

namespace {

// Chunk sends one stream call straight to the module's stream array.
uint32_t Chunk(CStreamArray& streams, uint32_t& id, const char* bytes, bool final, ca::StreamType type,
               std::string* payload = nullptr, const wchar_t* client = L"c") {
    ca::CryptPacket packet;
    packet.request.clientId = client;
    packet.request.streamId = id;
    packet.request.streamFinalChunk = final;
    if (bytes != nullptr) {
        packet.request.SetObject(std::make_unique<ca::FileData>(reinterpret_cast<const uint8_t*>(bytes),
                                                                static_cast<uint32_t>(std::strlen(bytes))),
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
        const auto& holder = type == ca::StreamType::kHash
                                 ? static_cast<const ca::SerializableContainer&>(packet.response)
                                 : packet.request;
        *payload =
            holder.GetFileData() == nullptr
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
    const uint32_t opened = id;
    EXPECT_EQ(payload, "");  // earlier chunks leave the request without data
    ASSERT_EQ(Chunk(streams, id, "", false, ca::StreamType::kSimple), 0u);
    EXPECT_EQ(Chunk(streams, id, nullptr, false, ca::StreamType::kSimple), ca::kNoDataInArgs);
    ASSERT_EQ(Chunk(streams, id, "cde", false, ca::StreamType::kSimple), 0u);
    EXPECT_EQ(streams.HeldBytes(), 5u);
    ASSERT_EQ(Chunk(streams, id, "", true, ca::StreamType::kSimple, &payload), 0u);
    EXPECT_EQ(payload, "abcde");  // the failed call kept the earlier chunks
    EXPECT_EQ(id, opened);
    EXPECT_EQ(streams.Count(), 0u);  // the final chunk closed the stream
    EXPECT_EQ(streams.HeldBytes(), 0u);

    // The hashing stream answers the CRC-64 of the whole, and nothing before the final chunk.
    id = 0;
    ASSERT_EQ(Chunk(streams, id, "1234", false, ca::StreamType::kHash, &payload), 0u);
    EXPECT_EQ(payload, "");
    ASSERT_EQ(Chunk(streams, id, "56789", true, ca::StreamType::kHash, &payload), 0u);
    EXPECT_EQ(payload, "7800480153909949255");
}

TEST(Streams, IdsAreRandomAndUnknownIdsOpenNewStreams) {
    CStreamArray streams(nullptr);
    std::set<uint32_t> ids;
    for (int i = 0; i < 8; ++i) {
        uint32_t id = i == 0 ? 12345 : 0;
        ASSERT_EQ(Chunk(streams, id, "x", false, ca::StreamType::kSimple), 0u);
        EXPECT_NE(id, 0u);
        EXPECT_LT(id, 0x80000000u);
        ids.insert(id);
    }
    EXPECT_EQ(ids.size(), 8u);
    EXPECT_EQ(ids.count(12345), 0u);
    std::string payload;
    uint32_t single = 0;
    uint32_t none = 0;
    EXPECT_EQ(Chunk(streams, none, "q", false, ca::StreamType::kEncode, nullptr, L"d"), ca::kExecutionError);
    ASSERT_EQ(Chunk(streams, single, "only", true, ca::StreamType::kSimple, &payload, L"d"), 0u);
    EXPECT_EQ(payload, "only");
    EXPECT_EQ(streams.Count(), 8u);
}

TEST(Streams, OnlyTheOpeningClientReachesAStream) {
    CStreamArray streams(nullptr);
    uint32_t id = 0;
    ASSERT_EQ(Chunk(streams, id, "mine", false, ca::StreamType::kSimple), 0u);
    for (const ca::StreamType type : {ca::StreamType::kSimple, ca::StreamType::kHash}) {
        for (const bool final : {false, true}) {
            uint32_t guessed = id;
            EXPECT_EQ(Chunk(streams, guessed, "evil", final, type, nullptr, L"other"),
                      ca::kIncorrectParameters);
        }
    }
    std::string payload;
    ASSERT_EQ(Chunk(streams, id, "!", true, ca::StreamType::kSimple, &payload), 0u);
    EXPECT_EQ(payload, "mine!");
}

TEST(Streams, OpenStreamsAndHeldBytesAreBounded) {
    CStreamArray streams(nullptr, ca::RealTimeMs, 8);
    for (size_t i = 0; i < CStreamArray::kMaxStreamsPerClient; ++i) {
        uint32_t id = 0;
        ASSERT_EQ(Chunk(streams, id, "", false, ca::StreamType::kHash), 0u);
    }
    uint32_t id = 0;
    EXPECT_EQ(Chunk(streams, id, "", false, ca::StreamType::kSimple), ca::kIncorrectParameters);
    ASSERT_EQ(Chunk(streams, id, "12345", false, ca::StreamType::kSimple, nullptr, L"d"), 0u);
    EXPECT_EQ(Chunk(streams, id, "6789", false, ca::StreamType::kSimple, nullptr, L"d"), ca::kBadData);
    EXPECT_EQ(streams.HeldBytes(), 5u);  // the refused chunk took nothing
    // A final chunk that fails still ends its stream and gives its bytes back.
    EXPECT_EQ(Chunk(streams, id, "6789", true, ca::StreamType::kSimple, nullptr, L"d"), ca::kBadData);
    EXPECT_EQ(streams.HeldBytes(), 0u);
    EXPECT_EQ(streams.Count(), CStreamArray::kMaxStreamsPerClient);
}

TEST(Streams, AbandonedStreamsAreSweptAfterThreeIdleHours) {
    uint32_t now = 4000000;  // past the first hour: the first lookup sweeps (nothing yet)
    CStreamArray streams(nullptr, [&now] { return now; });
    uint32_t abandoned = 0;
    uint32_t active = 0;
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
