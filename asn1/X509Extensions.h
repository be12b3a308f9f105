#pragma once

// The value classes of certificate extensions, chosen by the extension's OID. Each is the extension's
// OCTET STRING; the known ones parse its content on into typed members and format it for display.
#include <cstdint>
#include <memory>
#include <string>

#include "asn1/Asn1Constructed.h"
#include "asn1/GeneralName.h"

// CAsn1CertificateExtensionValue: the extnValue OCTET STRING. The base keeps the content undecoded
// and formats it as hexadecimal. A derived class parses the content in _DecodeContent; content that
// does not parse as the class expects is shown as hexadecimal too (the extension stays readable, and
// so does the certificate).
class CAsn1CertificateExtensionValue : public CAsn1OctetString {
public:
    using CAsn1OctetString::CAsn1OctetString;
    void Decode() override;
    std::wstring GetFormattedString(unsigned int flags) override;

    // Make builds the value class registered for oid over the extnValue block.
    static std::unique_ptr<CAsn1CertificateExtensionValue> Make(const std::wstring& oid, CAsn1Block* inBlock,
                                                                CAsn1Object* parent);

    bool contentDecoded = false;  // _DecodeContent succeeded

protected:
    // _DecodeContent reads the copied content (value); throws ca::Exception when it does not fit.
    virtual void _DecodeContent() {}
    // _Formatted is the display string of decoded content.
    virtual std::wstring _Formatted(unsigned int flags);
    // _ParseContent parses the content as one block and makes a T over it, owned here.
    template <class T>
    T* _ParseContent() {
        _contentParser = std::make_unique<CCryptAsn1Parser>();
        _contentParser->Parse(value.data.get(), value.size, false, false, true);
        auto object = std::make_unique<T>(_contentParser->GetInnerBlock(0), this);
        object->Decode();
        T* made = object.get();
        _content = std::move(object);
        return made;
    }

private:
    std::unique_ptr<CCryptAsn1Parser> _contentParser;
    std::unique_ptr<CAsn1Object> _content;
};

// CAsn1CertificateExtensionValueKeyUsage (2.5.29.15). Decode takes the byte at position 3 of the
// content (the first byte of bits after the BIT STRING's identifier, length and unused-bit octets),
// reversed so that digitalSignature is flag 1. Deliberate: only that byte is read, so decipherOnly
// (flag 256) is never set by decoding, and content shorter than four bytes gives no flags.
class CAsn1CertificateExtensionValueKeyUsage : public CAsn1CertificateExtensionValue {
public:
    using CAsn1CertificateExtensionValue::CAsn1CertificateExtensionValue;
    // GetKeyUsageStr names the flags set in usage, in flag order, joined with "; ".
    static std::wstring GetKeyUsageStr(unsigned int usage);

    unsigned int usage = 0;
    std::wstring usageText;

protected:
    void _DecodeContent() override;
    std::wstring _Formatted(unsigned int /*flags*/) override { return usageText; }
};

// CAsn1CertificateExtensionValueSubjectKeyIdentifier (2.5.29.14): an OCTET STRING, shown in hex.
class CAsn1CertificateExtensionValueSubjectKeyIdentifier : public CAsn1CertificateExtensionValue {
public:
    using CAsn1CertificateExtensionValue::CAsn1CertificateExtensionValue;

    CAsn1OctetString* keyIdentifier = nullptr;

protected:
    void _DecodeContent() override;
    std::wstring _Formatted(unsigned int flags) override;
};

// CAsn1AuthorityKeyIdentifier: SEQUENCE { keyIdentifier [0], authorityCertIssuer [1] GeneralNames,
// authorityCertSerialNumber [2] }, all IMPLICIT and optional.
class CAsn1AuthorityKeyIdentifier : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;

    CAsn1OctetString* keyIdentifier = nullptr;
    CAsn1GeneralNames* authorityCertIssuer = nullptr;
    CAsn1Integer* authorityCertSerialNumber = nullptr;
};

// CAsn1CertificateExtensionValueAuthorityKeyIdentifier (2.5.29.35).
class CAsn1CertificateExtensionValueAuthorityKeyIdentifier : public CAsn1CertificateExtensionValue {
public:
    using CAsn1CertificateExtensionValue::CAsn1CertificateExtensionValue;

    CAsn1AuthorityKeyIdentifier* identifier = nullptr;

protected:
    void _DecodeContent() override;
    std::wstring _Formatted(unsigned int flags) override;
};

// CAsn1PrivateKeyUsagePeriod: SEQUENCE { notBefore [0], notAfter [1] } (IMPLICIT GeneralizedTime,
// optional).
class CAsn1PrivateKeyUsagePeriod : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;

    CAsn1GeneralizedTime* notBefore = nullptr;
    CAsn1GeneralizedTime* notAfter = nullptr;
};

// CAsn1CertificateExtensionValuePrivateKeyUsagePeriod (2.5.29.16).
class CAsn1CertificateExtensionValuePrivateKeyUsagePeriod : public CAsn1CertificateExtensionValue {
public:
    using CAsn1CertificateExtensionValue::CAsn1CertificateExtensionValue;

    CAsn1PrivateKeyUsagePeriod* period = nullptr;

protected:
    void _DecodeContent() override;
    std::wstring _Formatted(unsigned int flags) override;
};

// CAsn1DistributionPointName: CHOICE { fullName [0] IMPLICIT GeneralNames, nameRelativeToCRLIssuer
// [1] IMPLICIT RelativeDistinguishedName }.
using CAsn1DistributionPointName =
    CAsn1Choice<CAsn1Tagged<CAsn1GeneralNames, 0xA0>, CAsn1Tagged<CAsn1RelativeDistinguishedName, 0xA1>>;

// CAsn1CrlDistributionPoint: SEQUENCE { distributionPoint [0] EXPLICIT DistributionPointName
// OPTIONAL, reasons [1] IMPLICIT BIT STRING OPTIONAL, cRLIssuer [2] IMPLICIT GeneralNames OPTIONAL }.
class CAsn1CrlDistributionPoint : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    // GetFormattedString: "Имя точки распространения:", then "Полное имя:" with one "URL=" line per
    // URI (other names in their own form), or "Имя относительно издателя:" with the relative name.
    std::wstring GetFormattedString(unsigned int flags) override;

    CAsn1Explicit<CAsn1DistributionPointName>* distributionPoint = nullptr;
    CAsn1BitString* reasons = nullptr;
    CAsn1GeneralNames* crlIssuer = nullptr;
};

// CAsn1CertificateExtensionValueCRLDistributionPoints (2.5.29.31): SEQUENCE OF DistributionPoint.
class CAsn1CertificateExtensionValueCRLDistributionPoints : public CAsn1CertificateExtensionValue {
public:
    using CAsn1CertificateExtensionValue::CAsn1CertificateExtensionValue;

    CAsn1SequenceOf<CAsn1CrlDistributionPoint>* points = nullptr;

protected:
    void _DecodeContent() override;
    std::wstring _Formatted(unsigned int flags) override;
};

// CAsn1NoticeReference: SEQUENCE { organization DisplayText, noticeNumbers SEQUENCE OF INTEGER }.
class CAsn1NoticeReference : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;

    CAsn1Object* organization = nullptr;
    CAsn1SequenceOf<CAsn1Integer>* noticeNumbers = nullptr;
};

// CAsn1UserNotice: SEQUENCE { noticeRef NoticeReference OPTIONAL, explicitText DisplayText OPTIONAL }.
class CAsn1UserNotice : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    std::wstring GetFormattedString(unsigned int flags) override;

    CAsn1NoticeReference* noticeRef = nullptr;
    CAsn1Object* explicitText = nullptr;
};

// CAsn1PolicyQualifierInfo: SEQUENCE { policyQualifierId OBJECT IDENTIFIER, qualifier ANY }: a CPS
// URI (1.3.6.1.5.5.7.2.1) or a user notice (1.3.6.1.5.5.7.2.2).
class CAsn1PolicyQualifierInfo : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    std::wstring GetFormattedString(unsigned int flags) override;  // "CPS: uri" / "Notice: text"

    CAsn1ObjectIdentifier* policyQualifierId = nullptr;
    CAsn1Object* qualifier = nullptr;
};

// CAsn1PolicyInformation: SEQUENCE { policyIdentifier OBJECT IDENTIFIER, policyQualifiers SEQUENCE
// OF PolicyQualifierInfo OPTIONAL }.
class CAsn1PolicyInformation : public CAsn1Sequence {
public:
    using CAsn1Sequence::CAsn1Sequence;
    void CreateDecodeObjects() override;
    // GetFormattedString: the policy OID, then its qualifiers in parentheses, separated by "; ".
    std::wstring GetFormattedString(unsigned int flags) override;

    CAsn1ObjectIdentifier* policyIdentifier = nullptr;
    CAsn1SequenceOf<CAsn1PolicyQualifierInfo>* policyQualifiers = nullptr;
};

// CAsn1CertificatePolicies: SEQUENCE OF PolicyInformation, one line per policy.
class CAsn1CertificatePolicies : public CAsn1SequenceOf<CAsn1PolicyInformation> {
public:
    using CAsn1SequenceOf<CAsn1PolicyInformation>::CAsn1SequenceOf;
    std::wstring GetFormattedString(unsigned int flags) override;
};

// CAsn1CertificateExtensionValuePolicyInformation (2.5.29.32).
class CAsn1CertificateExtensionValuePolicyInformation : public CAsn1CertificateExtensionValue {
public:
    using CAsn1CertificateExtensionValue::CAsn1CertificateExtensionValue;

    CAsn1CertificatePolicies* policies = nullptr;

protected:
    void _DecodeContent() override;
    std::wstring _Formatted(unsigned int flags) override;
};

// CAsn1CertificateExtensionValueSubjectSignTool (1.2.643.100.111): a UTF8String naming the signing
// tool of the certificate's owner.
class CAsn1CertificateExtensionValueSubjectSignTool : public CAsn1CertificateExtensionValue {
public:
    using CAsn1CertificateExtensionValue::CAsn1CertificateExtensionValue;

    CAsn1UTF8String* tool = nullptr;

protected:
    void _DecodeContent() override;
    std::wstring _Formatted(unsigned int flags) override;
};
