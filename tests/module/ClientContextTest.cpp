#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

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

TEST(CallContext, InitStringAndValues) {
    const struct {
        bool serviceMode;
        const wchar_t* ext;
        const wchar_t* initString;
        int32_t force;
    } cases[] = {
        {true, L"CERT_FILTER=x", L"CERT_FILTER=x;TSP_INET_TIMEOUT=30000;SERVICE_MODE=TRUE;", 0},
        {false, L"FORCE_CERTINCLUDE=7;", L"FORCE_CERTINCLUDE=7;TSP_INET_TIMEOUT=30000;", 7},
        {false, L"", L"TSP_INET_TIMEOUT=30000;", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.ext);
        CSesModule module(c.serviceMode);
        ca::CryptPacket packet;
        packet.request.mode = 37;
        packet.request.clientId = L"c";
        packet.request.extInitParams = c.ext;
        const CCallContext call(packet, module, module.contexts);
        EXPECT_EQ(packet.callContext, &call);
        EXPECT_EQ(call.initString, c.initString);
        EXPECT_EQ(call.forceCertInclude, c.force);
        EXPECT_NE(call.context, nullptr);
    }
}

TEST(CallContext, ProbesAndContextFreeModesAcquireNothing) {
    CSesModule module(true);
    for (const uint32_t mode : {11u, 24u, 42u, 43u, 37u}) {
        SCOPED_TRACE(mode);
        ca::CryptPacket packet;
        packet.request.mode = mode;
        packet.request.test = mode == 37;
        const CCallContext call(packet, module, module.contexts);
        EXPECT_EQ(call.context, nullptr);
        EXPECT_TRUE(call.initString.empty());
    }
    EXPECT_EQ(module.contexts.Count(), 0u);
}

TEST(CallContext, BadForceCertIncludeIsABadRequest) {
    CSesModule module(true);
    for (const wchar_t* value :
         {L"FORCE_CERTINCLUDE=abc", L"FORCE_CERTINCLUDE=99999999999", L"FORCE_CERTINCLUDE="}) {
        SCOPED_TRACE(value);
        ca::CryptPacket packet;
        packet.request.mode = 38;
        packet.request.extInitParams = value;
        EXPECT_EQ(CodeOf([&] { const CCallContext call(packet, module, module.contexts); }), ca::kJsonError);
        EXPECT_EQ(packet.callContext, nullptr);
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
