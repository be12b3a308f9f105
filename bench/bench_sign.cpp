// Signing throughput through CM_ProcessClientRequest, and the bare CRC-64, at 1 MiB and 256 MiB.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "base/Encode.h"
#include "bench/BenchSupport.h"
#include "mod_ses.h"
#include "ses/Hasher.h"
#include "ses/crc64.h"

namespace {

// CBenchModule is a module over a throw-away HOME holding one certificate, "bench".
class CBenchModule {
public:
    CBenchModule() {
        char pattern[] = "/tmp/ses-bench-XXXXXX";
        home = mkdtemp(pattern);
        setenv("HOME", home.c_str(), 1);
        const std::string dir = home + "/.config/VALKO/SesCertificates/";
        std::filesystem::create_directories(dir);
        std::ofstream(dir + "bench.ses") << "<SES Version=\"1.0\"><Certificate><ID>bench</ID>"
                                            "<Surname>Bench</Surname></Certificate></SES>";
        module = CM_Init(true, nullptr);
    }
    ~CBenchModule() {
        CM_Free(module);
        std::filesystem::remove_all(home);
    }
    // Answer sends one request and returns the raw bytes of its answer (after the NUL).
    std::string Answer(const std::string& request) {
        CMPacket packet{};
        packet.request = request.data();
        packet.requestLength = static_cast<uint32_t>(request.size());
        packet.isLocal = true;
        CM_ProcessClientRequest(module, &packet);
        std::string data;
        const size_t json = packet.response != nullptr ? std::strlen(packet.response) : 0;
        if (packet.responseSize > json) {
            data.assign(packet.response + json + 1, packet.responseSize - json - 1);
        }
        std::free(packet.response);
        return data;
    }
    // Call sends one request and checks that it succeeded.
    bool Call(const std::string& request) {
        CMPacket packet{};
        packet.request = request.data();
        packet.requestLength = static_cast<uint32_t>(request.size());
        packet.isLocal = true;
        CM_ProcessClientRequest(module, &packet);
        const bool ok =
            packet.response != nullptr && std::strncmp(packet.response, "{\"errorCode\":0,", 15) == 0;
        std::free(packet.response);
        return ok;
    }

    std::string home;
    void* module = nullptr;
};

// RawRequest is a request with the payload as raw bytes after the JSON's NUL.
std::string RawRequest(const std::string& head, const std::vector<uint8_t>& data) {
    std::string request = head + R"(,"fileDataSize":)" + std::to_string(data.size()) + "}";
    request.push_back('\0');
    request.append(data.begin(), data.end());
    return request;
}

// RunCalls sends request once per iteration; the payload size is state.range(0).
void RunCalls(benchmark::State& state, CBenchModule& host, const std::string& request) {
    for (auto _ : state) {
        if (!host.Call(request)) {
            state.SkipWithError("the request failed");
            break;
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

void BM_SignRawBytes(benchmark::State& state) {
    CBenchModule host;
    RunCalls(
        state, host,
        RawRequest(R"({"mode":14,"senderCertId":"bench")", Payload(static_cast<size_t>(state.range(0)))));
}

void BM_SignAttached(benchmark::State& state) {
    CBenchModule host;
    RunCalls(state, host,
             RawRequest(R"({"mode":14,"senderCertId":"bench","isAttached":true)",
                        Payload(static_cast<size_t>(state.range(0)))));
}

// BM_VerifyRawBytes checks a detached signature of the payload, made once beforehand.
void BM_VerifyRawBytes(benchmark::State& state) {
    CBenchModule host;
    const auto data = Payload(static_cast<size_t>(state.range(0)));
    const std::string signature = host.Answer(RawRequest(R"({"mode":14,"senderCertId":"bench")", data));
    const std::string head = R"({"mode":15,"sendSignData":")" +
                             ca::Base64Encode(reinterpret_cast<const uint8_t*>(signature.data()),
                                              static_cast<uint32_t>(signature.size())) +
                             "\"";
    RunCalls(state, host, RawRequest(head, data));
}

void BM_SignEncodedSize(benchmark::State& state) {
    CBenchModule host;
    const auto data = Payload(static_cast<size_t>(state.range(0)));
    const std::string encoded = ca::Base64Encode(data.data(), static_cast<uint32_t>(data.size()));
    const std::string request = R"({"fileDataEncodedSize":)" + std::to_string(encoded.size()) +
                                R"(,"fileData":")" + encoded + R"(","mode":14,"senderCertId":"bench"})" +
                                std::string(1, '\0');
    RunCalls(state, host, request);
}

void BM_Crc64(benchmark::State& state) {
    const auto data = Payload(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        Crc64Hash hash;
        hash.Compute(data.data(), static_cast<unsigned int>(data.size()));
        benchmark::DoNotOptimize(hash.GetValue());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

// The baselines of the same buffer: the table loop (the kernel before ISA-L) and one memcpy.
void BM_Crc64TableLoop(benchmark::State& state) {
    const auto data = Payload(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(crc64_table(data.data(), data.size(), 0));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

void BM_Memcpy(benchmark::State& state) {
    const auto data = Payload(static_cast<size_t>(state.range(0)));
    std::vector<uint8_t> copy(data.size());
    for (auto _ : state) {
        std::memcpy(copy.data(), data.data(), data.size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

constexpr int64_t kSmall = int64_t{1} << 20;
constexpr int64_t kLarge = int64_t{256} << 20;

BENCHMARK(BM_SignRawBytes)->Arg(kSmall)->Arg(kLarge)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_SignRawBytes)->Name("BM_SignSmall")->Arg(4096)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SignAttached)->Arg(kLarge)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_VerifyRawBytes)->Arg(kLarge)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_SignEncodedSize)->Arg(kSmall)->Arg(kLarge)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Crc64)->Arg(kSmall)->Arg(kLarge)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Crc64TableLoop)->Arg(kSmall)->Arg(kLarge)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Memcpy)->Arg(kSmall)->Arg(kLarge)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
