// Feeds arbitrary bytes to the ASN.1 layer under several flag sets: parse, write back, dump as JSON,
// build a generic object tree, decode, re-encode everything and write back again. Only the ASN.1
// codes may come out, and well-formed input must be written back byte for byte.
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "asn1/Asn1Constructed.h"
#include "asn1/Asn1Primitives.h"
#include "asn1/CryptAsn1Parser.h"
#include "base/ErrorCodes.h"
#include "base/Exception.h"
#include "fuzz/FuzzTarget.h"

const char* const kFuzzTarget = "fuzz_asn1";

namespace {

void CheckCode(uint32_t code) {
    if (code != ca::kAsn1EndOfData && code != ca::kAsn1CorruptData && code != ca::kAsn1BadTag) {
        Fail("unexpected exception code");
    }
}

void MarkAllChanged(CAsn1Object& object) {
    object.SetChanged(true);
    if (auto* constructed = dynamic_cast<CAsn1Constructed<CAsn1Object>*>(&object)) {
        for (CAsn1Object* member : constructed->innerObjects) {
            if (member != nullptr) {
                MarkAllChanged(*member);
            }
        }
    }
}

// Reparse checks that written bytes read back completely and are written the same again. Copies are
// vectors made from a range: they hold exactly the bytes, so AddressSanitizer sees a read past them.
void Reparse(const std::vector<uint8_t>& bytes) {
    if (bytes.empty()) {
        return;
    }
    std::vector<uint8_t> copy(bytes.begin(), bytes.end());
    CCryptAsn1Parser parser;
    try {
        parser.Parse(copy.data(), copy.size());
    } catch (const ca::Exception&) {
        Fail("written bytes do not parse");
    }
    if (parser.Build() != bytes) {
        Fail("written bytes are not written the same again");
    }
}

struct SFlags {
    bool quiet;
    bool strict;
    bool firstOnly;
};

constexpr SFlags kFlagSets[] = {
    {false, false, false}, {true, false, false}, {false, true, false},
    {true, true, true},    {false, false, true},
};

void Exercise(const uint8_t* data, size_t size, const SFlags& flags) {
    std::vector<uint8_t> buffer(data, data + size);  // decoders clear bit-string padding in place
    CCryptAsn1Parser parser;
    bool complete = true;
    try {
        parser.Parse(buffer.data(), buffer.size(), flags.quiet, flags.strict, flags.firstOnly);
    } catch (const ca::Exception& e) {
        if (e.code == ca::kAsn1BadTag || (e.code == ca::kAsn1EndOfData && flags.quiet)) {
            Fail("the parser raised a code it must not");
        }
        CheckCode(e.code);
        complete = false;
    }
    if (parser.lastError != 0) {
        if (complete && !(flags.quiet && parser.lastError == ca::kAsn1EndOfData)) {
            Fail("lastError set after a normal parse");
        }
        complete = false;
    }

    // Judged on the parsed lengths, before Build recalculates them.
    bool wellFormed = complete;
    for (const auto& block : parser.innerBlocks) {
        wellFormed = wellFormed && block->IsCanonical();
    }
    // Written back before any decoder has touched the bytes.
    const std::vector<uint8_t> built = parser.Build();
    if (wellFormed) {
        if (built.size() > size || (!built.empty() && std::memcmp(built.data(), data, built.size()) != 0)) {
            Fail("Build does not give well-formed input back");
        }
        if (!flags.firstOnly && built.size() != size) {
            Fail("a complete parse left bytes over");
        }
    }
    if (complete) {
        Reparse(built);
    }

    try {
        (void)parser.GetAsn1Structure();
    } catch (const ca::Exception& e) {
        CheckCode(e.code);
    }
    (void)parser.GetBlockByPath(L"0/0/1");

    for (const auto& block : parser.innerBlocks) {
        std::unique_ptr<CAsn1Object> object = CreatePrimitiveObject(block.get(), nullptr);
        try {
            object->Decode();
        } catch (const ca::Exception& e) {
            CheckCode(e.code);
            continue;
        }
        (void)object->GetFormattedString(0);
        (void)object->GetFormattedString(kHexUpper | kHexDropLeadingZero | kHexColons);
        (void)object->GetRawData(false);
        if (wellFormed) {
            // Unchanged, the tree writes its block's bytes (as the decoders left them).
            const std::vector<uint8_t> same = object->GetAsn1Data();
            if (same.size() != block->totalLength ||
                std::memcmp(same.data(), block->start, same.size()) != 0) {
                Fail("an unchanged object tree does not write its bytes");
            }
        }
        MarkAllChanged(*object);
        object->Encode();
        const std::vector<uint8_t> reencoded = object->GetAsn1Data();
        if (wellFormed) {
            Reparse(reencoded);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    for (const SFlags& flags : kFlagSets) {
        Exercise(data, size, flags);
    }
    return 0;
}
