#include <gtest/gtest.h>

#include "base/ErrorCodes.h"
#include "base/Exception.h"
#include "base/Log.h"
#include "tests/support/TestSupport.h"

namespace {

TEST(Log, UnboundCallbackReportsFalse) {
    LogInit(nullptr, {});
    EXPECT_FALSE(LogEvent(L"x", false));
    EXPECT_FALSE(ca::LogEventFmt(L"%d", true, 5));
    ca::LogError(L"detail", L"ctx", 0, false);  // nothing to fail
}

TEST(Log, FormattedLinesHaveNoLengthLimit) {
    CLogScope log;
    const std::wstring longText(100000, L'\u0416');
    EXPECT_TRUE(ca::LogEventFmt(L"[%ls] %u", false, longText.c_str(), 7u));
    EXPECT_EQ(log.Take(), (std::vector<SLogLine>{{L"[" + longText + L"] 7", false}}));
}

TEST(Log, LogErrorWritesTwoLinesAndMayThrow) {
    CLogScope log;
    try {
        ca::LogError(L"CryptoModule:95", L"", ca::kMethodNotSupported, true);
        ADD_FAILURE() << "no exception";
    } catch (const ca::Exception& e) {
        EXPECT_EQ(e.code, ca::kMethodNotSupported);
        EXPECT_EQ(e.message, L"Method not supported.");
    }
    EXPECT_EQ(log.Take(), (std::vector<SLogLine>{{L": CryptoModule:95", true},
                                                 {L": ERROR Method not supported.", true}}));
    EXPECT_EQ(ca::GetLineString("CryptAsn1Base", 190, "Nov 22 2026"), L"CryptAsn1Base:190");
}

}  // namespace
