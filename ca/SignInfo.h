#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "ca/CertInfo2.h"
#include "ca/RecordFields.h"
#include "ca/Serializable.h"
#include "ca/VerificationResult.h"

class CAsn1SignedPKCS7;

namespace ca {

// SignInfoExtension is one signature extension: "ExtensionName", "ExtensionOID",
// "ExtensionInterpretedString", "ExtensionInterpretedData".
struct SignInfoExtension {
    void ToJson(JsonWriter& writer) const;
    void FromJson(const JsonValue& value);

    std::wstring extensionName;
    std::wstring extensionOid;
    std::wstring extensionInterpretedString;
    std::wstring extensionInterpretedData;
};

// SignInfo describes one signer: its verification outcome, texts, certificates, co-signers (each a
// SignInfo, written nested) and extensions. ToJson writes every key in declaration order, lists as
// arrays also when empty. It only travels inside a SignInfos.
class SignInfo {
public:
    void ToJson(JsonWriter& writer) const;
    // FromJson takes the keys present; "CoSigners" and "Extensions" replace their lists. Throws
    // Exception(16300) for mistyped values and co-signers nested deeper than kMaxRecordNesting.
    void FromJson(const JsonValue& value);

    VerificationResult verifyResultEx;
    std::wstring verifyResult;
    std::wstring signId;
    std::wstring comment;
    std::wstring uri;
    std::wstring signTime;
    std::wstring signTimeUTC;
    std::wstring signAlg;
    std::wstring hashAlg;
    bool isAttached = false;
    CertInfo signCert;
    AttrCertInfo attrCert;
    std::vector<std::unique_ptr<SignInfo>> coSigners;
    std::vector<SignInfoExtension> extensions;

private:
    void _FromJson(const JsonValue& value, size_t depth);
};

// SignInfos lists the signers of one signature (type id 4, key "signInfo"), a JSON array.
class SignInfos : public CListRecord<std::unique_ptr<SignInfo>, kTypeSignInfo> {
public:
    // FromAsn1 appends one signer per SignerInfo of a decoded CMS signed data (ca/FromAsn1.cpp).
    void FromAsn1(CAsn1SignedPKCS7& cms);
};

// SignInfosArray lists the signer lists of several signatures (type id 5, key "signInfoArray"), a
// JSON array of arrays.
class SignInfosArray : public CListRecord<std::unique_ptr<SignInfos>, kTypeSignInfoArray> {};

}  // namespace ca
