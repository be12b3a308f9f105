// Feeds arbitrary bytes to the signature-container and certificate readers; whatever parses must
// print and parse back to the same text. Each input runs on a thread with a 256 KiB stack, so nesting
// that escapes the depth guard overflows it at once (TinyXML recurses once per level); run with
// -max_len=1048576 so that inputs are long enough to nest that deep.
#include <pthread.h>

#include <string>

#include "base/Json.h"
#include "fuzz/FuzzTarget.h"
#include "ses/SesContainer.h"

const char* const kFuzzTarget = "fuzz_container";

namespace {

constexpr size_t kStackBytes = size_t{256} << 10;

struct SInput {
    const char* text;
    size_t size;
};

void ReadContainer(const char* text, size_t size) {
    try {
        const auto container = CSesContainer::Parse(text, size);
        const std::string printed = container->Print();
        const auto again = CSesContainer::Parse(printed.data(), printed.size());
        if (again->Print() != printed) {
            Fail("print/parse round trip differs");
        }
    } catch (const ca::Exception& e) {
        if (e.code != 16101) {
            Fail("unexpected exception code");
        }
    }
    try {
        rapidjson::Document document;
        ca::ParseJson(document, text, size);
        CSesCert cert;
        cert.FromJson(document);
    } catch (const ca::Exception&) {
        // Not a JSON object: answered with 16300.
    }
}

void* ReadOnThread(void* argument) {
    const auto* input = static_cast<const SInput*>(argument);
    ReadContainer(input->text, input->size);
    return nullptr;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    SInput input{reinterpret_cast<const char*>(data), size};
    pthread_attr_t attributes;
    pthread_t thread;
    if (pthread_attr_init(&attributes) != 0 || pthread_attr_setstacksize(&attributes, kStackBytes) != 0 ||
        pthread_create(&thread, &attributes, ReadOnThread, &input) != 0) {
        Fail("cannot start the reading thread");
    }
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    return 0;
}
