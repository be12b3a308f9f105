#pragma once

// Records filled from parsed X.509 and CMS objects, and CDecoded, which tools, tests and fuzzers use to
// go from bytes to an object tree.
//
// Where each record field comes from:
//   Id                    CAsn1Certificate::GetCertId(0): serial hex, then the issuer ("CN=X,O=Y")
//   Serial                lower-case hex of the serial's content bytes, a leading 00 kept
//   Version               "V1", "V2", "V3"
//   SignatureAlg          the certificate's signature algorithm OID, dotted
//   HashAlg               GetHashAlgOidFromSignAlg() ("" outside its table)
//   PublicKeyAlg          the subject public key's algorithm OID, dotted
//   PublicKey             hex of the key bits (the BIT STRING without its unused-bit count)
//   PublicKeyParams       hex of the algorithm parameters' whole encoding ("" when absent)
//   PublicKeyHashAlgs     GetHashAlgOidFromPubKeyAlg()
//   Issuer, Description   the name's display form (kNameDisplay: "CN=A, O=B")
//   OIDIssuer, OIDDescription   the same keyed by dotted OIDs (kNameOidDisplay)
//   X500NameIssuer, X500Description   the RFC 4514-like line (kNameX500: last name first, quoted)
//   IssuerTags, SubjectTags   "KEY=value" lines in certificate order (kNameLines)
//   ValidFromUTC, ValidToUTC   "%d.%m.%Y %T" in UTC; ValidFrom, ValidTo the same in local time
//   Validity, ValidityNumber   "VALID" 0, "EXPIRED" 1, "NOT_YET_VALID" 2 at the given time
//   KeyUsage, KeyUsageStr      the key-usage extension's decoded flags and their text (0, "" without)
//   Extensions            per extension: OID description, dotted OID, base64 of the value's content,
//                         the value class's display string (hex when unknown), critical
//   RawData               base64 of the whole encoding, no line breaks
//   HasPrivateKey false, Error "".
// A UTCTime year from 2050 on is read as 19xx in the record times (the RFC 5280 window).
#include <cstdint>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "asn1/Cms.h"
#include "asn1/X509.h"
#include "ca/CertInfo2.h"
#include "ca/CrlInfo.h"
#include "ca/SignInfo.h"

namespace ca {

// TimeText formats a moment as "%d.%m.%Y %T", in UTC or local time.
std::wstring TimeText(time_t moment, bool utc);

// FillExtensions appends one record entry per extension.
void FillExtensions(const CAsn1CertificateExtensionCollection* extensions, CertInfoExtensionCollection& out);

// CDecoded keeps a private copy of DER/BER bytes, their block tree and the object decoded over the
// first block, which point into each other. Construction throws ca::Exception with the parser's or
// the decoder's code; bytes after the first block are ignored.
template <class T>
class CDecoded {
public:
    explicit CDecoded(std::vector<uint8_t> bytes) : _bytes(std::move(bytes)) {
        _parser.Parse(_bytes.data(), _bytes.size(), false, true, true);
        _root = std::make_unique<T>(_parser.GetInnerBlock(0));
        _root->Decode();
    }
    T& Root() { return *_root; }
    CCryptAsn1Parser& Parser() { return _parser; }

private:
    std::vector<uint8_t> _bytes;
    CCryptAsn1Parser _parser;
    std::unique_ptr<T> _root;
};

}  // namespace ca
