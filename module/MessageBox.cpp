#include "module/MessageBox.h"

#include <QApplication>
#include <QCoreApplication>
#include <QMessageBox>
#include <QString>
#include <QThread>
#include <atomic>
#include <iterator>

#include "base/Log.h"

namespace ca {

namespace {

std::atomic<MessageBoxSink> messageBoxSink{nullptr};

struct SBoxStyle {
    MessageBoxKind kind;
    QMessageBox::Icon icon;
};

constexpr SBoxStyle kBoxStyles[] = {
    {MessageBoxKind::kWarning, QMessageBox::Warning},
    {MessageBoxKind::kInfo, QMessageBox::Information},
    {MessageBoxKind::kError, QMessageBox::Critical},
};
static_assert(std::size(kBoxStyles) == 3 && kBoxStyles[0].kind == MessageBoxKind::kWarning &&
                  kBoxStyles[1].kind == MessageBoxKind::kInfo && kBoxStyles[2].kind == MessageBoxKind::kError,
              "rows in MessageBoxKind order");

// GuiApplication is the running QApplication when the caller is on its thread, else null. Qt aborts
// when a widget is made without one, or off its thread.
QApplication* GuiApplication() {
    auto* app = qobject_cast<QApplication*>(QCoreApplication::instance());
    if (app == nullptr || QThread::currentThread() != app->thread()) {
        return nullptr;
    }
    return app;
}

void ShowBox(MessageBoxKind kind, const std::wstring& text, const std::wstring& caption) {
    if (const MessageBoxSink sink = messageBoxSink.load()) {
        sink(kind, text, caption);
        return;
    }
    if (GuiApplication() == nullptr) {
        const std::wstring line = caption.empty() ? text : caption + L": " + text;
        LogEvent(line.c_str(), true);
        return;
    }
    // Deliberate: never exec() — the host's thread must not wait for the user. The box deletes
    // itself when closed.
    auto* box = new QMessageBox(kBoxStyles[static_cast<size_t>(kind)].icon, QString::fromStdWString(caption),
                                QString::fromStdWString(text), QMessageBox::Ok);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setModal(false);
    box->show();
}

}  // namespace

void MessageBoxWarning(const std::wstring& text, const std::wstring& caption) {
    ShowBox(MessageBoxKind::kWarning, text, caption);
}

void MessageBoxInfo(const std::wstring& text, const std::wstring& caption) {
    ShowBox(MessageBoxKind::kInfo, text, caption);
}

void MessageBoxError(const std::wstring& text, const std::wstring& caption) {
    ShowBox(MessageBoxKind::kError, text, caption);
}

void SetMessageBoxSink(MessageBoxSink sink) { messageBoxSink.store(sink); }

}  // namespace ca
