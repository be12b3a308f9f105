#include "base/Lng.h"

#include <array>
#include <cstddef>
#include <cwctype>
#include <iterator>
#include <string>

#include "base/Binding.h"

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
    // Descriptions of the OIDs in asn1/x500.cpp. X.509 certificate extensions 2.5.29.N use 410 + N, except
    // 2.5.29.15 and 2.5.29.19, which keep 554 and 550.
    {411, L"Authority key identifier (obsolete, replaced by 2.5.29.35)",
     L"Идентификатор ключа удостоверяющего центра (устаревший OID, заменен на 2.5.29.35)"},
    {412, L"Key attributes (obsolete)", L"Атрибуты ключа (устаревший OID)"},
    {413, L"Certificate policies (obsolete, replaced by 2.5.29.32)",
     L"Политики сертификата (устаревший OID, заменен на 2.5.29.32)"},
    {414, L"Key usage restriction (obsolete)", L"Ограничение использования ключа (устаревший OID)"},
    {415, L"Policy mapping (obsolete, replaced by 2.5.29.33)",
     L"Сопоставление политик (устаревший OID, заменен на 2.5.29.33)"},
    {416, L"Subtrees constraint (obsolete)", L"Ограничение поддеревьев имен (устаревший OID)"},
    {417, L"Subject alternative name (obsolete, replaced by 2.5.29.17)",
     L"Альтернативное имя субъекта (устаревший OID, заменен на 2.5.29.17)"},
    {418, L"Issuer alternative name (obsolete, replaced by 2.5.29.18)",
     L"Альтернативное имя издателя (устаревший OID, заменен на 2.5.29.18)"},
    {419, L"Subject directory attributes", L"Атрибуты каталога субъекта"},
    {420, L"Basic constraints (obsolete, replaced by 2.5.29.19)",
     L"Основные ограничения (устаревший OID, заменен на 2.5.29.19)"},
    {421, L"Name constraints (obsolete, replaced by 2.5.29.30)",
     L"Ограничения имен (устаревший OID, заменен на 2.5.29.30)"},
    {422, L"Policy constraints (obsolete, replaced by 2.5.29.36)",
     L"Ограничения политик (устаревший OID, заменен на 2.5.29.36)"},
    {423, L"Basic constraints (obsolete, replaced by 2.5.29.19)",
     L"Основные ограничения (устаревший OID, заменен на 2.5.29.19)"},
    {424, L"Subject key identifier", L"Идентификатор ключа субъекта"},
    {426, L"Private key usage period", L"Период использования закрытого ключа"},
    {427, L"Subject alternative name", L"Альтернативное имя субъекта"},
    {428, L"Issuer alternative name", L"Альтернативное имя издателя"},
    {430, L"CRL number", L"Номер списка отзыва"},
    {431, L"CRL reason code", L"Код причины отзыва"},
    {432, L"Expiration date (obsolete)", L"Дата истечения срока действия (устаревший OID)"},
    {433, L"Hold instruction code", L"Код инструкции по приостановлению действия"},
    {434, L"Invalidity date", L"Дата, с которой сертификат недействителен"},
    {435, L"CRL distribution points (obsolete, replaced by 2.5.29.31)",
     L"Точки распространения списков отзыва (устаревший OID, заменен на 2.5.29.31)"},
    {436, L"Issuing distribution point (obsolete, replaced by 2.5.29.28)",
     L"Издающая точка распространения (устаревший OID, заменен на 2.5.29.28)"},
    {437, L"Delta CRL indicator", L"Индикатор разностного списка отзыва"},
    {438, L"Issuing distribution point", L"Издающая точка распространения"},
    {439, L"Certificate issuer", L"Издатель сертификата"},
    {440, L"Name constraints", L"Ограничения имен"},
    {441, L"CRL distribution points", L"Точки распространения списков отзыва"},
    {442, L"Certificate policies", L"Политики сертификата"},
    {443, L"Policy mappings", L"Сопоставления политик"},
    {444, L"Policy constraints (obsolete, replaced by 2.5.29.36)",
     L"Ограничения политик (устаревший OID, заменен на 2.5.29.36)"},
    {445, L"Authority key identifier", L"Идентификатор ключа удостоверяющего центра"},
    {446, L"Policy constraints", L"Ограничения политик"},
    {447, L"Extended key usage", L"Расширенное использование ключа"},
    {448, L"Authority attribute identifier", L"Идентификатор атрибутов центра"},
    {449, L"Identifier of the certificate that defines a role",
     L"Идентификатор сертификата, определяющего роль"},
    {450, L"CRL stream identifier", L"Идентификатор потока списков отзыва"},
    {451, L"Basic attribute certificate constraints", L"Основные ограничения атрибутного сертификата"},
    {452, L"Delegated name constraints", L"Делегированные ограничения имен"},
    {453, L"Time of use restriction", L"Ограничение времени использования"},
    {454, L"CRL scope", L"Область действия списка отзыва"},
    {455, L"Status referrals", L"Ссылки на сведения о статусе"},
    {456, L"Freshest CRL (delta CRL distribution points)",
     L"Самый свежий список отзыва (точки распространения разностных списков)"},
    {457, L"Ordered list", L"Упорядоченный список"},
    {458, L"Attribute descriptor", L"Дескриптор атрибута"},
    {459, L"User notice", L"Уведомление пользователя"},
    {460, L"Source of authority identifier", L"Идентификатор источника полномочий"},
    {461, L"Base CRL update time", L"Время обновления базового списка отзыва"},
    {462, L"Acceptable certificate policies", L"Допустимые политики сертификатов"},
    {463, L"Delta CRL information", L"Сведения о разностном списке отзыва"},
    {464, L"Inhibit any policy", L"Запрет любой политики"},
    {465, L"Target information", L"Сведения о целевых объектах"},
    {466, L"No revocation information available", L"Сведения об отзыве не предоставляются"},
    {467, L"Acceptable privilege policies", L"Допустимые политики привилегий"},
    {468, L"Certificates to be revoked", L"Сертификаты, подлежащие отзыву"},
    {469, L"Revoked groups of certificates", L"Отозванные группы сертификатов"},
    {470, L"Expired certificates on CRL", L"Просроченные сертификаты в списке отзыва"},
    {471, L"Indirect issuer", L"Косвенный издатель"},
    {472, L"No assertion", L"Без утверждения"},
    {473, L"Attribute authority issuing distribution point",
     L"Издающая точка распространения центра атрибутов"},
    {474, L"Issued on behalf of", L"Выдан от имени"},
    {475, L"Single use", L"Однократное использование"},
    {476, L"Group attribute certificate", L"Групповой атрибутный сертификат"},
    {477, L"Allowed attribute assignments", L"Разрешенные назначения атрибутов"},
    {478, L"Attribute mappings", L"Сопоставления атрибутов"},
    {479, L"Holder name constraints", L"Ограничения имен владельца"},
    {480, L"Certificate was not verified", L"Сертификат не проверялся"},
    {508, L"Unknown OID", L"Неизвестный OID"},
    // PKCS #7 content types 1.2.840.113549.1.7.N: 508 + N.
    {509, L"PKCS #7 data", L"Данные PKCS #7"},
    {510, L"PKCS #7 signed data", L"Подписанные данные PKCS #7"},
    {511, L"PKCS #7 enveloped data", L"Данные PKCS #7 в цифровом конверте"},
    {512, L"PKCS #7 signed and enveloped data", L"Подписанные данные PKCS #7 в цифровом конверте"},
    {513, L"PKCS #7 digested data", L"Хешированные данные PKCS #7"},
    {514, L"PKCS #7 encrypted data", L"Зашифрованные данные PKCS #7"},
    // PKCS #9 attributes 1.2.840.113549.1.9.*, in arc order.
    {515, L"E-mail address", L"Адрес электронной почты"},
    {516, L"Unstructured name", L"Неструктурированное имя"},
    {517, L"Content type", L"Тип содержимого"},
    {518, L"Message digest", L"Хеш сообщения"},
    {519, L"Signing time", L"Время подписания"},
    {520, L"Countersignature", L"Контрподпись"},
    {521, L"Challenge password", L"Контрольный пароль"},
    {522, L"Unstructured address", L"Неструктурированный адрес"},
    {523, L"Extended certificate attributes", L"Расширенные атрибуты сертификата"},
    {524, L"Issuer and serial number (experimental)",
     L"Издатель и серийный номер (экспериментальный атрибут)"},
    {525, L"Password check (experimental)", L"Проверка пароля (экспериментальный атрибут)"},
    {526, L"Public key (experimental)", L"Открытый ключ (экспериментальный атрибут)"},
    {527, L"Signing description", L"Описание подписи"},
    {528, L"Extension request", L"Запрос расширений"},
    {529, L"S/MIME capabilities", L"Возможности S/MIME"},
    {530, L"S/MIME identifiers", L"Идентификаторы S/MIME"},
    {531, L"Signing certificate v2", L"Сертификат подписанта, версия 2"},
    {532, L"PGP key identifier", L"Идентификатор ключа PGP"},
    {533, L"Friendly name", L"Понятное имя"},
    {534, L"Local key identifier", L"Локальный идентификатор ключа"},
    {535, L"Certificate types", L"Типы сертификатов"},
    {536, L"CRL types", L"Типы списков отзыва"},
    {537, L"PKCS #9 object classes", L"Классы объектов PKCS #9"},
    {538, L"PKCS #9 attributes", L"Атрибуты PKCS #9"},
    {539, L"PKCS #9 syntaxes", L"Синтаксисы PKCS #9"},
    {540, L"PKCS #9 matching rules", L"Правила сопоставления PKCS #9"},
    {541, L"CMS algorithm protection", L"Защита алгоритмов CMS"},
    // RSA digest algorithms 1.2.840.113549.2.*.
    {542, L"MD2 hash algorithm", L"Алгоритм хеширования MD2"},
    {543, L"MD4 hash algorithm", L"Алгоритм хеширования MD4"},
    {544, L"MD5 hash algorithm", L"Алгоритм хеширования MD5"},
    {545, L"HMAC with SHA-1", L"HMAC на основе SHA-1"},
    {546, L"HMAC with SHA-224", L"HMAC на основе SHA-224"},
    {547, L"HMAC with SHA-256", L"HMAC на основе SHA-256"},
    {548, L"HMAC with SHA-384", L"HMAC на основе SHA-384"},
    {549, L"HMAC with SHA-512", L"HMAC на основе SHA-512"},
    {550, L"Basic constraints", L"Основные ограничения"},  // 2.5.29.19
    // Microsoft certificate services 1.3.6.1.4.1.311.*.
    {551, L"Certificate template name", L"Имя шаблона сертификата"},
    {552, L"Certification authority version", L"Версия удостоверяющего центра"},
    {553, L"Previous certification authority certificate hash",
     L"Хеш предыдущего сертификата удостоверяющего центра"},
    {554, L"Key usage", L"Использование ключа"},  // 2.5.29.15
    // PKIX certificate extensions 1.3.6.1.5.5.7.1.N: 554 + N.
    {555, L"Authority information access", L"Доступ к информации об удостоверяющем центре"},
    {556, L"Biometric information", L"Биометрическая информация"},
    {557, L"Qualified certificate statements", L"Заявления квалифицированного сертификата"},
    {558, L"Attribute certificate audit identity", L"Идентификатор аудита атрибутного сертификата"},
    {559, L"Attribute certificate targeting (obsolete)",
     L"Целевые объекты атрибутного сертификата (устаревший OID)"},
    {560, L"Attribute authority controls", L"Ограничения центра атрибутов"},
    {561, L"IP address delegation", L"Делегирование IP-адресов"},
    {562, L"Autonomous system identifier delegation", L"Делегирование номеров автономных систем"},
    {563, L"BGP router identifier (obsolete)", L"Идентификатор маршрутизатора BGP (устаревший OID)"},
    {564, L"Attribute certificate proxying", L"Проксирование атрибутного сертификата"},
    {565, L"Subject information access", L"Доступ к информации о субъекте"},
    {566, L"Logotype", L"Логотип"},
    {567, L"Wireless LAN SSID", L"SSID беспроводной сети"},
    {568, L"Proxy certificate information", L"Сведения о прокси-сертификате"},
    {569, L"Attribute certificate policies", L"Политики атрибутного сертификата"},
    {570, L"Warranty", L"Гарантия"},
    {572, L"CMS content constraints", L"Ограничения содержимого CMS"},
    {573, L"Other certificates", L"Другие сертификаты"},
    {574, L"Wrapped apex trust anchor continuity key",
     L"Зашифрованный ключ преемственности вершинного якоря доверия"},
    {575, L"Clearance constraints", L"Ограничения допуска"},
    {576, L"Subject key identifier semantics (obsolete)",
     L"Семантика идентификатора ключа субъекта (устаревший OID)"},
    {577, L"No secrecy afforded (NSA)", L"Конфиденциальность не обеспечивается (NSA)"},
    {578, L"TLS feature", L"Обязательные функции TLS"},
    {579, L"Manufacturer usage description (MUD) URL", L"URL описания использования производителем (MUD)"},
    {580, L"Telephone number authorization list", L"Список авторизации телефонных номеров"},
    {581, L"JWT claim constraints", L"Ограничения утверждений JWT"},
    {582, L"IP address delegation, version 2", L"Делегирование IP-адресов, версия 2"},
    {583, L"Autonomous system identifier delegation, version 2",
     L"Делегирование номеров автономных систем, версия 2"},
    {584, L"MUD file signer", L"Подписант файла MUD"},
    {585, L"ACME identifier", L"Идентификатор ACME"},
    // RSA encryption algorithms 1.2.840.113549.3.*.
    {586, L"RC2 encryption in CBC mode", L"Шифрование RC2 в режиме CBC"},
    {587, L"RC2 encryption in ECB mode", L"Шифрование RC2 в режиме ECB"},
    {588, L"RC4 encryption", L"Шифрование RC4"},
    {589, L"RC4 encryption with MAC", L"Шифрование RC4 с кодом аутентификации"},
    {590, L"DESX encryption in CBC mode", L"Шифрование DESX в режиме CBC"},
    {591, L"Triple DES (DES-EDE3) encryption in CBC mode", L"Шифрование тройным DES (DES-EDE3) в режиме CBC"},
    {592, L"RC5 encryption in CBC mode", L"Шифрование RC5 в режиме CBC"},
    {593, L"RC5 encryption in CBC mode with padding", L"Шифрование RC5 в режиме CBC с дополнением"},
    {594, L"CDMF (DES with a shortened key) encryption in CBC mode",
     L"Шифрование CDMF (DES с укороченным ключом) в режиме CBC"},
    {595, L"Triple DES (DES-EDE3) encryption", L"Шифрование тройным DES (DES-EDE3)"},
    // COSINE (LDAP) attributes 0.9.2342.19200300.100.1.*.
    {596, L"User identifier (uid)", L"Идентификатор пользователя (uid)"},
    {597, L"E-mail address (mail)", L"Адрес электронной почты (mail)"},
    {598, L"Domain component (DC)", L"Компонент доменного имени (DC)"},
    // CryptoPro algorithms and parameters 1.2.643.2.2.*, in arc order.
    {599, L"GOST R 34.10-2001 + GOST R 34.11-94 signature", L"Алгоритм цифровой подписи ГОСТ Р 34.10-2001"},
    {600, L"GOST R 34.10-94 + GOST R 34.11-94 signature", L"Алгоритм цифровой подписи ГОСТ Р 34.10-94"},
    {601, L"GOST R 34.11-94 hash", L"Алгоритм хеширования ГОСТ Р 34.11-94"},
    {602, L"HMAC GOST R 34.11-94", L"Алгоритм HMAC на основе ГОСТ Р 34.11-94"},
    {603, L"GOST 28147-89 key wrap without key diversification",
     L"Шифрование ключа по ГОСТ 28147-89 без диверсификации"},
    {604, L"CryptoPro key wrap (GOST 28147-89 with key diversification)",
     L"Шифрование ключа КриптоПро (ГОСТ 28147-89 с диверсификацией ключа)"},
    {605, L"GOST 28147-89 without key meshing", L"ГОСТ 28147-89 без преобразования ключа (key meshing)"},
    {606, L"GOST 28147-89 with CryptoPro key meshing",
     L"ГОСТ 28147-89 с преобразованием ключа КриптоПро (key meshing)"},
    {607, L"GOST R 34.10-2001", L"ГОСТ Р 34.10-2001"},
    {608, L"GOST R 34.10-94", L"ГОСТ Р 34.10-94"},
    {609, L"GOST 28147-89 encryption", L"Алгоритм шифрования ГОСТ 28147-89"},
    {610, L"GOST R 34.11-94 test parameters", L"Тестовые параметры ГОСТ Р 34.11-94"},
    {611, L"GOST R 34.11-94 CryptoPro parameters (default)",
     L"Параметры КриптоПро ГОСТ Р 34.11-94 (по умолчанию)"},
    {612, L"GOST R 34.11-94 CryptoPro parameters B", L"Параметры КриптоПро B ГОСТ Р 34.11-94"},
    {613, L"GOST R 34.11-94 CryptoPro parameters C", L"Параметры КриптоПро C ГОСТ Р 34.11-94"},
    {614, L"GOST R 34.11-94 CryptoPro parameters D", L"Параметры КриптоПро D ГОСТ Р 34.11-94"},
    {615, L"GOST 28147-89 test parameters", L"Тестовые параметры ГОСТ 28147-89"},
    {616, L"GOST 28147-89 CryptoPro parameters A (default)",
     L"Параметры КриптоПро A ГОСТ 28147-89 (по умолчанию)"},
    {617, L"GOST 28147-89 CryptoPro parameters B", L"Параметры КриптоПро B ГОСТ 28147-89"},
    {618, L"GOST 28147-89 CryptoPro parameters C", L"Параметры КриптоПро C ГОСТ 28147-89"},
    {619, L"GOST 28147-89 CryptoPro parameters D", L"Параметры КриптоПро D ГОСТ 28147-89"},
    {620, L"GOST 28147-89 CryptoPro Oscar 1.1 parameters", L"Параметры КриптоПро Оскар 1.1 ГОСТ 28147-89"},
    {621, L"GOST 28147-89 CryptoPro Oscar 1.0 parameters", L"Параметры КриптоПро Оскар 1.0 ГОСТ 28147-89"},
    {622, L"GOST 28147-89 CryptoPro RIC 1 parameters", L"Параметры КриптоПро РИК 1 ГОСТ 28147-89"},
    {623, L"GOST 28147-89 TC26 parameters A", L"Параметры ТК26 A ГОСТ 28147-89"},
    {624, L"GOST 28147-89 TC26 parameters B", L"Параметры ТК26 B ГОСТ 28147-89"},
    {625, L"GOST 28147-89 TC26 parameters C", L"Параметры ТК26 C ГОСТ 28147-89"},
    {626, L"GOST 28147-89 TC26 parameters D", L"Параметры ТК26 D ГОСТ 28147-89"},
    {627, L"GOST 28147-89 TC26 parameters E", L"Параметры ТК26 E ГОСТ 28147-89"},
    {628, L"GOST 28147-89 TC26 parameters F", L"Параметры ТК26 F ГОСТ 28147-89"},
    {629, L"GOST R 34.10-94 CryptoPro parameters A", L"Параметры КриптоПро A ГОСТ Р 34.10-94"},
    {630, L"GOST R 34.10-94 CryptoPro parameters B", L"Параметры КриптоПро B ГОСТ Р 34.10-94"},
    {631, L"GOST R 34.10-94 CryptoPro parameters C", L"Параметры КриптоПро C ГОСТ Р 34.10-94"},
    {632, L"GOST R 34.10-94 CryptoPro parameters D", L"Параметры КриптоПро D ГОСТ Р 34.10-94"},
    {633, L"GOST R 34.10-94 CryptoPro key exchange parameters XchA",
     L"Параметры обмена ключами КриптоПро XchA ГОСТ Р 34.10-94"},
    {634, L"GOST R 34.10-94 CryptoPro key exchange parameters XchB",
     L"Параметры обмена ключами КриптоПро XchB ГОСТ Р 34.10-94"},
    {635, L"GOST R 34.10-94 CryptoPro key exchange parameters XchC",
     L"Параметры обмена ключами КриптоПро XchC ГОСТ Р 34.10-94"},
    {636, L"GOST R 34.10-2001 test parameters", L"Тестовые параметры ГОСТ Р 34.10-2001"},
    {637, L"GOST R 34.10-2001 CryptoPro parameters A", L"Параметры КриптоПро A ГОСТ Р 34.10-2001"},
    {638, L"GOST R 34.10-2001 CryptoPro parameters B", L"Параметры КриптоПро B ГОСТ Р 34.10-2001"},
    {639, L"GOST R 34.10-2001 CryptoPro parameters C", L"Параметры КриптоПро C ГОСТ Р 34.10-2001"},
    {640, L"GOST R 34.10-2001 CryptoPro key exchange parameters XchA",
     L"Параметры обмена ключами КриптоПро XchA ГОСТ Р 34.10-2001"},
    {641, L"GOST R 34.10-2001 CryptoPro key exchange parameters XchB",
     L"Параметры обмена ключами КриптоПро XchB ГОСТ Р 34.10-2001"},
    {642, L"GOST R 34.10-2001 key agreement (ESDH)",
     L"Алгоритм согласования ключей ГОСТ Р 34.10-2001 (ESDH)"},
    // OIW algorithms 1.3.14.3.2.*, in arc order.
    {643, L"RSA (OIW)", L"RSA (OIW)"},
    {644, L"MD4 with RSA (OIW)", L"Подпись RSA с хешированием MD4 (OIW, md4WithRSA)"},
    {645, L"Square-mod-n hash function (obsolete)", L"Хеш-функция square-mod-n (устаревший OID)"},
    {646, L"MD5 with RSA (OIW)", L"Подпись RSA с хешированием MD5 (OIW, md5WithRSA)"},
    {647, L"Square-mod-n hash with RSA signature (obsolete)",
     L"Подпись RSA с хеш-функцией square-mod-n (устаревший OID)"},
    {648, L"MD4 with RSA encryption (OIW)", L"Подпись RSA с хешированием MD4 (OIW, md4WithRSAEncryption)"},
    {649, L"DES encryption in ECB mode", L"Шифрование DES в режиме ECB"},
    {650, L"DES encryption in CBC mode", L"Шифрование DES в режиме CBC"},
    {651, L"DES encryption in OFB mode", L"Шифрование DES в режиме OFB"},
    {652, L"DES encryption in CFB mode", L"Шифрование DES в режиме CFB"},
    {653, L"DES message authentication code", L"Код аутентификации сообщения на основе DES"},
    {654, L"RSA signature (OIW)", L"Подпись RSA (OIW)"},
    {655, L"DSA (OIW, obsolete)", L"DSA (OIW, устаревший OID)"},
    {656, L"DSA with SHA-0 signature (obsolete)", L"Подпись DSA с хешированием SHA-0 (устаревший OID)"},
    {657, L"MDC-2 with RSA signature", L"Подпись RSA с хешированием MDC-2"},
    {658, L"SHA-0 with RSA signature (obsolete)", L"Подпись RSA с хешированием SHA-0 (устаревший OID)"},
    {659, L"Diffie-Hellman with a common modulus", L"Диффи-Хеллман с общим модулем"},
    {660, L"Triple DES encryption (DES-EDE)", L"Шифрование тройным DES (DES-EDE)"},
    {661, L"SHA-0 hash algorithm (obsolete)", L"Алгоритм хеширования SHA-0 (устаревший OID)"},
    {662, L"MDC-2 hash algorithm", L"Алгоритм хеширования MDC-2"},
    {663, L"DSA with common parameters", L"DSA с общими параметрами"},
    {664, L"DSA with common parameters and SHA-0", L"DSA с общими параметрами и хешированием SHA-0"},
    {665, L"RSA key transport", L"Передача ключа с помощью RSA"},
    {666, L"Keyed hash seal", L"Печать на основе ключевого хеширования"},
    {667, L"MD2 with RSA signature (OIW)", L"Подпись RSA с хешированием MD2 (OIW)"},
    {668, L"MD5 with RSA signature (OIW)", L"Подпись RSA с хешированием MD5 (OIW, md5WithRSASignature)"},
    {669, L"SHA-1 hash algorithm", L"Алгоритм хеширования SHA-1"},
    {670, L"DSA with SHA-1 signature", L"Подпись DSA с хешированием SHA-1"},
    {671, L"DSA with common parameters and SHA-1", L"DSA с общими параметрами и хешированием SHA-1"},
    {672, L"SHA-1 with RSA signature (OIW)", L"Подпись RSA с хешированием SHA-1 (OIW)"},
    // X.520 attribute types 2.5.4.N in arc order, each followed by its collective variant 2.5.4.N.1 if any.
    {683, L"An attribute of type objectClass is used to store the object classes to which an entry belongs",
     L"Атрибут типа objectClass используется для хранения классов объектов, к которым относится запись"},
    {684,
     L"An attribute of type aliasedEntryName is used to store the distinguished name of the entry that an "
     L"alias refers to",
     L"Атрибут типа aliasedEntryName используется для хранения отличительного имени записи, на которую "
     L"ссылается псевдоним"},
    {685,
     L"An attribute of type knowledgeInformation is used to store knowledge information held by a directory "
     L"system agent (obsolete)",
     L"Атрибут типа knowledgeInformation используется для хранения сведений о знаниях агента системы "
     L"каталогов (устаревший)"},
    {686, L"An attribute of type commonName is used to store the common name",
     L"Атрибут типа commonName используется для хранения распространенного имени"},
    {687, L"An attribute of type surname is used to store the surname of a person",
     L"Атрибут типа surname используется для хранения фамилии лица"},
    {688,
     L"An attribute of type serialNumber is used to store the serial number of a device or an identifying "
     L"number of a person",
     L"Атрибут типа serialNumber используется для хранения серийного номера устройства или "
     L"идентификационного номера лица"},
    {689, L"An attribute of type countryName is used to store the two-letter ISO 3166 code of a country",
     L"Атрибут типа countryName используется для хранения двухбуквенного кода страны по ISO 3166"},
    {690,
     L"An attribute of type localityName is used to store the name of a locality, such as a city or a "
     L"village",
     L"Атрибут типа localityName используется для хранения названия населенного пункта, например города или "
     L"села"},
    {691,
     L"An attribute of type collectiveLocalityName is used to store the name of a locality shared by a "
     L"collection of entries",
     L"Атрибут типа collectiveLocalityName используется для хранения названия населенного пункта, общего для "
     L"группы записей"},
    {692, L"The stateOrPinceName type attribute is used to store the name of a state or province",
     L"Атрибут типа stateOrProvinceName используется для хранения названия штата, области или края"},
    {693,
     L"An attribute of type collectiveStateOrProvinceName is used to store the name of a state or province "
     L"shared by a collection of entries",
     L"Атрибут типа collectiveStateOrProvinceName используется для хранения названия штата, области или "
     L"края, общего для группы записей"},
    {694,
     L"An attribute of type streetAddress is used to store a street address: the street name and the house "
     L"number",
     L"Атрибут типа streetAddress используется для хранения адреса: названия улицы и номера дома"},
    {695,
     L"An attribute of type collectiveStreetAddress is used to store a street address shared by a collection "
     L"of entries",
     L"Атрибут типа collectiveStreetAddress используется для хранения адреса (улицы и дома), общего для "
     L"группы записей"},
    {696, L"An attribute of type organizationName is used to store the name of an organization",
     L"Атрибут типа organizationName используется для хранения наименования организации"},
    {697,
     L"An attribute of type collectiveOrganizationName is used to store the name of an organization shared "
     L"by a collection of entries",
     L"Атрибут типа collectiveOrganizationName используется для хранения наименования организации, общего "
     L"для группы записей"},
    {698, L"An attribute of type organizationalUnitName is used to store the name of an organizational unit",
     L"Атрибут типа organizationalUnitName используется для хранения наименования подразделения организации"},
    {699,
     L"An attribute of type collectiveOrganizationalUnitName is used to store the name of an organizational "
     L"unit shared by a collection of entries",
     L"Атрибут типа collectiveOrganizationalUnitName используется для хранения наименования подразделения, "
     L"общего для группы записей"},
    {700, L"An attribute of type title is used to store the title or position of a person in an organization",
     L"Атрибут типа title используется для хранения должности лица в организации"},
    {701, L"An attribute of type description is used to store a human-readable description of an object",
     L"Атрибут типа description используется для хранения описания объекта в свободной форме"},
    {702, L"An attribute of type searchGuide is used to store suggested search criteria for an entry",
     L"Атрибут типа searchGuide используется для хранения рекомендуемых критериев поиска записи"},
    {703,
     L"An attribute of type businessCategory is used to store the kind of business performed by an "
     L"organization",
     L"Атрибут типа businessCategory используется для хранения вида деятельности организации"},
    {704, L"An attribute of type postalAddress is used to store a postal address",
     L"Атрибут типа postalAddress используется для хранения почтового адреса"},
    {705,
     L"An attribute of type collectivePostalAddress is used to store a postal address shared by a collection "
     L"of entries",
     L"Атрибут типа collectivePostalAddress используется для хранения почтового адреса, общего для группы "
     L"записей"},
    {706, L"An attribute of type postalCode is used to store a postal code",
     L"Атрибут типа postalCode используется для хранения почтового индекса"},
    {707,
     L"An attribute of type collectivePostalCode is used to store a postal code shared by a collection of "
     L"entries",
     L"Атрибут типа collectivePostalCode используется для хранения почтового индекса, общего для группы "
     L"записей"},
    {708, L"An attribute of type postOfficeBox is used to store a post office box number",
     L"Атрибут типа postOfficeBox используется для хранения номера абонентского почтового ящика"},
    {709,
     L"An attribute of type collectivePostOfficeBox is used to store a post office box number shared by a "
     L"collection of entries",
     L"Атрибут типа collectivePostOfficeBox используется для хранения номера абонентского почтового ящика, "
     L"общего для группы записей"},
    {710,
     L"An attribute of type physicalDeliveryOfficeName is used to store the name of the post office through "
     L"which mail is delivered",
     L"Атрибут типа physicalDeliveryOfficeName используется для хранения названия почтового отделения, через "
     L"которое доставляется почта"},
    {711,
     L"An attribute of type collectivePhysicalDeliveryOfficeName is used to store the name of a mail "
     L"delivery office shared by a collection of entries",
     L"Атрибут типа collectivePhysicalDeliveryOfficeName используется для хранения названия почтового "
     L"отделения доставки, общего для группы записей"},
    {712, L"An attribute of type telephoneNumber is used to store a telephone number",
     L"Атрибут типа telephoneNumber используется для хранения номера телефона"},
    {713,
     L"An attribute of type collectiveTelephoneNumber is used to store a telephone number shared by a "
     L"collection of entries",
     L"Атрибут типа collectiveTelephoneNumber используется для хранения номера телефона, общего для группы "
     L"записей"},
    {714, L"An attribute of type telexNumber is used to store a telex number",
     L"Атрибут типа telexNumber используется для хранения номера телекса"},
    {715,
     L"An attribute of type collectiveTelexNumber is used to store a telex number shared by a collection of "
     L"entries",
     L"Атрибут типа collectiveTelexNumber используется для хранения номера телекса, общего для группы "
     L"записей"},
    {716, L"An attribute of type teletexTerminalIdentifier is used to store a teletex terminal identifier",
     L"Атрибут типа teletexTerminalIdentifier используется для хранения идентификатора терминала телетекса"},
    {717,
     L"An attribute of type collectiveTeletexTerminalIdentifier is used to store a teletex terminal "
     L"identifier shared by a collection of entries",
     L"Атрибут типа collectiveTeletexTerminalIdentifier используется для хранения идентификатора терминала "
     L"телетекса, общего для группы записей"},
    {718, L"An attribute of type facsimileTelephoneNumber is used to store a fax number",
     L"Атрибут типа facsimileTelephoneNumber используется для хранения номера факса"},
    {719,
     L"An attribute of type collectiveFacsimileTelephoneNumber is used to store a fax number shared by a "
     L"collection of entries",
     L"Атрибут типа collectiveFacsimileTelephoneNumber используется для хранения номера факса, общего для "
     L"группы записей"},
    {720, L"An attribute of type x121Address is used to store an X.121 data network address",
     L"Атрибут типа x121Address используется для хранения адреса X.121 в сети передачи данных"},
    {721, L"An attribute of type internationalISDNNumber is used to store an international ISDN number",
     L"Атрибут типа internationalISDNNumber используется для хранения международного номера ISDN"},
    {722,
     L"An attribute of type collectiveInternationalISDNNumber is used to store an international ISDN number "
     L"shared by a collection of entries",
     L"Атрибут типа collectiveInternationalISDNNumber используется для хранения международного номера ISDN, "
     L"общего для группы записей"},
    {723,
     L"An attribute of type registeredAddress is used to store a postal address for telegrams and expedited "
     L"documents",
     L"Атрибут типа registeredAddress используется для хранения адреса для получения телеграмм и срочных "
     L"документов"},
    {724,
     L"An attribute of type destinationIndicator is used to store the country and city of a subscriber of "
     L"the public telegram service",
     L"Атрибут типа destinationIndicator используется для хранения страны и города абонента телеграфной "
     L"службы"},
    {725,
     L"An attribute of type preferredDeliveryMethod is used to store the preferred methods of delivering "
     L"messages to an entity",
     L"Атрибут типа preferredDeliveryMethod используется для хранения предпочтительных способов доставки "
     L"сообщений адресату"},
    {726,
     L"An attribute of type presentationAddress is used to store the OSI presentation address of an "
     L"application entity",
     L"Атрибут типа presentationAddress используется для хранения адреса уровня представления OSI "
     L"прикладного объекта"},
    {727,
     L"An attribute of type supportedApplicationContext is used to store the application contexts supported "
     L"by an application entity",
     L"Атрибут типа supportedApplicationContext используется для хранения прикладных контекстов, "
     L"поддерживаемых прикладным объектом"},
    {728, L"An attribute of type member is used to store the distinguished names of the members of a group",
     L"Атрибут типа member используется для хранения отличительных имен членов группы"},
    {729, L"An attribute of type owner is used to store the distinguished name of the owner of an object",
     L"Атрибут типа owner используется для хранения отличительного имени владельца объекта"},
    {730,
     L"An attribute of type roleOccupant is used to store the distinguished name of a person who fulfils an "
     L"organizational role",
     L"Атрибут типа roleOccupant используется для хранения отличительного имени лица, исполняющего "
     L"организационную роль"},
    {731, L"An attribute of type seeAlso is used to store the distinguished names of related objects",
     L"Атрибут типа seeAlso используется для хранения отличительных имен связанных объектов"},
    {732, L"An attribute of type userPassword is used to store the password of a user",
     L"Атрибут типа userPassword используется для хранения пароля пользователя"},
    {733, L"An attribute of type userCertificate is used to store the public key certificate of a user",
     L"Атрибут типа userCertificate используется для хранения сертификата открытого ключа пользователя"},
    {734,
     L"An attribute of type cACertificate is used to store the certificates of a certification authority",
     L"Атрибут типа cACertificate используется для хранения сертификатов удостоверяющего центра"},
    {735,
     L"An attribute of type authorityRevocationList is used to store the list of revoked certification "
     L"authority certificates (ARL)",
     L"Атрибут типа authorityRevocationList используется для хранения списка отозванных сертификатов "
     L"удостоверяющих центров (ARL)"},
    {736,
     L"An attribute of type certificateRevocationList is used to store the list of revoked certificates "
     L"(CRL)",
     L"Атрибут типа certificateRevocationList используется для хранения списка отозванных сертификатов "
     L"(CRL)"},
    {737, L"An attribute of type crossCertificatePair is used to store a pair of cross-certificates",
     L"Атрибут типа crossCertificatePair используется для хранения пары кросс-сертификатов"},
    {738, L"An attribute of type name is used to store a name; it is the supertype of the naming attributes",
     L"Атрибут типа name используется для хранения имени; это базовый тип для атрибутов, содержащих имена"},
    {739, L"An attribute of type givenName is used to store the given name of a person",
     L"Атрибут типа givenName используется для хранения имени лица"},
    {740, L"An attribute of type initials is used to store the initials of a person",
     L"Атрибут типа initials используется для хранения инициалов лица"},
    {741,
     L"An attribute of type generationQualifier is used to store a generation qualifier of a name, such as "
     L"Jr. or III",
     L"Атрибут типа generationQualifier используется для хранения указателя поколения в имени, например Jr. "
     L"или III"},
    {742,
     L"An attribute of type uniqueIdentifier is used to store an identifier that tells apart objects with a "
     L"reused distinguished name",
     L"Атрибут типа uniqueIdentifier используется для хранения идентификатора, различающего объекты с "
     L"повторно использованным отличительным именем"},
    {743,
     L"An attribute of type dnQualifier is used to store a qualifier that disambiguates distinguished names",
     L"Атрибут типа dnQualifier используется для хранения уточнителя, устраняющего неоднозначность "
     L"отличительных имен"},
    {744,
     L"An attribute of type enhancedSearchGuide is used to store enhanced suggested search criteria for an "
     L"entry",
     L"Атрибут типа enhancedSearchGuide используется для хранения расширенных рекомендуемых критериев поиска "
     L"записи"},
    {745,
     L"An attribute of type protocolInformation is used to store the protocols associated with a network "
     L"address",
     L"Атрибут типа protocolInformation используется для хранения сведений о протоколах, связанных с сетевым "
     L"адресом"},
    {746,
     L"An attribute of type distinguishedName is used to store a distinguished name; it is the supertype of "
     L"attributes with distinguished name values",
     L"Атрибут типа distinguishedName используется для хранения отличительного имени; это базовый тип для "
     L"атрибутов со значениями в виде отличительных имен"},
    {747,
     L"An attribute of type uniqueMember is used to store the names of group members with optional unique "
     L"identifiers",
     L"Атрибут типа uniqueMember используется для хранения имен членов группы с необязательными уникальными "
     L"идентификаторами"},
    {748,
     L"An attribute of type houseIdentifier is used to store the identifier of a building within a location",
     L"Атрибут типа houseIdentifier используется для хранения обозначения здания в пределах местности"},
    {749,
     L"An attribute of type supportedAlgorithms is used to store the algorithms supported by a certificate "
     L"holder",
     L"Атрибут типа supportedAlgorithms используется для хранения алгоритмов, поддерживаемых владельцем "
     L"сертификата"},
    {750,
     L"An attribute of type deltaRevocationList is used to store a delta certificate revocation list (delta "
     L"CRL)",
     L"Атрибут типа deltaRevocationList используется для хранения разностного списка отозванных сертификатов "
     L"(delta CRL)"},
    {751, L"An attribute of type dmdName is used to store the name of a directory management domain",
     L"Атрибут типа dmdName используется для хранения имени домена управления каталогом"},
    {752, L"An attribute of type clearance is used to store the security clearance of a subject",
     L"Атрибут типа clearance используется для хранения допуска субъекта к защищаемой информации"},
    {753,
     L"An attribute of type defaultDirQop is used to store the default quality of protection of directory "
     L"operations",
     L"Атрибут типа defaultDirQop используется для хранения качества защиты операций каталога по умолчанию"},
    {754,
     L"An attribute of type attributeIntegrityInfo is used to store information that protects the integrity "
     L"of attributes",
     L"Атрибут типа attributeIntegrityInfo используется для хранения сведений для защиты целостности "
     L"атрибутов"},
    {755,
     L"An attribute of type attributeCertificate is used to store the attribute certificates of a holder",
     L"Атрибут типа attributeCertificate используется для хранения атрибутных сертификатов владельца"},
    {756,
     L"An attribute of type attributeCertificateRevocationList is used to store the list of revoked "
     L"attribute certificates (ACRL)",
     L"Атрибут типа attributeCertificateRevocationList используется для хранения списка отозванных "
     L"атрибутных сертификатов (ACRL)"},
    {757,
     L"An attribute of type confKeyInfo is used to store key information for the confidentiality of "
     L"directory data",
     L"Атрибут типа confKeyInfo используется для хранения ключевой информации для обеспечения "
     L"конфиденциальности данных каталога"},
    {758, L"An attribute of type aACertificate is used to store the certificates of an attribute authority",
     L"Атрибут типа aACertificate используется для хранения сертификатов центра атрибутов"},
    {759,
     L"An attribute of type attributeDescriptorCertificate is used to store attribute descriptor "
     L"certificates",
     L"Атрибут типа attributeDescriptorCertificate используется для хранения сертификатов дескрипторов "
     L"атрибутов"},
    {760,
     L"An attribute of type attributeAuthorityRevocationList is used to store the list of revoked attribute "
     L"authority certificates (AARL)",
     L"Атрибут типа attributeAuthorityRevocationList используется для хранения списка отозванных "
     L"сертификатов центров атрибутов (AARL)"},
    {761,
     L"An attribute of type family-information is used to store information about the family of a person",
     L"Атрибут типа family-information используется для хранения сведений о семье лица"},
    {762, L"An attribute of type pseudonym is used to store a pseudonym of a person",
     L"Атрибут типа pseudonym используется для хранения псевдонима лица"},
    {763, L"An attribute of type communicationsService is used to store the kind of a communications service",
     L"Атрибут типа communicationsService используется для хранения вида службы связи"},
    {764, L"An attribute of type communicationsNetwork is used to store the kind of a communications network",
     L"Атрибут типа communicationsNetwork используется для хранения вида сети связи"},
    {765,
     L"An attribute of type certificationPracticeStmt is used to store the certification practice statement "
     L"of a certification authority",
     L"Атрибут типа certificationPracticeStmt используется для хранения регламента удостоверяющего центра"},
    {766, L"An attribute of type certificatePolicy is used to store a certificate policy",
     L"Атрибут типа certificatePolicy используется для хранения политики сертификации"},
    {767, L"An attribute of type pkiPath is used to store a certification path",
     L"Атрибут типа pkiPath используется для хранения пути сертификации"},
    {768, L"An attribute of type privPolicy is used to store a privilege policy",
     L"Атрибут типа privPolicy используется для хранения политики привилегий"},
    {769, L"An attribute of type role is used to store a role assigned to a holder",
     L"Атрибут типа role используется для хранения роли, назначенной владельцу"},
    {770, L"An attribute of type delegationPath is used to store a delegation path of attribute certificates",
     L"Атрибут типа delegationPath используется для хранения пути делегирования атрибутных сертификатов"},
    {771, L"An attribute of type protPrivPolicy is used to store a signed privilege policy",
     L"Атрибут типа protPrivPolicy используется для хранения подписанной политики привилегий"},
    {772, L"An attribute of type xMLPrivilegeInfo is used to store privilege information in XML",
     L"Атрибут типа xMLPrivilegeInfo используется для хранения сведений о привилегиях в формате XML"},
    {773, L"An attribute of type xmlPrivPolicy is used to store a privilege policy in XML",
     L"Атрибут типа xmlPrivPolicy используется для хранения политики привилегий в формате XML"},
    {774, L"An attribute of type uuidpair is used to store a pair of UUIDs",
     L"Атрибут типа uuidpair используется для хранения пары UUID"},
    {775, L"An attribute of type tagOid is used to store the object identifier of an RFID tag",
     L"Атрибут типа tagOid используется для хранения идентификатора объекта RFID-метки"},
    {776, L"An attribute of type uiiFormat is used to store the format of a unique item identifier (UII)",
     L"Атрибут типа uiiFormat используется для хранения формата уникального идентификатора изделия (UII)"},
    {777,
     L"An attribute of type uiiInUrh is used to store a unique item identifier (UII) for tag-based "
     L"identification",
     L"Атрибут типа uiiInUrh используется для хранения уникального идентификатора изделия (UII) для "
     L"идентификации по меткам"},
    {778, L"An attribute of type contentUrl is used to store the URL of content associated with an object",
     L"Атрибут типа contentUrl используется для хранения URL содержимого, связанного с объектом"},
    {779, L"An attribute of type permission is used to store a permission granted to a holder",
     L"Атрибут типа permission используется для хранения разрешения, предоставленного владельцу"},
    {780, L"An attribute of type uri is used to store a uniform resource identifier (URI)",
     L"Атрибут типа uri используется для хранения унифицированного идентификатора ресурса (URI)"},
    {781,
     L"An attribute of type pwdAttribute is used to store the type of the attribute that holds a password",
     L"Атрибут типа pwdAttribute используется для хранения типа атрибута, содержащего пароль"},
    {782, L"An attribute of type userPwd is used to store a user password in clear or encrypted form",
     L"Атрибут типа userPwd используется для хранения пароля пользователя в открытом или зашифрованном виде"},
    {783, L"An attribute of type urn is used to store a uniform resource name (URN)",
     L"Атрибут типа urn используется для хранения унифицированного имени ресурса (URN)"},
    {784, L"An attribute of type url is used to store a uniform resource locator (URL)",
     L"Атрибут типа url используется для хранения унифицированного указателя ресурса (URL)"},
    {785, L"An attribute of type utmCoordinates is used to store the UTM coordinates of a location",
     L"Атрибут типа utmCoordinates используется для хранения координат местоположения в системе UTM"},
    {786, L"An attribute of type urnC is used to store a URN component",
     L"Атрибут типа urnC используется для хранения компонента URN"},
    {787, L"An attribute of type uii is used to store a unique item identifier (UII)",
     L"Атрибут типа uii используется для хранения уникального идентификатора изделия (UII)"},
    {788, L"An attribute of type epc is used to store an electronic product code (EPC)",
     L"Атрибут типа epc используется для хранения электронного кода продукта (EPC)"},
    {789,
     L"An attribute of type tagAfi is used to store the application family identifier (AFI) of an RFID tag",
     L"Атрибут типа tagAfi используется для хранения идентификатора семейства приложений (AFI) RFID-метки"},
    {790, L"An attribute of type epcFormat is used to store the format of an electronic product code",
     L"Атрибут типа epcFormat используется для хранения формата электронного кода продукта"},
    {791, L"An attribute of type epcInUrn is used to store an electronic product code in URN form",
     L"Атрибут типа epcInUrn используется для хранения электронного кода продукта в виде URN"},
    {792, L"An attribute of type ldapUrl is used to store an LDAP URL",
     L"Атрибут типа ldapUrl используется для хранения URL LDAP"},
    {793, L"An attribute of type tagLocation is used to store the location of an RFID tag",
     L"Атрибут типа tagLocation используется для хранения местоположения RFID-метки"},
    {794,
     L"An attribute of type organizationIdentifier is used to store an identifier of an organization, such "
     L"as a registration or tax number",
     L"Атрибут типа organizationIdentifier используется для хранения идентификатора организации, например "
     L"регистрационного или налогового номера"},
    // TC26 algorithms and parameters 1.2.643.7.1.*.
    {799, L"GOST R 34.10-2012 256 bit", L"ГОСТ Р 34.10-2012 256 бит"},
    {800, L"GOST R 34.10-2012 512 bit", L"ГОСТ Р 34.10-2012 512 бит"},
    {801, L"GOST R 34.11-2012 256 bit hash", L"Алгоритм хеширования ГОСТ Р 34.11-2012 (256 бит)"},
    {802, L"GOST R 34.11-2012 512 bit hash", L"Алгоритм хеширования ГОСТ Р 34.11-2012 (512 бит)"},
    {803, L"GOST R 34.10-2012 + GOST R 34.11-2012 256 bit signature",
     L"Алгоритм цифровой подписи ГОСТ Р 34.10-2012 (256 бит)"},
    {804, L"GOST R 34.10-2012 + GOST R 34.11-2012 512 bit signature",
     L"Алгоритм цифровой подписи ГОСТ Р 34.10-2012 (512 бит)"},
    {805, L"GOST R 34.10-2012 256 bit key agreement",
     L"Алгоритм согласования ключей ГОСТ Р 34.10-2012 (256 бит)"},
    {806, L"GOST R 34.10-2012 512 bit key agreement",
     L"Алгоритм согласования ключей ГОСТ Р 34.10-2012 (512 бит)"},
    {807, L"GOST R 34.10-2012 256 bit TC26 parameters A", L"Параметры ТК26 A ГОСТ Р 34.10-2012 (256 бит)"},
    {808, L"GOST R 34.10-2012 512 bit TC26 parameters A", L"Параметры ТК26 A ГОСТ Р 34.10-2012 (512 бит)"},
    {809, L"GOST R 34.10-2012 512 bit TC26 parameters B", L"Параметры ТК26 B ГОСТ Р 34.10-2012 (512 бит)"},
    {810, L"GOST R 34.10-2012 512 bit TC26 parameters C", L"Параметры ТК26 C ГОСТ Р 34.10-2012 (512 бит)"},
    {811, L"GOST 28147-89 TC26 parameters Z", L"Параметры ТК26 Z ГОСТ 28147-89"},
    // NIST AES 2.16.840.1.101.3.4.1.*, then the Netscape comment extension.
    {812, L"AES-128 encryption in ECB mode", L"Шифрование AES-128 в режиме ECB"},
    {813, L"AES-128 encryption in CBC mode", L"Шифрование AES-128 в режиме CBC"},
    {814, L"AES-128 encryption in OFB mode", L"Шифрование AES-128 в режиме OFB"},
    {815, L"AES-128 encryption in CFB mode", L"Шифрование AES-128 в режиме CFB"},
    {816, L"AES-128 key wrap", L"Шифрование ключа AES-128 (key wrap)"},
    {817, L"AES-128 encryption in GCM mode", L"Шифрование AES-128 в режиме GCM"},
    {818, L"AES-128 encryption in CCM mode", L"Шифрование AES-128 в режиме CCM"},
    {819, L"AES-128 key wrap with padding",
     L"Шифрование ключа AES-128 с дополнением (key wrap with padding)"},
    {820, L"AES-192 encryption in ECB mode", L"Шифрование AES-192 в режиме ECB"},
    {821, L"AES-192 encryption in CBC mode", L"Шифрование AES-192 в режиме CBC"},
    {822, L"AES-192 encryption in OFB mode", L"Шифрование AES-192 в режиме OFB"},
    {823, L"AES-192 encryption in CFB mode", L"Шифрование AES-192 в режиме CFB"},
    {824, L"AES-192 key wrap", L"Шифрование ключа AES-192 (key wrap)"},
    {825, L"AES-192 encryption in GCM mode", L"Шифрование AES-192 в режиме GCM"},
    {826, L"AES-192 encryption in CCM mode", L"Шифрование AES-192 в режиме CCM"},
    {827, L"AES-192 key wrap with padding",
     L"Шифрование ключа AES-192 с дополнением (key wrap with padding)"},
    {828, L"AES-256 encryption in ECB mode", L"Шифрование AES-256 в режиме ECB"},
    {829, L"AES-256 encryption in CBC mode", L"Шифрование AES-256 в режиме CBC"},
    {830, L"AES-256 encryption in OFB mode", L"Шифрование AES-256 в режиме OFB"},
    {831, L"AES-256 encryption in CFB mode", L"Шифрование AES-256 в режиме CFB"},
    {832, L"AES-256 key wrap", L"Шифрование ключа AES-256 (key wrap)"},
    {833, L"AES-256 encryption in GCM mode", L"Шифрование AES-256 в режиме GCM"},
    {834, L"AES-256 encryption in CCM mode", L"Шифрование AES-256 в режиме CCM"},
    {835, L"AES-256 key wrap with padding",
     L"Шифрование ключа AES-256 с дополнением (key wrap with padding)"},
    {836, L"Netscape comment", L"Комментарий Netscape"},
    // Russian identifiers: OGRN, SNILS, OGRNIP, INN, then the signature tool extensions.
    {844, L"OGRN", L"ОГРН"},
    {845, L"SNILS", L"СНИЛС"},
    {846, L"OGRNIP", L"ОГРНИП"},
    {847, L"INN", L"ИНН"},
    {848, L"Subject signature tool", L"Средство электронной подписи владельца"},
    {849, L"Issuer signature and certification authority tools",
     L"Средства электронной подписи и удостоверяющего центра издателя"},
    // PKCS #1 1.2.840.113549.1.1.N: 883 + N, then the RSA digest algorithm arc 1.2.840.113549.2.
    {884, L"RSA", L"RSA"},
    {885, L"MD2 with RSA encryption", L"Подпись RSA с хешированием MD2"},
    {886, L"MD4 with RSA encryption", L"Подпись RSA с хешированием MD4"},
    {887, L"MD5 with RSA encryption", L"Подпись RSA с хешированием MD5"},
    {888, L"SHA-1 with RSA encryption", L"Подпись RSA с хешированием SHA-1"},
    {889, L"RSA OAEP encryption for SET", L"Шифрование RSA OAEP для SET"},
    {890, L"RSAES-OAEP encryption", L"Шифрование RSAES-OAEP"},
    {891, L"MGF1 mask generation function", L"Функция генерации маски MGF1"},
    {892, L"Specified OAEP encoding parameters (pSpecified)",
     L"Заданные параметры кодирования OAEP (pSpecified)"},
    {893, L"RSASSA-PSS signature", L"Подпись RSASSA-PSS"},
    {894, L"SHA-256 with RSA encryption", L"Подпись RSA с хешированием SHA-256"},
    {895, L"SHA-384 with RSA encryption", L"Подпись RSA с хешированием SHA-384"},
    {896, L"SHA-512 with RSA encryption", L"Подпись RSA с хешированием SHA-512"},
    {897, L"SHA-224 with RSA encryption", L"Подпись RSA с хешированием SHA-224"},
    {898, L"RSA Data Security digest algorithms", L"Алгоритмы хеширования RSA Data Security"},
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

}  // namespace

void SetVALKOLng(const wchar_t* name) {
    std::wstring lowered;
    for (const wchar_t* c = name; c != nullptr && *c != L'\0'; ++c) {
        lowered += static_cast<wchar_t>(std::towlower(static_cast<wint_t>(*c)));
    }
    CurrentBinding().language.store(lowered == L"ru" ? kLangRussian : kLangEnglish);
}

uint32_t GetVALKOLng() { return CurrentBinding().language.load(); }

const wchar_t* SetVALKOMessage(ValkoMessage id) {
    if (id >= kMessageCount) {
        return L"VALKO_LANGUAGE_MESSAGE_ID_ERROR";
    }
    return GetVALKOLng() == kLangRussian ? kRussianMessages[id] : kEnglishMessages[id];
}
