// sestool x509 | crl | cms: what is inside a certificate, a revocation list or a CMS signature, as text
// for a person or as the module's own records in JSON.
#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

#include "asn1/x500.h"
#include "base/Encode.h"
#include "base/Exception.h"
#include "base/Lng.h"
#include "ca/FromAsn1.h"
#include "tools/sestool/Asn1Input.h"
#include "tools/sestool/CommandSupport.h"
#include "tools/sestool/Commands.h"

namespace sestool {

#define SESTOOL_ASN1_INPUT_HELP                                                                       \
    "FILE is DER/BER, PEM (CERTIFICATE, X509 CRL, PKCS7 or CMS armour) or bare base64; \"-\" reads\n" \
    "standard input. It is read with the module's own ASN.1 layer, linked into sestool: the module\n" \
    "itself is not loaded.\n"                                                                         \
    "\n"                                                                                              \
    "Options:\n"                                                                                      \
    "  --json       print the record as JSON instead of text\n"                                       \
    "  --lang L     language of the texts: en (default) or ru\n"                                      \
    "  -h, --help   show this help\n"                                                                 \
    "\n"                                                                                              \
    "Exit status: 0 printed; 1 FILE is not what the command reads (the error code and its meaning\n"  \
    "go to standard error); 2 usage error or FILE unreadable.\n"

const char kX509Help[] =
    "Usage: sestool x509 [--json] [--lang L] FILE\n"
    "\n"
    "Prints what a certificate holds: subject, issuer, serial, validity, algorithms, key size, every\n"
    "extension with its display text, and the key usage. With --json it prints the certificate\n"
    "record exactly as the module answers it under \"certInfo\".\n"
    "\n" SESTOOL_ASN1_INPUT_HELP
    "\n"
    "Example:\n"
    "  sestool x509 /usr/share/ca-certificates/mozilla/ISRG_Root_X1.crt\n";

const char kCrlHelp[] =
    "Usage: sestool crl [--json] [--lang L] FILE\n"
    "\n"
    "Prints what a certificate revocation list holds: issuer, this and next update, number,\n"
    "extensions and every revoked certificate with its date and reason. With --json it prints the\n"
    "record the module answers under \"crlInfo\".\n"
    "\n" SESTOOL_ASN1_INPUT_HELP
    "\n"
    "Example:\n"
    "  sestool crl ca.crl\n";

const char kCmsHelp[] =
    "Usage: sestool cms [--json] [--lang L] FILE\n"
    "\n"
    "Prints what a CMS (PKCS #7) signed-data file holds: whether the content is attached, and per\n"
    "signer its identity, algorithms, signing time, certificate, attributes and co-signers. With\n"
    "--json it prints the signer list the module answers under \"signInfo\". Signatures are parsed,\n"
    "not verified.\n"
    "\n" SESTOOL_ASN1_INPUT_HELP
    "\n"
    "Example:\n"
    "  sestool cms document.p7s\n";

#undef SESTOOL_ASN1_INPUT_HELP

namespace {

// SLabel is one label of the text output in both languages.
struct SLabel {
    const char* en;
    const char* ru;
};

enum LabelId {
    kCertificate,
    kVersion,
    kSerial,
    kSignatureAlg,
    kHashAlg,
    kIssuer,
    kSubject,
    kValidFrom,
    kValidTo,
    kValidity,
    kPublicKey,
    kBits,
    kKeyUsage,
    kExtensions,
    kCritical,
    kIdentity,
    kCrl,
    kNumber,
    kAuthorityKeyId,
    kThisUpdate,
    kNextUpdate,
    kRevoked,
    kNone,
    kSignedData,
    kAttached,
    kDetached,
    kSigner,
    kSigningTime,
    kAttributes,
    kCoSigner,
    kNoCertificate,
    kLabelCount
};

constexpr SLabel kLabels[kLabelCount] = {
    {"Certificate", "Сертификат"},
    {"Version", "Версия"},
    {"Serial", "Серийный номер"},
    {"Signature algorithm", "Алгоритм подписи"},
    {"Hash algorithm", "Алгоритм хеширования"},
    {"Issuer", "Издатель"},
    {"Subject", "Субъект"},
    {"Valid from", "Действителен с"},
    {"Valid to", "Действителен по"},
    {"Validity", "Срок действия"},
    {"Public key", "Открытый ключ"},
    {"bit", "бит"},
    {"Key usage", "Использование ключа"},
    {"Extensions", "Расширения"},
    {"critical", "критическое"},
    {"Identity", "Идентификатор"},
    {"Certificate revocation list", "Список отзыва сертификатов"},
    {"Number", "Номер"},
    {"Authority key identifier", "Идентификатор ключа издателя"},
    {"This update", "Дата выпуска"},
    {"Next update", "Следующее обновление"},
    {"Revoked certificates", "Отозванные сертификаты"},
    {"none", "нет"},
    {"CMS signed data", "Подписанные данные CMS"},
    {"content attached", "данные присоединены"},
    {"content detached", "данные отсоединены"},
    {"Signer", "Подписант"},
    {"Signing time", "Время подписи"},
    {"Attributes", "Атрибуты"},
    {"Co-signer", "Соподписант"},
    {"no certificate carried", "сертификат не приложен"},
};

// CText builds the text output: labelled lines, indented, every value made safe for a terminal.
class CText {
public:
    explicit CText(bool russian) : _russian(russian) {}
    const char* Label(LabelId id) const { return _russian ? kLabels[id].ru : kLabels[id].en; }
    void Heading(int indent, const std::string& text) { _Line(indent, text + ":"); }
    void Line(int indent, const std::string& text) { _Line(indent, text); }
    void Field(int indent, LabelId id, const std::wstring& value) {
        _Line(indent, std::string(Label(id)) + ": " + Printable(ca::u16u8(value)));
    }
    // Block prints a multi-line value ("\r\n" between lines) under its own indentation.
    void Block(int indent, const std::wstring& value) {
        size_t at = 0;
        while (at <= value.size()) {
            size_t end = value.find(L"\r\n", at);
            end = end == std::wstring::npos ? value.size() : end;
            _Line(indent, Printable(ca::u16u8(value.substr(at, end - at))));
            at = end + 2;
        }
    }
    void Print() const { std::fwrite(_out.data(), 1, _out.size(), stdout); }

private:
    void _Line(int indent, const std::string& text) {
        _out += std::string(static_cast<size_t>(indent) * 2, ' ') + text + "\n";
    }

    bool _russian;
    std::string _out;
};

std::wstring WithDescription(const std::wstring& oid) {
    return oid.empty() ? oid : oid + L" (" + GetOidDescription(oid) + L")";
}

void PrintExtensions(CText& text, int indent, const ca::CertInfoExtensionCollection& extensions) {
    if (extensions.items.empty()) {
        return;
    }
    text.Heading(indent, text.Label(kExtensions));
    for (const ca::CertInfoExtension& extension : extensions.items) {
        std::wstring head = extension.oidValue + L" " + extension.oidFriendlyName;
        if (extension.critical) {
            head += L" (" + ca::u8u16(text.Label(kCritical)) + L")";
        }
        text.Block(indent + 1, head);
        text.Block(indent + 2, extension.formattedData);
    }
}

void PrintCertificate(CText& text, int indent, const ca::CertInfo2& info, uint32_t keyBits) {
    text.Field(indent, kSubject, info.description);
    text.Field(indent, kIssuer, info.issuer);
    text.Field(indent, kSerial, info.serial);
    text.Field(indent, kVersion, info.version);
    text.Field(indent, kValidFrom, info.validFromUTC + L" UTC");
    text.Field(indent, kValidTo, info.validToUTC + L" UTC");
    text.Field(indent, kValidity, info.validity);
    text.Field(indent, kSignatureAlg, WithDescription(info.signatureAlg));
    text.Field(indent, kHashAlg,
               info.hashAlg.empty() ? ca::u8u16(text.Label(kNone)) : WithDescription(info.hashAlg));
    std::wstring key = WithDescription(info.publicKeyAlg);
    if (keyBits != 0) {
        key += L", " + std::to_wstring(keyBits) + L" " + ca::u8u16(text.Label(kBits));
    }
    text.Field(indent, kPublicKey, key);
    if (info.keyUsage != 0) {
        text.Field(indent, kKeyUsage, info.keyUsageStr);
    }
    PrintExtensions(text, indent, info.extensions);
    text.Field(indent, kIdentity, info.id);
}

void PrintJson(const ca::ISerializable& record) {
    rapidjson::StringBuffer buffer;
    ca::JsonWriter writer(buffer);
    record.ToJson(writer);
    std::fwrite(buffer.GetString(), 1, buffer.GetSize(), stdout);
    std::fputc('\n', stdout);
}

void PrintSigner(CText& text, int indent, const ca::SignInfo& signer, const std::string& title) {
    text.Heading(indent, title);
    text.Field(indent + 1, kIdentity, signer.signId);
    text.Field(indent + 1, kHashAlg, WithDescription(signer.hashAlg));
    text.Field(indent + 1, kSignatureAlg, WithDescription(signer.signAlg));
    if (!signer.signTimeUTC.empty()) {
        text.Field(indent + 1, kSigningTime, signer.signTimeUTC + L" UTC");
    }
    if (signer.signCert.id.empty()) {
        text.Line(indent + 1, text.Label(kCertificate) + std::string(": ") + text.Label(kNoCertificate));
    } else {
        text.Heading(indent + 1, text.Label(kCertificate));
        text.Field(indent + 2, kSubject, signer.signCert.description);
        text.Field(indent + 2, kIssuer, signer.signCert.issuer);
        text.Field(indent + 2, kSerial, signer.signCert.serial);
        text.Field(indent + 2, kValidTo, signer.signCert.validToUTC + L" UTC");
    }
    if (!signer.extensions.empty()) {
        text.Heading(indent + 1, text.Label(kAttributes));
        for (const ca::SignInfoExtension& attribute : signer.extensions) {
            text.Block(indent + 2, attribute.extensionOid + L" " + attribute.extensionName);
            text.Block(indent + 3, attribute.extensionInterpretedString);
        }
    }
    for (size_t i = 0; i < signer.coSigners.size(); ++i) {
        PrintSigner(text, indent + 1, *signer.coSigners[i],
                    text.Label(kCoSigner) + (" " + std::to_string(i + 1)));
    }
}

// SOptions are what the three commands share: the file, --json and the language.
struct SOptions {
    std::vector<uint8_t> der;
    bool json = false;
    bool russian = false;
};

// ReadOptions parses the command line and reads FILE; false with the exit code in exitCode.
bool ReadOptions(const char* command, const std::vector<std::string>& args, SOptions& options,
                 int& exitCode) {
    SParsedArgs parsed;
    exitCode = kExitUsage;
    if (!ParseCommandLine(command, args, {{"--json", nullptr, false}, {"--lang", nullptr, true}},
                          {1, 1, "one FILE"}, parsed)) {
        return false;
    }
    const std::string lang = parsed.Has("--lang") ? parsed.Value("--lang") : "en";
    if (lang != "en" && lang != "ru") {
        PrintError(command, "--lang takes en or ru, not '" + lang + "'");
        return false;
    }
    options.json = parsed.Has("--json");
    options.russian = lang == "ru";
    SetVALKOLng(options.russian ? L"ru" : L"en");
    return ReadAsn1File(command, parsed.positional[0], options.der);
}

// Run reads FILE, decodes it as T and hands the tree to show; ASN.1 failures exit 1 with the code.
template <class T, class Show>
int Run(const char* command, const std::vector<std::string>& args, Show show) {
    SOptions options;
    int exitCode = kExitOk;
    if (!ReadOptions(command, args, options, exitCode)) {
        return exitCode;
    }
    try {
        ca::CDecoded<T> decoded(std::move(options.der));
        CText text(options.russian);
        show(decoded.Root(), options.json, text);
        if (!options.json) {
            text.Print();
        }
    } catch (const ca::Exception& e) {
        PrintAsn1Error(command, e.code);
        return kExitFailed;
    }
    return kExitOk;
}

}  // namespace

int RunX509(const std::vector<std::string>& args) {
    return Run<CAsn1Certificate>("x509", args, [](CAsn1Certificate& certificate, bool json, CText& text) {
        ca::CertInfo2 info;
        info.FromAsn1(certificate, std::time(nullptr));
        if (json) {
            PrintJson(info);
            return;
        }
        text.Heading(0, text.Label(kCertificate));
        PrintCertificate(text, 1, info, certificate.tbsCertificate->subjectPublicKeyInfo->GetKeyLength());
    });
}

int RunCrl(const std::vector<std::string>& args) {
    return Run<CAsn1CRL>("crl", args, [](CAsn1CRL& crl, bool json, CText& text) {
        ca::CrlInfo info;
        info.FromAsn1(crl);
        if (json) {
            PrintJson(info);
            return;
        }
        text.Heading(0, text.Label(kCrl));
        text.Field(1, kIssuer, info.issuer);
        text.Field(1, kThisUpdate, info.validFromUTC + L" UTC");
        text.Field(1, kNextUpdate,
                   info.validToUTC.empty() ? ca::u8u16(text.Label(kNone)) : info.validToUTC + L" UTC");
        text.Field(1, kSignatureAlg, WithDescription(crl.signatureAlgorithm->GetOidString()));
        text.Field(1, kNumber, std::to_wstring(info.number));
        if (!info.authorityKeyId.empty()) {
            text.Field(1, kAuthorityKeyId, info.authorityKeyId);
        }
        PrintExtensions(text, 1, info.extensions);
        text.Heading(1, text.Label(kRevoked) + (" (" + std::to_string(info.revokedCerts.items.size()) + ")"));
        for (const std::wstring& entry : info.revokedCerts.items) {
            text.Block(2, entry);
        }
    });
}

int RunCms(const std::vector<std::string>& args) {
    return Run<CAsn1SignedPKCS7>("cms", args, [](CAsn1SignedPKCS7& cms, bool json, CText& text) {
        ca::SignInfos signers;
        signers.FromAsn1(cms);
        if (json) {
            PrintJson(signers);
            return;
        }
        CAsn1SignedPKCS7Content& content = *cms.SignedData();
        const bool attached = content.encapContentInfo->eContent != nullptr;
        text.Heading(
            0, text.Label(kSignedData) + std::string(", ") + text.Label(attached ? kAttached : kDetached));
        for (size_t i = 0; i < signers.items.size(); ++i) {
            PrintSigner(text, 1, *signers.items[i], text.Label(kSigner) + (" " + std::to_string(i + 1)));
        }
    });
}

}  // namespace sestool
