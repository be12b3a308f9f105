// Primitive types: the tag -> class table, decoded and formatted values, decoder bounds, re-encoding.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <typeindex>
#include <utility>

#include "tests/asn1/Asn1TestUtil.h"

namespace {

using asn1test::FromHex;
using asn1test::SParsed;

// SDecoded is the object CreatePrimitiveObject makes over the first block of hex, decoded.
struct SDecoded : SParsed {
    explicit SDecoded(const std::string& hex)
        : SParsed(hex), object(CreatePrimitiveObject(First(), nullptr)) {
        object->Decode();
    }
    std::unique_ptr<CAsn1Object> object;
};

std::vector<uint8_t> Encoded(CAsn1Object& object) {
    object.Encode();
    return object.GetAsn1Data();
}

TEST(Asn1Primitives, TagSelectsTheClass) {
    const auto made = [](const char* hex) {  // the class's name and type
        SParsed parsed(hex);
        const std::unique_ptr<CAsn1Object> object = CreatePrimitiveObject(parsed.First(), nullptr);
        return std::pair<std::string, std::type_index>(object->GetTagName(), typeid(*object));
    };
    const std::pair<const char*, const char*> named[] = {
        {"0100", "BOOLEAN"},          {"0200", "INTEGER"},        {"0300", "BIT STRING"},
        {"0400", "OCTET STRING"},     {"0500", "NULL"},           {"0600", "OBJECT IDENTIFIER"},
        {"0C00", "UTF8 STRING"},      {"1200", "NUMERIC STRING"}, {"1300", "PRINTABLE STRING"},
        {"1400", "TELETEX STRING"},   {"1600", "IA5 STRING"},     {"1700", "UTC TIME"},
        {"1800", "GENERALIZED TIME"}, {"1E00", "UNICODE STRING"}};
    for (const auto& [hex, name] : named) {
        EXPECT_EQ(made(hex).first, name) << hex;
    }
    EXPECT_EQ(made("1300").second, typeid(CAsn1PrintableString));
    EXPECT_EQ(made("2400").second, typeid(CAsn1ContructedOctetString));
    EXPECT_EQ(made("3000").second, typeid(CAsn1Sequence));
    EXPECT_EQ(made("3100").second, typeid(CAsn1Set));
    // SEQUENCE's number without the constructed bit, VisibleString, 0x32 and up, context and
    // application tags: no class of their own.
    for (const char* hex : {"1000", "1A00", "3200", "8000", "4100"}) {
        EXPECT_EQ(made(hex), std::make_pair(std::string(), std::type_index(typeid(CAsn1Unknown)))) << hex;
    }
    EXPECT_EQ(CreatePrimitiveObject(nullptr, nullptr), nullptr);
}

TEST(Asn1Primitives, FormattedValues) {
    setenv("TZ", "UTC", 1);  // GeneralizedTime is read through mktime
    tzset();
    // Deliberate: an INTEGER is unsigned (FF is 255) and hex past four bytes; an OID's first bytes
    // are summed, not read in base 128 (81 00 is 2.49), and later arcs wrap at 2^32; a bit count
    // above 7 clears the whole last byte; 0xC2 is an apostrophe in a TeletexString only.
    const std::pair<const char*, const wchar_t*> values[] = {
        {"0201FF", L"255"},  {"0200", L"0"},          {"020500FFFFFFFF", L"00ffffffff"},
        {"010101", L"True"}, {"010100", L"False"},    {"0500", L"Null"},
        {"060150", L"2.0"},  {"060127", L"0.39"},     {"06014F", L"1.39"},
        {"0600", L""},       {"06028100", L"2.49"},   {"06062A9080808000", L"1.2.0"},
        {"030207FF", L"80"}, {"030100", L""},         {"03020AFF", L"00"},
        {"1402C241", L"'A"}, {"1E0400410042", L"AB"}, {"1E03004100", L"A"},
    };
    // Text beyond ASCII: UTF-8, a cut Teletex sequence, and BMP surrogates, paired or not.
    const std::pair<const char*, const wchar_t*> texts[] = {
        {"0C02D0AF", L"\u042F"}, {"1402C2A9", L"'\uFFFD"}, {"1E04D83DDE00", L"\U0001F600"},
        {"1E02DC00", L"\uFFFD"}, {"1E02D800", L"\uFFFD"},  {"1E04D8000041", L"\uFFFDA"},
    };
    // Deliberate: UTCTime 49 is 2049, and "+0300" is read as the groups "+0" and "30": 30 minutes.
    const std::pair<const char*, const wchar_t*> times[] = {
        {"170D3439313233313233353935395A", L"31.12.2049 23:59:59"},
        {"17113235303130313132303030302B30333030", L"01.01.2025 11:30:00"},
        {"17113235303130313132303030302D30333030", L"01.01.2025 12:30:00"},
        {"170B323530313031313230305A", L"01.01.2025 12:00:00"},  // no seconds
        {"1706323530313031", L"01.01.2025 00:00:00"},            // date only
        {"180F31393530303130313030303030305A", L"01.01.1950 00:00:00"},
        {"181332303235303130313132303030302B30333030", L"01.01.2025 11:30:00"},
    };
    const auto check = [](const auto& table) {
        for (const auto& [hex, text] : table) {
            EXPECT_EQ(SDecoded(hex).object->GetFormattedString(0), text) << hex;
        }
    };
    check(values);
    check(texts);
    check(times);
    EXPECT_EQ(dynamic_cast<CAsn1Time&>(*SDecoded(times[2].first).object).zoneOffset, -30);
    CAsn1UTCTime outOfRange;
    outOfRange.timeValue.tm_year = 100000;  // more than "%d.%m.%Y %X" holds in 20 characters
    EXPECT_EQ(outOfRange.GetString(), "");
}

TEST(Asn1Primitives, DecodersStopAtTheirContent) {
    // A BOOLEAN without its byte, a BIT STRING without the count, OIDs with a cut sub-identifier,
    // times without a date, with a group that is no number, with "+03" but no minutes, and a
    // GeneralizedTime shorter than its year.
    for (const char* hex :
         {"0100", "0300", "06022A86", "060186", "1700", "170135", "17023235",
          "170D4142313233313233353935395A", "170F3235303130313132303030302B3033", "1803323032"}) {
        EXPECT_EQ(CodeOf([hex] { SDecoded decoded(hex); }), ca::kAsn1EndOfData) << hex;
    }
}

TEST(Asn1Primitives, HexStringFlagsAndTheParsedBytes) {
    const uint8_t bytes[] = {0x00, 0xAB, 0x01};
    EXPECT_EQ(GetHexString(kHexUpper, bytes, 3), L"00AB01");
    EXPECT_EQ(GetHexString(kHexDropLeadingZero | kHexColons, bytes, 3), L"ab:01");
    EXPECT_EQ(GetHexString(kHexDropLeadingZero, bytes + 1, 2), L"ab01");  // only a leading zero goes
    SDecoded integer("020500FFFFFFFF");
    EXPECT_EQ(integer.object->GetFormattedString(kHexUpper | kHexDropLeadingZero | kHexColons),
              L"FF:FF:FF:FF");
    EXPECT_EQ(dynamic_cast<CAsn1Integer&>(*integer.object).bytes, integer.input.data() + 2);  // not copied
    SDecoded padded("030207FF");
    EXPECT_EQ(padded.input.data()[3], 0x80);  // Deliberate: the padding is cleared in the parsed buffer
}

TEST(Asn1Primitives, BuiltValuesEncode) {
    CAsn1ObjectIdentifier oid;
    const std::pair<const wchar_t*, const char*> oids[] = {
        {L"1.2.840.113549.1.1.11", "06092A864886F70D01010B"},
        {L"1.2.4294967295", "06062A8FFFFFFF7F"},
        {L"-1", "0605 8FFFFFFF58"},  // a negative arc wraps around 32 bits
        {L"", "0600"},
        {L"2.100.3", "0603813403"},  // read back as 2.101.3 below: the first bytes are summed
    };
    for (const auto& [dotted, hex] : oids) {
        oid.SetOid(dotted);
        EXPECT_EQ(Encoded(oid), FromHex(hex)) << hex;
    }
    oid.Decode();
    EXPECT_EQ(oid.oid, L"2.101.3");
    const uint8_t bytes[] = {0x00, 0x80};
    CAsn1Integer integer;
    integer.SetBytes(bytes, 2);
    CAsn1Boolean boolean;
    boolean.SetValue(true);
    CAsn1BitString bits;
    bits.SetValue(bytes + 1, 1, 4);  // the padding is cleared
    CAsn1OctetString octets;
    octets.SetValue(bytes, 2);
    CAsn1PrintableString implicit(static_cast<unsigned char>(0x82));
    implicit.SetText(L"\u042F");
    CAsn1UnicodeString bmp;  // Deliberate: a BMPString is never re-encoded
    bmp.SetText(L"A");
    const std::pair<CAsn1Object*, const char*> built[] = {{&integer, "02020080"},  {&boolean, "0101FF"},
                                                          {&bits, "03020480"},     {&octets, "04020080"},
                                                          {&implicit, "8202D0AF"}, {&bmp, "1E00"}};
    for (const auto& [object, hex] : built) {
        EXPECT_EQ(Encoded(*object), FromHex(hex)) << hex;
    }
    SDecoded joined("2480 0402 4142 0401 43 0000");  // a constructed OCTET STRING is written primitive
    joined.object->SetChanged(true);
    EXPECT_EQ(Encoded(*joined.object), FromHex("0403414243"));
}

TEST(Asn1Primitives, EncodedTimesAndOffsets) {
    tm noon{};
    noon.tm_year = 125;
    noon.tm_mday = 1;
    noon.tm_hour = 12;
    struct SCase {
        int hours, minutes, zone;
        const char* utc;
    };
    const SCase cases[] = {{0, 0, 0, "250101120000Z"},         {3, 0, 180, "250101120000+0300"},
                           {-1, 30, -90, "250101120000-0130"}, {0, 30, 30, "250101120000+0030"},
                           {0, -30, -30, "250101120000-0030"}, {2, -30, 90, "250101120000+0130"}};
    for (const auto& c : cases) {
        CAsn1UTCTime time;
        time.SetTime(noon);
        time.SetTimeZoneOffset(c.hours, c.minutes);
        EXPECT_EQ(time.zoneOffset, c.zone) << c.utc;
        std::vector<uint8_t> expected = {0x17, static_cast<uint8_t>(std::strlen(c.utc))};
        expected.insert(expected.end(), c.utc, c.utc + std::strlen(c.utc));
        EXPECT_EQ(Encoded(time), expected) << c.utc;
    }
    CAsn1GeneralizedTime generalized;
    generalized.SetTime(noon);
    EXPECT_EQ(Encoded(generalized), FromHex("180F 3230323530313031313230303030 5A"));
}

TEST(Asn1Primitives, ExpectedTagAcceptsContextTags) {
    // The private class counts as context-specific.
    for (const auto& [hex, code] : {std::pair{"020105", 0u},
                                    {"820105", 0u},
                                    {"C20105", 0u},
                                    {"040105", ca::kAsn1BadTag},
                                    {"420105", ca::kAsn1BadTag}}) {
        SParsed parsed(hex);
        EXPECT_EQ(CodeOf([&] { CAsn1Integer(parsed.First()).Decode(); }), code) << hex;
    }
    EXPECT_EQ(CodeOf([] { CAsn1Integer(nullptr); }), ca::kAsn1BadTag);
}

TEST(Asn1Primitives, CopyTakesBytesOnlyIntoHeldBuffers) {
    const uint8_t bytes[] = {1, 2, 3};
    CAsn1OctetString source;
    source.SetValue(bytes, 3);
    CAsn1OctetString empty;
    empty = source;
    EXPECT_EQ(empty.value.data, nullptr);  // Deliberate: only the size was taken
    EXPECT_EQ(empty.value.size, 3u);
    EXPECT_EQ(empty.GetFormattedString(0), L"");  // a size without bytes reads as nothing
    CAsn1OctetString holder;
    holder.SetValue(bytes, 1);
    holder = source;
    EXPECT_NE(holder.value.data.get(), source.value.data.get());
    EXPECT_EQ(holder.GetFormattedString(0), L"010203");
}

TEST(Asn1Primitives, RawDataIsBase64) {
    SDecoded integer("020105");
    EXPECT_EQ(integer.object->GetRawData(true), L"BQ==");
    EXPECT_EQ(integer.object->GetRawData(false), L"AgEF");
    EXPECT_EQ(SDecoded("30800201050000").object->GetRawData(false), L"MIACAQU=");  // the parsed total
    CAsn1Null null;
    null.Encode();
    EXPECT_EQ(null.GetRawData(false), L"BQA=");
    EXPECT_EQ(null.GetRawData(true), L"");
    std::vector<uint8_t> out(null.GetAsn1DataLength());
    null.GetAsn1Data(out.data());
    EXPECT_EQ(out, FromHex("0500"));
}

}  // namespace
