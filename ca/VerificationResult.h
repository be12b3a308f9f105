#pragma once

#include <cstdint>
#include <string>

#include "ca/RecordFields.h"
#include "ca/Serializable.h"

namespace ca {

// VerificationResult carries the two outcomes of a verification, each a code and its text (type id
// 13, key "verifyResult"; also "VerifyResultEx" inside a SignInfo). A new record says that nothing
// was verified: both codes 16199, messages 27 and 480 in the language current at construction.
class VerificationResult : public ISerializable {
public:
    VerificationResult();

    void ToJson(JsonWriter& writer) const override;
    // FromJson takes each of the four keys only if present. Throws Exception(16300).
    void FromJson(const JsonValue& value) override;
    int GetType() const override { return kTypeVerifyResult; }

    uint32_t signatureResult;
    std::wstring signatureText;
    uint32_t certificateResult;
    std::wstring certificateText;
};

}  // namespace ca
