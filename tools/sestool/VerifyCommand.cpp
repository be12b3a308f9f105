#include <cstdio>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "base/ErrorCodes.h"
#include "base/Exception.h"
#include "ses/SesContainer.h"
#include "tools/sestool/CommandSupport.h"
#include "tools/sestool/Commands.h"

namespace sestool {

const char kVerifyHelp[] =
    "Usage: sestool verify [--json] [--chunk-size N] FILE SIGNATURE\n"
    "\n"
    "Checks that FILE is the data that SIGNATURE (a detached container written by \"sestool sign\")\n"
    "signed: asks the module for the signature's information (GetSignInfo, mode 29) with the\n"
    "container in \"sendSignData\" and FILE as raw bytes. Prints who signed (certificate and name),\n"
    "when (UTC), the comment and URI when there are any, and one of\n"
    "  VALID: the data matches the signature's CRC-64\n"
    "  INVALID: the data does not match the signature's CRC-64\n"
    "FILE \"-\" reads the data from standard input.\n"
    "\n"
    "The CRC-64 catches accidental changes to the data, not deliberate ones: changing 8 chosen\n"
    "bytes gives any CRC-64 wanted. The signer's name, the time and the comment are not protected\n"
    "at all; they say only what the container claims. Control characters in these texts are\n"
    "printed escaped (\\n, \\u{1b}), so a text cannot forge a line of its own.\n"
    "\n"
    "A FILE larger than 32 MiB is sent in chunks of 8 MiB (StreamGetSignInfo, mode 55), read one\n"
    "chunk at a time, with the container on the final chunk; the answer is the same as in one\n"
    "call. A progress line is drawn on standard error when it is a terminal. The module assembles\n"
    "the chunks in one block, so FILE must be smaller than 4 GiB.\n"
    "\n"
    "Attached containers (sign --attached) cannot be verified; the module refuses them (16101).\n"
    "\n"
    "Options:\n"
    "  --json          print the module's \"signInfo\" JSON instead of the text\n"
    "  --chunk-size N  send chunks of N bytes (suffix K, M or G; 1 to 1G), and stream FILE\n"
    "                  whenever it is larger than one chunk\n"
    "  --module PATH   load PATH, not the module sestool finds (sestool --version)\n"
    "  -v, --verbose   print the module's log lines on standard error (and no progress line)\n"
    "  -h, --help      show this help\n"
    "\n"
    "Exit status: 0 valid; 1 invalid; 2 the signature could not be checked: usage error, an\n"
    "unreadable file, a module error (such as 16101 for an attached or malformed container) or\n"
    "the module could not be loaded.\n"
    "\n"
    "Example:\n"
    "  sestool verify report.pdf report.pdf.sig.xml\n";

namespace {

constexpr const char* kCommand = "verify";

const std::vector<SOptionSpec> kVerifyOptions =
    WithModuleOptions(WithChunkSizeOption({{"--json", nullptr, false}}));

// The abbreviations of a certificate "Description" ("SN=Ivanov, G=Ivan, O=..."), in its order.
constexpr const char* kDescriptionParts[] = {"SN", "G", "T", "O", "OU", "E", "C", "L", "S", "P"};

// StartsPart tells whether text at offset at reads "ABBREVIATION=".
bool StartsPart(const std::string& text, size_t at) {
    for (const char* part : kDescriptionParts) {
        const std::string prefix = std::string(part) + "=";
        if (text.compare(at, prefix.size(), prefix) == 0) {
            return true;
        }
    }
    return false;
}

// DescriptionPart returns the value of abbreviation in a Description. Values may hold ", "
// themselves, so a value ends only where ", " is followed by another "ABBREVIATION=".
std::string DescriptionPart(const std::string& text, const std::string& abbreviation) {
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find(", ", start);
        while (end != std::string::npos && !StartsPart(text, end + 2)) {
            end = text.find(", ", end + 2);
        }
        const std::string part =
            text.substr(start, end == std::string::npos ? std::string::npos : end - start);
        if (part.compare(0, abbreviation.size() + 1, abbreviation + "=") == 0) {
            return part.substr(abbreviation.size() + 1);
        }
        if (end == std::string::npos) {
            break;
        }
        start = end + 2;
    }
    return std::string();
}

std::string SignerName(const ca::JsonValue* signCert) {
    const std::string description = TextMember(signCert, "Description");
    const std::string surname = DescriptionPart(description, "SN");
    const std::string givenName = DescriptionPart(description, "G");
    return surname.empty() || givenName.empty() ? surname + givenName : surname + " " + givenName;
}

// ExplainUnreadable says in plain words why the module could not read SIGNATURE (16101): it
// parses the container the same way to tell an attached one from a malformed one.
void ExplainUnreadable(const std::string& path, const std::vector<uint8_t>& signature) {
    bool attached = false;
    try {
        const std::unique_ptr<CSesContainer> container =
            CSesContainer::Parse(reinterpret_cast<const char*>(signature.data()), signature.size());
        attached = container->signature != nullptr && container->signature->IsAttached();
    } catch (const ca::Exception&) {
        attached = false;
    }
    if (attached) {
        PrintError(kCommand,
                   "'" + path +
                       "' is an attached signature (the data is inside it): attached signatures cannot "
                       "be verified. Sign without --attached to get one that can be checked.");
    } else {
        PrintError(kCommand,
                   "'" + path + "' is not a well-formed signature container (an \"SES\" XML document)");
    }
}

// PrintSignInfo prints the container's own texts through Printable: whoever made the container
// chose them, line breaks and terminal escapes included.
void PrintSignInfo(const ca::JsonValue& info) {
    const ca::JsonValue* signCert = Member(&info, "SignCert");
    const std::string certId = Printable(TextMember(signCert, "Id"));
    const std::string name = Printable(SignerName(signCert));
    if (certId.empty()) {
        std::printf("Signed by: unknown (the container carries no certificate)\n");
    } else if (name.empty()) {
        std::printf("Signed by: certificate %s\n", certId.c_str());
    } else {
        std::printf("Signed by: %s (certificate %s)\n", name.c_str(), certId.c_str());
    }
    std::printf("Signed at: %s UTC\n", Printable(TextMember(&info, "SignTimeUTC")).c_str());
    struct SOptionalText {
        const char* label;
        const char* key;
    };
    constexpr SOptionalText kOptional[] = {{"Comment:  ", "Comment"}, {"URI:      ", "Uri"}};
    for (const auto& row : kOptional) {
        const std::string text = TextMember(&info, row.key);
        if (!text.empty()) {
            std::printf("%s %s\n", row.label, Printable(text).c_str());
        }
    }
}

}  // namespace

int RunVerify(const std::vector<std::string>& args) {
    SParsedArgs parsed;
    if (!ParseCommandLine(kCommand, args, kVerifyOptions, {2, 2, "FILE and SIGNATURE"}, parsed)) {
        return kExitUsage;
    }
    const std::string& file = parsed.positional[0];
    const std::string& signaturePath = parsed.positional[1];
    if (signaturePath == "-") {
        PrintError(kCommand, "SIGNATURE must be a file; only FILE can come from standard input");
        return kExitUsage;
    }
    CModuleSession session(kCommand);
    if (!session.ReadChunkSize(parsed)) {
        return kExitUsage;
    }
    CInputFile input;
    std::vector<uint8_t> signature;
    std::string error;
    if (!input.Open(file, error) || !ReadInputFile(signaturePath, signature, error)) {
        PrintError(kCommand, error);
        return kExitUsage;
    }
    if (signature.empty()) {
        PrintError(kCommand, "'" + signaturePath + "' is empty; it holds no signature");
        return kExitUsage;
    }
    if (!session.Open(parsed)) {
        return kExitUsage;
    }
    CRequestJson request(ca::kModeGetSignInfo);
    if (!request.Bytes("sendSignData", signature)) {
        PrintError(kCommand, "'" + signaturePath + "' is too large to send (3 GiB and more)");
        return kExitUsage;
    }
    SModuleReply reply;
    if (!session.CallWithData(request, input, reply)) {
        return kExitUsage;
    }
    if (reply.errorCode != 0) {
        PrintModuleError(reply);
        if (reply.errorCode == ca::kFileOperationError) {
            ExplainUnreadable(signaturePath, signature);
        }
        return kExitUsage;
    }
    const ca::JsonValue* infos = Member(&reply.document, "signInfo");
    if (infos == nullptr || !infos->IsArray() || infos->Empty() || !(*infos)[0u].IsObject()) {
        PrintError(kCommand, "'" + signaturePath + "' holds no signature (no \"EDS\" element)");
        return kExitUsage;
    }
    const ca::JsonValue& info = (*infos)[0u];
    const ca::JsonValue* result = Member(Member(&info, "VerifyResultEx"), "SignatureVerifyResult");
    const uint32_t code =
        result != nullptr && result->IsUint() ? result->GetUint() : ca::kSignatureNotVerified;

    if (parsed.Has("--json")) {
        WriteJson(*infos);
    } else {
        PrintSignInfo(info);
        if (code == ca::kOk) {
            std::printf("VALID: the data matches the signature's CRC-64\n");
        } else if (code == ca::kSignatureInvalid) {
            std::printf("INVALID: the data does not match the signature's CRC-64\n");
        }
    }
    if (code == ca::kOk) {
        return kExitOk;
    }
    if (code == ca::kSignatureInvalid) {
        return kExitFailed;
    }
    const std::string why = TextMember(Member(&info, "VerifyResultEx"), "SignatureVerifyResultString");
    PrintError(kCommand,
               "the signature was not checked: " + Printable(why) + " (code " + std::to_string(code) + ")");
    return kExitUsage;
}

}  // namespace sestool
