#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace ca {

// Exception is the module's one exception type: a numeric code and an optional text that wins over
// the code's table text when the answer is written.
class Exception {
public:
    explicit Exception(uint32_t inCode, std::wstring inMessage = {})
        : code(inCode), message(std::move(inMessage)) {}

    uint32_t code;
    std::wstring message;
};

}  // namespace ca
