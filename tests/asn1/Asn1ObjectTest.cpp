// Primitive types: the tag -> class table, decoded values and formatted strings, decoder bounds,
// and re-encoding.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <typeindex>

#include "base/Encode.h"
#include "tests/asn1/Asn1TestUtil.h"

namespace {

using asn1test::CInput;
using asn1test::DecodeCode;
using asn1test::FromHex;

constexpr uint32_t kEnd = ca::kAsn1EndOfData;

// SDecoded keeps the bytes, the parsed tree and the object over the first block together: decoded
// values point into the bytes.
struct SDecoded {
    explicit SDecoded(const std::string& hex) : input(FromHex(hex)) {
        parser.Parse(input.data(), input.size());
        object = CreatePrimitiveObject(parser.GetInnerBlock(0), nullptr);
        object->Decode();
    }
    template <class T>
    T& As() {
        T* typed = dynamic_cast<T*>(object.get());
        if (typed == nullptr) {
            throw std::runtime_error("unexpected class");
        }
        return *typed;
    }
    CInput input;
    CCryptAsn1Parser parser;
    std::unique_ptr<CAsn1Object> object;
};

std::vector<uint8_t> Encoded(CAsn1Object& object) {
    object.Encode();
    return object.GetAsn1Data();
}

// Time tests read GeneralizedTime through mktime: pin the zone.
class Asn1Time : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("TZ", "UTC", 1);
        tzset();
    }
};

TEST(Asn1Objects, TagSelectsTheClass) {
    struct SCase {
        const char* hex;
        std::type_index type;
        const char* name;
    };
    const SCase cases[] = {
        {"0101FF", typeid(CAsn1Boolean), "BOOLEAN"},
        {"020100", typeid(CAsn1Integer), "INTEGER"},
        {"030100", typeid(CAsn1BitString), "BIT STRING"},
        {"0400", typeid(CAsn1OctetString), "OCTET STRING"},
        {"0500", typeid(CAsn1Null), "NULL"},
        {"060150", typeid(CAsn1ObjectIdentifier), "OBJECT IDENTIFIER"},
        {"0C00", typeid(CAsn1UTF8String), "UTF8 STRING"},
        {"1200", typeid(CAsn1NumericString), "NUMERIC STRING"},
        {"1300", typeid(CAsn1PrintableString), "PRINTABLE STRING"},
        {"1400", typeid(CAsn1TeletexString), "TELETEX STRING"},
        {"1600", typeid(CAsn1IA5String), "IA5 STRING"},
        {"170D3439313233313233353935395A", typeid(CAsn1UTCTime), "UTC TIME"},
        {"180F32303439313233313233353935395A", typeid(CAsn1GeneralizedTime), "GENERALIZED TIME"},
        {"1E00", typeid(CAsn1UnicodeString), "UNICODE STRING"},
        {"2400", typeid(CAsn1ContructedOctetString), ""},
        {"3000", typeid(CAsn1Sequence), ""},
        {"3100", typeid(CAsn1Set), ""},
        {"1000", typeid(CAsn1Unknown), ""},  // SEQUENCE's number without the constructed bit
        {"1A00", typeid(CAsn1Unknown), ""},  // VisibleString has no class of its own
        {"3200", typeid(CAsn1Unknown), ""},
        {"8000", typeid(CAsn1Unknown), ""},
        {"A000", typeid(CAsn1Unknown), ""},
        {"4100", typeid(CAsn1Unknown), ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.hex);
        SDecoded decoded(c.hex);
        EXPECT_EQ(std::type_index(typeid(*decoded.object)), c.type);
        EXPECT_EQ(decoded.object->GetTagName(), c.name);
        EXPECT_EQ(decoded.object->tag, decoded.parser.GetInnerBlock(0)->tag);
    }
    EXPECT_EQ(CreatePrimitiveObject(nullptr, nullptr), nullptr);
}

TEST(Asn1Objects, FormattedValues) {
    struct SCase {
        const char* hex;
        const wchar_t* formatted;
    };
    const SCase cases[] = {
        {"020105", L"5"},
        {"0201FF", L"255"},  // unsigned, not -1
        {"0200", L"0"},
        {"0203010000", L"65536"},
        {"0204FFFFFFFF", L"4294967295"},
        {"020500FFFFFFFF", L"00ffffffff"},  // more than four bytes: hex
        {"0101FF", L"True"},
        {"010101", L"True"},
        {"010100", L"False"},
        {"0500", L"Null"},
        {"06032A8648", L"1.2.840"},
        {"060150", L"2.0"},
        {"060127", L"0.39"},
        {"06014F", L"1.39"},
        {"0600", L""},
        {"06092B0601040182371402", L"1.3.6.1.4.1.311.20.2"},
        {"06028100", L"2.49"},                    // Deliberate: 0x81 + 0x00, not base 128
        {"06062A9080808000", L"1.2.0"},           // Deliberate: 2^32 wraps to 0
        {"06062A8FFFFFFF7F", L"1.2.4294967295"},  // the largest 32-bit arc
        {"0403010203", L"010203"},
        {"0400", L""},
        {"03020780", L"80"},
        {"030207FF", L"80"},
        {"030100", L""},
        {"03020AFF", L"00"},  // Deliberate: an unused count above 7 clears the whole byte
        {"030300A55A", L"a55a"},
        {"13024142", L"AB"},
        {"1603616263", L"abc"},
        {"1203313233", L"123"},
        {"0C02D0AF", L"\u042F"},
        {"0C02C2A9", L"\u00A9"},
        {"1402C241", L"'A"},  // Deliberate: 0xC2 reads as an apostrophe in a TeletexString only
        {"1402C2A9", L"'\uFFFD"},
        {"1E0400410042", L"AB"},
        {"1E04D83DDE00", L"\U0001F600"},
        {"1E03004100", L"A"},  // the odd byte is left
        {"1E02DC00", L"\uFFFD"},
        {"8001FF", L""},
        {"2480040241420401430000", L""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.hex);
        SDecoded decoded(c.hex);
        EXPECT_EQ(decoded.object->GetFormattedString(0), c.formatted);
    }
}

TEST(Asn1Objects, DecodersStopAtTheirContent) {
    struct SCase {
        const char* hex;
        uint32_t code;
    };
    const SCase cases[] = {
        {"0100", kEnd},                                // BOOLEAN without a byte
        {"0300", kEnd},                                // BIT STRING without the count
        {"06022A86", kEnd},                            // last sub-identifier cut
        {"060186", kEnd},                              // first sub-identifier cut
        {"1700", kEnd},                                // empty time
        {"170135", kEnd},                              // one-byte time
        {"17023235", kEnd},                            // no month and day
        {"170D4142313233313233353935395A", kEnd},      // "AB" is no number
        {"170F3235303130313132303030302B3033", kEnd},  // "+03": the minutes group is missing
        {"1803323032", kEnd},                          // GeneralizedTime shorter than its year
        {"1706323530313031", 0},                       // date only: the time of day is 0
        {"0600", 0},
        {"1E01FF", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.hex);
        EXPECT_EQ(DecodeCode(c.hex), c.code);
    }
}

TEST(Asn1Objects, HexStringFlags) {
    const uint8_t bytes[] = {0x00, 0xAB, 0x01};
    const uint8_t noZero[] = {0xAB, 0x00};
    struct SCase {
        const uint8_t* bytes;
        size_t count;
        unsigned int flags;
        const wchar_t* text;
    };
    const SCase cases[] = {
        {bytes, 3, 0, L"00ab01"},
        {bytes, 3, kHexUpper, L"00AB01"},
        {bytes, 3, kHexDropLeadingZero, L"ab01"},
        {bytes, 3, kHexColons, L"00:ab:01"},
        {bytes, 3, kHexDropLeadingZero | kHexColons, L"ab:01"},
        {bytes, 3, kHexUpper | kHexDropLeadingZero | kHexColons, L"AB:01"},
        {noZero, 2, kHexDropLeadingZero, L"ab00"},  // only a leading zero goes
        {bytes, 1, kHexDropLeadingZero, L""},
        {bytes, 0, kHexColons, L""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.flags);
        EXPECT_EQ(GetHexString(c.flags, c.bytes, c.count), c.text);
    }
    SDecoded integer("020500FFFFFFFF");
    EXPECT_EQ(integer.As<CAsn1Integer>().GetHexString(0), L"00ffffffff");
    EXPECT_EQ(integer.As<CAsn1Integer>().GetHexString(7), L"FF:FF:FF:FF");
    EXPECT_EQ(integer.object->GetFormattedString(7), L"FF:FF:FF:FF");
    EXPECT_EQ(integer.As<CAsn1Integer>().byteCount, 5u);
    EXPECT_EQ(integer.As<CAsn1Integer>().bytes, integer.input.data() + 2);  // not copied
}

TEST(Asn1Objects, BitStringClearsPaddingInThePlace) {
    SDecoded exact("03020780");
    EXPECT_EQ(exact.As<CAsn1BitString>().unusedBits, 7);
    SDecoded padded("030207FF");
    EXPECT_EQ(padded.As<CAsn1BitString>().unusedBits, 7);
    ASSERT_EQ(padded.object->value.size, 1u);
    EXPECT_EQ(padded.object->value.data[0], 0x80);
    EXPECT_EQ(padded.input.data()[3], 0x80);  // Deliberate: the parsed buffer itself changed
}

TEST_F(Asn1Time, DecodedTimesAndOffsets) {
    struct SCase {
        const char* hex;
        int year, month, day, hour, minute, second, zone;
        const char* text;
    };
    const SCase cases[] = {
        // Deliberate: UTCTime 49 is 2049, not 1949.
        {"170D3439313233313233353935395A", 2049, 12, 31, 23, 59, 59, 0, "31.12.2049 23:59:59"},
        {"170D3030303130313030303030305A", 2000, 1, 1, 0, 0, 0, 0, "01.01.2000 00:00:00"},
        {"170D3235303130313132303030305A", 2025, 1, 1, 12, 0, 0, 0, "01.01.2025 12:00:00"},
        // Deliberate: "+0300" is read as the groups "+0" and "30": 30 minutes.
        {"17113235303130313132303030302B30333030", 2025, 1, 1, 11, 30, 0, 30, "01.01.2025 11:30:00"},
        {"17113235303130313132303030302D30333030", 2025, 1, 1, 12, 30, 0, -30, "01.01.2025 12:30:00"},
        {"170B323530313031313230305A", 2025, 1, 1, 12, 0, 0, 0, "01.01.2025 12:00:00"},  // no seconds
        {"170D3235303133313233353935395A", 2025, 1, 31, 23, 59, 59, 0, "31.01.2025 23:59:59"},
        {"180F32303439313233313233353935395A", 2049, 12, 31, 23, 59, 59, 0, "31.12.2049 23:59:59"},
        {"180F31393530303130313030303030305A", 1950, 1, 1, 0, 0, 0, 0, "01.01.1950 00:00:00"},
        {"181332303235303130313132303030302B30333030", 2025, 1, 1, 11, 30, 0, 30, "01.01.2025 11:30:00"},
        {"181132303235303130313132303030302E355A", 2025, 1, 1, 12, 0, 0, 0, "01.01.2025 12:00:00"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.hex);
        SDecoded decoded(c.hex);
        const auto& time = decoded.As<CAsn1Time>();
        EXPECT_EQ(time.timeValue.tm_year + 1900, c.year);
        EXPECT_EQ(time.timeValue.tm_mon + 1, c.month);
        EXPECT_EQ(time.timeValue.tm_mday, c.day);
        EXPECT_EQ(time.timeValue.tm_hour, c.hour);
        EXPECT_EQ(time.timeValue.tm_min, c.minute);
        EXPECT_EQ(time.timeValue.tm_sec, c.second);
        EXPECT_EQ(time.zoneOffset, c.zone);
        EXPECT_EQ(time.GetString(), c.text);
        EXPECT_EQ(decoded.object->GetFormattedString(0), ca::u8u16(c.text));
    }
}

TEST_F(Asn1Time, EncodedTimes) {
    SDecoded parsed("170D3439313233313233353935395A");
    parsed.object->SetChanged(true);
    EXPECT_EQ(Encoded(*parsed.object), FromHex("170D3439313233313233353935395A"));

    tm noon{};
    noon.tm_year = 125;
    noon.tm_mon = 0;
    noon.tm_mday = 1;
    noon.tm_hour = 12;
    struct SCase {
        int hours, minutes;
        int zone;
        const char* utc;
    };
    const SCase cases[] = {
        {0, 0, 0, "250101120000Z"},         {3, 0, 180, "250101120000+0300"},
        {-1, 30, -90, "250101120000-0130"}, {0, 30, 30, "250101120000+0030"},
        {0, -30, -30, "250101120000-0030"},  // the sign survives an offset under an hour
        {2, -30, 90, "250101120000+0130"},  {-3, 30, -210, "250101120000-0330"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.utc);
        CAsn1UTCTime time;
        time.SetTime(noon);
        time.SetTimeZoneOffset(c.hours, c.minutes);
        EXPECT_EQ(time.zoneOffset, c.zone);
        const std::string text(c.utc);
        std::vector<uint8_t> expected = {0x17, static_cast<uint8_t>(text.size())};
        expected.insert(expected.end(), text.begin(), text.end());
        EXPECT_EQ(Encoded(time), expected);
    }
    CAsn1GeneralizedTime generalized;
    generalized.SetTime(noon);
    const std::string text = "20250101120000Z";
    std::vector<uint8_t> expected = {0x18, static_cast<uint8_t>(text.size())};
    expected.insert(expected.end(), text.begin(), text.end());
    EXPECT_EQ(Encoded(generalized), expected);
}

TEST(Asn1Objects, BuiltValuesEncode) {
    CAsn1ObjectIdentifier oid;
    oid.SetOid(L"1.2.840.113549.1.1.11");
    EXPECT_EQ(Encoded(oid), FromHex("06092A864886F70D01010B"));
    oid.SetOid(L"1.2.4294967295");
    EXPECT_EQ(Encoded(oid), FromHex("06062A8FFFFFFF7F"));
    oid.SetOid(L"");
    EXPECT_EQ(Encoded(oid), FromHex("0600"));
    // A first arc pair of 128 or more is written in base 128 but read back as a byte sum.
    oid.SetOid(L"2.100.3");
    EXPECT_EQ(Encoded(oid), FromHex("0603813403"));
    oid.Decode();
    EXPECT_EQ(oid.oid, L"2.101.3");

    const uint8_t serial[] = {0x00, 0x80};
    CAsn1Integer integer;
    integer.SetBytes(serial, 2);
    EXPECT_EQ(Encoded(integer), FromHex("02020080"));
    EXPECT_EQ(integer.GetFormattedString(0), L"128");
    CAsn1Boolean boolean;
    boolean.SetValue(true);
    EXPECT_EQ(Encoded(boolean), FromHex("0101FF"));
    CAsn1Null null;
    EXPECT_EQ(Encoded(null), FromHex("0500"));
    const uint8_t bits[] = {0xFF};
    CAsn1BitString bitString;
    bitString.SetValue(bits, 1, 4);
    EXPECT_EQ(Encoded(bitString), FromHex("030204F0"));
    CAsn1OctetString octets;
    octets.SetValue(serial, 2);
    EXPECT_EQ(Encoded(octets), FromHex("04020080"));
    CAsn1UTF8String utf8;
    utf8.SetText(L"\u042F");
    EXPECT_EQ(Encoded(utf8), FromHex("0C02D0AF"));
    CAsn1PrintableString implicit(static_cast<unsigned char>(0x82));
    implicit.SetText(L"AB");
    EXPECT_EQ(Encoded(implicit), FromHex("82024142"));
    // Deliberate: a BMPString is never re-encoded.
    CAsn1UnicodeString bmp;
    bmp.SetText(L"A");
    EXPECT_EQ(Encoded(bmp), FromHex("1E00"));
}

TEST(Asn1Objects, ConstructedOctetStringJoinsItsChildren) {
    SDecoded decoded("2480 0402 4142 0401 43 0000");
    ASSERT_EQ(decoded.object->value.size, 3u);
    EXPECT_EQ(std::vector<uint8_t>(decoded.object->value.data.get(), decoded.object->value.data.get() + 3),
              FromHex("414243"));
    decoded.object->SetChanged(true);
    EXPECT_EQ(Encoded(*decoded.object), FromHex("0403414243"));
}

TEST(Asn1Objects, ExpectedTagAcceptsContextTags) {
    struct SCase {
        const char* hex;
        bool accepted;
    };
    const SCase cases[] = {{"020105", true},
                           {"040105", false},
                           {"820105", true},
                           {"C20105", true},  // the private class counts as context
                           {"420105", false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.hex);
        CInput input(FromHex(c.hex));
        CCryptAsn1Parser parser;
        parser.Parse(input.data(), input.size());
        if (c.accepted) {
            CAsn1Integer integer(parser.GetInnerBlock(0));
            integer.Decode();
            EXPECT_EQ(integer.GetFormattedString(0), L"5");
        } else {
            try {
                CAsn1Integer integer(parser.GetInnerBlock(0));
                ADD_FAILURE() << "accepted";
            } catch (const ca::Exception& e) {
                EXPECT_EQ(e.code, ca::kAsn1BadTag);
            }
        }
    }
}

TEST(Asn1Objects, CopyTakesBytesOnlyIntoHeldBuffers) {
    const uint8_t bytes[] = {1, 2, 3};
    CAsn1OctetString source;
    source.SetValue(bytes, 3);
    CAsn1OctetString empty;
    empty = source;
    EXPECT_EQ(empty.value.data, nullptr);  // Deliberate: only the size was taken
    EXPECT_EQ(empty.value.size, 3u);
    EXPECT_EQ(empty.block, source.block);
    EXPECT_TRUE(empty.changed);
    EXPECT_EQ(empty.GetFormattedString(0), L"");  // a size without bytes reads as nothing

    const uint8_t other[] = {9};
    CAsn1OctetString holder;
    holder.SetValue(other, 1);
    holder = source;
    ASSERT_NE(holder.value.data, nullptr);
    EXPECT_NE(holder.value.data.get(), source.value.data.get());
    EXPECT_EQ(holder.GetFormattedString(0), L"010203");
}

TEST(Asn1Objects, RawDataIsBase64) {
    SDecoded integer("020105");
    EXPECT_EQ(integer.object->GetRawData(true), L"BQ==");
    EXPECT_EQ(integer.object->GetRawData(false), L"AgEF");
    SDecoded indefinite("30800201050000");
    EXPECT_EQ(indefinite.object->GetRawData(false), L"MIACAQU=");  // the parsed total length
    CAsn1Null null;
    null.Encode();
    EXPECT_EQ(null.GetRawData(false), L"BQA=");
    EXPECT_EQ(null.GetRawData(true), L"");
}

}  // namespace
