#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "base/Encode.h"
#include "base/Exception.h"
#include "base/FileUtil.h"
#include "ses/SesContainer.h"
#include "tools/sestool/CommandSupport.h"
#include "tools/sestool/Commands.h"

namespace sestool {

const char kCertHelp[] =
    "Usage: sestool cert new --surname S --given-name G [--id ID] [OPTIONS] [--force]\n"
    "\n"
    "Creates a signer certificate: writes ID.ses into the certificate folder\n"
    "$HOME/.config/VALKO/SesCertificates/ (created with its parents, new folders mode 0700),\n"
    "from which the module loads its certificates when it starts. The file is an \"SES\" document\n"
    "holding only the \"Certificate\" element, printed exactly as the module prints it.\n"
    "\n"
    "Options:\n"
    "  --id ID              the certificate's identifier, also the file name (ID.ses). Without it a\n"
    "                       random UUID without braces is used, such as\n"
    "                       3f0c1d2e-8a4b-4c6d-9e0f-112233445566. \"/\", \".\", \"..\" and an empty ID\n"
    "                       are refused.\n"
    "  --surname S          the signer's surname (required)\n"
    "  --given-name G       the signer's given name(s) (required)\n"
    "  --organization O     organisation\n"
    "  --title T            position or title\n"
    "  --unit U             department (OrganizationUnit)\n"
    "  --email E            e-mail address\n"
    "  --phone P            telephone number\n"
    "  --country C          country\n"
    "  --locality L         town\n"
    "  --address A          postal address\n"
    "  --force              replace an existing ID.ses (without it sestool refuses); the new file\n"
    "                       takes the old one's place in one step, once it is complete\n"
    "  -h, --help           show this help\n"
    "\n"
    "Prints the identifier and the file's path. Exit status: 0 written; 2 usage error, the file\n"
    "exists (without --force) or cannot be written.\n"
    "\n"
    "Example:\n"
    "  sestool cert new --id ivanov --surname Ivanov --given-name Ivan --email ivan@example.org\n";

namespace {

constexpr const char* kCommand = "cert";

// SFieldOption maps a command-line option to the record field it fills.
struct SFieldOption {
    const char* option;
    std::wstring CSesCert::*field;
};

const SFieldOption kFieldOptions[] = {
    {"--surname", &CSesCert::Surname},           {"--given-name", &CSesCert::GivenName},
    {"--organization", &CSesCert::Organization}, {"--title", &CSesCert::Title},
    {"--unit", &CSesCert::OrganizationUnit},     {"--email", &CSesCert::Email},
    {"--phone", &CSesCert::Telephone},           {"--country", &CSesCert::Country},
    {"--locality", &CSesCert::Locality},         {"--address", &CSesCert::Address},
};

const char* const kRequiredOptions[] = {"--surname", "--given-name"};

std::vector<SOptionSpec> CertOptions() {
    std::vector<SOptionSpec> accepted = {{"--id", nullptr, true}, {"--force", nullptr, false}};
    for (const auto& row : kFieldOptions) {
        accepted.push_back({row.option, nullptr, true});
    }
    return accepted;
}

// IsSafeId tells whether "ID.ses" names a file inside the certificate folder.
bool IsSafeId(const std::string& id) {
    return !id.empty() && id != "." && id != ".." && id.find('/') == std::string::npos;
}

// NewId is a random UUID without its braces: braces in file names only make them harder to type.
std::string NewId() {
    const std::string uuid = ca::UuidGenerate();
    return uuid.size() > 2 ? uuid.substr(1, uuid.size() - 2) : uuid;
}

}  // namespace

int RunCert(const std::vector<std::string>& args) {
    SParsedArgs parsed;
    if (!ParseCommandLine(kCommand, args, CertOptions(), {1, 1, "\"new\" and the certificate's options"},
                          parsed)) {
        return kExitUsage;
    }
    if (parsed.positional[0] != "new") {
        PrintError(kCommand, "unknown action '" + parsed.positional[0] + "'; the only one is \"new\"");
        return kExitUsage;
    }
    for (const char* option : kRequiredOptions) {
        if (parsed.Value(option).empty()) {
            PrintError(kCommand, std::string(option) + " is required; see \"sestool cert --help\"");
            return kExitUsage;
        }
    }
    std::string id;
    try {
        id = parsed.Has("--id") ? parsed.Value("--id") : NewId();
    } catch (const ca::Exception& e) {
        PrintError(kCommand, "cannot draw a random identifier (code " + std::to_string(e.code) + ")");
        return kExitUsage;
    }
    if (!IsSafeId(id)) {
        PrintError(kCommand, "the identifier '" + id +
                                 "' cannot name a file in the certificate folder: it must not be empty, "
                                 "\".\" or \"..\", nor contain \"/\"");
        return kExitUsage;
    }

    CSesContainer document;
    document.certificate = std::make_unique<CSesCert>();
    document.certificate->ID = ca::u8u16(id);
    for (const auto& row : kFieldOptions) {
        (*document.certificate).*row.field = ca::u8u16(parsed.Value(row.option));
    }
    const std::string text = document.Print();

    const std::string folder = CertificateFolder();
    const std::string path = folder + id + ".ses";
    std::string error;
    bool exists = false;
    if (!MakeFolders(folder, 0700, error) ||
        !ca::WriteFileAtomic(path, text.data(), text.size(), 0600, parsed.Has("--force"), error, &exists)) {
        PrintError(kCommand, exists ? "'" + path + "' already exists; use --force to replace it" : error);
        return kExitUsage;
    }
    std::printf("id:   %s\nfile: %s\n", id.c_str(), path.c_str());
    return kExitOk;
}

}  // namespace sestool
