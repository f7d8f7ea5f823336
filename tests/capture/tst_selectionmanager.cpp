#include "capture/ClipboardManager.h"
#include "capture/SelectionManager.h"
#include "platform/KeySender.h"
#include "support/TestEnvironment.h"

#include <QClipboard>
#include <QCoroTask>
#include <QGuiApplication>
#include <QMimeData>
#include <QTimer>
#include <QtTest>
#include <functional>

namespace {

// The test's platform backend: "copying" hands the clipboard to whatever the test scripted, the
// way the focused application would after Ctrl+C.
class ScriptedKeySender : public KeySender
{
public:
    bool isAvailable() const override { return true; }
    QCoro::Task<bool> sendCopy() override
    {
        ++copies;
        if (onCopy)
            onCopy();
        co_return sends;
    }

    std::function<void()> onCopy;
    bool sends = true;
    int copies = 0;
};

void putHtml(const QString& html)
{
    auto* data = new QMimeData;
    data->setHtml(html);
    data->setText(QStringLiteral("fallback"));
    QGuiApplication::clipboard()->setMimeData(data);
}

void putText(const QString& text)
{
    QGuiApplication::clipboard()->setText(text);
}

} // namespace

class TestSelectionManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QGuiApplication::clipboard()->clear();
        m_keys = ScriptedKeySender{};
    }

    void readsWhatTheApplicationCopied()
    {
        m_keys.onCopy = [] { putHtml(QStringLiteral("<p>Selected <b>text</b></p>")); };
        const auto content = capture();
        QCOMPARE(m_keys.copies, 1);
        QVERIFY(content);
        QCOMPARE(content->sourceFormat, SourceFormat::html);
        QCOMPARE(content->plainText, QStringLiteral("Selected text"));
    }

    void copyLandingWithinTheDelayIsRead()
    {
        putText(QStringLiteral("earlier fix"));
        m_keys.onCopy = [] { QTimer::singleShot(SelectionManager::copyDelay / 5, [] { putText(QStringLiteral("late copy")); }); };
        QCOMPARE(capture()->plainText, QStringLiteral("late copy"));
    }

    void nothingCopiedReturnsWhatWasThere()
    {
        putText(QStringLiteral("text of an earlier fix"));
        const auto content = capture();
        QVERIFY(content);
        QCOMPARE(content->plainText, QStringLiteral("text of an earlier fix"));
        QCOMPARE(content->sourceFormat, SourceFormat::plainText);
    }

    void emptyClipboardAndNoCopyIsNothing()
    {
        QCOMPARE(capture(), std::nullopt);
    }

    void failedSendStillReads()
    {
        putText(QStringLiteral("already there"));
        m_keys.sends = false;
        QCOMPARE(capture()->plainText, QStringLiteral("already there"));
    }

    void cancelledDuringWaitStillReads()
    {
        CancellationToken cancel;
        m_keys.onCopy = [cancel] {
            putText(QStringLiteral("copied"));
            QTimer::singleShot(0, [cancel] { cancel.cancel(); });
        };
        // A wait that only ends on its own timer would still be pending when the long guard fires.
        QTimer guard;
        guard.setSingleShot(true);
        guard.start(SelectionManager::copyDelay * 50);
        ClipboardManager clipboard;
        SelectionManager selection(m_keys, clipboard);
        const auto content = QCoro::waitFor(selection.captureSelection(cancel));
        QVERIFY(guard.isActive());
        QVERIFY(content);
        QCOMPARE(content->plainText, QStringLiteral("copied"));
    }

    void cancelledBeforeStartStillReads()
    {
        CancellationToken cancel;
        cancel.cancel();
        putText(QStringLiteral("there"));
        ClipboardManager clipboard;
        SelectionManager selection(m_keys, clipboard);
        QCOMPARE(QCoro::waitFor(selection.captureSelection(cancel))->plainText, QStringLiteral("there"));
        QCOMPARE(m_keys.copies, 1);
    }

private:
    std::optional<ClipboardContent> capture()
    {
        ClipboardManager clipboard;
        SelectionManager selection(m_keys, clipboard);
        return QCoro::waitFor(selection.captureSelection());
    }

    ScriptedKeySender m_keys;
};

int main(int argc, char** argv)
{
    TestEnvironment environment;
    QGuiApplication app(argc, argv);
    TestSelectionManager test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_selectionmanager.moc"
