#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include "asn1/x500.h"
#include "base/Lng.h"

namespace {

// CLanguageScope switches the process-wide language and puts English back when the test ends.
class CLanguageScope {
public:
    explicit CLanguageScope(const wchar_t* name) { SetVALKOLng(name); }
    ~CLanguageScope() { SetVALKOLng(L"en"); }
    CLanguageScope(const CLanguageScope&) = delete;
    CLanguageScope& operator=(const CLanguageScope&) = delete;
};

std::string Narrow(const std::wstring& text) { return std::string(text.begin(), text.end()); }

TEST(OidTable, HoldsTheFullListOfOids) {
    const auto& table = oidAndMessageDef();
    EXPECT_EQ(table.size(), 401u);
    // A few keys from the edges of the ranges, where an expansion slip would show.
    for (const wchar_t* oid :
         {L"0.9.2342.19200300.100.1.25", L"1.2.643.2.2.31.17", L"1.2.643.7.1.2.5.1.1", L"1.2.840.113549.2",
          L"1.2.840.113549.1.9.16.2.47", L"1.2.840.113549.1.9.52", L"1.3.6.1.5.5.7.1.31", L"1.3.14.3.2.3.1",
          L"2.5.4.0", L"2.5.4.97", L"2.5.4.25.1", L"2.5.29.69", L"2.16.840.1.101.3.4.1.48"}) {
        EXPECT_EQ(table.count(oid), 1u) << Narrow(oid);
    }
    for (const wchar_t* oid : {L"1.3.6.1.5.5.7.1.17", L"1.2.840.113549.1.9.18", L"2.5.4.98", L"2.5.4.24.1",
                               L"2.5.29.0", L"2.5.29.70", L"1.3.14.3.2.5", L"1.2.643.100.4"}) {
        EXPECT_EQ(table.count(oid), 0u) << Narrow(oid);
    }
}

TEST(OidTable, EveryOidHasItsOwnMessageInBothLanguages) {
    std::set<ValkoMessage> seen;
    for (const auto& [oid, id] : oidAndMessageDef()) {
        SCOPED_TRACE(Narrow(oid));
        EXPECT_TRUE(seen.insert(id).second) << "message " << id << " is shared";
        for (const wchar_t* language : {L"en", L"ru"}) {
            CLanguageScope scope(language);
            const std::wstring text = GetOidDescription(oid);
            EXPECT_FALSE(text.empty());
            EXPECT_NE(text, SetVALKOMessage(msg::kUnknownOid));
            EXPECT_EQ(text, SetVALKOMessage(id));
        }
    }
}

TEST(OidTable, LeavesMessagesOfOtherUsesAlone) {
    const ValkoMessage kReserved[] = {0,   1,   23,  24,  25,  26,  27,  132, 151, 161, 227,
                                      228, 229, 247, 257, 262, 263, 264, 289, 290, 321, 322,
                                      366, 390, 396, 480, 508, 902, 903, 904, 905, 937};
    std::map<ValkoMessage, std::wstring> byId;
    for (const auto& [oid, id] : oidAndMessageDef()) {
        byId.emplace(id, oid);
    }
    for (ValkoMessage id : kReserved) {
        EXPECT_EQ(byId.count(id), 0u) << "message " << id << " is taken by " << Narrow(byId[id]);
    }
}

struct STellingRow {
    const wchar_t* oid;
    ValkoMessage id;
    const wchar_t* english;
    const wchar_t* russian;
};

const STellingRow kTellingRows[] = {
    {L"2.5.4.3", 686, L"An attribute of type commonName is used to store the common name",
     L"Атрибут типа commonName используется для хранения распространенного имени"},
    // Deliberate: the type name is misspelt in the English text, as the text has always read.
    {L"2.5.4.8", 692, L"The stateOrPinceName type attribute is used to store the name of a state or province",
     L"Атрибут типа stateOrProvinceName используется для хранения названия штата, области или края"},
    {L"1.2.643.3.131.1.1", 847, L"INN", L"ИНН"},
    {L"1.2.643.100.1", 844, L"OGRN", L"ОГРН"},
    {L"1.2.643.2.2.3", 599, L"GOST R 34.10-2001 + GOST R 34.11-94 signature",
     L"Алгоритм цифровой подписи ГОСТ Р 34.10-2001"},
    {L"1.2.643.7.1.1.1.1", 799, L"GOST R 34.10-2012 256 bit", L"ГОСТ Р 34.10-2012 256 бит"},
    {L"1.2.840.113549.1.1.1", 884, L"RSA", L"RSA"},
    {L"1.2.840.113549.1.9.4", 518, L"Message digest", L"Хеш сообщения"},
    {L"2.5.29.15", 554, L"Key usage", L"Использование ключа"},
    {L"2.5.29.19", 550, L"Basic constraints", L"Основные ограничения"},
};

TEST(OidTable, KnownRowsKeepTheirNumbersAndTexts) {
    const auto& table = oidAndMessageDef();
    for (const auto& row : kTellingRows) {
        SCOPED_TRACE(Narrow(row.oid));
        const auto found = table.find(row.oid);
        ASSERT_NE(found, table.end());
        EXPECT_EQ(found->second, row.id);
        {
            CLanguageScope scope(L"en");
            EXPECT_STREQ(GetOidDescription(row.oid), row.english);
        }
        {
            CLanguageScope scope(L"ru");
            EXPECT_STREQ(GetOidDescription(row.oid), row.russian);
        }
    }
}

TEST(OidDescription, UnknownOidGivesUnknownText) {
    const wchar_t* const kUnknown[] = {L"",         L"1.2.3",       L"2.5.4",     L"2.5.4.3.",  L" 2.5.4.3",
                                       L"2.5.4.03", L"2.5.29.32.0", L"2.5.4.3\n", L"not an oid"};
    for (const wchar_t* oid : kUnknown) {
        SCOPED_TRACE(Narrow(oid));
        {
            CLanguageScope scope(L"en");
            EXPECT_STREQ(GetOidDescription(oid), L"Unknown OID");
        }
        {
            CLanguageScope scope(L"ru");
            EXPECT_STREQ(GetOidDescription(oid), L"Неизвестный OID");
        }
    }
}

}  // namespace
