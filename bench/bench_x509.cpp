// What a host pays to describe a certificate or a signature: parse + CertInfo2::FromAsn1 + JSON of a
// typical certificate (1500 bytes, RSA 4096, from tests/data), and parse + SignInfos::FromAsn1 + JSON
// of a CMS signature with three signers and their certificates.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "ca/FromAsn1.h"

namespace {

std::vector<uint8_t> Sample(const char* name) {
    const std::filesystem::path path = std::filesystem::path(SES_TEST_DATA) / "certs" / name;
    std::ifstream in(path, std::ios::binary);
    std::vector<uint8_t> read{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (read.empty()) {
        std::fprintf(stderr, "bench_x509: cannot read %s\n", path.c_str());
        std::exit(1);
    }
    return read;
}

template <class Record>
size_t JsonSize(const Record& record) {
    rapidjson::StringBuffer buffer;
    ca::JsonWriter writer(buffer);
    record.ToJson(writer);
    return buffer.GetSize();
}

void BM_CertificateRecordJson(benchmark::State& state) {
    const std::vector<uint8_t> bytes = Sample("comodo_rsa.der");
    for (auto _ : state) {
        ca::CDecoded<CAsn1Certificate> decoded(bytes);
        ca::CertInfo2 info;
        info.FromAsn1(decoded.Root(), 1700000000);
        benchmark::DoNotOptimize(JsonSize(info));
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}
BENCHMARK(BM_CertificateRecordJson)->Unit(benchmark::kMicrosecond);

void BM_CmsThreeSignersJson(benchmark::State& state) {
    const std::vector<uint8_t> bytes = Sample("cms_three_signers.der");
    for (auto _ : state) {
        ca::CDecoded<CAsn1SignedPKCS7> decoded(bytes);
        ca::SignInfos signers;
        signers.FromAsn1(decoded.Root());
        benchmark::DoNotOptimize(JsonSize(signers));
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}
BENCHMARK(BM_CmsThreeSignersJson)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
