// Certificate revocation lists: the CRL reader and CrlInfo::FromAsn1.
#include "fuzz/FuzzTarget.h"
#include "fuzz/X509Fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    x509fuzz::Run<CAsn1CRL, ca::CrlInfo>(data, size,
                                         [](ca::CrlInfo& record, CAsn1CRL& root) { record.FromAsn1(root); });
    return 0;
}
