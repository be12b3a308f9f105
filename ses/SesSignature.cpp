#include "ses/SesSignature.h"

#include <tinyxml.h>

#include "base/Encode.h"
#include "ses/SesXml.h"
#include "ses/Utils.h"

CSesSignature::CSesSignature() : SignId(ca::u8u16(GetRandom(3))) {}

void CSesSignature::ToXml(TiXmlElement* eds) const {
    AppendTextElement(eds, "SignId", SignId);
    AppendTextElement(eds, "SignTimeUTC", SignTimeUTC);
    AppendTextElement(eds, "Comment", Comment);
    AppendTextElement(eds, "URI", URI);
    if (!Attached.empty()) {
        AppendTextElement(eds, "Attached", Attached);
    }
    TiXmlElement* crc = AppendTextElement(eds, "CRC", CRC);
    crc->SetAttribute("Set", "st_1");
}

void CSesSignature::FromXml(const TiXmlElement* eds) {
    ReadTextElement(eds, "SignId", SignId);
    ReadTextElement(eds, "SignTimeUTC", SignTimeUTC);
    ReadTextElement(eds, "Comment", Comment);
    ReadTextElement(eds, "URI", URI);
    ReadTextElement(eds, "Attached", Attached);
    ReadTextElement(eds, "CRC", CRC);
}
