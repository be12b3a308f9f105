#include <gtest/gtest.h>

#include <QApplication>
#include <QMessageBox>
#include <QWidget>
#include <clocale>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "module/MessageBox.h"
#include "tests/support/TestSupport.h"

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

const struct {
    const char* label;
    void (*show)(const std::wstring& text, const std::wstring& caption);
    ca::MessageBoxKind kind;
    QMessageBox::Icon icon;
} kBoxes[] = {{"warning", &ca::MessageBoxWarning, ca::MessageBoxKind::kWarning, QMessageBox::Warning},
              {"info", &ca::MessageBoxInfo, ca::MessageBoxKind::kInfo, QMessageBox::Information},
              {"error", &ca::MessageBoxError, ca::MessageBoxKind::kError, QMessageBox::Critical}};

std::vector<std::wstring> gSunk;

std::vector<QMessageBox*> TopLevelBoxes() {
    std::vector<QMessageBox*> boxes;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* box = qobject_cast<QMessageBox*>(widget)) {
            boxes.push_back(box);
        }
    }
    return boxes;
}

// Without an application object every box is an error line, unless the sink takes it first.
TEST(MessageBox, WithoutApplicationGoesToTheSinkOrTheLog) {
    if (QCoreApplication::instance() != nullptr) {
        GTEST_SKIP() << "another test left an application object";
    }
    CLogScope log;
    for (const auto& c : kBoxes) {
        SCOPED_TRACE(c.label);
        c.show(L"Configuration file is damaged", L"Module");
        EXPECT_EQ(log.Take(), (std::vector<SLogLine>{{L"Module: Configuration file is damaged", true}}));
        ca::SetMessageBoxSink(
            [](ca::MessageBoxKind kind, const std::wstring& text, const std::wstring& caption) {
                gSunk.push_back(std::to_wstring(static_cast<int>(kind)) + L" " + caption + L": " + text);
            });
        c.show(L"text", L"caption");
        ca::SetMessageBoxSink(nullptr);
        EXPECT_EQ(gSunk,
                  std::vector<std::wstring>{std::to_wstring(static_cast<int>(c.kind)) + L" caption: text"});
        gSunk.clear();
        EXPECT_TRUE(log.Take().empty());
    }
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

TEST_F(MessageBoxWithApplication, ShowsANonModalBoxOnTheGuiThreadOnly) {
    CLogScope log;
    for (const auto& c : kBoxes) {
        SCOPED_TRACE(c.label);
        c.show(L"Disk full \u00e9\u4e2d", L"Saving");
        const auto boxes = TopLevelBoxes();
        ASSERT_EQ(boxes.size(), 1u);
        QMessageBox* box = boxes[0];
        EXPECT_TRUE(box->isVisible());
        EXPECT_EQ(box->windowModality(), Qt::NonModal);
        EXPECT_EQ(box->windowTitle(), QString("Saving"));
        EXPECT_EQ(box->text(), QString::fromStdWString(L"Disk full \u00e9\u4e2d"));
        EXPECT_EQ(box->icon(), c.icon);
        box->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_TRUE(TopLevelBoxes().empty()) << "a closed box deletes itself";
    }
    EXPECT_TRUE(log.Take().empty());
    std::thread worker([] { ca::MessageBoxWarning(L"late", L"Worker"); });
    worker.join();
    EXPECT_TRUE(TopLevelBoxes().empty());
    EXPECT_EQ(log.Take(), (std::vector<SLogLine>{{L"Worker: late", true}}));
}

}  // namespace
