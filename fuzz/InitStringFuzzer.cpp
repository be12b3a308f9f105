// Feeds arbitrary text to the initialisation-string parser.
#include <string>

#include "base/Encode.h"
#include "config/InitStringParser.h"
#include "fuzz/FuzzTarget.h"

const char* const kFuzzTarget = "fuzz_initstring";

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::wstring text = ca::u8u16(reinterpret_cast<const char*>(data), size);
    const ca::InitStringParser parser(text.c_str());
    for (int p = 0; p <= 4; ++p) {
        std::wstring value;
        if (parser.Lookup(static_cast<ca::InitStringParameter>(p), value) && !value.empty() &&
            (value.front() == L'"' || value.front() == L' ' || value.back() == L'"' ||
             value.back() == L' ')) {
            Fail("value keeps quotes or blanks");
        }
    }
    std::wstring value;
    parser.LookupStr(L"TSP_INET_TIMEOUT", value);
    parser.LookupStr(text.c_str(), value);
    return 0;
}
