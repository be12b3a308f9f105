#pragma once

// The shared body of the X.509 targets: arbitrary bytes through one reader (certificate, CRL or CMS)
// and its record filler. Anything may fail with a ca::Exception; nothing may crash, read past the
// input or leak, and a record that fills must read back from its own JSON to the same JSON.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "ca/FromAsn1.h"

namespace x509fuzz {

template <class Record>
std::string JsonOf(const Record& record) {
    rapidjson::StringBuffer buffer;
    ca::JsonWriter writer(buffer);
    record.ToJson(writer);
    return {buffer.GetString(), buffer.GetSize()};
}

template <class Record>
void ExpectReadBack(const Record& record) {
    const std::string json = JsonOf(record);
    rapidjson::Document document;
    document.Parse(json.c_str());
    Record back;
    back.FromJson(document);
    if (JsonOf(back) != json) {
        std::fprintf(stderr, "record does not read back: %s\n", json.c_str());
        std::abort();
    }
}

// Run decodes data as T and fills Record from it with fill(record, root).
template <class T, class Record, class Fill>
void Run(const uint8_t* data, size_t size, Fill fill) {
    try {
        ca::CDecoded<T> decoded(std::vector<uint8_t>(data, data + size));
        Record record;
        fill(record, decoded.Root());
        ExpectReadBack(record);
    } catch (const ca::Exception&) {
        // refused with a code: the expected outcome for most inputs
    }
}

}  // namespace x509fuzz
