#include "tools/sestool/Asn1Input.h"

#include <cstdio>

#include "base/Encode.h"
#include "base/ErrorCodes.h"
#include "base/Exception.h"
#include "tools/sestool/Files.h"
#include "tools/sestool/Output.h"

namespace sestool {

namespace {

struct SCodeText {
    uint32_t code;
    const char* text;
};

constexpr SCodeText kCodeTexts[] = {
    {ca::kAsn1EndOfData, "the data ends before an ASN.1 block does"},
    {ca::kAsn1CorruptData,
     "corrupt ASN.1 data: blocks overrun their parent or nest more than 64 levels deep"},
    {ca::kAsn1BadTag, "an ASN.1 block has a tag its type does not allow, or a required member is missing"},
};

}  // namespace

bool ReadAsn1File(const char* command, const std::string& path, std::vector<uint8_t>& der) {
    std::vector<uint8_t> file;
    std::string error;
    if (!ReadInputFile(path, file, error)) {
        PrintError(command, error);
        return false;
    }
    ca::MallocPtr decoded;
    uint32_t size = 0;
    try {
        if (ca::DecodeBase64IfNeeded(file.data(), static_cast<uint32_t>(file.size()),
                                     {ca::CERT_TOKEN, ca::CRL_TOKEN, ca::PKCS7_TOKEN, ca::CMS_SIGN_TOKEN},
                                     decoded, size)) {
            der.assign(decoded.get(), decoded.get() + size);
            return true;
        }
    } catch (const ca::Exception&) {
        // Armour around nothing decodable: the bytes are read as they are.
    }
    der = std::move(file);
    return true;
}

void PrintAsn1Error(const char* command, uint32_t code) {
    const char* text = "ASN.1 data cannot be read";
    for (const auto& row : kCodeTexts) {
        if (row.code == code) {
            text = row.text;
        }
    }
    char number[16];
    std::snprintf(number, sizeof(number), "0x%08X", static_cast<unsigned>(code));
    PrintError(command, std::string("error ") + number + ": " + text);
}

}  // namespace sestool
