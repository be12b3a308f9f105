// CMS signed data: the CMS reader with its attribute values (nested signer infos and time-stamp
// tokens) and SignInfos::FromAsn1.
#include "fuzz/FuzzTarget.h"
#include "fuzz/X509Fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    x509fuzz::Run<CAsn1SignedPKCS7, ca::SignInfos>(
        data, size, [](ca::SignInfos& record, CAsn1SignedPKCS7& root) { record.FromAsn1(root); });
    return 0;
}
