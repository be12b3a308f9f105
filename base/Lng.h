#pragma once

#include <cstdint>

// ValkoMessage indexes the bilingual message collection (0 .. kMessageCount - 1).
using ValkoMessage = uint32_t;

constexpr uint32_t kLangEnglish = 1033;
constexpr uint32_t kLangRussian = 1049;
constexpr uint32_t kMessageCount = 939;

// Message identifiers the code refers to by name.
namespace msg {
constexpr ValkoMessage kLanguageName = 0;
constexpr ValkoMessage kNoData = 1;
constexpr ValkoMessage kStoreError = 23;
constexpr ValkoMessage kFileOperationError = 24;
constexpr ValkoMessage kCertTimeInvalid = 25;
constexpr ValkoMessage kNoErrorForCert = 26;
constexpr ValkoMessage kSignatureNotVerified = 27;
constexpr ValkoMessage kNewCurrentStore = 132;
constexpr ValkoMessage kConfigOpenFailed = 151;
constexpr ValkoMessage kConfigReadFailed = 227;
constexpr ValkoMessage kUsingDefaults = 228;
constexpr ValkoMessage kConfigErrorCaption = 229;
constexpr ValkoMessage kSignatureWritten = 247;
constexpr ValkoMessage kSignatureVerified = 257;
constexpr ValkoMessage kFullLogging = 262;
constexpr ValkoMessage kLogFileError = 263;
constexpr ValkoMessage kModuleInitialized = 264;
constexpr ValkoMessage kStoreAddressReceived = 289;
constexpr ValkoMessage kStoreAddressReceived2 = 290;
constexpr ValkoMessage kSignatureValid = 321;
constexpr ValkoMessage kSignatureInvalid = 322;
constexpr ValkoMessage kDllsNotLoaded = 366;
constexpr ValkoMessage kCertificateValid = 390;
constexpr ValkoMessage kDetachedSignature = 396;
constexpr ValkoMessage kCertNotVerified = 480;
constexpr ValkoMessage kUnknownOid = 508;
constexpr ValkoMessage kUploadStart = 902;
constexpr ValkoMessage kUploadDone = 903;
constexpr ValkoMessage kUploadFailed = 904;
constexpr ValkoMessage kUploadNothing = 905;
constexpr ValkoMessage kAsn1TrailingData = 937;
}  // namespace msg

// SetVALKOLng selects Russian for "ru" (any case) and English for anything else.
void SetVALKOLng(const wchar_t* name);

// GetVALKOLng returns 1033, 1049, or 0 before any selection (read as English).
uint32_t GetVALKOLng();

// SetVALKOMessage returns the text of id in the current language (static storage); ids past the
// collection give "VALKO_LANGUAGE_MESSAGE_ID_ERROR".
const wchar_t* SetVALKOMessage(ValkoMessage id);
