#include "module/Lng.h"

#include <array>
#include <cstddef>
#include <cwctype>
#include <iterator>
#include <string>

namespace {

// SMessageRow is one numbered text in both languages; identifiers without a row read as L"".
struct SMessageRow {
    ValkoMessage id;
    const wchar_t* english;
    const wchar_t* russian;
};

// Sparse on purpose: only the identifiers the module uses have texts.
constexpr SMessageRow kMessageRows[] = {
    {0, L"english", L"русский"},
    {1, L"No data", L"Нет данных"},
    {23, L"Certificate store error", L"Ошибка хранилища сертификатов"},
    {24, L"File operation error", L"Ошибка операции с файлом"},
    {25, L"Certificate time is invalid", L"Сертификат просрочен или еще не вступил в действие"},
    {26, L"No error found for this certificate or chain",
     L"Для этого сертификата или цепочки ошибок не найдено"},
    {27, L"Signature was not verified", L"Подпись не проверялась"},
    {132, L"New Current Store received", L"Получено новое текущее хранилище"},
    {151, L"Failed to open(create) configuration file", L"Не удалось открыть(создать) файл конфигурации"},
    {227, L"Failed to read config file. Error message:\r\n\r\n",
     L"Не удалось прочитать файл конфигурации. Сообщение об ошибке:\r\n\r\n"},
    {228, L"\r\n\r\nUsing default parameter values",
     L"\r\n\r\nИспользуются значения параметров по умолчанию"},
    {229, L"Error reading config file", L"Ошибка чтения файла конфигурации"},
    {247, L"Signature message written to packet", L"Сообщение с подписью записано в пакет"},
    {257, L"Signature verified", L"Подпись проверена"},
    {262, L"Log mode is set to full logging.\nIn this mode operations processing may be slowed down",
     L"Включен режим полного журналирования.\nВ этом режиме обработка операций может замедлиться"},
    {263, L"Log file creation error! Error code: ", L"Ошибка создания файла журнала! Код ошибки: "},
    {264, L"Module initialized", L"Модуль инициализирован"},
    {289, L"StoreAddress received", L"Получен StoreAddress"},
    {290, L"Store address received", L"Получен адрес хранилища"},
    {321, L"Signature is valid", L"Подпись действительна"},
    {322, L"Signature is invalid", L"Подпись недействительна"},
    {366, L"Unable to load following dlls (the program will start working without adding them): ",
     L"Не удалось загрузить следующие библиотеки dll (программа начнет работу без них): "},
    {390, L"Certificate is valid", L"Сертификат действителен"},
    {396, L"detached signature", L"отсоединенная подпись"},
    {480, L"Certificate was not verified", L"Сертификат не проверялся"},
    {508, L"Unknown OID", L"Неизвестный OID"},
    {902, L"Uploading %u bytes to %ls", L"Отправка %u байт по адресу %ls"},
    {903, L"Upload finished, the server answered with %u bytes",
     L"Отправка завершена, ответ сервера: %u байт"},
    {904, L"Upload failed with code %u", L"Отправка завершилась ошибкой с кодом %u"},
    {905, L"Nothing to upload: the request has no upload address or the response has no file data",
     L"Нечего отправлять: в запросе нет адреса для отправки или в ответе нет данных файла"},
    {937, L"The unprocessed data remained after the first block ASN1.",
     L"Остались необработанные данные после первого блока ASN1."},
};

constexpr bool IsEmpty(const wchar_t* text) { return text == nullptr || text[0] == L'\0'; }

constexpr bool RowsAreValid() {
    for (size_t i = 0; i < std::size(kMessageRows); ++i) {
        const SMessageRow& row = kMessageRows[i];
        if (row.id >= kMessageCount || (i > 0 && row.id <= kMessageRows[i - 1].id)) {
            return false;
        }
        if (IsEmpty(row.english) || IsEmpty(row.russian)) {
            return false;
        }
    }
    return true;
}

constexpr bool IsConversion(wchar_t c) {
    for (const wchar_t* p = L"diouxXeEfFgGaAcspn%"; *p != L'\0'; ++p) {
        if (*p == c) {
            return true;
        }
    }
    return false;
}

// NextDirective moves text past the next printf directive and returns its start, or nullptr.
constexpr const wchar_t* NextDirective(const wchar_t*& text) {
    while (*text != L'\0' && *text != L'%') {
        ++text;
    }
    if (*text == L'\0') {
        return nullptr;
    }
    const wchar_t* start = text++;
    while (*text != L'\0' && !IsConversion(*text)) {
        ++text;
    }
    if (*text != L'\0') {
        ++text;
    }
    return start;
}

constexpr size_t Count(const wchar_t* text, wchar_t c) {
    size_t n = 0;
    for (; *text != L'\0'; ++text) {
        n += *text == c ? 1 : 0;
    }
    return n;
}

constexpr bool EndsWithBlank(const wchar_t* text) {
    const wchar_t* last = text;
    for (; *text != L'\0'; ++text) {
        last = text;
    }
    return *last == L' ';
}

// SameShape: both translations carry the same printf directives in the same order, the same line
// breaks and the same trailing blank, so callers can format and concatenate either language alike.
constexpr bool SameShape(const wchar_t* a, const wchar_t* b) {
    for (;;) {
        const wchar_t* da = NextDirective(a);
        const wchar_t* db = NextDirective(b);
        if (da == nullptr || db == nullptr) {
            if (da != db) {
                return false;
            }
            break;
        }
        for (; da != a; ++da, ++db) {
            if (db == b || *da != *db) {
                return false;
            }
        }
        if (db != b) {
            return false;
        }
    }
    return true;
}

constexpr bool RowsHaveSameShape() {
    for (const SMessageRow& row : kMessageRows) {
        if (!SameShape(row.english, row.russian) || Count(row.english, L'\r') != Count(row.russian, L'\r') ||
            Count(row.english, L'\n') != Count(row.russian, L'\n') ||
            EndsWithBlank(row.english) != EndsWithBlank(row.russian)) {
            return false;
        }
    }
    return true;
}

static_assert(RowsAreValid(), "message ids ascend within range and every row has both texts");
static_assert(RowsHaveSameShape(), "translations keep directives, line breaks and trailing blanks");
static_assert(SameShape(L"a %u b %ls", L"x %u y %ls") && !SameShape(L"%u %ls", L"%ls %u") &&
              !SameShape(L"%u", L"no directive"));

using MessageArray = std::array<const wchar_t*, kMessageCount>;

constexpr MessageArray ExpandMessages(bool russian) {
    MessageArray out{};
    for (auto& text : out) {
        text = L"";
    }
    for (const SMessageRow& row : kMessageRows) {
        out[row.id] = russian ? row.russian : row.english;
    }
    return out;
}

constexpr MessageArray kEnglishMessages = ExpandMessages(false);
constexpr MessageArray kRussianMessages = ExpandMessages(true);

static_assert(std::size(kEnglishMessages) == std::size(kRussianMessages));

constexpr bool HasNoNull(const MessageArray& texts) {
    for (const wchar_t* text : texts) {
        if (text == nullptr) {
            return false;
        }
    }
    return true;
}
static_assert(HasNoNull(kEnglishMessages) && HasNoNull(kRussianMessages), "unused ids read as L\"\"");

// Written during start-up (configuration reading) and only read afterwards; 0 reads as English.
uint32_t currentLanguage = 0;

}  // namespace

void SetVALKOLng(const wchar_t* name) {
    std::wstring lowered;
    for (const wchar_t* c = name; c != nullptr && *c != L'\0'; ++c) {
        lowered += static_cast<wchar_t>(std::towlower(static_cast<wint_t>(*c)));
    }
    currentLanguage = lowered == L"ru" ? kLangRussian : kLangEnglish;
}

uint32_t GetVALKOLng() { return currentLanguage; }

const wchar_t* SetVALKOMessage(ValkoMessage id) {
    if (id >= kMessageCount) {
        return L"VALKO_LANGUAGE_MESSAGE_ID_ERROR";
    }
    return currentLanguage == kLangRussian ? kRussianMessages[id] : kEnglishMessages[id];
}
