// Throughput of the request frame: base64 and the three ways file data reaches an operation.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "base/Encode.h"
#include "bench/BenchSupport.h"
#include "mod_ses.h"
#include "module/SesModule.h"

namespace {

void BM_Base64Encode(benchmark::State& state) {
    const auto bytes = Payload(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(ca::Base64Encode(bytes.data(), static_cast<uint32_t>(bytes.size())));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

void BM_Base64Decode(benchmark::State& state) {
    const auto bytes = Payload(static_cast<size_t>(state.range(0)));
    const std::string text = ca::Base64Encode(bytes.data(), static_cast<uint32_t>(bytes.size()));
    for (auto _ : state) {
        ca::MallocPtr out;
        uint32_t size = 0;
        ca::Base64Decode(text.c_str(), out, size);
        benchmark::DoNotOptimize(out.get());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

enum Form { kInline, kEncodedSize, kRawBytes };

// BM_Request sends a request carrying range(0) bytes through ProcessJson (mode 11 does no work,
// so this is the frame's own cost: copy, decode, parse, answer).
void BM_Request(benchmark::State& state, Form form) {
    const auto bytes = Payload(static_cast<size_t>(state.range(0)));
    const std::string encoded = ca::Base64Encode(bytes.data(), static_cast<uint32_t>(bytes.size()));
    std::string request;
    switch (form) {
        case kInline:
            request = R"({"mode":11,"fileData":")" + encoded + "\"}";
            break;
        case kEncodedSize:
            request = R"({"fileDataEncodedSize":)" + std::to_string(encoded.size()) + R"(,"fileData":")" +
                      encoded + R"(","mode":11})";
            break;
        case kRawBytes:
            request = R"({"mode":11,"fileDataSize":)" + std::to_string(bytes.size()) + "}";
            request.push_back('\0');
            request.append(bytes.begin(), bytes.end());
            break;
    }
    CSesModule module(true);
    module.Init(nullptr);
    for (auto _ : state) {
        CMPacket packet{};
        packet.request = request.data();
        packet.requestLength = static_cast<uint32_t>(request.size());
        packet.isLocal = true;
        module.ProcessJson(packet);
        std::free(packet.response);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

BENCHMARK(BM_Base64Encode)->Arg(8 << 20)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Base64Decode)->Arg(8 << 20)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Request, inline_base64, kInline)->Arg(8 << 20)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Request, encoded_size, kEncodedSize)->Arg(8 << 20)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Request, raw_bytes, kRawBytes)->Arg(8 << 20)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
