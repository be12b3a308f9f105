#pragma once

// Reading the files of the ASN.1 commands (asn1, x509, crl, cms): DER/BER, PEM or bare base64, and
// the ASN.1 failure codes told in words.
#include <cstdint>
#include <string>
#include <vector>

namespace sestool {

// ReadAsn1File reads path ("-": standard input) and removes PEM armour (certificate, CRL, PKCS7 or
// CMS labels) or bare base64. False, with the problem printed, when the file cannot be read.
bool ReadAsn1File(const char* command, const std::string& path, std::vector<uint8_t>& der);

// PrintAsn1Error prints "error 0x...: meaning" for an ASN.1 failure code on standard error.
void PrintAsn1Error(const char* command, uint32_t code);

}  // namespace sestool
