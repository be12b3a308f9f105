// Feeds arbitrary bytes to the signature-container and certificate readers; whatever parses must
// print and parse back to the same text.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/Json.h"
#include "fuzz/FuzzTarget.h"
#include "ses/SesContainer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const char* text = reinterpret_cast<const char*>(data);
    try {
        const auto container = CSesContainer::Parse(text, size);
        const std::string printed = container->Print();
        const auto again = CSesContainer::Parse(printed.data(), printed.size());
        if (again->Print() != printed) {
            std::fprintf(stderr, "fuzz_container: print/parse round trip differs\n");
            std::abort();
        }
    } catch (const ca::Exception& e) {
        if (e.code != 16101) {
            std::fprintf(stderr, "fuzz_container: unexpected code %u\n", e.code);
            std::abort();
        }
    }
    try {
        rapidjson::Document document;
        ca::ParseJson(document, text, size);
        CSesCert cert;
        cert.FromJson(document);
    } catch (const ca::Exception&) {
        // Not a JSON object: answered with 16300.
    }
    return 0;
}
