// Feeds arbitrary bytes to both INI families, through a stream and as file bytes, and checks that
// what Save writes reads back to the same text.
#include <sstream>
#include <string>

#include "base/Encode.h"
#include "config/inifile.h"
#include "fuzz/FuzzTarget.h"

const char* const kFuzzTarget = "fuzz_ini";

namespace {

// SavesAsSection: a key named "[..." whose value ends in "]" (blanks after it aside) is written as
// a line that reads back as a section header. Load can make one only from a line that starts with
// CR, which the line trimming keeps and the name trimming drops.
template <typename File>
bool SavesAsSection(const File& file) {
    for (const auto& section : file.GetSections()) {
        for (const auto& key : section->GetKeys()) {
            const auto& name = key->GetKeyName();
            const auto& value = key->GetValue();
            static const typename File::CharType kBlanks[] = {' ', '\t', 0};
            const size_t last = value.find_last_not_of(kBlanks);
            if (!name.empty() && name[0] == '[' && last != value.npos && value[last] == ']') {
                return true;
            }
        }
    }
    return false;
}

template <typename File>
void CheckStable(const File& loaded, const char* family) {
    const std::string saved = loaded.SaveToBytes();
    File again;
    again.LoadFromBytes(saved);
    const std::string resaved = again.SaveToBytes();
    if (resaved != saved && !SavesAsSection(loaded)) {
        Fail(family + std::string(": Save -> Load -> Save changed the text"));
    }
    // Whatever the first text was, the second save is a fixed point.
    File third;
    third.LoadFromBytes(resaved);
    if (third.SaveToBytes() != resaved) {
        Fail(family + std::string(": a saved text does not read back"));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);

    CIniFileA narrow;
    std::istringstream narrowStream(bytes);
    narrow.Load(narrowStream);
    CheckStable(narrow, "narrow");

    CIniFileW wide;
    std::wistringstream wideStream(ca::u8u16(bytes));
    wide.Load(wideStream);
    CheckStable(wide, "wide stream");

    // The file path: split into lines first, each converted from UTF-8, merged into what is there.
    CIniFileW fromFile;
    fromFile.SetKeyValue(L"Service settings", L"LogMode", L"1");
    fromFile.LoadFromBytes(bytes, true);
    CheckStable(fromFile, "wide bytes");

    // Stream and file paths agree whenever the text is valid UTF-8 without a byte-order mark.
    CIniFileW fromBytes;
    fromBytes.LoadFromBytes(bytes);
    if (ca::u16u8(ca::u8u16(bytes)) == bytes && bytes.compare(0, 3, "\xEF\xBB\xBF") != 0 &&
        fromBytes.SaveToBytes() != wide.SaveToBytes()) {
        Fail("stream and bytes disagree");
    }
    return 0;
}
