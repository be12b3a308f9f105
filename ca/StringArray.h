#pragma once

#include <string>
#include <vector>

#include "ca/Serializable.h"

namespace ca {

// StringArray is a list of texts under "stores" (type 1), "certificates" (2) or "crl" (3).
class StringArray : public ISerializable {
public:
    explicit StringArray(int inType) : type(inType) {}

    // FromJson appends the strings of an array; a value that is no array, or an empty one, is
    // ignored. Throws Exception(16300) for an element that is no string.
    void FromJson(const JsonValue& value) override;
    void ToJson(JsonWriter& writer) const override;
    int GetType() const override { return type; }

    std::vector<std::wstring> items;

private:
    int type;
};

}  // namespace ca
