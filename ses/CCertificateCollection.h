#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "ca/CertInfo2.h"
#include "ses/SesCert.h"

// SesCertInfo2 describes a local certificate record in the module's general certificate form and
// keeps the record itself, which signing copies into each container.
class SesCertInfo2 : public ca::CertInfo2 {
public:
    // The validity period begins and ends at the moment of construction.
    explicit SesCertInfo2(const CSesCert& record);
    ~SesCertInfo2() override;

    CSesCert cert;
};

// CCertificateCollection holds the module's certificates by identifier; it guards itself.
class CCertificateCollection {
public:
    // kMaxAdded bounds the records clients add (SetCert2): they stay until the module is freed.
    static constexpr size_t kMaxAdded = 256;

    enum class AddResult { kAdded, kKnown, kFull };
    // Add takes info; when its identifier is already known the first one stays and info is dropped.
    // A record fromClient is refused (kFull) once kMaxAdded of them were added.
    AddResult Add(std::unique_ptr<SesCertInfo2> info, bool fromClient = false);
    // GetCert returns the certificate of exactly that identifier, or null. Entries live as long as
    // the collection, so the pointer stays valid after the lock is released.
    const SesCertInfo2* GetCert(const std::wstring& id) const;
    // Ids lists the identifiers in ascending order.
    std::vector<std::wstring> Ids() const;

private:
    mutable std::mutex lock;
    std::map<std::wstring, std::unique_ptr<SesCertInfo2>> certificates;
    size_t added = 0;  // records added fromClient, guarded by lock
};

// CertificateFolder is the local certificate folder, with a trailing "/": the module loads it and
// sestool writes new certificates there.
std::string CertificateFolder();

// kMaxCertificateFiles bounds how many names LoadCertificateFolder collects from one folder.
constexpr size_t kMaxCertificateFiles = 10000;

// CertificateSkipReport hears of each directory entry that LoadCertificateFolder did not load: its
// name and a short reason in English.
using CertificateSkipReport = std::function<void(const std::string& name, const std::string& reason)>;

// LoadCertificateFolder adds every readable certificate file of folder (names containing ".ses",
// regular files only, in directory order) to collection. Everything else is skipped, silently
// unless report is given; the module gives none.
void LoadCertificateFolder(const std::string& folder, CCertificateCollection& collection,
                           const CertificateSkipReport& report = nullptr);
