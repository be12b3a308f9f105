#pragma once

#include <memory>
#include <string>

#include "ca/Serializable.h"
#include "ses/SesCert.h"
#include "ses/SesSignature.h"

class TiXmlElement;

// CSesContainer is the content of an "SES" document: an optional certificate record and an
// optional signature. It has no JSON form.
class CSesContainer : public ca::ISerializable {
public:
    void FromJson(const ca::JsonValue&) override {}
    void ToJson(ca::JsonWriter&) const override {}
    int GetType() const override { return 3; }

    // ToXml appends "Certificate" (when set) and then "EDS" (when set) to root.
    void ToXml(TiXmlElement* root) const;
    // FromXml reads root's "Certificate" and "EDS" children into fresh records.
    void FromXml(const TiXmlElement* root);

    // Print returns the whole document: root "SES" Version "1.0", four-blank indent, LF breaks,
    // no XML declaration.
    std::string Print() const;

    // Parse reads an untrusted "SES" document; throws ca::Exception(16101) when the text is not one
    // document of the XML subset and bounds CheckXmlShape accepts with an "SES" root element.
    static std::unique_ptr<CSesContainer> Parse(const char* text, size_t length);

    std::unique_ptr<CSesCert> certificate;
    std::unique_ptr<CSesSignature> signature;
};
