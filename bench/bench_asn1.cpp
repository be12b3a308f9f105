// Throughput of the ASN.1 layer on a typical certificate (1500 bytes, RSA 4096, from tests/data):
// parse, parse + JSON dump (what "sestool asn1" and the module's dump do), parse + Build, and a full
// generic object tree decode.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "asn1/Asn1Constructed.h"
#include "asn1/CryptAsn1Parser.h"

namespace {

const std::vector<uint8_t>& Certificate() {
    static const std::vector<uint8_t> bytes = [] {
        const std::filesystem::path path = std::filesystem::path(SES_TEST_DATA) / "certs" / "comodo_rsa.der";
        std::ifstream in(path, std::ios::binary);
        std::vector<uint8_t> read{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
        if (read.empty()) {
            std::fprintf(stderr, "bench_asn1: cannot read %s\n", path.c_str());
            std::exit(1);
        }
        return read;
    }();
    return bytes;
}

void Count(benchmark::State& state) {
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));  // items/s: certificates per second
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * Certificate().size()));
}

void BM_Asn1Parse(benchmark::State& state) {
    std::vector<uint8_t> bytes = Certificate();
    for (auto _ : state) {
        CCryptAsn1Parser parser;
        parser.Parse(bytes.data(), bytes.size());
        benchmark::DoNotOptimize(parser.totalLength);
    }
    Count(state);
}
BENCHMARK(BM_Asn1Parse);

void BM_Asn1ParseAndDump(benchmark::State& state) {
    std::vector<uint8_t> bytes = Certificate();
    for (auto _ : state) {
        CCryptAsn1Parser parser;
        parser.Parse(bytes.data(), bytes.size());
        std::string json = parser.GetAsn1Structure();
        benchmark::DoNotOptimize(json.data());
    }
    Count(state);
}
BENCHMARK(BM_Asn1ParseAndDump);

void BM_Asn1ParseAndBuild(benchmark::State& state) {
    std::vector<uint8_t> bytes = Certificate();
    for (auto _ : state) {
        CCryptAsn1Parser parser;
        parser.Parse(bytes.data(), bytes.size());
        std::vector<uint8_t> built = parser.Build();
        benchmark::DoNotOptimize(built.data());
    }
    Count(state);
}
BENCHMARK(BM_Asn1ParseAndBuild);

void BM_Asn1DecodeObjectTree(benchmark::State& state) {
    std::vector<uint8_t> bytes = Certificate();
    for (auto _ : state) {
        CCryptAsn1Parser parser;
        parser.Parse(bytes.data(), bytes.size());
        std::unique_ptr<CAsn1Object> root = CreatePrimitiveObject(parser.GetInnerBlock(0), nullptr);
        root->Decode();
        benchmark::DoNotOptimize(root.get());
    }
    Count(state);
}
BENCHMARK(BM_Asn1DecodeObjectTree);

}  // namespace

BENCHMARK_MAIN();
