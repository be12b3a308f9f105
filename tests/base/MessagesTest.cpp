#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "base/ErrorCodes.h"
#include "base/ErrorMessageHelper.h"
#include "base/Exception.h"
#include "base/Lng.h"
#include "base/Log.h"
#include "tests/support/TestSupport.h"

namespace {

TEST(Language, OnlyRuInAnyCaseSelectsRussian) {
    const std::pair<const wchar_t*, uint32_t> cases[] = {
        {L"RU", kLangRussian},  {L"ru", kLangRussian},      {L"rU", kLangRussian},  {L"ru-RU", kLangEnglish},
        {L"", kLangEnglish},    {L"EN", kLangEnglish},      {L"r", kLangEnglish},   {L"rus", kLangEnglish},
        {L" ru", kLangEnglish}, {L"russian", kLangEnglish}, {nullptr, kLangEnglish}};
    for (const auto& [name, language] : cases) {
        SCOPED_TRACE(name == nullptr ? std::string("null") : ::testing::PrintToString(std::wstring(name)));
        CLanguageScope scope(L"ru");
        SetVALKOLng(name);
        EXPECT_EQ(GetVALKOLng(), language);
        EXPECT_STREQ(SetVALKOMessage(msg::kLanguageName), language == kLangRussian ? L"русский" : L"english");
    }
}

TEST(Messages, IdPastTheCollectionGivesMarker) {
    for (const wchar_t* language : {L"en", L"ru"}) {
        CLanguageScope scope(language);
        for (ValkoMessage id : {kMessageCount, kMessageCount + 1, UINT32_MAX}) {
            EXPECT_STREQ(SetVALKOMessage(id), L"VALKO_LANGUAGE_MESSAGE_ID_ERROR") << id;
        }
        EXPECT_STRNE(SetVALKOMessage(kMessageCount - 1), L"VALKO_LANGUAGE_MESSAGE_ID_ERROR");
    }
}

// One code of each kind: the English texts with the status word and without.
TEST(ErrorMessage, StatusAndTextByCode) {
    const std::tuple<uint32_t, const wchar_t*, const wchar_t*> codes[] = {
        {0, L"DONE", L""},
        {16303, L"ERROR Method not supported.", L"Method not supported."},
        {16109, L"DONE Invalid", L"Signature is invalid"},
        // The module's own codes shadow the general table and keep "ERROR " without status too.
        {16401, L"ERROR Loading pkicore library failed.", L"ERROR Loading pkicore library failed."},
        {16104, L"NEED", L""},
        {50, L"", L""},
        {16101, L"File operation error", L"File operation error"},
        {16123, L"DONE Invalid Certificate time is invalid", L"Certificate time is invalid"},
        {16199, L"DONE Signature was not verified", L"Signature was not verified"},
        {16200, L"DONE Valid No error found for this certificate or chain",
         L"No error found for this certificate or chain"},
        // No text: codes below 16104 outside the status rows, gaps and the ends of the tables.
        {1, L"", L""},
        {16103, L"", L""},
        {16224, L"", L""},
        {16405, L"", L""},
        {UINT32_MAX, L"", L""}};
    CLanguageScope language(L"en");
    for (const auto& [code, status, bare] : codes) {
        EXPECT_EQ(GetErrorMessage(code, true), status) << code;
        EXPECT_EQ(GetErrorMessage(code, false), bare) << code;
    }
    SetVALKOLng(L"ru");
    EXPECT_EQ(GetErrorMessage(16303, true), L"ERROR Метод не поддерживается.");
    EXPECT_EQ(GetErrorMessage(16400, false), L"ERROR Ошибка загрузки библиотеки pkcs11.");
}

// One text per chain code is checked where the table is built; each reads as an invalid result.
TEST(ErrorMessage, EveryChainCodeIsInvalid) {
    for (uint32_t code = 16201; code <= 16223; ++code) {
        const std::wstring bare = GetErrorMessage(code, false);
        EXPECT_FALSE(bare.empty()) << code;
        EXPECT_EQ(GetErrorMessage(code, true), L"DONE Invalid " + bare) << code;
    }
}

// The helper's own lookups still reach the general rows that the module's codes shadow, and custom
// handlers are kept but change no text.
TEST(ErrorMessage, HelperLookupsAndCustomHandlers) {
    ca::ErrorMessageHelper& helper = ca::ErrorMessageHelper::Instance();
    EXPECT_EQ(helper.GetErrorMessageNoCustom(16401, true),
              L"ERROR Cryptographic library function cancelled by timeout.");
    EXPECT_EQ(helper.GetErrorMessage(16400, false),
              L"It is not possible to create a signature with a certificate without trust");
    {
        CLanguageScope scope(L"ru");
        EXPECT_EQ(helper.GetErrorMessageCustom(16402, {}, true),
                  L"ERROR Сообщение не является подписью CMS.");
    }
    const std::vector<std::wstring> saved = helper.Handlers();
    const std::vector<std::wstring> handlers = {L"/opt/handlers/libcustom.so", L""};
    helper.SetHandlers(handlers);
    for (uint32_t code : {0u, 232u, 16104u, 16109u, 16118u, 16205u, 16401u, 50u}) {
        for (bool withStatus : {true, false}) {
            SCOPED_TRACE(code);
            const std::wstring plain = helper.GetErrorMessageNoCustom(code, withStatus);
            EXPECT_EQ(helper.GetErrorMessage(code, withStatus), plain);
            EXPECT_EQ(helper.GetErrorMessageCustom(code, handlers, withStatus), plain);
        }
    }
    EXPECT_EQ(helper.Handlers(), handlers);
    helper.SetHandlers(saved);
}

TEST(Log, UnboundCallbackReportsFalse) {
    LogInit(nullptr, {});
    EXPECT_FALSE(LogEvent(L"x", false));
    EXPECT_FALSE(ca::LogEventFmt(L"%d", true, 5));
    ca::LogError(L"detail", L"ctx", 0, false);  // nothing to fail
}

TEST(Log, FormattedLinesHaveNoLengthLimit) {
    CLogScope log;
    const std::wstring longText(100000, L'\u0416');
    EXPECT_TRUE(ca::LogEventFmt(L"[%ls] %u", false, longText.c_str(), 7u));
    EXPECT_EQ(log.Take(), (std::vector<SLogLine>{{L"[" + longText + L"] 7", false}}));
}

TEST(Log, LogErrorWritesTwoLinesAndMayThrow) {
    CLogScope log;
    try {
        ca::LogError(L"CryptoModule:95", L"", ca::kMethodNotSupported, true);
        ADD_FAILURE() << "no exception";
    } catch (const ca::Exception& e) {
        EXPECT_EQ(e.code, ca::kMethodNotSupported);
        EXPECT_EQ(e.message, L"Method not supported.");
    }
    EXPECT_EQ(log.Take(), (std::vector<SLogLine>{{L": CryptoModule:95", true},
                                                 {L": ERROR Method not supported.", true}}));
    EXPECT_EQ(ca::GetLineString("CryptAsn1Base", 190, "Nov 22 2026"), L"CryptAsn1Base:190");
}

}  // namespace
