// The OID description table: one message per OID in both languages, the telling rows, unknown OIDs.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "asn1/x500.h"
#include "base/Encode.h"
#include "base/Lng.h"

namespace {

TEST(OidTable, EveryOidHasItsOwnMessageInBothLanguages) {
    std::set<ValkoMessage> messages;
    for (const wchar_t* language : {L"ru", L"en"}) {
        SetVALKOLng(language);
        for (const auto& [oid, id] : oidAndMessageDef()) {
            messages.insert(id);
            EXPECT_STRNE(GetOidDescription(oid), SetVALKOMessage(msg::kUnknownOid)) << ca::u16u8(oid);
            EXPECT_STRNE(GetOidDescription(oid), L"") << ca::u16u8(oid);
        }
    }
    EXPECT_EQ(oidAndMessageDef().size(), 401u);
    EXPECT_EQ(messages.size(), 401u);
}

TEST(OidDescription, TellingRowsAndUnknownOids) {
    struct SRow {
        const wchar_t* oid;
        const wchar_t* english;
        const wchar_t* russian;
    };
    const SRow rows[] = {
        {L"2.5.4.3", L"An attribute of type commonName is used to store the common name",
         L"Атрибут типа commonName используется для хранения распространенного имени"},
        // Deliberate: the type name is misspelt in the English text, as the text has always read.
        {L"2.5.4.8", L"The stateOrPinceName type attribute is used to store the name of a state or province",
         L"Атрибут типа stateOrProvinceName используется для хранения названия штата, области или края"},
        {L"1.2.643.3.131.1.1", L"INN", L"ИНН"},
        {L"1.2.643.7.1.1.1.1", L"GOST R 34.10-2012 256 bit", L"ГОСТ Р 34.10-2012 256 бит"},
        {L"1.2.840.113549.1.1.1", L"RSA", L"RSA"},
        {L"2.5.29.15", L"Key usage", L"Использование ключа"},
    };
    std::vector<SRow> all(std::begin(rows), std::end(rows));
    for (const wchar_t* oid :
         {L"", L"1.2.3", L"2.5.4", L"2.5.4.3.", L" 2.5.4.3", L"2.5.4.03", L"2.5.4.3\n"}) {
        all.push_back({oid, L"Unknown OID", L"Неизвестный OID"});
    }
    for (const auto& row : all) {
        SetVALKOLng(L"ru");
        EXPECT_STREQ(GetOidDescription(row.oid), row.russian) << ca::u16u8(row.oid);
        SetVALKOLng(L"en");
        EXPECT_STREQ(GetOidDescription(row.oid), row.english) << ca::u16u8(row.oid);
    }
}

}  // namespace
