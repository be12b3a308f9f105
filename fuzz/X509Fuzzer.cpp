// The X.509 targets: arbitrary bytes through one reader and its record filler (the build names the
// target: certificate, crl or cms). Anything may fail with a ca::Exception; nothing may crash, read
// past the input or leak, and a record that fills must read back from its own JSON to the same JSON.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "ca/FromAsn1.h"
#include "fuzz/FuzzTarget.h"

namespace {

template <class Record>
std::string JsonOf(const Record& record) {
    rapidjson::StringBuffer buffer;
    ca::JsonWriter writer(buffer);
    record.ToJson(writer);
    return {buffer.GetString(), buffer.GetSize()};
}

// Run decodes data as T, fills Record from it with fill(record, root) and reads the JSON back.
template <class T, class Record, class Fill>
void Run(const uint8_t* data, size_t size, Fill fill) {
    try {
        ca::CDecoded<T> decoded(std::vector<uint8_t>(data, data + size));
        Record record;
        fill(record, decoded.Root());
        const std::string json = JsonOf(record);
        rapidjson::Document document;
        document.Parse(json.c_str());
        Record back;
        back.FromJson(document);
        if (JsonOf(back) != json) {
            std::fprintf(stderr, "record does not read back: %s\n", json.c_str());
            std::abort();
        }
    } catch (const ca::Exception&) {
        // refused with a code: the expected outcome for most inputs
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
#if defined(SES_FUZZ_TARGET_crl)
    Run<CAsn1CRL, ca::CrlInfo>(data, size,
                               [](ca::CrlInfo& record, CAsn1CRL& root) { record.FromAsn1(root); });
#elif defined(SES_FUZZ_TARGET_cms)
    Run<CAsn1SignedPKCS7, ca::SignInfos>(
        data, size, [](ca::SignInfos& record, CAsn1SignedPKCS7& root) { record.FromAsn1(root); });
#else
    Run<CAsn1Certificate, ca::CertInfo2>(data, size, [](ca::CertInfo2& record, CAsn1Certificate& root) {
        record.FromAsn1(root, 1700000000);
        (void)root.tbsCertificate->subjectPublicKeyInfo->GetKeyLength();
        ca::CertInfo older;
        older.FillFromTbsCert(*root.tbsCertificate);
    });
#endif
    return 0;
}
