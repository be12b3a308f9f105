// Certificates: the X.509 reader, CertInfo2::FromAsn1 and the key-length and identity accessors.
#include "fuzz/FuzzTarget.h"
#include "fuzz/X509Fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    x509fuzz::Run<CAsn1Certificate, ca::CertInfo2>(
        data, size, [](ca::CertInfo2& record, CAsn1Certificate& root) {
            record.FromAsn1(root, 1700000000);
            (void)root.tbsCertificate->subjectPublicKeyInfo->GetKeyLength();
            ca::CertInfo older;
            older.FillFromTbsCert(*root.tbsCertificate);
        });
    return 0;
}
