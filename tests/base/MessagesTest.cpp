#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "base/ErrorMessageHelper.h"
#include "base/Lng.h"

namespace {

// CLanguageScope switches the process-wide language and puts English back when the test ends.
class CLanguageScope {
public:
    explicit CLanguageScope(const wchar_t* name) { SetVALKOLng(name); }
    ~CLanguageScope() { SetVALKOLng(L"en"); }
    CLanguageScope(const CLanguageScope&) = delete;
    CLanguageScope& operator=(const CLanguageScope&) = delete;
};

std::string Label(uint32_t code, bool withStatus) {
    return std::to_string(code) + (withStatus ? " with status" : " without status");
}

struct SLanguageCase {
    const wchar_t* name;
    uint32_t language;
};

const SLanguageCase kLanguageNames[] = {
    {L"RU", kLangRussian},  {L"ru", kLangRussian},      {L"rU", kLangRussian},   {L"ru-RU", kLangEnglish},
    {L"", kLangEnglish},    {L"EN", kLangEnglish},      {L"r", kLangEnglish},    {L"rus", kLangEnglish},
    {L" ru", kLangEnglish}, {L"russian", kLangEnglish}, {nullptr, kLangEnglish},
};

TEST(Language, OnlyRuInAnyCaseSelectsRussian) {
    for (const auto& c : kLanguageNames) {
        SCOPED_TRACE(c.name == nullptr ? std::string("null")
                                       : ::testing::PrintToString(std::wstring(c.name)));
        CLanguageScope scope(L"ru");
        SetVALKOLng(c.name);
        EXPECT_EQ(GetVALKOLng(), c.language);
        EXPECT_STREQ(SetVALKOMessage(msg::kLanguageName),
                     c.language == kLangRussian ? L"русский" : L"english");
    }
}

TEST(Messages, IdPastTheCollectionGivesMarker) {
    for (const wchar_t* language : {L"en", L"ru"}) {
        CLanguageScope scope(language);
        for (ValkoMessage id : {kMessageCount, kMessageCount + 1, UINT32_MAX}) {
            SCOPED_TRACE(id);
            EXPECT_STREQ(SetVALKOMessage(id), L"VALKO_LANGUAGE_MESSAGE_ID_ERROR");
        }
        EXPECT_STRNE(SetVALKOMessage(kMessageCount - 1), L"VALKO_LANGUAGE_MESSAGE_ID_ERROR");
    }
}

TEST(Messages, EveryTextExistsInBothLanguagesOrNeither) {
    for (ValkoMessage id = 0; id < kMessageCount; ++id) {
        SCOPED_TRACE(id);
        std::wstring english;
        std::wstring russian;
        {
            CLanguageScope scope(L"en");
            ASSERT_NE(SetVALKOMessage(id), nullptr);
            english = SetVALKOMessage(id);
        }
        {
            CLanguageScope scope(L"ru");
            ASSERT_NE(SetVALKOMessage(id), nullptr);
            russian = SetVALKOMessage(id);
        }
        EXPECT_EQ(english.empty(), russian.empty());
    }
}

TEST(Messages, IdsUsedByTheCodeHaveTexts) {
    const ValkoMessage used[] = {msg::kNoData,
                                 msg::kStoreError,
                                 msg::kFileOperationError,
                                 msg::kCertTimeInvalid,
                                 msg::kNoErrorForCert,
                                 msg::kSignatureNotVerified,
                                 msg::kNewCurrentStore,
                                 msg::kConfigOpenFailed,
                                 msg::kConfigReadFailed,
                                 msg::kUsingDefaults,
                                 msg::kConfigErrorCaption,
                                 msg::kSignatureWritten,
                                 msg::kSignatureVerified,
                                 msg::kFullLogging,
                                 msg::kLogFileError,
                                 msg::kModuleInitialized,
                                 msg::kStoreAddressReceived,
                                 msg::kStoreAddressReceived2,
                                 msg::kSignatureValid,
                                 msg::kSignatureInvalid,
                                 msg::kDllsNotLoaded,
                                 msg::kCertificateValid,
                                 msg::kDetachedSignature,
                                 msg::kCertNotVerified,
                                 msg::kUnknownOid,
                                 msg::kUploadStart,
                                 msg::kUploadDone,
                                 msg::kUploadFailed,
                                 msg::kUploadNothing,
                                 msg::kAsn1TrailingData};
    for (const wchar_t* language : {L"en", L"ru"}) {
        CLanguageScope scope(language);
        for (ValkoMessage id : used) {
            SCOPED_TRACE(id);
            EXPECT_STRNE(SetVALKOMessage(id), L"");
        }
    }
}

struct SMessageCase {
    ValkoMessage id;
    const wchar_t* english;
    const wchar_t* russian;  // null: the Russian text is ours, only its presence is checked above
};

const SMessageCase kQuotedMessages[] = {
    {1, L"No data", nullptr},
    {27, L"Signature was not verified", nullptr},
    {227, L"Failed to read config file. Error message:\r\n\r\n", nullptr},
    {228, L"\r\n\r\nUsing default parameter values", nullptr},
    {262, L"Log mode is set to full logging.\nIn this mode operations processing may be slowed down",
     nullptr},
    {263, L"Log file creation error! Error code: ", nullptr},
    {264, L"Module initialized", nullptr},
    {290, L"Store address received", nullptr},
    {366, L"Unable to load following dlls (the program will start working without adding them): ", nullptr},
    {480, L"Certificate was not verified", nullptr},
    {508, L"Unknown OID", L"Неизвестный OID"},
    {902, L"Uploading %u bytes to %ls", nullptr},
    {937, L"The unprocessed data remained after the first block ASN1.",
     L"Остались необработанные данные после первого блока ASN1."},
};

TEST(Messages, QuotedTextsAreExact) {
    for (const auto& c : kQuotedMessages) {
        SCOPED_TRACE(c.id);
        {
            CLanguageScope scope(L"en");
            EXPECT_STREQ(SetVALKOMessage(c.id), c.english);
        }
        if (c.russian != nullptr) {
            CLanguageScope scope(L"ru");
            EXPECT_STREQ(SetVALKOMessage(c.id), c.russian);
        }
    }
}

struct SCodeCase {
    uint32_t code;
    bool withStatus;
    const wchar_t* english;
    const wchar_t* russian;
};

const SCodeCase kCodeTexts[] = {
    {0, true, L"DONE", L"DONE"},
    {0, false, L"", L""},
    {16303, true, L"ERROR Method not supported.", L"ERROR Метод не поддерживается."},
    {16303, false, L"Method not supported.", L"Метод не поддерживается."},
    {16109, true, L"DONE Invalid", L"DONE Invalid"},
    {16109, false, L"Signature is invalid", L"Подпись недействительна"},
    // The module's own codes shadow the general table and keep "ERROR " without status too.
    {16400, false, L"ERROR Loading pkcs11 library failed.", L"ERROR Ошибка загрузки библиотеки pkcs11."},
    {16401, true, L"ERROR Loading pkicore library failed.", L"ERROR Ошибка загрузки библиотеки pkicore."},
    {16401, false, L"ERROR Loading pkicore library failed.", L"ERROR Ошибка загрузки библиотеки pkicore."},
    {16402, true, L"ERROR Pin input canceled by user.", L"ERROR Ввод пина отменен пользователем."},
    {16201, true,
     L"DONE Invalid This certificate or one of the certificates in the certificate chain is not time valid",
     L"DONE Invalid Цепочка содержит просроченный или не вступивший в действие сертификат"},
    {16223, true, L"DONE Invalid A CTL used to create this chain is not valid for this usage",
     L"DONE Invalid Список доверенных сертификатов, использовавшийся для создания данной цепочки не разрешен "
     L"к "
     L"использованию"},
    {16223, false, L"A CTL used to create this chain is not valid for this usage",
     L"Список доверенных сертификатов, использовавшийся для создания данной цепочки не разрешен к "
     L"использованию"},
    {16104, true, L"NEED", L"NEED"},
    {16104, false, L"", L""},
    {50, true, L"", L""},
    {50, false, L"", L""},
    {232, true, L"ERROR No data", L"ERROR Нет данных"},
    {232, false, L"No data", L"Нет данных"},
    {16101, true, L"File operation error", L"Ошибка операции с файлом"},
    {16101, false, L"File operation error", L"Ошибка операции с файлом"},
    {16102, true, L"Certificate store error", L"Ошибка хранилища сертификатов"},
    {16123, true, L"DONE Invalid Certificate time is invalid",
     L"DONE Invalid Сертификат просрочен или еще не вступил в действие"},
    {16123, false, L"Certificate time is invalid", L"Сертификат просрочен или еще не вступил в действие"},
    {16199, true, L"DONE Signature was not verified", L"DONE Подпись не проверялась"},
    {16199, false, L"Signature was not verified", L"Подпись не проверялась"},
    {16200, true, L"DONE Valid No error found for this certificate or chain",
     L"DONE Valid Для этого сертификата или цепочки ошибок не найдено"},
    {16200, false, L"No error found for this certificate or chain",
     L"Для этого сертификата или цепочки ошибок не найдено"},
    {16116, true, L"ERROR No connection with OruCrypto Service ", L"ERROR Нет связи с сервисом OruCrypto"},
    {20002, true, L"ERROR COM error", L"ERROR Ошибка интерфейса СОМ"},
    {16253, false,
     L"Recepients list is hidden.\r\nNo certificates, matching recepients list was found in selected "
     L"certificate "
     L"storages.",
     L"Список получателей скрыт.\r\nВ выбранных хранилищах не найдены сертификаты, подходящие для "
     L"расшифровывания."},
    {16404, true, L"ERROR Can't get connection point", L"ERROR Не удалось получить точку подключения"},
    // No text: codes below 16104 outside the status rows, gaps and the ends of the tables.
    {1, true, L"", L""},
    {16103, true, L"", L""},
    {16224, true, L"", L""},
    {16405, true, L"", L""},
    {UINT32_MAX, true, L"", L""},
};

TEST(ErrorMessage, StatusAndTextByCode) {
    for (const auto& c : kCodeTexts) {
        SCOPED_TRACE(Label(c.code, c.withStatus));
        {
            CLanguageScope scope(L"en");
            EXPECT_EQ(GetErrorMessage(c.code, c.withStatus), c.english);
        }
        {
            CLanguageScope scope(L"ru");
            EXPECT_EQ(GetErrorMessage(c.code, c.withStatus), c.russian);
        }
    }
}

TEST(ErrorMessage, HelperReachesGeneralRowsOfModuleCodes) {
    const ca::ErrorMessageHelper& helper = ca::ErrorMessageHelper::Instance();
    EXPECT_EQ(helper.GetErrorMessageNoCustom(16401, true),
              L"ERROR Cryptographic library function cancelled by timeout.");
    EXPECT_EQ(helper.GetErrorMessage(16400, false),
              L"It is not possible to create a signature with a certificate without trust");
    CLanguageScope scope(L"ru");
    EXPECT_EQ(helper.GetErrorMessageCustom(16402, {}, true), L"ERROR Сообщение не является подписью CMS.");
}

TEST(ErrorMessage, EveryChainCodeIsInvalidWithItsOwnText) {
    for (const wchar_t* language : {L"en", L"ru"}) {
        CLanguageScope scope(language);
        std::wstring previous;
        for (uint32_t code = 16201; code <= 16223; ++code) {
            SCOPED_TRACE(code);
            const std::wstring bare = GetErrorMessage(code, false);
            EXPECT_FALSE(bare.empty());
            EXPECT_NE(bare, previous);
            EXPECT_EQ(GetErrorMessage(code, true), L"DONE Invalid " + bare);
            previous = bare;
        }
    }
}

TEST(ErrorMessage, CustomHandlersDoNotChangeTexts) {
    ca::ErrorMessageHelper& helper = ca::ErrorMessageHelper::Instance();
    const std::vector<std::wstring> saved = helper.Handlers();
    const std::vector<std::wstring> handlers = {L"/opt/handlers/libcustom.so", L""};
    helper.SetHandlers(handlers);
    for (uint32_t code : {0u, 232u, 16104u, 16109u, 16118u, 16205u, 16401u, 50u}) {
        for (bool withStatus : {true, false}) {
            SCOPED_TRACE(Label(code, withStatus));
            const std::wstring plain = helper.GetErrorMessageNoCustom(code, withStatus);
            EXPECT_EQ(helper.GetErrorMessage(code, withStatus), plain);
            EXPECT_EQ(helper.GetErrorMessageCustom(code, handlers, withStatus), plain);
        }
    }
    EXPECT_EQ(helper.Handlers(), handlers);
    helper.SetHandlers(saved);
}

}  // namespace
