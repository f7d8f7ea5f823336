#include "capture/ClipboardManager.h"
#include "capture/SelectionManager.h"
#include "platform/KeySender.h"
#include "platform/fake/FakePlatform.h"
#include "support/TestEnvironment.h"

#include <QClipboard>
#include <QCoroTask>
#include <QElapsedTimer>
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
    QCoro::Task<bool> sendTerminalCopy() override
    {
        ++terminalCopies;
        if (onCopy)
            onCopy();
        co_return sends;
    }

    std::function<void()> onCopy;
    bool sends = true;
    int copies = 0;
    int terminalCopies = 0;
};

enum class Cancel { never, beforeTheCapture, duringTheWait };

} // namespace

// The capture on a real X clipboard: the copy is sent once, and whatever the clipboard holds when
// the wait ends is read, even when nothing was copied or the run was cancelled.
class TestSelectionManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void capture_data()
    {
        QTest::addColumn<QString>("before");  // on the clipboard before the copy; null: empty
        QTest::addColumn<int>("copyAfterMs"); // when the application's copy lands; -1: never
        QTest::addColumn<bool>("sends");
        QTest::addColumn<int>("cancel");
        QTest::addColumn<QString>("captured"); // null: nothing

        const QString copied = selectedText();
        const int never = int(Cancel::never);
        QTest::newRow("copy lands at once") << QString() << 0 << true << never << copied;
        QTest::newRow("copy lands within the wait") << "earlier fix" << int(SelectionManager::copyDelay.count() / 5) << true
                                                    << never << copied;
        QTest::newRow("nothing copied: what was there") << "earlier fix" << -1 << true << never << "earlier fix";
        QTest::newRow("nothing copied, empty clipboard") << QString() << -1 << true << never << QString();
        QTest::newRow("copy not sent: what was there") << "already there" << -1 << false << never << "already there";
        QTest::newRow("cancelled during the wait") << QString() << 0 << true << int(Cancel::duringTheWait) << copied;
        QTest::newRow("cancelled before the start") << "there" << -1 << true << int(Cancel::beforeTheCapture) << "there";
    }

    void capture()
    {
        QFETCH(QString, before);
        QFETCH(int, copyAfterMs);
        QFETCH(bool, sends);
        QFETCH(int, cancel);
        QFETCH(QString, captured);

        QClipboard* clipboard = QGuiApplication::clipboard();
        clipboard->clear();
        if (!before.isNull())
            clipboard->setText(before);
        CancellationToken token;
        if (Cancel(cancel) == Cancel::beforeTheCapture)
            token.cancel();
        ScriptedKeySender keys;
        keys.sends = sends;
        keys.onCopy = [&] {
            const auto land = [] {
                auto* data = new QMimeData;
                data->setHtml(QStringLiteral("<p>Selected <b>text</b></p>"));
                data->setText(QStringLiteral("fallback"));
                QGuiApplication::clipboard()->setMimeData(data);
            };
            if (copyAfterMs == 0)
                land();
            else if (copyAfterMs > 0)
                QTimer::singleShot(copyAfterMs, land);
            if (Cancel(cancel) == Cancel::duringTheWait)
                QTimer::singleShot(0, [token] { token.cancel(); });
        };

        ClipboardManager reader;
        FakeWorkspace workspace;
        SelectionManager selection(keys, reader, workspace);
        QElapsedTimer elapsed;
        elapsed.start();
        const auto content = QCoro::waitFor(selection.captureSelection(token));
        QVERIFY(elapsed.elapsed() < SelectionManager::copyDelay.count() * 50);
        QCOMPARE(keys.copies, 1);
        QCOMPARE(content ? content->plainText : QString(), captured);
        if (content) // the application's copy is HTML; what was left over is plain text
            QCOMPARE(content->sourceFormat, captured == selectedText() ? SourceFormat::html : SourceFormat::plainText);
        // Reading takes nothing away: the clipboard still holds what the user had or copied.
        QCOMPARE(clipboard->text(), copyAfterMs >= 0 ? QStringLiteral("fallback") : before);
    }

    // Which way the selection is taken from the focused application, told by its window class.
    void applicationDecidesTheWay_data()
    {
        QTest::addColumn<QStringList>("ids");
        QTest::addColumn<bool>("ownsPrimary");
        QTest::addColumn<int>("copies");
        QTest::addColumn<int>("terminalCopies");
        QTest::addColumn<QString>("captured"); // null: nothing

        QTest::newRow("browser: the copy shortcut") << QStringList{"chromium", "Chromium"} << true << 1 << 0 << "copied";
        QTest::newRow("terminal with a selection: no key at all") << QStringList{"kitty"} << true << 0 << 0 << "primary";
        QTest::newRow("terminal without: its own shortcut")
            << QStringList{"gnome-terminal-server", "Gnome-terminal"} << false << 0 << 1 << "copied";
        QTest::newRow("xterm without: nothing sent, nothing taken") << QStringList{"xterm", "XTerm"} << false << 0 << 0
                                                                    << QString();
    }

    void applicationDecidesTheWay()
    {
        QFETCH(QStringList, ids);
        QFETCH(bool, ownsPrimary);
        QFETCH(int, copies);
        QFETCH(int, terminalCopies);
        QFETCH(QString, captured);

        QClipboard* clipboard = QGuiApplication::clipboard();
        clipboard->setText(QStringLiteral("earlier"));
        clipboard->setText(QStringLiteral("primary"), QClipboard::Selection);
        ScriptedKeySender keys;
        keys.onCopy = [clipboard] { clipboard->setText(QStringLiteral("copied")); };
        FakeWorkspace workspace;
        workspace.applicationIds = ids;
        workspace.ownsPrimarySelection = ownsPrimary;
        ClipboardManager reader;
        SelectionManager selection(keys, reader, workspace);
        const auto content = QCoro::waitFor(selection.captureSelection());
        QCOMPARE(keys.copies, copies);
        QCOMPARE(keys.terminalCopies, terminalCopies);
        QCOMPARE(content ? content->plainText : QString(), captured);
    }

private:
    static QString selectedText() { return QStringLiteral("Selected text"); }

    TestEnvironment m_environment;
};

QTEST_MAIN(TestSelectionManager)
#include "tst_selectionmanager.moc"
