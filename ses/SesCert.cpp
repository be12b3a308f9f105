#include "ses/SesCert.h"

#include <tinyxml.h>

#include <algorithm>
#include <iterator>

#include "base/Encode.h"
#include "ses/SesXml.h"

const SSesCertField kSesCertFields[11] = {
    {"ID", &CSesCert::ID},
    {"Surname", &CSesCert::Surname},
    {"GivenName", &CSesCert::GivenName},
    {"Organization", &CSesCert::Organization},
    {"Title", &CSesCert::Title},
    {"OrganizationUnit", &CSesCert::OrganizationUnit},
    {"Email", &CSesCert::Email},
    {"Telephone", &CSesCert::Telephone},
    {"Country", &CSesCert::Country},
    {"Locality", &CSesCert::Locality},
    {"Address", &CSesCert::Address},
};

void CSesCert::ToXml(TiXmlElement* parent) const {
    for (const SSesCertField& f : kSesCertFields) {
        AppendTextElement(parent, f.name, this->*f.field);
    }
}

void CSesCert::FromXml(const TiXmlElement* element) {
    for (const SSesCertField& f : kSesCertFields) {
        ReadTextElement(element, f.name, this->*f.field);
    }
    CheckString(Address);
}

void CSesCert::ToJson(ca::JsonWriter& writer) const {
    writer.StartObject();
    for (const SSesCertField& f : kSesCertFields) {
        ca::WriteKey(writer, f.name);
        ca::WriteWString(writer, this->*f.field);
    }
    writer.EndObject();
}

void CSesCert::FromJson(const ca::JsonValue& value) {
    if (!value.IsObject()) {
        throw ca::Exception(ca::kJsonError);
    }
    for (const SSesCertField& f : kSesCertFields) {
        const ca::JsonValue* member = ca::FindMember(value, f.name);
        if (member != nullptr && member->IsString()) {
            this->*f.field = ca::u8u16(member->GetString(), member->GetStringLength());
        }
    }
    CheckString(Address);
}

bool CSesCert::FitsBounds() const {
    return std::all_of(std::begin(kSesCertFields), std::end(kSesCertFields),
                       [this](const SSesCertField& f) { return (this->*f.field).size() <= kMaxFieldLength; });
}

void CSesCert::CheckString(std::wstring& text) {
    // One left-to-right pass reaches the same fixed point as rescanning from the start: a
    // replacement blank can never form a new CR LF pair.
    std::wstring out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == L'\r' && i + 1 < text.size() && text[i + 1] == L'\n') {
            out.push_back(L' ');
            ++i;
        } else {
            out.push_back(text[i]);
        }
    }
    text.swap(out);
}
