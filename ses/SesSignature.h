#pragma once

#include <string>

#include "ca/Serializable.h"

class TiXmlElement;

// CSesSignature is the "EDS" element of a container: identifiers, time, caller texts and the CRC
// value that binds the signature to the data. It has no JSON form.
class CSesSignature : public ca::ISerializable {
public:
    // The constructor draws a fresh random SignId.
    CSesSignature();

    void FromJson(const ca::JsonValue&) override {}
    void ToJson(ca::JsonWriter&) const override {}
    int GetType() const override { return 2; }

    void ToXml(TiXmlElement* eds) const;
    void FromXml(const TiXmlElement* eds);
    bool IsAttached() const { return !Attached.empty(); }

    std::wstring Comment;
    std::wstring URI;
    std::wstring SignId;
    std::wstring SignTimeUTC;
    std::wstring Attached;
    std::wstring CRC;
};
