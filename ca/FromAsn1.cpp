#include "ca/FromAsn1.h"

#include <iterator>

#include "asn1/X509Extensions.h"
#include "asn1/x500.h"
#include "base/Encode.h"

namespace ca {

namespace {

constexpr wchar_t kOidKeyUsage[] = L"2.5.29.15";
constexpr wchar_t kOidAuthorityKeyId[] = L"2.5.29.35";
constexpr wchar_t kOidCrlNumber[] = L"2.5.29.20";
constexpr wchar_t kOidCrlReason[] = L"2.5.29.21";

// The RFC 5280 CRLReason names, by value (7 is unused).
constexpr const wchar_t* kCrlReasons[] = {
    L"Unspecified",     L"Key Compromise",         L"CA Compromise",    L"Affiliation Changed",
    L"Superseded",      L"Cessation Of Operation", L"Certificate Hold", nullptr,
    L"Remove From CRL", L"Privilege Withdrawn",    L"AA Compromise"};

std::wstring Hex(const CAsn1Object* bits) {
    return bits != nullptr && bits->value.data != nullptr
               ? GetHexString(0, bits->value.data.get(), bits->value.size)
               : std::wstring();
}

// SmallNumber reads an extension value holding one INTEGER or ENUMERATED as its low 32 bits.
bool SmallNumber(const CAsn1CertificateExtensionValue* value, uint32_t& number) {
    if (value == nullptr || value->value.data == nullptr) {
        return false;
    }
    CByteReader content(value->value.data.get(), value->value.size);
    uint8_t tag = 0;
    uint8_t length = 0;
    const uint8_t* bytes = nullptr;
    if (!content.ReadU8(tag) || (tag != 0x02 && tag != 0x0A) || !content.ReadU8(length) || length > 0x7F ||
        !content.ReadBytes(length, bytes)) {
        return false;
    }
    number = 0;
    for (uint8_t i = 0; i < length; ++i) {
        number = number << 8 | bytes[i];
    }
    return true;
}

struct SNameForms {
    std::wstring display, oids, x500, lines;
};

SNameForms Forms(CAsn1DistinguishedName* name) {
    if (name == nullptr) {
        return {};
    }
    return {name->GetFormattedString(kNameDisplay), name->GetFormattedString(kNameOidDisplay),
            name->GetFormattedString(kNameX500), name->GetFormattedString(kNameLines)};
}

void Validity(time_t notBefore, time_t notAfter, time_t now, std::wstring& text, uint32_t& number) {
    if (now < notBefore) {
        text = L"NOT_YET_VALID";
        number = 2;
    } else if (now > notAfter) {
        text = L"EXPIRED";
        number = 1;
    } else {
        text = L"VALID";
        number = 0;
    }
}

std::wstring VersionText(uint32_t version) { return L"V" + std::to_wstring(version + 1); }

// FillCertificate fills the fields both certificate records share from tbs; whole is the
// certificate that carries it (its encoding is "RawData").
void FillCertificate(CertInfo2Fields& out, CAsn1TBSCertificate& tbs, const CAsn1Object& whole) {
    out.id = tbs.GetCertId(0);
    out.serial = tbs.serialNumber->GetHexString(0);
    const SNameForms issuer = Forms(tbs.issuer);
    const SNameForms subject = Forms(tbs.subject);
    out.issuer = issuer.display;
    out.oidIssuer = issuer.oids;
    out.x500NameIssuer = issuer.x500;
    out.issuerTags = issuer.lines;
    out.description = subject.display;
    out.oidDescription = subject.oids;
    out.x500Description = subject.x500;
    out.subjectTags = subject.lines;
    const time_t notBefore = tbs.validity->notBefore->GetTime();
    const time_t notAfter = tbs.validity->notAfter->GetTime();
    out.validFrom = TimeText(notBefore, false);
    out.validFromUTC = TimeText(notBefore, true);
    out.validTo = TimeText(notAfter, false);
    out.validToUTC = TimeText(notAfter, true);
    out.rawData = whole.GetRawData(false);
    out.extensions.items.clear();
    FillExtensions(tbs.extensions != nullptr ? tbs.extensions->inner : nullptr, out.extensions);
}

void FillAttributes(const CAsn1Attributes* attributes, std::vector<SignInfoExtension>& out) {
    if (attributes == nullptr) {
        return;
    }
    for (CAsn1Attribute* attribute : attributes->innerObjects) {
        SignInfoExtension extension;
        extension.extensionOid = attribute->GetOidString();
        extension.extensionName = GetOidDescription(extension.extensionOid);
        for (size_t i = 0; i < attribute->GetValueCount(); ++i) {
            extension.extensionInterpretedString += (i == 0 ? L"" : L"\r\n");
            extension.extensionInterpretedString += attribute->GetValue(i)->GetFormattedString(0);
        }
        extension.extensionInterpretedData = attribute->values->GetRawData(true);
        out.push_back(std::move(extension));
    }
}

std::unique_ptr<SignInfo> Signer(CAsn1SignerInfo& signer, CAsn1SignedPKCS7Content& cms) {
    auto info = std::make_unique<SignInfo>();
    info->signId = signer.sid != nullptr ? signer.GetCertId(0) : Hex(signer.subjectKeyId);
    info->signAlg = signer.signatureAlgorithm->GetOidString();
    info->hashAlg = signer.digestAlgorithm->GetOidString();
    info->isAttached = cms.encapContentInfo->eContent != nullptr;
    CAsn1Attribute* time =
        signer.signedAttrs != nullptr ? signer.signedAttrs->GetAttribute(kOidSigningTime) : nullptr;
    if (auto* value =
            time != nullptr ? dynamic_cast<CAsn1AttributeValueUTCTime*>(time->GetValue(0)) : nullptr) {
        info->signTime = TimeText(value->held->GetTime(), false);
        info->signTimeUTC = TimeText(value->held->GetTime(), true);
    }
    if (CAsn1Certificate* certificate =
            signer.sid != nullptr ? cms.FindCertificate(signer.GetCertId(0), 0) : nullptr) {
        info->signCert.FillFromTbsCert(*certificate->tbsCertificate);
    }
    if (signer.unsignedAttrs != nullptr) {
        for (CAsn1Attribute* attribute : signer.unsignedAttrs->innerObjects) {
            for (size_t i = 0; i < attribute->GetValueCount(); ++i) {
                if (auto* counter =
                        dynamic_cast<CAsn1AttributeValueCounterSignature*>(attribute->GetValue(i))) {
                    info->coSigners.push_back(Signer(*counter->held, cms));
                }
            }
        }
    }
    FillAttributes(signer.signedAttrs, info->extensions);
    FillAttributes(signer.unsignedAttrs, info->extensions);
    return info;
}

}  // namespace

std::wstring TimeText(time_t moment, bool utc) {
    tm parts{};
    if ((utc ? gmtime_r(&moment, &parts) : localtime_r(&moment, &parts)) == nullptr) {
        return {};
    }
    char text[64] = {};
    return std::strftime(text, sizeof(text), "%d.%m.%Y %T", &parts) == 0 ? std::wstring() : u8u16(text);
}

void FillExtensions(const CAsn1CertificateExtensionCollection* extensions, CertInfoExtensionCollection& out) {
    if (extensions == nullptr) {
        return;
    }
    for (CAsn1CertificateExtension* extension : extensions->innerObjects) {
        CertInfoExtension item;
        item.oidValue = extension->GetOidString();
        item.oidFriendlyName = GetOidDescription(item.oidValue);
        item.rawData = extension->extnValue->GetRawData(true);
        item.formattedData = extension->extnValue->GetFormattedString(0);
        item.critical = extension->IsCritical();
        out.items.push_back(std::move(item));
    }
}

void CertInfo2::FromAsn1(CAsn1Certificate& certificate, time_t now) {
    CAsn1TBSCertificate& tbs = *certificate.tbsCertificate;
    FillCertificate(*this, tbs, certificate);
    Validity(tbs.validity->notBefore->GetTime(), tbs.validity->notAfter->GetTime(), now, validity,
             validityNumber);
    version = VersionText(tbs.GetVersion());
    signatureAlg = certificate.signatureAlgorithm->GetOidString();
    hashAlg = tbs.GetHashAlgOidFromSignAlg();
    CAsn1SubjectPublicKeyInfo& key = *tbs.subjectPublicKeyInfo;
    publicKeyAlg = key.algorithm->GetOidString();
    publicKey = Hex(key.subjectPublicKey);
    publicKeyParams.clear();
    if (key.algorithm->parameters != nullptr) {
        const std::vector<uint8_t> parameters = key.algorithm->parameters->GetEncoding();
        publicKeyParams = GetHexString(0, parameters.data(), parameters.size());
    }
    publicKeyHashAlgs = tbs.GetHashAlgOidFromPubKeyAlg();
    hasPrivateKey = false;
    issuerUniqueId = Hex(tbs.issuerUniqueId);
    subjectUniqueId = Hex(tbs.subjectUniqueId);
    keyUsage = 0;
    keyUsageStr.clear();
    CAsn1CertificateExtension* usage =
        tbs.extensions != nullptr ? tbs.extensions->inner->Find(kOidKeyUsage) : nullptr;
    if (auto* value = usage != nullptr
                          ? dynamic_cast<CAsn1CertificateExtensionValueKeyUsage*>(usage->extnValue)
                          : nullptr) {
        keyUsage = value->usage;
        keyUsageStr = value->usageText;
    }
    error.clear();
}

void CertInfo::FillFromTbsCert(CAsn1TBSCertificate& tbs) {
    CertInfo2 full;
    const CAsn1Object* whole = dynamic_cast<CAsn1Certificate*>(tbs.parentObject);
    FillCertificate(full, tbs, whole != nullptr ? *whole : tbs);
    CopyFrom(full);
}

void AttrCertInfo::FromAsn1(CAsn1AttributeCertificate& certificate, time_t now) {
    CAsn1AttributeCertificateInfo& info = *certificate.acinfo;
    CAsn1IssuerSerial* holder = info.holder->baseCertificateId;
    holderSerial = holder != nullptr ? holder->serial->GetHexString(0) : std::wstring();
    CAsn1DistinguishedName* holderName = nullptr;
    if (holder != nullptr) {
        for (CAsn1GeneralName* name : holder->issuer->innerObjects) {
            holderName = holderName != nullptr ? holderName : name->GetDirectoryName();
        }
    }
    const SNameForms holderForms = Forms(holderName);
    holderIssuer = holderForms.display;
    holderOidIssuer = holderForms.oids;
    holderX500NameIssuer = holderForms.x500;
    holderIssuerTags = holderForms.lines;
    const SNameForms issuerForms = Forms(info.GetIssuerName());
    issuer = issuerForms.display;
    oidIssuer = issuerForms.oids;
    x500NameIssuer = issuerForms.x500;
    issuerTags = issuerForms.lines;
    serial = info.serialNumber->GetHexString(0);
    id = serial +
         (info.GetIssuerName() != nullptr ? info.GetIssuerName()->GetFormattedString(0) : std::wstring());
    const time_t notBefore = info.validity->notBefore->GetTime();
    const time_t notAfter = info.validity->notAfter->GetTime();
    Validity(notBefore, notAfter, now, validity, validityNumber);
    validFrom = TimeText(notBefore, false);
    validFromUTC = TimeText(notBefore, true);
    validTo = TimeText(notAfter, false);
    validToUTC = TimeText(notAfter, true);
    uint32_t number = 0;
    for (uint32_t i = 0; info.version != nullptr && i < info.version->byteCount && i < 4; ++i) {
        number = number << 8 | info.version->bytes[i];
    }
    version = VersionText(number);
    signatureAlg = certificate.signatureAlgorithm->GetOidString();
    hashAlg = GetHashAlgOid(signatureAlg);
    issuerUniqueId = Hex(info.issuerUniqueId);
    rawData = certificate.GetRawData(false);
    error.clear();
    attributes.items.clear();
    for (CAsn1GenericAttribute* attribute : info.attributes->innerObjects) {
        CertInfoAttribute item;
        item.oidValue = attribute->type->oid;
        item.oidFriendlyName = GetOidDescription(item.oidValue);
        item.rawData = attribute->values->GetRawData(true);
        for (CAsn1Object* value : attribute->values->innerObjects) {
            if (value != nullptr) {
                item.formattedData +=
                    (item.formattedData.empty() ? L"" : L"\r\n") + value->GetFormattedString(0);
            }
        }
        attributes.items.push_back(std::move(item));
    }
    extensions.items.clear();
    FillExtensions(info.extensions, extensions);
}

void CrlInfo::FromAsn1(CAsn1CRL& crl) {
    CAsn1TBSCertList& list = *crl.tbsCertList;
    const CAsn1CertificateExtensionCollection* crlExtensions =
        list.crlExtensions != nullptr ? list.crlExtensions->inner : nullptr;
    number = 0;
    authorityKeyId.clear();
    if (crlExtensions != nullptr) {
        if (CAsn1CertificateExtension* crlNumber = crlExtensions->Find(kOidCrlNumber)) {
            SmallNumber(crlNumber->extnValue, number);
        }
        CAsn1CertificateExtension* authority = crlExtensions->Find(kOidAuthorityKeyId);
        auto* value =
            authority != nullptr
                ? dynamic_cast<CAsn1CertificateExtensionValueAuthorityKeyIdentifier*>(authority->extnValue)
                : nullptr;
        if (value != nullptr && value->identifier != nullptr) {
            authorityKeyId = Hex(value->identifier->keyIdentifier);
        }
    }
    const SNameForms forms = Forms(list.issuer);
    issuer = forms.display;
    oidIssuer = forms.oids;
    x500NameIssuer = forms.x500;
    validFrom = TimeText(list.thisUpdate->GetTime(), false);
    validFromUTC = TimeText(list.thisUpdate->GetTime(), true);
    validTo = list.nextUpdate != nullptr ? TimeText(list.nextUpdate->GetTime(), false) : std::wstring();
    validToUTC = list.nextUpdate != nullptr ? TimeText(list.nextUpdate->GetTime(), true) : std::wstring();
    rawData = crl.GetRawData(false);
    extensions.items.clear();
    FillExtensions(crlExtensions, extensions);
    revokedCerts.items.clear();
    if (list.revokedCertificates == nullptr) {
        return;
    }
    for (CAsn1RevokedCertificate* entry : list.revokedCertificates->innerObjects) {
        std::wstring text = entry->userCertificate->GetHexString(0) + L"; " +
                            TimeText(entry->revocationDate->GetTime(), true);
        uint32_t reason = 0;
        CAsn1CertificateExtension* reasonExtension =
            entry->crlEntryExtensions != nullptr ? entry->crlEntryExtensions->Find(kOidCrlReason) : nullptr;
        if (reasonExtension != nullptr && SmallNumber(reasonExtension->extnValue, reason) &&
            reason < std::size(kCrlReasons) && kCrlReasons[reason] != nullptr) {
            text += L"; ";
            text += kCrlReasons[reason];
        }
        revokedCerts.items.push_back(std::move(text));
    }
}

void SignInfos::FromAsn1(CAsn1SignedPKCS7& cms) {
    CAsn1SignedPKCS7Content& content = *cms.SignedData();
    for (CAsn1SignerInfo* signer : content.signerInfos->innerObjects) {
        items.push_back(Signer(*signer, content));
    }
}

}  // namespace ca
