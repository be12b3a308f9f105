#include <gtest/gtest.h>

#include <QApplication>
#include <QMessageBox>
#include <QWidget>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "base/Log.h"
#include "module/MessageBox.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define SES_TEST_ASAN 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(SES_TEST_ASAN)
#include <sanitizer/lsan_interface.h>
#define SES_IGNORE_LEAKS_IN_SCOPE __lsan::ScopedDisabler ignoreLeaks
#else
#define SES_IGNORE_LEAKS_IN_SCOPE
#endif

namespace {

using BoxFunction = void (*)(const std::wstring& text, const std::wstring& caption);

struct SBoxCase {
    const char* label;
    BoxFunction show;
    ca::MessageBoxKind kind;
    QMessageBox::Icon icon;
};

const SBoxCase kBoxes[] = {
    {"warning", &ca::MessageBoxWarning, ca::MessageBoxKind::kWarning, QMessageBox::Warning},
    {"info", &ca::MessageBoxInfo, ca::MessageBoxKind::kInfo, QMessageBox::Information},
    {"error", &ca::MessageBoxError, ca::MessageBoxKind::kError, QMessageBox::Critical},
};

std::mutex logMutex;
std::vector<std::wstring> logLines;

bool CaptureLog(const wchar_t* text, bool isError) {
    std::lock_guard<std::mutex> lock(logMutex);
    logLines.push_back((isError ? L"E " : L"I ") + std::wstring(text));
    return true;
}

// SLogCapture binds the capturing callback for one test and unbinds it afterwards.
struct SLogCapture {
    SLogCapture() {
        logLines.clear();
        LogInit(&CaptureLog, {});
    }
    ~SLogCapture() { LogInit(nullptr, {}); }
};

struct SSunk {
    ca::MessageBoxKind kind;
    std::wstring text;
    std::wstring caption;
};
std::vector<SSunk> sunk;

void Sink(ca::MessageBoxKind kind, const std::wstring& text, const std::wstring& caption) {
    sunk.push_back({kind, text, caption});
}

std::vector<QMessageBox*> TopLevelBoxes() {
    std::vector<QMessageBox*> boxes;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* box = qobject_cast<QMessageBox*>(widget)) {
            boxes.push_back(box);
        }
    }
    return boxes;
}

TEST(MessageBox, WithoutApplicationGoesToTheLogAsErrorLine) {
    if (QCoreApplication::instance() != nullptr) {
        GTEST_SKIP() << "another test left an application object";
    }
    SLogCapture capture;
    for (const SBoxCase& c : kBoxes) {
        SCOPED_TRACE(c.label);
        logLines.clear();
        c.show(L"Configuration file is damaged", L"Module");
        EXPECT_EQ(logLines, std::vector<std::wstring>{L"E Module: Configuration file is damaged"});
    }
}

TEST(MessageBox, SinkTakesPrecedence) {
    SLogCapture capture;
    ca::SetMessageBoxSink(&Sink);
    sunk.clear();
    for (const SBoxCase& c : kBoxes) {
        c.show(L"text", std::wstring(L"caption ") + std::wstring(c.label, c.label + std::strlen(c.label)));
    }
    ca::SetMessageBoxSink(nullptr);
    ASSERT_EQ(sunk.size(), std::size(kBoxes));
    for (size_t i = 0; i < sunk.size(); ++i) {
        SCOPED_TRACE(kBoxes[i].label);
        EXPECT_EQ(sunk[i].kind, kBoxes[i].kind);
        EXPECT_EQ(sunk[i].text, L"text");
        EXPECT_EQ(QString::fromStdWString(sunk[i].caption), QString("caption ") + kBoxes[i].label);
    }
    EXPECT_TRUE(logLines.empty());
}

// One QApplication for the suite, on the offscreen platform so no window reaches a desktop. Its
// constructor sets the process locale from the environment; the old one is put back afterwards.
class MessageBoxWithApplication : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        savedLocale = std::setlocale(LC_ALL, nullptr);
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
        // Qt 5's platform plugins never free their screen objects; that is not ours to report.
        SES_IGNORE_LEAKS_IN_SCOPE;
        app = std::make_unique<QApplication>(argc, argv);
    }
    static void TearDownTestSuite() {
        app.reset();
        std::setlocale(LC_ALL, savedLocale.c_str());
    }

    static inline std::string savedLocale;
    static inline int argc = 1;
    static inline char name[] = "module_tests";
    static inline char* argv[] = {name, nullptr};
    static inline std::unique_ptr<QApplication> app;
};

TEST_F(MessageBoxWithApplication, ShowsANonModalBoxAndReturns) {
    SLogCapture capture;
    for (const SBoxCase& c : kBoxes) {
        SCOPED_TRACE(c.label);
        c.show(L"Disk full \u00e9\u4e2d", L"Saving");
        const auto boxes = TopLevelBoxes();
        ASSERT_EQ(boxes.size(), 1u);
        QMessageBox* box = boxes[0];
        EXPECT_TRUE(box->isVisible());
        EXPECT_FALSE(box->isModal());
        EXPECT_EQ(box->windowModality(), Qt::NonModal);
        EXPECT_EQ(box->windowTitle(), QString("Saving"));
        EXPECT_EQ(box->text(), QString::fromStdWString(L"Disk full \u00e9\u4e2d"));
        EXPECT_EQ(box->icon(), c.icon);
        box->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_TRUE(TopLevelBoxes().empty()) << "a closed box deletes itself";
    }
    EXPECT_TRUE(logLines.empty());
}

TEST_F(MessageBoxWithApplication, OffTheGuiThreadGoesToTheLog) {
    SLogCapture capture;
    std::thread worker([] { ca::MessageBoxWarning(L"late", L"Worker"); });
    worker.join();
    EXPECT_TRUE(TopLevelBoxes().empty());
    EXPECT_EQ(logLines, std::vector<std::wstring>{L"E Worker: late"});
}

}  // namespace
