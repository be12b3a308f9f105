#pragma once

#include <cstdint>
#include <string>
#include <vector>

// GetErrorMessage is the response text for a code: the module's own codes 16400..16402 first,
// then the process-wide helper. withStatus adds the "DONE"/"ERROR "/"NEED" prefixes.
std::wstring GetErrorMessage(uint32_t code, bool withStatus);

namespace ca {

// ErrorMessageHelper maps codes to texts. The configured custom handler list belongs to the current
// module's binding; the list does not change any text in this module.
class ErrorMessageHelper {
public:
    std::wstring GetErrorMessage(uint32_t code, bool withStatus) const;
    std::wstring GetErrorMessageNoCustom(uint32_t code, bool withStatus) const;
    std::wstring GetErrorMessageCustom(uint32_t code, const std::vector<std::wstring>& handlers,
                                       bool withStatus) const;

    void SetHandlers(std::vector<std::wstring> inHandlers);
    const std::vector<std::wstring>& Handlers() const;

    // Instance is the helper of the module whose call runs on this thread (see CurrentBinding).
    static ErrorMessageHelper& Instance();
};

}  // namespace ca
