#include "ses/CCertificateCollection.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <iterator>
#include <string>

#include "base/Encode.h"
#include "base/FileUtil.h"
#include "base/Log.h"
#include "base/SpecialFolder.h"
#include "ses/SesContainer.h"
#include "ses/Utils.h"

namespace {

constexpr size_t kMaxCertificateFile = size_t{1} << 20;  // a record is a few hundred bytes

// SDnPart is one attribute of the distinguished-name texts built from a record:
//   SN Surname (2.5.4.4)        G GivenName (2.5.4.42)          T Title (2.5.4.12)
//   O Organization (2.5.4.10)   OU OrganizationUnit (2.5.4.11)  E Email (1.2.840.113549.1.9.1)
//   C Country (2.5.4.6)         L Locality (2.5.4.7)            S Address, street (2.5.4.9)
//   P Telephone (2.5.4.20)
struct SDnPart {
    const wchar_t* abbreviation;
    const wchar_t* oid;
    std::wstring CSesCert::*field;
};

const SDnPart kDnParts[] = {
    {L"SN", L"2.5.4.4", &CSesCert::Surname},
    {L"G", L"2.5.4.42", &CSesCert::GivenName},
    {L"T", L"2.5.4.12", &CSesCert::Title},
    {L"O", L"2.5.4.10", &CSesCert::Organization},
    {L"OU", L"2.5.4.11", &CSesCert::OrganizationUnit},
    {L"E", L"1.2.840.113549.1.9.1", &CSesCert::Email},
    {L"C", L"2.5.4.6", &CSesCert::Country},
    {L"L", L"2.5.4.7", &CSesCert::Locality},
    {L"S", L"2.5.4.9", &CSesCert::Address},
    {L"P", L"2.5.4.20", &CSesCert::Telephone},
};

// DnText joins "name=value" pairs with ", ". withEmpty writes every attribute, an empty one as
// "null"; otherwise empty attributes are left out.
std::wstring DnText(const CSesCert& record, bool useOid, bool withEmpty) {
    std::wstring text;
    for (const SDnPart& part : kDnParts) {
        std::wstring value = record.*part.field;
        CSesCert::CheckString(value);
        if (value.empty() && !withEmpty) {
            continue;
        }
        if (!text.empty()) {
            text += L", ";
        }
        text +=
            std::wstring(useOid ? part.oid : part.abbreviation) + L"=" + (value.empty() ? L"null" : value);
    }
    return text;
}

}  // namespace

// How a record fills the general certificate description:
//   Id               ID                          Version / Validity   "V3" / "VALID" (ValidityNumber 0)
//   Description      SN=..., G=..., ... (non-empty attributes)       SubjectTags  the same text
//   X500Description  all ten attributes, empty ones "null"           OIDDescription  the same by OID
//   Issuer, OIDIssuer, X500NameIssuer, IssuerTags   "null" (a record has no issuer)
//   SignatureAlg / HashAlg "CRC64", PublicKeyAlg "SES_v1.0", HasPrivateKey true (it signs)
//   ValidFrom/ValidTo local time and ValidFromUTC/ValidToUTC UTC, all the moment of loading
//   RawData          base64 of the record's own "SES" document
SesCertInfo2::SesCertInfo2(const CSesCert& record) : cert(record) {
    id = record.ID;
    validity = L"VALID";
    version = L"V3";
    signatureAlg = L"CRC64";
    hashAlg = L"CRC64";
    publicKeyAlg = L"SES_v1.0";
    hasPrivateKey = true;
    issuer = oidIssuer = x500NameIssuer = issuerTags = L"null";
    description = subjectTags = DnText(record, false, false);
    x500Description = DnText(record, false, true);
    oidDescription = DnText(record, true, true);
    const time_t now = time(nullptr);
    validFrom = validTo = FormatDateTime(now, false);
    validFromUTC = validToUTC = FormatDateTime(now, true);
    CSesContainer document;
    document.certificate = std::make_unique<CSesCert>(record);
    const std::string xml = document.Print();
    rawData = ca::u8u16(
        ca::Base64Encode(reinterpret_cast<const uint8_t*>(xml.data()), static_cast<uint32_t>(xml.size())));
}

SesCertInfo2::~SesCertInfo2() = default;

CCertificateCollection::AddResult CCertificateCollection::Add(std::unique_ptr<SesCertInfo2> info,
                                                              bool fromClient) {
    const std::wstring id = info->cert.ID;
    {
        std::lock_guard<std::mutex> guard(lock);
        if (fromClient && added >= kMaxAdded) {
            return AddResult::kFull;
        }
        if (!certificates.emplace(id, std::move(info)).second) {
            return AddResult::kKnown;
        }
        added += fromClient ? 1 : 0;
    }
    LogEvent((L"Идентификатор добавленного сертификата = \"" + id + L"\"").c_str(), false);
    return AddResult::kAdded;
}

const SesCertInfo2* CCertificateCollection::GetCert(const std::wstring& id) const {
    std::lock_guard<std::mutex> guard(lock);
    const auto it = certificates.find(id);
    return it == certificates.end() ? nullptr : it->second.get();
}

std::vector<std::wstring> CCertificateCollection::Ids() const {
    std::lock_guard<std::mutex> guard(lock);
    std::vector<std::wstring> ids;
    ids.reserve(certificates.size());
    for (const auto& entry : certificates) {
        ids.push_back(entry.first);
    }
    return ids;
}

std::string CertificateFolder() {
    return ca::GetSpecialFolder(ca::ConfigType::kUser) + "/VALKO/SesCertificates/";
}

void LoadCertificateFolder(const std::string& folder, CCertificateCollection& collection,
                           const CertificateSkipReport& report) {
    const auto skip = [&report](const std::string& name, const std::string& reason) {
        if (report) {
            report(name, reason);
        }
    };
    DIR* dir = opendir(folder.c_str());
    if (dir == nullptr) {
        return;
    }
    std::vector<std::string> names;
    while (const dirent* entry = readdir(dir)) {
        const std::string name = entry->d_name;
        if (name == "." || name == "..") {
            continue;
        }
        if (name.find(".ses") == std::string::npos) {
            skip(name, "the name does not contain \".ses\"");
        } else if (names.size() == kMaxCertificateFiles) {
            skip(name,
                 "more than " + std::to_string(kMaxCertificateFiles) + " certificate files in the folder");
        } else {
            names.push_back(name);
        }
    }
    closedir(dir);
    for (const std::string& name : names) {
        std::string content;
        if (const char* problem = ca::ReadWholeFile(folder + name, content, kMaxCertificateFile);
            problem != nullptr) {
            skip(name, problem);
            continue;
        }
        try {
            const auto container = CSesContainer::Parse(content.data(), content.size());
            if (container->certificate == nullptr) {
                skip(name, "not a certificate record (no \"Certificate\" element)");
            } else if (collection.Add(std::make_unique<SesCertInfo2>(*container->certificate)) !=
                       CCertificateCollection::AddResult::kAdded) {
                skip(name, "the identifier '" + ca::u16u8(container->certificate->ID) +
                               "' was loaded from another file first");
            }
        } catch (const ca::Exception&) {
            // Deliberate: an unreadable file is skipped; signing with it answers 16104.
            skip(name, "not a certificate record (no well-formed \"SES\" document)");
        }
    }
}
