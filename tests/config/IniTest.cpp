#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "base/Encode.h"
#include "config/inifile.h"
#include "tests/support/TestSupport.h"

namespace {

// SLoadCase: the text read and the document it gives, shown as Save writes it (sections and keys
// in case-insensitive order, a blank line between sections).
struct SLoadCase {
    const char* label;
    const char* input;
    const char* saved;
};

const SLoadCase kLoadCases[] = {
    {"section and key", "[Service settings]\nLogMode=2\n", "[Service settings]\nLogMode=2\n"},
    {"key before any section", "LogMode=2\n[S]\nA=1\n", "[S]\nA=1\n"},
    {"no closing bracket", "[Sec\nA=1\n", ""},
    {"no closing bracket inside a section", "[S]\n[Sec\nA=1", "[S]\nA=1\n"},
    {"comments", "[S]\n# comment\n#x=1\n;y\n; z=2\n", "[S]\n#x=1\n; z=2\n"},
    {"repeated key takes the last value", "[S]\nA=1\nA=2\n", "[S]\nA=2\n"},
    {"value kept as it stands", "[S]\nKey = 1\nK2==x= \n", "[S]\nK2==x= \nKey= 1\n"},
    {"line trimming", "  \t[S]\r\n\tA=1 \r\n \t B\t=\t2\r\r\n", "[S]\nA=1 \nB=\t2\n"},
    {"section name trimmed", "[ \tS ]\nA=1\n", "[S]\nA=1\n"},
    {"blanks after ] stay in the name", "[S] \nA=1\n[T]\t\n", "[S]]\nA=1\n\n[T]]\n"},
    {"names unique regardless of case", "[s]\nlogmode=1\n[S]\nLOGMODE=2\nx=3\n", "[s]\nlogmode=2\nx=3\n"},
    {"lines starting with = skipped", "[S]\n=x\n  =y\n\r=z\n", "[S]\n"},
    {"empty section name", "[]\nk=v\n", "[]\nk=v\n"},
    // Letters compare as lower case, after "_"; outside ASCII the code points decide.
    {"sorted save", "[b]\nz=1\nя=5\nA=2\n_=3\nЯ=4\n[A]\n[a2]\n",
     "[A]\n\n[a2]\n\n[b]\n_=3\nA=2\nz=1\nЯ=4\nя=5\n"},
    {"empty input", "", ""},
    {"blank lines only", "\n\r\n \t\n", ""},
    {"no final line end", "[S]\nA=1", "[S]\nA=1\n"},
    {"bracket lines that are keys", "[S]\n[k=v\n", "[S]\n[k=v\n"},
};

TEST(IniLoad, LinesGiveSectionsAndKeys) {
    for (const auto& c : kLoadCases) {
        SCOPED_TRACE(c.label);
        CIniFileA narrow;
        std::istringstream input(c.input);
        input >> narrow;
        std::ostringstream output;
        output << narrow;
        EXPECT_EQ(output.str(), c.saved);
        CIniFileW wide;
        std::wistringstream wideInput(ca::u8u16(c.input));
        wideInput >> wide;
        std::wostringstream wideOutput;
        wideOutput << wide;
        EXPECT_EQ(ca::u16u8(wideOutput.str()), c.saved);
        wide.LoadFromBytes(c.input);
        EXPECT_EQ(wide.SaveToBytes(), c.saved);
    }
}

TEST(IniLoad, WideFileIsUtf8AndMayStartWithAByteOrderMark) {
    CIniFileW file;
    file.LoadFromBytes(
        "\xEF\xBB\xBF[\xD0\xA0\xD0\xB0\xD0\xB7\xD0\xB4\xD0\xB5\xD0\xBB]\n"
        "\xD0\x9A\xD0\xBB\xD1\x8E\xD1\x87=\xD0\xB7\xD0\xBD\xD0\xB0\xD1\x87\n"
        "bad=\xC3\n");
    EXPECT_EQ(file.GetKeyValue(L"Раздел", L"Ключ"), L"знач");
    EXPECT_EQ(file.GetKeyValue(L"Раздел", L"bad"), L"\uFFFD");  // a broken sequence does not eat the line end
    EXPECT_EQ(file.SaveToBytes(),
              "[\xD0\xA0\xD0\xB0\xD0\xB7\xD0\xB4\xD0\xB5\xD0\xBB]\nbad=\xEF\xBF\xBD\n"
              "\xD0\x9A\xD0\xBB\xD1\x8E\xD1\x87=\xD0\xB7\xD0\xBD\xD0\xB0\xD1\x87\n");

    CIniFileA narrow;
    narrow.LoadFromBytes("\xEF\xBB\xBF[S]\nA=\xD0\x9A\n");
    EXPECT_EQ(narrow.GetKeyValue("S", "A"), "\xD0\x9A");
}

TEST(IniLoad, MergeAddsAndUpdatesWhileLoadReplaces) {
    CIniFileW file;
    std::wistringstream first(L"[A]\nx=1\ny=2\n[B]\nz=3\n");
    first >> file;
    std::wistringstream second(L"[a]\nX=10\nw=4\n[C]\nv=5\n");
    second >> CIniMergeW(file);
    std::wostringstream merged;
    merged << file;
    EXPECT_EQ(merged.str(), L"[A]\nw=4\nx=10\ny=2\n\n[B]\nz=3\n\n[C]\nv=5\n");

    std::wistringstream third(L"[D]\nq=1\n");
    file.Load(third, false);
    std::wostringstream replaced;
    file.Save(replaced);
    EXPECT_EQ(replaced.str(), L"[D]\nq=1\n");
}

TEST(IniLoad, MissingOrSpecialFileFailsAndKeepsTheDocument) {
    CTempHome home;
    CIniFileW file;
    file.SetKeyValue(L"S", L"k", L"v");
    EXPECT_FALSE(file.Load(ca::u8u16(home.Path()) + L"/missing.ini"));
    EXPECT_FALSE(file.Load(ca::u8u16(home.Path())));  // a directory
    EXPECT_EQ(file.GetKeyValue(L"S", L"k"), L"v");

    const std::wstring path = ca::u8u16(home.Path()) + L"/файл.ini";
    ASSERT_TRUE(file.Save(path));
    CIniFileW again;
    ASSERT_TRUE(again.Load(path));
    EXPECT_EQ(again.SaveToBytes(), "[S]\nk=v\n");
}

TEST(IniEdit, NamesAreTrimmedAndCaseInsensitive) {
    CIniFileW file;
    CIniSectionW* section = file.AddSection(L" Service settings\r\n");
    ASSERT_NE(section, nullptr);
    EXPECT_EQ(section->GetSectionName(), L"Service settings");
    EXPECT_EQ(file.AddSection(L"SERVICE SETTINGS"), section);
    EXPECT_EQ(file.GetSection(L"service settings\t"), section);
    CIniKeyW* key = section->AddKey(L"\tLogMode ");
    ASSERT_NE(key, nullptr);
    EXPECT_EQ(key->GetKeyName(), L"LogMode");
    EXPECT_EQ(section->AddKey(L"logmode"), key);
    EXPECT_EQ(section->AddKey(L" \r\n"), nullptr);
    EXPECT_FALSE(file.SetKeyValue(L"Other", L"  ", L"x"));
    EXPECT_EQ(file.GetSection(L"Other"), nullptr);
    EXPECT_TRUE(file.SetKeyValue(L"service settings", L"LOGMODE", L"3"));
    EXPECT_EQ(key->GetValue(), L"3");
    EXPECT_EQ(file.GetKeyValue(L"Service settings", L"Missing") + file.GetKeyValue(L"Missing", L"LogMode"),
              L"");
}

TEST(IniEdit, RenamesRefuseTakenNamesAndRemovalsOnlyTheirOwn) {
    CIniFileA file;
    file.SetKeyValue("B", "k1", "1");
    file.SetKeyValue("B", "k2", "2");
    file.SetKeyValue("C", "k", "3");
    EXPECT_FALSE(file.RenameSection("B", "c"));
    EXPECT_FALSE(file.RenameSection("Missing", "X"));
    EXPECT_TRUE(file.RenameSection("B", "b"));  // a change of case only
    EXPECT_TRUE(file.RenameSection("c", " A "));
    EXPECT_FALSE(file.RenameKey("b", "k1", "K2"));
    EXPECT_FALSE(file.RenameKey("b", "k1", " "));
    EXPECT_TRUE(file.RenameKey("b", "k1", "z"));
    CIniSectionA* b = file.GetSection("B");
    ASSERT_NE(b, nullptr);
    EXPECT_TRUE(b->GetKey("k2")->SetKeyName("a"));
    EXPECT_TRUE(b->SetSectionName("Z"));
    EXPECT_EQ(file.SaveToBytes(), "[A]\nk=3\n\n[Z]\na=2\nz=1\n");

    CIniFileA other;
    file.RemoveSection(other.AddSection("A"));  // not this file's: nothing happens
    b->RemoveKey("A");
    b->RemoveKey(b->GetKey("missing"));
    EXPECT_EQ(file.SaveToBytes(), "[A]\nk=3\n\n[Z]\nz=1\n");
    b->RemoveKey(b->GetKey("z"));
    file.RemoveSection(file.GetSection("a"));
    EXPECT_EQ(file.SaveToBytes(), "[Z]\n");
    file.RemoveAllSections();
    EXPECT_TRUE(file.GetSections().empty());
}

}  // namespace
