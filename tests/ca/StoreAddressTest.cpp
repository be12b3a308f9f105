#include <gtest/gtest.h>

#include "ca/StoreAddress.h"
#include "tests/support/TestSupport.h"

namespace {

TEST(StoreAddress, ParseTextForms) {
    const struct {
        const wchar_t* text;
        uint32_t location;
        const wchar_t* name;
        const wchar_t* address;
    } cases[] = {
        {L"sslm:\\\\HOST\\My", 3, L"\\\\HOST\\My", L"\\"},  // the leading backslash is the separator found
        {L"sscu:My", 1, L"My", L""},
        {L"SSLM:My", 3, L"My", L""},
        {L"xyz:My", 0, L"My", L""},
        {L"remote", 9, L"remote", L""},  // no colon: the whole text is both parts
        {L":", 0, L"", L""},
        {L"sss:a:b", 6, L"a:b", L""}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        ca::StoreAddress address;
        address.Parse(c.text);
        EXPECT_EQ(address.GetLocation(), c.location);
        EXPECT_EQ(address.GetName(), c.name);
        EXPECT_EQ(address.GetAddress(), c.address);
        EXPECT_FALSE(address.IsEmpty());
    }
}

TEST(StoreAddress, AddressNormalisationLocalityAndNames) {
    const struct {
        const wchar_t* code;
        const wchar_t* address;
        const wchar_t* normalised;
        bool valid;
        bool local;
    } cases[] = {{L"sslm", L"", L"\\\\LOCALHOST", true, true},
                 {L"sslmgp", L"", L"\\\\LOCALHOST", true, true},
                 {L"sslm", L"127.0.0.1", L"\\\\127.0.0.1", true, true},
                 {L"sss", L"\\far.example.org", L"\\\\far.example.org", true, false},
                 {L"sscu", L"far", L"\\\\far", true, true},  // sscu is local whatever the address
                 {L"remote", L"localhost", L"\\\\localhost", true, false},
                 {L"sslm", L"\\\\a\\b", L"\\\\a\\b", false, false},
                 {L"ssu", L"a b", L"\\\\a b", false, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::wstring(c.code) + L" " + c.address);
        const ca::StoreAddress address(c.code, c.address, L"MY");
        EXPECT_EQ(address.GetAddress(), c.normalised);
        EXPECT_EQ(address.IsValid(), c.valid);
        EXPECT_EQ(address.IsLocal(), c.local);
        EXPECT_TRUE(address.IsMy());
    }
    EXPECT_TRUE(ca::StoreAddress(L"", L"", L"valkotempstore").IsTempStore());
    EXPECT_EQ(ca::StoreAddress(L"MY", true).GetFullAddress(), L"sslm:\\\\LOCALHOST\\MY");
    EXPECT_EQ(ca::StoreAddress(L"MY", false).GetFullAddress(), L"sscu:MY");
}

TEST(StoreAddress, JsonFormsAndFilter) {
    EXPECT_EQ(Json(ca::StoreAddress()), "{}");
    rapidjson::Document doc;
    doc.Parse(
        R"([{"name":"VALKOTempStore"},{},{"address":"ignored"},{"location":"REMOTE","address":"h","name":"x"}])");
    ca::StoreAddresses list;
    list.FromJson(doc);
    ASSERT_EQ(list.items.size(), 4u);
    EXPECT_TRUE(list.items[0].IsTempStore());
    EXPECT_TRUE(list.items[1].IsEmpty());
    EXPECT_TRUE(list.items[2].IsEmpty());  // an address alone sets nothing
    EXPECT_TRUE(list.items[3].IsRemote());
    EXPECT_EQ(Json(list), R"([{"location":"","address":"","name":"VALKOTempStore"},{},{},)"
                          R"({"location":"remote","address":"\\\\h","name":"x"}])");
    EXPECT_EQ(ca::FilterAddresses(list, [](const ca::StoreAddress& a) { return a.IsEmpty(); }), 2);
    EXPECT_EQ(list.items.size(), 2u);
    doc.Parse(R"({"name":5})");
    EXPECT_THROW(ca::StoreAddress().FromJson(doc), ca::Exception);
}

}  // namespace
