#include <algorithm>
#include <cstdio>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "base/Encode.h"
#include "base/Exception.h"
#include "ses/CCertificateCollection.h"
#include "ses/SesContainer.h"
#include "tools/sestool/CommandSupport.h"
#include "tools/sestool/Commands.h"

namespace sestool {

const char kCertsHelp[] =
    "Usage: sestool certs [--json] [--module PATH] [-v]\n"
    "\n"
    "Lists the certificates the module loaded from $HOME/.config/VALKO/SesCertificates/: asks for\n"
    "the identifiers (EnumCerts, mode 38), then for each certificate's record (GetCertInfo2,\n"
    "mode 34), and prints a table of identifier, name (surname and given name), organisation and\n"
    "e-mail. Control characters in these texts are printed escaped (\\n, \\u{1b}).\n"
    "\n"
    "Each file of the folder that the module leaves out is named on standard error with the\n"
    "reason, such as \"sestool certs: skipped 'x.ses': not a certificate record (no well-formed\n"
    "\"SES\" document)\".\n"
    "\n"
    "Options:\n"
    "  --json          print a JSON array of the records instead, one object per certificate with\n"
    "                  \"ID\", \"Surname\", \"GivenName\", \"Organization\", \"Title\",\n"
    "                  \"OrganizationUnit\", \"Email\", \"Telephone\", \"Country\", \"Locality\",\n"
    "                  \"Address\"\n"
    "  --module PATH   load PATH, not the module sestool finds (sestool --version)\n"
    "  -v, --verbose   print the module's log lines on standard error\n"
    "  -h, --help      show this help\n"
    "\n"
    "Exit status: 0 listed (also when there are none); 1 the module answered an error; 2 usage\n"
    "error or the module could not be loaded.\n";

namespace {

constexpr const char* kCommand = "certs";

// FetchRecord asks the module for one certificate and reads the record back from the certificate's
// own "SES" document ("RawData"). Returns the module's exit code on failure.
int FetchRecord(CModuleSession& session, const std::string& id, std::unique_ptr<CSesCert>& record) {
    CRequestJson request(ca::kModeGetCertInfo2);
    request.Text("senderCertId", id);
    SModuleReply reply;
    if (!session.Call(request, reply)) {
        return kExitUsage;
    }
    if (reply.errorCode != 0) {
        PrintModuleError(reply);
        return kExitFailed;
    }
    const std::string rawData = TextMember(Member(&reply.document, "certInfo"), "RawData");
    try {
        ca::MallocPtr xml;
        uint32_t size = 0;
        ca::Base64Decode(rawData.c_str(), xml, size);
        std::unique_ptr<CSesContainer> container =
            CSesContainer::Parse(reinterpret_cast<const char*>(xml.get()), size);
        record = std::move(container->certificate);
    } catch (const ca::Exception&) {
        record.reset();
    }
    if (record == nullptr) {
        PrintError(kCommand, "the module's \"RawData\" of certificate '" + Printable(id) +
                                 "' holds no certificate record");
        return kExitUsage;
    }
    return kExitOk;
}

// Characters counts the code points of well-formed UTF-8, which Printable always gives.
size_t Characters(const std::string& utf8) {
    return static_cast<size_t>(std::count_if(
        utf8.begin(), utf8.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

void PrintTable(const std::vector<std::unique_ptr<CSesCert>>& records) {
    struct SColumn {
        const char* title;
        std::wstring (*cell)(const CSesCert&);
    };
    const SColumn columns[] = {
        {"ID", [](const CSesCert& c) { return c.ID; }},
        {"NAME",
         [](const CSesCert& c) {
             return c.Surname.empty() || c.GivenName.empty() ? c.Surname + c.GivenName
                                                             : c.Surname + L" " + c.GivenName;
         }},
        {"ORGANIZATION", [](const CSesCert& c) { return c.Organization; }},
        {"E-MAIL", [](const CSesCert& c) { return c.Email; }},
    };
    // The fields are the certificate files' own texts: escaped, so none can break the table.
    // Widths count characters, not bytes, so Cyrillic names line up too.
    std::vector<std::vector<std::string>> rows(1);
    for (const auto& column : columns) {
        rows[0].push_back(column.title);
    }
    for (const auto& record : records) {
        rows.emplace_back();
        for (const auto& column : columns) {
            rows.back().push_back(Printable(ca::u16u8(column.cell(*record))));
        }
    }
    std::vector<size_t> widths(std::size(columns), 0);
    for (const auto& row : rows) {
        for (size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], Characters(row[i]));
        }
    }
    for (const auto& row : rows) {
        std::string line;
        for (size_t i = 0; i < row.size(); ++i) {
            line += row[i];
            if (i + 1 < row.size()) {
                line.append(widths[i] - Characters(row[i]) + 2, ' ');
            }
        }
        line.erase(line.find_last_not_of(' ') + 1);
        std::printf("%s\n", line.c_str());
    }
}

// ReportSkippedFiles names on standard error each file of the certificate folder that the module's
// own loader leaves out, and why: the module itself is silent about them.
void ReportSkippedFiles() {
    CCertificateCollection scratch;
    LoadCertificateFolder(CertificateFolder(), scratch,
                          [](const std::string& name, const std::string& reason) {
                              PrintError(kCommand, "skipped '" + Printable(name) + "': " + Printable(reason));
                          });
}

void PrintJson(const std::vector<std::unique_ptr<CSesCert>>& records) {
    rapidjson::StringBuffer buffer;
    ca::JsonWriter writer(buffer);
    writer.StartArray();
    for (const auto& record : records) {
        record->ToJson(writer);
    }
    writer.EndArray();
    std::printf("%s\n", buffer.GetString());
}

}  // namespace

int RunCerts(const std::vector<std::string>& args) {
    SParsedArgs parsed;
    if (!ParseCommandLine(kCommand, args, WithModuleOptions({{"--json", nullptr, false}}),
                          {0, 0, "no arguments"}, parsed)) {
        return kExitUsage;
    }
    CModuleSession session(kCommand);
    if (!session.Open(parsed)) {
        return kExitUsage;
    }
    CRequestJson request(ca::kModeEnumCerts);
    SModuleReply reply;
    if (!session.Call(request, reply)) {
        return kExitUsage;
    }
    if (reply.errorCode != 0) {
        PrintModuleError(reply);
        return kExitFailed;
    }
    std::vector<std::string> ids;
    if (const ca::JsonValue* list = Member(&reply.document, "certificates");
        list != nullptr && list->IsArray()) {
        for (const auto& id : list->GetArray()) {
            if (id.IsString()) {
                ids.emplace_back(id.GetString(), id.GetStringLength());
            }
        }
    }
    ReportSkippedFiles();
    std::vector<std::unique_ptr<CSesCert>> records;
    for (const auto& id : ids) {
        records.emplace_back();
        if (const int status = FetchRecord(session, id, records.back()); status != kExitOk) {
            return status;
        }
    }
    if (parsed.Has("--json")) {
        PrintJson(records);
    } else if (records.empty()) {
        std::printf("No certificates in %s; create one with \"sestool cert new\".\n",
                    CertificateFolder().c_str());
    } else {
        PrintTable(records);
    }
    return kExitOk;
}

}  // namespace sestool
