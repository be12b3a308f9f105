#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

#include "base/Encode.h"
#include "module/ClientContext.h"
#include "module/SesModule.h"
#include "tests/support/TestSupport.h"

namespace {

TEST(ClientContexts, IdsAreExactAndReused) {
    CClientContextArray contexts(nullptr, [] { return 0u; });
    const auto a = contexts.AcquireContext(L"A");
    EXPECT_NE(contexts.AcquireContext(L"a"), a);
    EXPECT_EQ(contexts.AcquireContext(L"A"), a);
    EXPECT_EQ(contexts.Count(), 2u);
    contexts.Remove(L"A");
    EXPECT_EQ(contexts.Count(), 1u);
    EXPECT_EQ(a->clientId, L"A");  // a removed context stays valid for the call holding it
}

TEST(ClientContexts, IdleContextsGoAtTheHourlySweep) {
    uint32_t now = 3600001;  // the first acquisition sweeps: lastCleanup starts at 0
    CClientContextArray contexts(nullptr, [&now] { return now; });
    contexts.AcquireContext(L"old");
    contexts.AcquireContext(L"edge");
    contexts.AcquireContext(L"fresh");

    now = 3600001 + 3600000;  // one hour later exactly: no sweep yet
    contexts.AcquireContext(L"fresh");
    EXPECT_EQ(contexts.Count(), 3u);

    // "edge" is touched so that at the sweep it is idle for exactly three hours.
    now = 3600001 + 1;
    contexts.AcquireContext(L"edge");
    now = 3600001 + 10800001;
    contexts.AcquireContext(L"fresh");  // the sweep runs first, then "fresh" is refreshed
    EXPECT_EQ(contexts.Count(), 2u);    // "old" (idle 10800001 ms) went; "edge" (10800000 ms) stayed

    now = 0xFFFFFF00u;  // hours later: the sweep leaves "x" alone
    contexts.AcquireContext(L"x");
    now = 0x100;  // 512 ms later, across the clock's wrap
    contexts.RemoveOld();
    EXPECT_EQ(contexts.Count(), 1u);
}

TEST(CallContext, InitStringContextAndBadForceCertInclude) {
    const struct {
        bool serviceMode;
        uint32_t mode;  // 37 with "test": a probe
        const wchar_t* ext;
        const wchar_t* initString;  // null: no context acquired; "!": refused as a bad request
        int32_t force;
    } cases[] = {
        {true, 37, L"CERT_FILTER=x", L"CERT_FILTER=x;TSP_INET_TIMEOUT=30000;SERVICE_MODE=TRUE;", 0},
        {false, 37, L"FORCE_CERTINCLUDE=7;", L"FORCE_CERTINCLUDE=7;TSP_INET_TIMEOUT=30000;", 7},
        {false, 38, L"", L"TSP_INET_TIMEOUT=30000;", 0},
        // Probes and the context-free modes acquire nothing.
        {true, 11, L"", nullptr, 0},
        {true, 24, L"", nullptr, 0},
        {true, 42, L"", nullptr, 0},
        {true, 43, L"", nullptr, 0},
        {true, 37, L"test", nullptr, 0},
        {true, 38, L"FORCE_CERTINCLUDE=abc", L"!", 0},
        {true, 38, L"FORCE_CERTINCLUDE=99999999999", L"!", 0},
        {true, 38, L"FORCE_CERTINCLUDE=", L"!", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.mode) + " " + ca::u16u8(c.ext));
        CSesModule module(c.serviceMode);
        ca::CryptPacket packet;
        packet.request.mode = c.mode;
        packet.request.test = std::wstring(c.ext) == L"test";
        packet.request.clientId = L"c";
        packet.request.extInitParams = packet.request.test ? L"" : c.ext;
        if (c.initString != nullptr && std::wstring(c.initString) == L"!") {
            EXPECT_EQ(CodeOf([&] { const CCallContext call(packet, module, module.contexts); }),
                      ca::kJsonError);
            EXPECT_EQ(packet.callContext, nullptr);
            continue;
        }
        const CCallContext call(packet, module, module.contexts);
        EXPECT_EQ(packet.callContext, &call);
        EXPECT_EQ(call.initString, c.initString == nullptr ? L"" : c.initString);
        EXPECT_EQ(call.forceCertInclude, c.force);
        EXPECT_EQ(call.context != nullptr, c.initString != nullptr);
        EXPECT_EQ(module.contexts.Count(), c.initString != nullptr ? 1u : 0u);
    }
}

TEST(ClientContexts, ManyClientsCostLinearTimeAndStayBounded) {
    auto seconds = [](size_t clients) {
        CClientContextArray contexts(nullptr, [] { return 1u; });
        const auto start = std::chrono::steady_clock::now();
        for (size_t i = 0; i < clients; ++i) {
            contexts.AcquireContext(L"client-" + std::to_wstring(i));
        }
        EXPECT_EQ(contexts.Count(), std::min(clients, CClientContextArray::kMaxContexts));
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    const double small = seconds(10000);
    const double large = seconds(100000);
    EXPECT_LT(large, 30 * small + 0.05) << small << " s for 10k ids, " << large << " s for 100k";
}

TEST(ClientContexts, TheLeastRecentlyUsedGoesFirst) {
    CClientContextArray contexts(nullptr, [] { return 1u; });
    const auto first = contexts.AcquireContext(L"first");
    const auto one = contexts.AcquireContext(L"1");
    for (size_t i = 2; i < CClientContextArray::kMaxContexts; ++i) {
        contexts.AcquireContext(std::to_wstring(i));
    }
    EXPECT_EQ(contexts.AcquireContext(L"first"), first);  // touched: "1" is now the oldest
    contexts.AcquireContext(L"new");
    EXPECT_EQ(contexts.AcquireContext(L"first"), first);
    EXPECT_NE(contexts.AcquireContext(L"1"), one);
    EXPECT_EQ(contexts.Count(), CClientContextArray::kMaxContexts);
}

}  // namespace
