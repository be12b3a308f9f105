#pragma once

// The request's method numbers ("mode"), each named after the operation it runs. 11, 24 and 42
// run none and succeed; 43 has no method and answers 16303. Those four need no client context.
#include <cstdint>

namespace ca {

constexpr uint32_t kModeNoOp11 = 11;  // still needs private-key access
constexpr uint32_t kModeSign = 14;
constexpr uint32_t kModeVerify = 15;
constexpr uint32_t kModeSetCert = 21;
constexpr uint32_t kModeGetCertInfo = 22;
constexpr uint32_t kModeNoOp24 = 24;
constexpr uint32_t kModeCertValidation = 25;
constexpr uint32_t kModeSign27 = 27;  // Sign again: what a StreamSign's final chunk runs as
constexpr uint32_t kModeGetSignInfo = 29;
constexpr uint32_t kModeGetCertInfo2 = 34;
constexpr uint32_t kModeGetCert = 35;
constexpr uint32_t kModeSetCurStore = 36;
constexpr uint32_t kModeEnumStore = 37;
constexpr uint32_t kModeEnumCerts = 38;
constexpr uint32_t kModeNoOp42 = 42;
constexpr uint32_t kModeUnsupported43 = 43;
constexpr uint32_t kModeGetSignType = 44;
constexpr uint32_t kModeSetCert2 = 45;
constexpr uint32_t kModeGetCurStore = 47;
constexpr uint32_t kModeCreateHash = 50;
// The stream modes feed Sign, Verify, GetSignInfo and the hash in chunks over several calls.
constexpr uint32_t kModeStreamSign = 53;
constexpr uint32_t kModeStreamVerify = 54;
constexpr uint32_t kModeStreamGetSignInfo = 55;
constexpr uint32_t kModeSignHash = 56;
constexpr uint32_t kModeGetSignInfo2 = 57;
constexpr uint32_t kModeReleaseClient = 61;
constexpr uint32_t kModeStreamHash = 63;
constexpr uint32_t kModeParseCert = 65;

}  // namespace ca
