// Feeds arbitrary text to the store-address text form and, when it is JSON, to the record readers;
// a record read back from its own JSON must write the same JSON again.
#include "base/Encode.h"
#include "ca/StoreAddress.h"
#include "fuzz/FuzzTarget.h"

const char* const kFuzzTarget = "fuzz_storeaddress";

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    ca::StoreAddress parsed;
    parsed.Parse(ca::u8u16(bytes));
    (void)parsed.GetFullAddress();
    (void)parsed.IsLocal();
    (void)parsed.SetAddress(parsed.GetName());

    rapidjson::Document document;
    try {
        ca::ParseJson(document, bytes.data(), bytes.size());
        ca::StoreAddresses list;
        list.FromJson(document);
        const std::string written = Json(list);
        rapidjson::Document again;
        ca::ParseJson(again, written.data(), written.size());
        ca::StoreAddresses reread;
        reread.FromJson(again);
        if (Json(reread) != written) {
            Fail("JSON round trip differs");
        }
    } catch (const ca::Exception&) {
        // Not JSON, or not a list of store-address objects: answered with a code.
    }
    return 0;
}
