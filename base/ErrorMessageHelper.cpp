#include "base/ErrorMessageHelper.h"

#include <cstddef>
#include <iterator>

#include "base/Binding.h"
#include "base/ErrorCodes.h"
#include "base/Lng.h"

namespace {

// SCodeRow is one error code with its English and Russian texts.
struct SCodeRow {
    uint32_t code;
    const wchar_t* english;
    const wchar_t* russian;
};

// The module's own codes; they win over the general table's rows for the same numbers.
constexpr SCodeRow kModuleCodes[] = {
    {ca::kPkcs11LoadFailed, L"Loading pkcs11 library failed.", L"Ошибка загрузки библиотеки pkcs11."},
    {ca::kPkiCoreLoadFailed, L"Loading pkicore library failed.", L"Ошибка загрузки библиотеки pkicore."},
    {ca::kPinCancelled, L"Pin input canceled by user.", L"Ввод пина отменен пользователем."},
};

// Searched in this order, first match wins.
constexpr SCodeRow kGeneralCodes[] = {
    {16126, L"Certificate file operation error", L"Ошибка операции с файлом сертификата"},
    {16125, L"Signature file operation error", L"Ошибка операции с файлом подписи"},
    {16127, L"Data file operation error", L"Ошибка операции с файлом данных"},
    {16128, L"CRL file operation error", L"Ошибка операции с файлом списка отозванных сертификатов"},
    {16113, L"Certificate error", L"Ошибка в структуре сертификата"},
    {16116, L"No connection with OruCrypto Service ", L"Нет связи с сервисом OruCrypto"},
    {ca::kNoDataInArgs, L"No data in argument(s)", L"Пустой аргумент"},
    {16131, L"Function unavailable. Working in service mode",
     L"Функция не доступна при работе в режиме службы"},
    {16132, L"Temp file operation error", L"Ошибка операции с временным файлом"},
    {ca::kExecutionError, L"Execution error", L"Ошибка выполнения операции"},
    {16198, L"Missversion of components", L"Версии компонентов не совпадают"},
    {16250, L"Stores enumeration error", L"Ошибка получения списка хранилищ сертификатов"},
    {16251, L"Certificates enumeration error", L"Ошибка получения списка сертификатов"},
    {ca::kWrongStoreAddress, L"Wrong store address", L"Ошибочный адрес хранилища"},
    {16253,
     L"Recepients list is hidden.\r\nNo certificates, matching recepients list was found in selected "
     L"certificate storages.",
     L"Список получателей скрыт.\r\nВ выбранных хранилищах не найдены сертификаты, подходящие для "
     L"расшифровывания."},
    {16254, L"Spefcified recepient certificate identifier is not in the recepients list",
     L"Указанный идентификатор сертификата получателя не найден во внутреннем списке идентификаторов "
     L"сертификатов получателей"},
    {20002, L"COM error", L"Ошибка интерфейса СОМ"},
    {16255, L"Module %s not loaded", L"Не удалось загрузить модуль %s"},
    {16256, L"The application is running. Please close the application and retry.",
     L"Приложение запущено. Пожалуйста, закройте приложение и повторите попытку."},
    {16257, L"The archive is either in unknown format or damaged.",
     L"Архив имеет неизвестный формат или поврежден."},
    {16258, L"Module %s not found", L"Модуль %s не найден"},
    {16259, L"Module %s not initialized", L"Не удалось инициализировать модуль %s"},
    {16260, L"No associated appilation to open this file",
     L"Нет связанного приложения для открытия данного файла"},
    {16261, L"The user cancelled the dialog box", L"Пользователь отменил выбор файла"},
    {16262, L"Wrong file format", L"Неверный формат файла"},
    {ca::kConnectionError, L"Connection error", L"Невозможно соединиться с сервером"},
    {ca::kServerError, L"Server error", L"Ошибка сервера"},
    {16265, L"Application not found", L"Приложение не найдено"},
    {16266, L"Application exited with error", L"Приложение завершилось с ошибкой"},
    {16267, L"No scanner device was found.", L"Сканер не найден."},
    {ca::kIncorrectParameters, L"Incorrect parameters.", L"Параметры операции заданы неверно."},
    {ca::kJsonError, L"Error parsing JSON.", L"Ошибка парсинга JSON."},
    {ca::kFileNotFound, L"File not found.", L"Файл не найден."},
    {ca::kCurlInitError, L"Error initializing CURL.", L"Ошибка инициализации CURL."},
    {ca::kMethodNotSupported, L"Method not supported.", L"Метод не поддерживается."},
    {16304, L"No available recipient certificates in current store set.",
     L"Нет доступных сертификатов получателей зашифрованного сообщения в текущих хранилищах."},
    {ca::kUploadError, L"Error occured during upload operation: ",
     L"Произошла ошибка во время загрузки данных: "},
    {ca::kBadData, L"Bad data", L"Плохие данные"},
    {16307, L"Need more data tp complete operation.",
     L"Необходимы дополнительные данные для завершения операции."},
    {16308, L"The selected file doesn't contain signed data",
     L"Выбранный файл не содержит подписанных данных"},
    {16309, L"Couldn't get certificate's status from Oru.CertMan. %s",
     L"Не удалось получить статус сертификата от Oru.CertMan. %s"},
    {16400, L"It is not possible to create a signature with a certificate without trust",
     L"Установлен запрет формирования ЭП, если сертификату нет доверия"},
    {16401, L"Cryptographic library function cancelled by timeout.",
     L"Вызов функции криптографической библиотеки отменен по истечению времени ожидания."},
    {16402, L"Message is not CMS Signed Data.", L"Сообщение не является подписью CMS."},
    {16403, L"Time stamp was not added. %s", L"Не удалось добавить штамп времени. %s"},
    {16404, L"Can't get connection point", L"Не удалось получить точку подключения"},
};

// Certificate chain status, indexed by code - ca::kChainFirst.
constexpr SCodeRow kChainCodes[] = {
    {16201, L"This certificate or one of the certificates in the certificate chain is not time valid",
     L"Цепочка содержит просроченный или не вступивший в действие сертификат"},
    {16202, L"Certificates in the chain are not properly time nested",
     L"Цепочка содержит сертификат с ошибочным статусом времени"},
    {16203,
     L"Trust for this certificate or one of the certificates in the certificate chain has been revoked",
     L"Цепочка содержит отозванный сертификат"},
    {16204,
     L"The certificate or one of the certificates in the certificate chain does not have a valid signature",
     L"Цепочка содержит сертификат с недействительной цифровой подписью"},
    {16205, L"The certificate or certificate chain is not valid for its proposed usage.",
     L"Цепочка содержит сертификат, не разрешёный к выбранному типу использования"},
    {16206, L"The certificate or certificate chain is based on an untrusted root",
     L"Корневой сертификат цепочки не является доверенным"},
    {16207,
     L"The revocation status of the certificate or one of the certificates in the certificate chain is "
     L"unknown",
     L"Цепочка содержит сертификат, статус отозванности которого не известен"},
    {16208,
     L"One of the certificates in the chain was issued by a certification authority that the original "
     L"certificate had certified",
     L"Один из сертификатов цепочки был выдан удостоверяющим центром, корневой сертификат которого подписан "
     L"этим же сертификатом"},
    {16209, L"One of the certificates has an invalid extension",
     L"Ошибочное расширение у одного из сертификатов в цепочке"},
    {16210,
     L"The certificate or one of the certificates in the certificate chain has a policy constraints "
     L"extension, and one of the issued certificates has a disallowed policy mapping extension or does not "
     L"have a required issuance policies extension",
     L"У одного из сертификатов в цепочке есть расширение ограничения политик, а у одного из выданных "
     L"сертификатов есть расширение, использующее запрещенную политику или отсутствуют необходимое "
     L"расширение политик выдачи"},
    {16211,
     L"The certificate or one of the certificates in the certificate chain has a basic constraints extension "
     L"and either the certificate cannot be used to issue other certificates or the chain path length has "
     L"been exceeded",
     L"У одного из сертификатов в цепочке есть расширение основных ограничений и либо сертификат не может "
     L"использоваться для того, чтобы выдавать другие сертификаты, либо превышена максимальная длина пути "
     L"цепочки"},
    {16212,
     L"The certificate or one of the certificates in the certificate chain has an invalid name constraints "
     L"extension",
     L"У одного из сертификатов в цепочке есть неверное расширение ограничений имен"},
    {16213,
     L"The certificate or one of the certificates in the certificate chain has a name constraints extension "
     L"containing unsupported fields.",
     L"У одного из сертификатов в цепочке есть расширение ограничений имен, содержащее неподдерживаемые "
     L"поля"},
    {16214,
     L"The certificate or one of the certificates in the certificate chain has a name constraints extension "
     L"and a name constraint is missing for one of the name choices in the end certificate",
     L"У одного из сертификатов в цепочке есть расширение ограничений имен и для одного из имен в конечном "
     L"сертификате отсутствует необходимое ограничение"},
    {16215,
     L"The certificate or one of the certificates in the certificate chain has a name constraints extension "
     L"and there is not a permitted name constraint for one of the name choices in the end certificate",
     L"У одного из сертификатов в цепочке есть расширение ограничений имен и для одного из имен в конечном "
     L"сертификате есть запрещающее его ограничение"},
    {16216,
     L"The certificate or one of the certificates in the certificate chain has a name constraints extension "
     L"and one of the name choices in the end certificate is explicitly excluded",
     L"У одного из сертификатов в цепочке есть расширение ограничений имен и для одно из имен в конечном "
     L"сертификате является однозначно исключенным"},
    {16217,
     L"The revocation status of the certificate or one of the certificates in the certificate chain is "
     L"either off-line or stale",
     L"У одного из сертификатов в цепочке истек срок действия списка отозванности и не удается скачать "
     L"обновление списка"},
    {16218,
     L"The end certificate does not have any resultant issuance policies, and one of the issuing CA "
     L"certificates has a policy constraints extension requiring it.",
     L"В конечном сертификате отсутствуют политики выдачи сертификатов, а в одном из сертификатов "
     L"удостоверяющих центров, выдававших сертификаты для данной цепочти есть расширение ограничения "
     L"политик, требующее их наличие"},
    {16219, L"The certificate is explicitly distrusted", L"Сертификат не является доверенным"},
    {16220, L"The certificate chain is not compete", L"Цепочка сертификатов не полная"},
    {16221, L"A CTL used to create this chain was not time valid",
     L"Срок действия списка доверенных сертификатов, использовавшийся для создания данной цепочки истек или "
     L"еще не начался"},
    {16222, L"A CTL used to create this chain did not have a valid signature",
     L"Цифровая подпись списка доверенных сертификатов, использовавшегося для создания данной цепочки "
     L"неверна"},
    {16223, L"A CTL used to create this chain is not valid for this usage",
     L"Список доверенных сертификатов, использовавшийся для создания данной цепочки не разрешен к "
     L"использованию"},
};

constexpr bool ChainRowsFollowCodes() {
    for (size_t i = 0; i < std::size(kChainCodes); ++i) {
        if (kChainCodes[i].code != ca::kChainFirst + i) {
            return false;
        }
    }
    return true;
}
static_assert(ChainRowsFollowCodes() && ca::kChainFirst + std::size(kChainCodes) - 1 == ca::kChainLast,
              "one chain row per code, in order");
static_assert(std::size(kModuleCodes) == 3 && std::size(kGeneralCodes) == 46);

constexpr ValkoMessage kNoMessage = kMessageCount;

// SStatusRow is a code whose answer is a status word and/or a numbered message rather than a table
// text. The message may differ when the status is left out (16109 then says why it is invalid).
struct SStatusRow {
    uint32_t code;
    const wchar_t* status;
    ValkoMessage withStatus;
    ValkoMessage withoutStatus;
};

constexpr SStatusRow kStatusCodes[] = {
    {ca::kNeedCert, L"NEED", kNoMessage, kNoMessage},
    {ca::kOk, L"DONE", kNoMessage, kNoMessage},
    {ca::kNoDataShort, L"ERROR ", msg::kNoData, msg::kNoData},
    {ca::kFileOperationError, L"", msg::kFileOperationError, msg::kFileOperationError},
    {ca::kStoreError, L"", msg::kStoreError, msg::kStoreError},
    {ca::kSignatureInvalid, L"DONE Invalid", kNoMessage, msg::kSignatureInvalid},
    {ca::kCertTimeInvalid, L"DONE Invalid ", msg::kCertTimeInvalid, msg::kCertTimeInvalid},
    {ca::kSignatureNotVerified, L"DONE ", msg::kSignatureNotVerified, msg::kSignatureNotVerified},
    {ca::kCertValid, L"DONE Valid ", msg::kNoErrorForCert, msg::kNoErrorForCert},
};

const wchar_t* Localized(const SCodeRow& row) {
    return GetVALKOLng() == kLangRussian ? row.russian : row.english;
}

std::wstring StatusText(uint32_t code, bool withStatus) {
    for (const SStatusRow& row : kStatusCodes) {
        if (row.code == code) {
            std::wstring text = withStatus ? row.status : L"";
            const ValkoMessage id = withStatus ? row.withStatus : row.withoutStatus;
            if (id != kNoMessage) {
                text += SetVALKOMessage(id);
            }
            return text;
        }
    }
    return std::wstring();
}

}  // namespace

std::wstring GetErrorMessage(uint32_t code, bool withStatus) {
    for (const SCodeRow& row : kModuleCodes) {
        if (row.code == code) {
            // Deliberate: the module's own codes always carry "ERROR ", whatever withStatus says.
            return std::wstring(L"ERROR ") + Localized(row);
        }
    }
    return ca::ErrorMessageHelper::Instance().GetErrorMessage(code, withStatus);
}

namespace ca {

std::wstring ErrorMessageHelper::GetErrorMessage(uint32_t code, bool withStatus) const {
    return GetErrorMessageCustom(code, Handlers(), withStatus);
}

std::wstring ErrorMessageHelper::GetErrorMessageNoCustom(uint32_t code, bool withStatus) const {
    return GetErrorMessageCustom(code, {}, withStatus);
}

// The handler list is part of the helper's contract with the configuration, but no handler changes
// a text of this module.
std::wstring ErrorMessageHelper::GetErrorMessageCustom(uint32_t code, const std::vector<std::wstring>&,
                                                       bool withStatus) const {
    std::wstring text = StatusText(code, withStatus);
    if (!text.empty()) {
        return text;
    }
    const std::wstring error = withStatus ? L"ERROR " : L"";
    for (const SCodeRow& row : kGeneralCodes) {
        if (row.code == code) {
            return error + Localized(row);
        }
    }
    if (code >= ca::kChainFirst && code <= ca::kChainLast) {
        const std::wstring invalid = withStatus ? L"DONE Invalid " : L"";
        return invalid + Localized(kChainCodes[code - ca::kChainFirst]);
    }
    // Deliberate: an unknown code (50, anything below 232 but 0) has no text; the host shows the code.
    return std::wstring();
}

void ErrorMessageHelper::SetHandlers(std::vector<std::wstring> inHandlers) {
    CurrentBinding().customErrorHandlers = std::move(inHandlers);
}

const std::vector<std::wstring>& ErrorMessageHelper::Handlers() const {
    return CurrentBinding().customErrorHandlers;
}

ErrorMessageHelper& ErrorMessageHelper::Instance() {
    static ErrorMessageHelper helper;  // stateless: what it keeps lives in the binding
    return helper;
}

}  // namespace ca
