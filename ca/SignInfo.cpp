#include "ca/SignInfo.h"

namespace ca {

namespace {

constexpr SField<SignInfoExtension> kSignInfoExtensionFields[] = {
    Field<&SignInfoExtension::extensionName>("ExtensionName"),
    Field<&SignInfoExtension::extensionOid>("ExtensionOID"),
    Field<&SignInfoExtension::extensionInterpretedString>("ExtensionInterpretedString"),
    Field<&SignInfoExtension::extensionInterpretedData>("ExtensionInterpretedData"),
};

constexpr SField<SignInfo> kSignInfoFields[] = {
    Field<&SignInfo::verifyResultEx>("VerifyResultEx"),
    Field<&SignInfo::verifyResult>("VerifyResult"),
    Field<&SignInfo::signId>("SignId"),
    Field<&SignInfo::comment>("Comment"),
    Field<&SignInfo::uri>("Uri"),
    Field<&SignInfo::signTime>("SignTime"),
    Field<&SignInfo::signTimeUTC>("SignTimeUTC"),
    Field<&SignInfo::signAlg>("SignAlg"),
    Field<&SignInfo::hashAlg>("HashAlg"),
    Field<&SignInfo::isAttached>("IsAttached"),
    Field<&SignInfo::signCert>("SignCert"),
    Field<&SignInfo::attrCert>("AttrCert"),
    RecursiveField<&SignInfo::coSigners>("CoSigners"),
    Field<&SignInfo::extensions>("Extensions"),
};

}  // namespace

void SignInfoExtension::ToJson(JsonWriter& writer) const {
    WriteObject(*this, kSignInfoExtensionFields, writer);
}
void SignInfoExtension::FromJson(const JsonValue& value) {
    ReadFields(*this, kSignInfoExtensionFields, value);
}

void SignInfo::ToJson(JsonWriter& writer) const { WriteObject(*this, kSignInfoFields, writer); }

void SignInfo::FromJson(const JsonValue& value) { _FromJson(value, 0); }

void SignInfo::_FromJson(const JsonValue& value, size_t depth) {
    if (depth > kMaxRecordNesting) {
        throw Exception(kJsonError);
    }
    ReadFields(*this, kSignInfoFields, value);
    const JsonValue* list = FindMember(value, "CoSigners");
    if (list == nullptr) {
        return;
    }
    if (!list->IsArray()) {
        throw Exception(kJsonError);
    }
    std::vector<std::unique_ptr<SignInfo>> read;
    read.reserve(list->Size());
    for (const JsonValue& element : list->GetArray()) {
        read.push_back(std::make_unique<SignInfo>());
        read.back()->_FromJson(element, depth + 1);
    }
    coSigners = std::move(read);
}

}  // namespace ca
