#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include "asn1/CryptAsn1Parser.h"
#include "base/Encode.h"
#include "base/ErrorCodes.h"
#include "base/Exception.h"
#include "tools/sestool/Asn1Input.h"
#include "tools/sestool/CommandSupport.h"
#include "tools/sestool/Commands.h"

namespace sestool {

const char kAsn1Help[] =
    "Usage: sestool asn1 [--path P] [--all] FILE\n"
    "\n"
    "Prints the ASN.1 structure of FILE as JSON, the dump the module gives of a certificate, CRL or\n"
    "signature: per block its \"tag\", an OID's \"description\", the \"formattedStringValue\" of a\n"
    "primitive value, \"tagString\", \"length\", \"offset\", \"isUnknownLength\", \"corrupted\" and\n"
    "\"innerBlocks\". Without options the first top-level block is printed (data after it is ignored).\n"
    "\n"
    "FILE is DER/BER, or PEM-armoured (CERTIFICATE, X509 CRL, PKCS7, CMS) or bare base64; \"-\" reads\n"
    "standard input. It is read with the module's own ASN.1 layer, linked into sestool: the module\n"
    "itself is not loaded.\n"
    "\n"
    "Options:\n"
    "  --path P     print the block at P: zero-based child indexes separated by \"/\", the first\n"
    "               choosing among the top-level blocks (in a certificate, 0/0/1 is the serial)\n"
    "  --all        print every top-level block, as a JSON array\n"
    "  -h, --help   show this help\n"
    "\n"
    "Exit status: 0 printed; 1 the data is not ASN.1 as far as it goes, or P names no block (the\n"
    "error code and its meaning go to standard error); 2 usage error or FILE unreadable.\n"
    "\n"
    "Examples:\n"
    "  sestool asn1 cert.pem\n"
    "  sestool asn1 --path 0/0/1 cert.der     # the serial number\n";

namespace {

constexpr const char* kCommand = "asn1";

std::string Dump(CAsn1Block& block) {
    rapidjson::StringBuffer buffer;
    block.ToJson(buffer);
    return std::string(buffer.GetString(), buffer.GetSize());
}

}  // namespace

int RunAsn1(const std::vector<std::string>& args) {
    SParsedArgs parsed;
    if (!ParseCommandLine(kCommand, args, {{"--path", nullptr, true}, {"--all", nullptr, false}},
                          {1, 1, "one FILE"}, parsed)) {
        return kExitUsage;
    }
    const bool all = parsed.Has("--all");
    const bool byPath = parsed.Has("--path");
    if (all && byPath) {
        PrintError(kCommand, "--path and --all exclude each other");
        return kExitUsage;
    }
    std::vector<uint8_t> bytes;
    if (!ReadAsn1File(kCommand, parsed.positional[0], bytes)) {
        return kExitUsage;
    }
    CCryptAsn1Parser parser;
    std::string json;
    try {
        parser.Parse(bytes.data(), bytes.size(), false, false, !all && !byPath);
        if (byPath) {
            const std::string path = parsed.Value("--path");
            CAsn1Block* block = nullptr;
            try {
                block = parser.GetBlockByPath(ca::u8u16(path));
            } catch (const std::invalid_argument&) {
                PrintError(kCommand, "--path '" + path + "' is not a list of child indexes such as 0/0/1");
                return kExitUsage;
            }
            if (block == nullptr) {
                PrintError(kCommand, "no block at path '" + path + "'");
                return kExitFailed;
            }
            json = Dump(*block);
        } else if (all) {
            json = "[";
            for (const auto& block : parser.innerBlocks) {
                json += (json.size() > 1 ? "," : "") + Dump(*block);
            }
            json += "]";
        } else {
            json = parser.GetAsn1Structure();
        }
    } catch (const ca::Exception& e) {
        PrintAsn1Error(kCommand, e.code);
        return kExitFailed;
    }
    std::fwrite(json.data(), 1, json.size(), stdout);
    std::fputc('\n', stdout);
    return kExitOk;
}

}  // namespace sestool
