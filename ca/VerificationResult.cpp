#include "ca/VerificationResult.h"

#include "base/Lng.h"

namespace ca {

namespace {

constexpr SField<VerificationResult> kVerificationResultFields[] = {
    Field<&VerificationResult::signatureResult>("SignatureVerifyResult"),
    Field<&VerificationResult::signatureText>("SignatureVerifyResultString"),
    Field<&VerificationResult::certificateResult>("CertificateVerifyResult"),
    Field<&VerificationResult::certificateText>("CertificateVerifyResultString"),
};

}  // namespace

VerificationResult::VerificationResult()
    : signatureResult(kSignatureNotVerified),
      signatureText(SetVALKOMessage(msg::kSignatureNotVerified)),
      certificateResult(kSignatureNotVerified),
      certificateText(SetVALKOMessage(msg::kCertNotVerified)) {}

void VerificationResult::ToJson(JsonWriter& writer) const {
    WriteObject(*this, kVerificationResultFields, writer);
}

void VerificationResult::FromJson(const JsonValue& value) {
    ReadFields(*this, kVerificationResultFields, value);
}

}  // namespace ca
