#pragma once

#include <cstdint>

namespace ca {

// Response codes. Texts live in the message tables (module/ErrorMessageHelper.cpp).
constexpr uint32_t kOk = 0;
constexpr uint32_t kPrivateKeyDenied = 50;  // deliberately without text
constexpr uint32_t kNoDataShort = 232;
constexpr uint32_t kFileOperationError = 16101;
constexpr uint32_t kStoreError = 16102;
constexpr uint32_t kNeedCert = 16104;
constexpr uint32_t kSignatureInvalid = 16109;
constexpr uint32_t kNoDataInArgs = 16118;
constexpr uint32_t kCertTimeInvalid = 16123;
constexpr uint32_t kExecutionError = 16197;
constexpr uint32_t kSignatureNotVerified = 16199;
constexpr uint32_t kCertValid = 16200;
constexpr uint32_t kChainFirst = 16201;
constexpr uint32_t kChainLast = 16223;
constexpr uint32_t kWrongStoreAddress = 16252;
constexpr uint32_t kConnectionError = 16263;      // HTTP: no connection, time-out, transfer failure
constexpr uint32_t kServerError = 16264;          // HTTP: server answered with status >= 400
constexpr uint32_t kIncorrectParameters = 16268;  // another client's stream, too many open streams
constexpr uint32_t kJsonError = 16300;
constexpr uint32_t kFileNotFound = 16301;
constexpr uint32_t kCurlInitError = 16302;  // libcurl.so.4 or one of its symbols is missing
constexpr uint32_t kMethodNotSupported = 16303;
constexpr uint32_t kUploadError = 16305;
constexpr uint32_t kBadData = 16306;
constexpr uint32_t kPkcs11LoadFailed = 16400;
constexpr uint32_t kPkiCoreLoadFailed = 16401;
constexpr uint32_t kPinCancelled = 16402;

// ASN.1 layer (asn1/): the data ends before a block does; nested blocks overrun their parent (strict
// nesting) or nest too deep; a block's identifier does not fit the expected type.
constexpr uint32_t kAsn1EndOfData = 0x80093102;
constexpr uint32_t kAsn1CorruptData = 0x80093103;
constexpr uint32_t kAsn1BadTag = 0x8009310B;

}  // namespace ca
