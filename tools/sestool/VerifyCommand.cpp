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
#include "tools/sestool/VerifyCheck.h"

namespace sestool {

const char kVerifyHelp[] =
    "Usage: sestool verify [--json] [--chunk-size N] FILE SIGNATURE\n"
    "       sestool verify [--chunk-size N] [--batch LIST] [FILE SIGNATURE]...\n"
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
    "Batch: with several FILE SIGNATURE pairs, or --batch LIST, every file is checked by one module\n"
    "and gets one line on standard output, in order: \"VALID FILE\", \"INVALID FILE\" or \"ERROR\n"
    "FILE: why it could not be checked\". LIST (\"-\": standard input) holds one \"FILE SIGNATURE\"\n"
    "pair per line, separated by blanks; a name with blanks or quotes is written in double quotes,\n"
    "with \\\" and \\\\ inside. Empty lines and lines starting with # are skipped; LIST may hold up\n"
    "to 16 MiB. The pairs on the command line come first. FILE \"-\" is not taken in a batch.\n"
    "\n"
    "Options:\n"
    "  --json          print the module's \"signInfo\" JSON instead of the text (one pair only)\n"
    "  --batch LIST    check the pairs listed in LIST\n"
    "  --chunk-size N  send chunks of N bytes (suffix K, M or G; 1 to 1G), and stream FILE\n"
    "                  whenever it is larger than one chunk\n"
    "  --module PATH   load PATH, not the module sestool finds (sestool --version)\n"
    "  -v, --verbose   print the module's log lines on standard error (and no progress line)\n"
    "  -h, --help      show this help\n"
    "\n"
    "Exit status: 0 valid; 1 invalid; 2 the signature could not be checked: usage error, an\n"
    "unreadable file, a module error (such as 16101 for an attached or malformed container) or\n"
    "the module could not be loaded. For a batch: 0 every file is valid; 1 some file is invalid\n"
    "and every other one valid; 2 some file could not be checked, LIST could not be read or had a\n"
    "bad line, a usage error, or the module could not be loaded.\n"
    "\n"
    "Examples:\n"
    "  sestool verify report.pdf report.pdf.sig.xml\n"
    "  sestool verify a.pdf a.pdf.sig.xml b.pdf b.pdf.sig.xml\n"
    "  ls *.pdf | sed 's/.*/\"&\" \"&.sig.xml\"/' | sestool verify --batch -\n";

namespace {

constexpr const char* kCommand = "verify";

const std::vector<SOptionSpec> kVerifyOptions =
    WithModuleOptions(WithChunkSizeOption({{"--json", nullptr, false}, {"--batch", nullptr, true}}));

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

// UnreadableReason says in plain words why the module could not read SIGNATURE (16101): it
// parses the container the same way to tell an attached one from a malformed one.
std::string UnreadableReason(const std::string& path, const std::vector<uint8_t>& signature) {
    bool attached = false;
    try {
        const std::unique_ptr<CSesContainer> container =
            CSesContainer::Parse(reinterpret_cast<const char*>(signature.data()), signature.size());
        attached = container->signature != nullptr && container->signature->IsAttached();
    } catch (const ca::Exception&) {
        attached = false;
    }
    if (attached) {
        return "'" + path +
               "' is an attached signature (the data is inside it): attached signatures cannot be verified. "
               "Sign without --attached to get one that can be checked.";
    }
    return "'" + path + "' is not a well-formed signature container (an \"SES\" XML document)";
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

std::string CVerifyProblems::Take() {
    std::string text;
    text.swap(_text);
    return text;
}

void CVerifyProblems::Tool(const std::string& text) {
    if (_print) {
        PrintError(kCommand, text);
    } else {
        _text += (_text.empty() ? "" : "; ") + text;
    }
}

void CVerifyProblems::Note(const std::string& text) {
    if (!_print) {
        Tool(text);
    }
}

void CVerifyProblems::Module(const SModuleReply& reply) {
    if (_print) {
        PrintModuleError(reply);
        return;
    }
    // Some codes (50, private-key access refused) have no text on purpose.
    const std::string text =
        reply.errorMessage.empty() ? "the module answered an error without text" : reply.errorMessage;
    Tool(text + " (code " + std::to_string(reply.errorCode) + ")");
}

const ca::JsonValue* FirstSignInfo(const SModuleReply& reply) {
    const ca::JsonValue* infos = Member(&reply.document, "signInfo");
    if (infos == nullptr || !infos->IsArray() || infos->Empty() || !(*infos)[0u].IsObject()) {
        return nullptr;
    }
    return &(*infos)[0u];
}

EVerdict CVerifier::Check(const std::string& file, const std::string& signaturePath,
                          CVerifyProblems& problems, SModuleReply& reply) {
    if (signaturePath == "-") {
        problems.Tool("SIGNATURE must be a file; only FILE can come from standard input");
        return EVerdict::kUnchecked;
    }
    CInputFile input;
    std::vector<uint8_t> signature;
    std::string error;
    if (!input.Open(file, error) || !ReadInputFile(signaturePath, signature, error)) {
        problems.Tool(error);
        return EVerdict::kUnchecked;
    }
    if (signature.empty()) {
        problems.Tool("'" + signaturePath + "' is empty; it holds no signature");
        return EVerdict::kUnchecked;
    }
    if (!_opened) {
        _opened = _session.Open(_parsed);
        _moduleFailed = !_opened;
        if (!_opened) {
            return EVerdict::kUnchecked;
        }
    }
    CRequestJson request(ca::kModeGetSignInfo);
    if (!request.Bytes("sendSignData", signature)) {
        problems.Tool("'" + signaturePath + "' is too large to send (3 GiB and more)");
        return EVerdict::kUnchecked;
    }
    if (!_session.CallWithData(request, input, reply)) {
        problems.Note("no answer from the module (see above)");
        return EVerdict::kUnchecked;
    }
    if (reply.errorCode != 0) {
        problems.Module(reply);
        if (reply.errorCode == ca::kFileOperationError) {
            problems.Tool(UnreadableReason(signaturePath, signature));
        }
        return EVerdict::kUnchecked;
    }
    const ca::JsonValue* info = FirstSignInfo(reply);
    if (info == nullptr) {
        problems.Tool("'" + signaturePath + "' holds no signature (no \"EDS\" element)");
        return EVerdict::kUnchecked;
    }
    const ca::JsonValue* result = Member(Member(info, "VerifyResultEx"), "SignatureVerifyResult");
    const uint32_t code =
        result != nullptr && result->IsUint() ? result->GetUint() : ca::kSignatureNotVerified;
    if (code == ca::kOk) {
        return EVerdict::kValid;
    }
    return code == ca::kSignatureInvalid ? EVerdict::kInvalid : EVerdict::kNotChecked;
}

std::string NotCheckedReason(const ca::JsonValue& info) {
    const ca::JsonValue* result = Member(&info, "VerifyResultEx");
    const ca::JsonValue* code = Member(result, "SignatureVerifyResult");
    const std::string why = TextMember(result, "SignatureVerifyResultString");
    return "the signature was not checked: " + Printable(why) + " (code " +
           std::to_string(code != nullptr && code->IsUint() ? code->GetUint() : ca::kSignatureNotVerified) +
           ")";
}

int RunVerify(const std::vector<std::string>& args) {
    SParsedArgs parsed;
    if (!ParseCommandLine(kCommand, args, kVerifyOptions, {0, SIZE_MAX, "FILE and SIGNATURE"}, parsed)) {
        return kExitUsage;
    }
    if (parsed.Has("--batch") || parsed.positional.size() > 2) {
        return RunVerifyBatch(parsed);
    }
    if (parsed.positional.size() != 2) {
        PrintError(kCommand,
                   "expected FILE and SIGNATURE (or several such pairs, or --batch LIST); see \"sestool "
                   "verify --help\"");
        return kExitUsage;
    }
    CVerifier verifier(parsed);
    if (!verifier.Prepare()) {
        return kExitUsage;
    }
    CVerifyProblems problems(true);
    SModuleReply reply;
    const EVerdict verdict = verifier.Check(parsed.positional[0], parsed.positional[1], problems, reply);
    if (verdict == EVerdict::kUnchecked) {
        return kExitUsage;
    }
    const ca::JsonValue* info = FirstSignInfo(reply);
    if (parsed.Has("--json")) {
        WriteJson(*Member(&reply.document, "signInfo"));
    } else {
        PrintSignInfo(*info);
        if (verdict == EVerdict::kValid) {
            std::printf("VALID: the data matches the signature's CRC-64\n");
        } else if (verdict == EVerdict::kInvalid) {
            std::printf("INVALID: the data does not match the signature's CRC-64\n");
        }
    }
    if (verdict == EVerdict::kNotChecked) {
        problems.Tool(NotCheckedReason(*info));
        return kExitUsage;
    }
    return verdict == EVerdict::kValid ? kExitOk : kExitFailed;
}

}  // namespace sestool
