#include "asn1/X509Extensions.h"

#include <iterator>

#include "base/Encode.h"
#include "base/ErrorCodes.h"
#include "base/Exception.h"

namespace {

using ValueMaker = std::unique_ptr<CAsn1CertificateExtensionValue> (*)(CAsn1Block*, CAsn1Object*);

template <class T>
std::unique_ptr<CAsn1CertificateExtensionValue> MakeValue(CAsn1Block* inBlock, CAsn1Object* parent) {
    return std::make_unique<T>(inBlock, parent);
}

// SValueRow ties an extension OID to its value class.
struct SValueRow {
    const wchar_t* oid;
    ValueMaker make;
};

constexpr SValueRow kValueRows[] = {
    {L"2.5.29.14", &MakeValue<CAsn1CertificateExtensionValueSubjectKeyIdentifier>},
    {L"2.5.29.15", &MakeValue<CAsn1CertificateExtensionValueKeyUsage>},
    {L"2.5.29.16", &MakeValue<CAsn1CertificateExtensionValuePrivateKeyUsagePeriod>},
    {L"2.5.29.31", &MakeValue<CAsn1CertificateExtensionValueCRLDistributionPoints>},
    {L"2.5.29.32", &MakeValue<CAsn1CertificateExtensionValuePolicyInformation>},
    {L"2.5.29.35", &MakeValue<CAsn1CertificateExtensionValueAuthorityKeyIdentifier>},
    {L"1.2.643.100.111", &MakeValue<CAsn1CertificateExtensionValueSubjectSignTool>},
};

// SUsageName ties a key-usage flag to its text.
struct SUsageName {
    unsigned int flag;
    const wchar_t* text;
};

constexpr SUsageName kUsageNames[] = {
    {1, L"Цифровая подпись"},
    {2, L"Неотрекаемость"},
    {4, L"Шифрование ключей"},
    {8, L"Шифрование данных"},
    {16, L"Подтверждение ключей"},
    {32, L"Подписывание сертификатов"},
    {64, L"Подписывание списка отзыва (CRL)"},
    {128, L"Только шифрование"},
    {256, L"Только расшифрование"},
};

std::wstring Text(CAsn1Object* member, unsigned int flags = 0) {
    return member != nullptr ? member->GetFormattedString(flags) : std::wstring();
}

void AppendLine(std::wstring& text, const std::wstring& line) {
    if (!text.empty()) {
        text += L"\r\n";
    }
    text += line;
}

}  // namespace

std::unique_ptr<CAsn1CertificateExtensionValue> CAsn1CertificateExtensionValue::Make(const std::wstring& oid,
                                                                                     CAsn1Block* inBlock,
                                                                                     CAsn1Object* parent) {
    for (const SValueRow& row : kValueRows) {
        if (oid == row.oid) {
            return row.make(inBlock, parent);
        }
    }
    return std::make_unique<CAsn1CertificateExtensionValue>(inBlock, parent);
}

void CAsn1CertificateExtensionValue::Decode() {
    CAsn1OctetString::Decode();
    contentDecoded = false;
    try {
        _DecodeContent();
        contentDecoded = true;
    } catch (const ca::Exception&) {
        // Content that is not what the OID promises stays readable as hexadecimal.
        _content.reset();
        _contentParser.reset();
    }
}

std::wstring CAsn1CertificateExtensionValue::GetFormattedString(unsigned int flags) {
    return contentDecoded ? _Formatted(flags) : CAsn1OctetString::GetFormattedString(flags);
}

std::wstring CAsn1CertificateExtensionValue::_Formatted(unsigned int flags) {
    return CAsn1OctetString::GetFormattedString(flags);
}

std::wstring CAsn1CertificateExtensionValueKeyUsage::GetKeyUsageStr(unsigned int usage) {
    std::wstring text;
    for (const SUsageName& name : kUsageNames) {
        if ((usage & name.flag) != 0) {
            if (!text.empty()) {
                text += L"; ";
            }
            text += name.text;
        }
    }
    return text;
}

void CAsn1CertificateExtensionValueKeyUsage::_DecodeContent() {
    usage = value.data != nullptr && value.size > 3 ? ca::ReverseByte(value.data[3]) : 0;
    usageText = GetKeyUsageStr(usage);
}

void CAsn1CertificateExtensionValueSubjectKeyIdentifier::_DecodeContent() {
    keyIdentifier = _ParseContent<CAsn1OctetString>();
}

std::wstring CAsn1CertificateExtensionValueSubjectKeyIdentifier::_Formatted(unsigned int /*flags*/) {
    return Text(keyIdentifier);
}

void CAsn1AuthorityKeyIdentifier::CreateDecodeObjects() {
    keyIdentifier = _appendSpecificT<CAsn1OctetString>(0, true);
    authorityCertIssuer = _appendSpecificT<CAsn1GeneralNames>(1, true);
    authorityCertSerialNumber = _appendSpecificT<CAsn1Integer>(2, true);
}

void CAsn1CertificateExtensionValueAuthorityKeyIdentifier::_DecodeContent() {
    identifier = _ParseContent<CAsn1AuthorityKeyIdentifier>();
}

std::wstring CAsn1CertificateExtensionValueAuthorityKeyIdentifier::_Formatted(unsigned int flags) {
    std::wstring text;
    if (identifier->keyIdentifier != nullptr) {
        AppendLine(text, L"Идентификатор ключа=" + Text(identifier->keyIdentifier));
    }
    if (identifier->authorityCertIssuer != nullptr) {
        std::wstring issuer = L"Поставщик сертификата:";
        for (CAsn1GeneralName* name : identifier->authorityCertIssuer->innerObjects) {
            if (CAsn1DistinguishedName* directory = name->GetDirectoryName()) {
                issuer += L"\r\nАдрес каталога:\r\n" + directory->GetFormattedString(flags);
            } else {
                issuer += L"\r\n" + name->GetFormattedString(flags);
            }
        }
        AppendLine(text, issuer);
    }
    if (identifier->authorityCertSerialNumber != nullptr) {
        AppendLine(text,
                   L"Серийный номер сертификата=" + identifier->authorityCertSerialNumber->GetHexString(0));
    }
    return text;
}

void CAsn1PrivateKeyUsagePeriod::CreateDecodeObjects() {
    notBefore = _appendSpecificT<CAsn1GeneralizedTime>(0, true);
    notAfter = _appendSpecificT<CAsn1GeneralizedTime>(1, true);
}

void CAsn1CertificateExtensionValuePrivateKeyUsagePeriod::_DecodeContent() {
    period = _ParseContent<CAsn1PrivateKeyUsagePeriod>();
}

std::wstring CAsn1CertificateExtensionValuePrivateKeyUsagePeriod::_Formatted(unsigned int /*flags*/) {
    std::wstring text;
    if (period->notBefore != nullptr) {
        AppendLine(text, L"Действителен с: " + Text(period->notBefore));
    }
    if (period->notAfter != nullptr) {
        AppendLine(text, L"Действителен по: " + Text(period->notAfter));
    }
    return text;
}

void CAsn1CrlDistributionPoint::CreateDecodeObjects() {
    distributionPoint = AppendExplicitT<CAsn1DistributionPointName>(0, true);
    reasons = _appendSpecificT<CAsn1BitString>(1, true);
    crlIssuer = _appendSpecificT<CAsn1GeneralNames>(2, true);
}

std::wstring CAsn1CrlDistributionPoint::GetFormattedString(unsigned int flags) {
    CAsn1DistributionPointName* name = distributionPoint != nullptr ? distributionPoint->inner : nullptr;
    if (name == nullptr) {
        return {};
    }
    std::wstring text = L"Имя точки распространения:";
    if (auto* full = name->GetChosen<CAsn1Tagged<CAsn1GeneralNames, 0xA0>>()) {
        text += L"\r\nПолное имя:";
        for (CAsn1GeneralName* general : full->innerObjects) {
            text += L"\r\n" + (general->IsUri() ? L"URL=" + general->GetValue(flags)
                                                : general->GetFormattedString(flags));
        }
    } else if (auto* relative = name->GetChosen<CAsn1Tagged<CAsn1RelativeDistinguishedName, 0xA1>>()) {
        text += L"\r\nИмя относительно издателя:\r\n" + relative->GetFormattedString(flags);
    }
    return text;
}

void CAsn1CertificateExtensionValueCRLDistributionPoints::_DecodeContent() {
    points = _ParseContent<CAsn1SequenceOf<CAsn1CrlDistributionPoint>>();
}

std::wstring CAsn1CertificateExtensionValueCRLDistributionPoints::_Formatted(unsigned int flags) {
    std::wstring text;
    for (CAsn1CrlDistributionPoint* point : points->innerObjects) {
        AppendLine(text, point->GetFormattedString(flags));
    }
    return text;
}

void CAsn1NoticeReference::CreateDecodeObjects() {
    organization = AppendT<CAsn1Object>(false);
    noticeNumbers = AppendT<CAsn1SequenceOf<CAsn1Integer>>(false);
}

void CAsn1UserNotice::CreateDecodeObjects() {
    if (_NextTagIs(CAsn1Sequence::kTag)) {
        noticeRef = AppendT<CAsn1NoticeReference>(false);
    }
    explicitText = AppendT<CAsn1Object>(true);
}

std::wstring CAsn1UserNotice::GetFormattedString(unsigned int flags) {
    std::wstring text = Text(explicitText, flags);
    if (noticeRef != nullptr) {
        std::wstring numbers;
        for (CAsn1Integer* number : noticeRef->noticeNumbers->innerObjects) {
            numbers += (numbers.empty() ? L"" : L",") + number->GetFormattedString(flags);
        }
        text += (text.empty() ? L"" : L" ") +
                (L"[" + Text(noticeRef->organization, flags) + L" " + numbers + L"]");
    }
    return text;
}

void CAsn1PolicyQualifierInfo::CreateDecodeObjects() {
    policyQualifierId = AppendT<CAsn1ObjectIdentifier>(false);
    policyQualifierId->Decode();  // the qualifier's class depends on it
    if (policyQualifierId->oid == L"1.3.6.1.5.5.7.2.2" && _NextTagIs(CAsn1Sequence::kTag)) {
        qualifier = AppendT<CAsn1UserNotice>(false);
    } else {
        qualifier = AppendT<CAsn1Object>(false);
    }
}

std::wstring CAsn1PolicyQualifierInfo::GetFormattedString(unsigned int flags) {
    const std::wstring& oid = policyQualifierId->oid;
    const wchar_t* label = oid == L"1.3.6.1.5.5.7.2.1"   ? L"CPS: "
                           : oid == L"1.3.6.1.5.5.7.2.2" ? L"Notice: "
                                                         : nullptr;
    return (label != nullptr ? std::wstring(label) : oid + L": ") + Text(qualifier, flags);
}

void CAsn1PolicyInformation::CreateDecodeObjects() {
    policyIdentifier = AppendT<CAsn1ObjectIdentifier>(false);
    policyQualifiers = AppendT<CAsn1SequenceOf<CAsn1PolicyQualifierInfo>>(true);
}

std::wstring CAsn1PolicyInformation::GetFormattedString(unsigned int flags) {
    std::wstring text = Text(policyIdentifier, flags);
    if (policyQualifiers != nullptr && !policyQualifiers->innerObjects.empty()) {
        std::wstring qualifiers;
        for (CAsn1PolicyQualifierInfo* qualifier : policyQualifiers->innerObjects) {
            qualifiers += (qualifiers.empty() ? L"" : L"; ") + qualifier->GetFormattedString(flags);
        }
        text += L" (" + qualifiers + L")";
    }
    return text;
}

std::wstring CAsn1CertificatePolicies::GetFormattedString(unsigned int flags) {
    std::wstring text;
    for (CAsn1PolicyInformation* policy : innerObjects) {
        AppendLine(text, policy->GetFormattedString(flags));
    }
    return text;
}

void CAsn1CertificateExtensionValuePolicyInformation::_DecodeContent() {
    policies = _ParseContent<CAsn1CertificatePolicies>();
}

std::wstring CAsn1CertificateExtensionValuePolicyInformation::_Formatted(unsigned int flags) {
    return policies->GetFormattedString(flags);
}

void CAsn1CertificateExtensionValueSubjectSignTool::_DecodeContent() {
    tool = _ParseContent<CAsn1UTF8String>();
}

std::wstring CAsn1CertificateExtensionValueSubjectSignTool::_Formatted(unsigned int /*flags*/) {
    return Text(tool);
}
