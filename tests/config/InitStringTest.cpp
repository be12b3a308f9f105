#include <gtest/gtest.h>

#include "config/InitStringParser.h"

namespace {

using P = ca::InitStringParameter;

TEST(InitStringParser, KnownAndOtherNames) {
    const struct {
        const wchar_t* text;
        P parameter;
        const wchar_t* expected;  // null: not given
    } cases[] = {{L"DESCRIPTIONFORMAT=\"%SN %G\";", P::DESCRIPTIONFORMAT, L"%SN %G"},
                 {L"cert_filter= \"a b\" ;", P::CERT_FILTER, L"a b"},
                 {L"FORCE_CERTINCLUDE=1;FORCE_CERTINCLUDE=0;", P::FORCE_CERTINCLUDE, L"1"},
                 {L"MODULE=ses", P::LDAP_FILTER, nullptr},
                 {L"MODULE=ses", P::MODULE, L"ses"},
                 {L"LDAP_FILTER=(cn=x=y)", P::LDAP_FILTER, L"(cn=x=y)"},  // split at the first "="
                 {L"NOEQUALS;MODULE=;=x;", P::MODULE, L""},
                 {L";;;", P::MODULE, nullptr},
                 {L"", P::CERT_FILTER, nullptr}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        std::wstring value = L"unchanged";
        EXPECT_EQ(ca::InitStringParser(c.text).Lookup(c.parameter, value), c.expected != nullptr);
        EXPECT_EQ(value, c.expected != nullptr ? c.expected : L"unchanged");
    }
    const ca::InitStringParser parser(L"CERT_FILTER=x;TSP_INET_TIMEOUT=30000;service_mode=TRUE;");
    std::wstring value;
    EXPECT_TRUE(parser.LookupStr(L"TSP_INET_TIMEOUT", value));
    EXPECT_EQ(value, L"30000");
    EXPECT_TRUE(parser.LookupStr(L"SERVICE_MODE", value));
    EXPECT_EQ(value, L"TRUE");
    EXPECT_FALSE(parser.LookupStr(L"service_mode", value));  // stored upper-case, matched exactly
    EXPECT_FALSE(parser.LookupStr(L"CERT_FILTER", value));   // a known name lives in the other map
    EXPECT_FALSE(ca::InitStringParser(nullptr).LookupStr(L"X", value));
}

}  // namespace
