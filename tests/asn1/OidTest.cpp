// OID descriptions: the telling rows in both languages, and texts that are no listed OID. (That every
// OID has a message of its own is checked where the table is built.)
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "asn1/x500.h"
#include "base/Encode.h"
#include "base/Lng.h"
#include "tests/support/TestSupport.h"

namespace {

TEST(OidDescription, TellingRowsAndUnknownOids) {
    struct SRow {
        const wchar_t* oid;
        const wchar_t* english;
        const wchar_t* russian;
    };
    const SRow rows[] = {
        // Deliberate: the type name is misspelt in the English text, as the text has always read.
        {L"2.5.4.8", L"The stateOrPinceName type attribute is used to store the name of a state or province",
         L"Атрибут типа stateOrProvinceName используется для хранения названия штата, области или края"},
        {L"1.2.643.3.131.1.1", L"INN", L"ИНН"},
        {L"2.5.29.15", L"Key usage", L"Использование ключа"},
    };
    std::vector<SRow> all(std::begin(rows), std::end(rows));
    for (const wchar_t* oid :
         {L"", L"1.2.3", L"2.5.4", L"2.5.4.3.", L" 2.5.4.3", L"2.5.4.03", L"2.5.4.3\n"}) {
        all.push_back({oid, L"Unknown OID", L"Неизвестный OID"});
    }
    const CLanguageScope language;
    for (const auto& row : all) {
        SetVALKOLng(L"ru");
        EXPECT_STREQ(GetOidDescription(row.oid), row.russian) << ca::u16u8(row.oid);
        SetVALKOLng(L"en");
        EXPECT_STREQ(GetOidDescription(row.oid), row.english) << ca::u16u8(row.oid);
    }
}

}  // namespace
