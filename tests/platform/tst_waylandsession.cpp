#include "platform/SessionInfo.h"
#include "platform/wayland/SwayWorkspace.h"
#include "platform/wayland/WaylandClipboard.h"
#include "platform/wayland/WaylandConnection.h"
#include "platform/wayland/WaylandKeySender.h"

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QScopeGuard>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QCoro/QCoroTask>
#include <unistd.h>

// Tembrel's Wayland backend against a real headless sway: the clipboard in every rich form
// through data-control, with wl-clipboard as the other application; the copy chord through the
// virtual keyboard into a Qt window on Wayland; and the app itself starting on Wayland.
class TestWaylandSession : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void writesWhatOthersPaste_data();
    void writesWhatOthersPaste();
    void readsWhatOthersCopy_data();
    void readsWhatOthersCopy();
    void copyChordCopiesTheFocusedSelection();
    void appStartsOnWayland();

private:
    [[nodiscard]] QProcessEnvironment waylandEnvironment() const;
    /// Puts `bytes` on the clipboard as another application, with wl-copy.
    void copyElsewhere(const QStringList& args, const QByteArray& bytes);

    QTemporaryDir m_runtime;
    QProcess m_sway;
    std::unique_ptr<WaylandConnection> m_connection;
    std::unique_ptr<WaylandClipboard> m_clipboard;
};

QProcessEnvironment TestWaylandSession::waylandEnvironment() const
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("DISPLAY"));
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_runtime.path());
    env.insert(QStringLiteral("WAYLAND_DISPLAY"), QStringLiteral("wayland-tembrel"));
    env.insert(QStringLiteral("XDG_CURRENT_DESKTOP"), QStringLiteral("sway"));
    return env;
}

void TestWaylandSession::copyElsewhere(const QStringList& args, const QByteArray& bytes)
{
    // wl-copy forks a server that serves the clipboard until someone else takes it.
    QProcess process;
    process.setProcessEnvironment(waylandEnvironment());
    process.start(QStringLiteral("wl-copy"), args);
    process.write(bytes);
    process.closeWriteChannel();
    QVERIFY(process.waitForFinished(5000));
}

void TestWaylandSession::initTestCase()
{
    if (QStandardPaths::findExecutable(QStringLiteral("sway")).isEmpty()
        || QStandardPaths::findExecutable(QStringLiteral("wl-copy")).isEmpty())
        QSKIP("sway and wl-clipboard are not installed (scripts/install-deps.sh --with-tests)");
    QVERIFY(m_runtime.isValid());
    QFile::setPermissions(m_runtime.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    QFile config(m_runtime.filePath(QStringLiteral("sway.conf")));
    QVERIFY(config.open(QIODevice::WriteOnly));
    config.write("xwayland disable\n");
    // The rules Settings tells sway users to add, so the panel below must not take the focus.
    QProcessEnvironment sway;
    sway.insert(QStringLiteral("WAYLAND_DISPLAY"), QStringLiteral("wayland-tembrel"));
    sway.insert(QStringLiteral("SWAYSOCK"), QStringLiteral("sway.sock"));
    const QStringList rules = SessionInfo::detect(sway).compositorWindowRules();
    QCOMPARE(rules.size(), 2);
    config.write(rules.join(QLatin1Char('\n')).toUtf8() + '\n');
    config.close();

    QProcessEnvironment env = waylandEnvironment();
    env.remove(QStringLiteral("WAYLAND_DISPLAY"));
    env.insert(QStringLiteral("WLR_BACKENDS"), QStringLiteral("headless"));
    env.insert(QStringLiteral("WLR_RENDERER"), QStringLiteral("pixman"));
    env.insert(QStringLiteral("WLR_LIBINPUT_NO_DEVICES"), QStringLiteral("1"));
    m_sway.setProcessEnvironment(env);
    m_sway.setProcessChannelMode(QProcess::MergedChannels);
    const QStringList swayArgs{QStringLiteral("-c"), config.fileName()};
    // sway refuses to run as root: the test runs it as nobody, which may still use the folder.
    if (geteuid() == 0) {
        QVERIFY(QProcess::execute(QStringLiteral("chown"), {QStringLiteral("-R"), QStringLiteral("nobody"), m_runtime.path()}) == 0);
        m_sway.start(QStringLiteral("setpriv"), QStringList{QStringLiteral("--reuid=nobody"), QStringLiteral("--regid=nogroup"),
                                                            QStringLiteral("--clear-groups"), QStringLiteral("sway")}
                                                    + swayArgs);
    } else {
        m_sway.start(QStringLiteral("sway"), swayArgs);
    }
    // sway names its socket itself (wayland-1, …): wait for one and link ours to it.
    QString socket;
    for (int i = 0; i < 100 && socket.isEmpty() && m_sway.state() != QProcess::NotRunning; ++i) {
        QTest::qWait(50);
        const QStringList sockets = QDir(m_runtime.path()).entryList({QStringLiteral("wayland-?")}, QDir::System);
        socket = sockets.value(0);
    }
    if (socket.isEmpty())
        QSKIP(qPrintable(QStringLiteral("sway cannot start here: ") + QString::fromLocal8Bit(m_sway.readAll()).right(400)));
    QVERIFY(QFile::link(m_runtime.filePath(socket), m_runtime.filePath(QStringLiteral("wayland-tembrel"))));

    qputenv("XDG_RUNTIME_DIR", m_runtime.path().toLocal8Bit());
    qputenv("WAYLAND_DISPLAY", "wayland-tembrel");
    m_connection = WaylandConnection::connect();
    QVERIFY(m_connection);
    QVERIFY2(m_connection->dataControl(), "sway offers data-control");
    m_clipboard = std::make_unique<WaylandClipboard>(*m_connection);
}

void TestWaylandSession::cleanupTestCase()
{
    m_clipboard.reset();
    m_connection.reset();
    if (m_sway.state() != QProcess::NotRunning) {
        m_sway.terminate();
        if (!m_sway.waitForFinished(3000))
            m_sway.kill();
    }
}

void TestWaylandSession::writesWhatOthersPaste_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("primary");
    QTest::newRow("plain text, non-ASCII") << "text/plain;charset=utf-8" << QByteArray("Grüße, mañana") << false;
    QTest::newRow("HTML") << "text/html" << QByteArray("<p>It <b>works</b> now.</p>") << false;
    QTest::newRow("RTF") << "text/rtf" << QByteArray("{\\rtf1\\ansi It {\\b works} now.}") << false;
    QTest::newRow("primary selection") << "text/plain" << QByteArray("selected only") << true;
}

void TestWaylandSession::writesWhatOthersPaste()
{
    QFETCH(QString, type);
    QFETCH(QByteArray, bytes);
    QFETCH(bool, primary);
    auto data = std::make_unique<QMimeData>();
    data->setText(QStringLiteral("It works now."));
    data->setHtml(QStringLiteral("<p>It <b>works</b> now.</p>"));
    data->setData(QStringLiteral("text/rtf"), "{\\rtf1\\ansi It {\\b works} now.}");
    if (type.startsWith(QLatin1String("text/plain")))
        data->setText(QString::fromUtf8(bytes));
    QVERIFY(m_clipboard->write(std::move(data), primary ? SystemClipboard::Selection::primary
                                                        : SystemClipboard::Selection::clipboard));
    // wl-paste asks the compositor, which asks Tembrel: the event loop must serve the request.
    QByteArray pasted;
    QProcess paste;
    paste.setProcessEnvironment(waylandEnvironment());
    QStringList args{QStringLiteral("--no-newline"), QStringLiteral("--type"), type};
    if (primary)
        args << QStringLiteral("--primary");
    paste.start(QStringLiteral("wl-paste"), args);
    QTRY_VERIFY_WITH_TIMEOUT(paste.state() == QProcess::NotRunning, 5000);
    QCOMPARE(paste.readAllStandardOutput(), bytes);
}

void TestWaylandSession::readsWhatOthersCopy_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("primary");
    QTest::newRow("plain text") << "text/plain" << QByteArray("copied elsewhere ✓") << false;
    QTest::newRow("HTML") << "text/html" << QByteArray("<ul><li>one</li></ul>") << false;
    QTest::newRow("RTF") << "text/rtf" << QByteArray("{\\rtf1 {\\i two}}") << false;
    QTest::newRow("primary selection") << "text/plain" << QByteArray("under the mouse") << true;
}

void TestWaylandSession::readsWhatOthersCopy()
{
    QFETCH(QString, type);
    QFETCH(QByteArray, bytes);
    QFETCH(bool, primary);
    QStringList args{QStringLiteral("--type"), type};
    if (primary)
        args << QStringLiteral("--primary");
    copyElsewhere(args, bytes);
    const std::unique_ptr<QMimeData> data =
        m_clipboard->read(primary ? SystemClipboard::Selection::primary : SystemClipboard::Selection::clipboard);
    QVERIFY(data);
    QCOMPARE(data->data(type), bytes);
    if (type == QLatin1String("text/plain"))
        QCOMPARE(data->text(), QString::fromUtf8(bytes));
}

void TestWaylandSession::copyChordCopiesTheFocusedSelection()
{
    // A Qt window on Wayland with its text selected, the only window, so sway focuses it.
    QProcess editor;
    QProcessEnvironment env = waylandEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("wayland"));
    editor.setProcessEnvironment(env);
    editor.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--line-edit"), QStringLiteral("teh selection")});
    QVERIFY(editor.waitForReadyRead(10000)); // it says when it is shown
    copyElsewhere({}, "before");
    WaylandKeySender keys(*m_connection);
    QVERIFY(keys.isAvailable());
    // The window may take a moment to get the keyboard focus: a chord before it reaches nobody.
    QString copied;
    for (int attempt = 0; attempt < 20 && copied != QLatin1String("teh selection"); ++attempt) {
        QVERIFY(QCoro::waitFor(keys.sendCopy()));
        QTest::qWait(100);
        const std::unique_ptr<QMimeData> data = m_clipboard->read(SystemClipboard::Selection::clipboard);
        copied = data ? data->text() : QString();
    }
    QCOMPARE(copied, QStringLiteral("teh selection"));

    // sway says which window that was, so a terminal would get its own copy chord.
    const QStringList ipc = QDir(m_runtime.path()).entryList({QStringLiteral("sway-ipc.*.sock")}, QDir::System);
    QCOMPARE(ipc.size(), 1);
    const SwayWorkspace workspace(m_runtime.filePath(ipc.constFirst()));
    QCOMPARE(workspace.frontmostApplicationIds(), QStringList{QCoreApplication::applicationName()});
    QCOMPARE(SwayWorkspace(QString()).frontmostApplicationIds(), QStringList());

    // A panel titled as Tembrel's appears: the user's window keeps the keyboard.
    QProcess panel;
    panel.setProcessEnvironment(env);
    panel.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--panel"), QStringLiteral("Tembrel")});
    QVERIFY(panel.waitForReadyRead(10000));
    QTest::qWait(300);
    QCOMPARE(workspace.frontmostApplicationIds(), QStringList{QCoreApplication::applicationName()});
    panel.kill();
    panel.waitForFinished();
    editor.kill();
    editor.waitForFinished();
}

void TestWaylandSession::appStartsOnWayland()
{
    QProcess app;
    QProcessEnvironment env = waylandEnvironment();
    env.remove(QStringLiteral("QT_QPA_PLATFORM"));
    env.insert(QStringLiteral("SWAYSOCK"), m_runtime.filePath(QStringLiteral("sway.sock")));
    app.setProcessEnvironment(env);
    app.setProcessChannelMode(QProcess::MergedChannels);
    app.start(QStringLiteral(TEMBREL_APP_PATH), QStringList{});
    QVERIFY(app.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(app.state() != QProcess::Running
                                 || app.peek(1 << 20).contains("Tembrel is running"), 20000);
    const QString log = QString::fromLocal8Bit(app.readAll());
    const auto stop = qScopeGuard([&app] {
        app.terminate();
        if (!app.waitForFinished(5000))
            app.kill();
    });
    QVERIFY2(app.state() == QProcess::Running, qPrintable(log));
    QVERIFY2(log.contains(QLatin1String("Qt platform: wayland")), qPrintable(log));
    QVERIFY2(log.contains(QLatin1String("Platform backend: Wayland")), qPrintable(log));
    QVERIFY2(log.contains(QLatin1String("bindsym Ctrl+Shift+s exec tembrel --fix proofread")), qPrintable(log));
}

int main(int argc, char* argv[])
{
    // The window the copy chord is sent to: a line edit with its text selected.
    // A window like the result panel, under an application id of its own.
    if (argc == 3 && qstrcmp(argv[1], "--panel") == 0) {
        QApplication app(argc, argv);
        QGuiApplication::setDesktopFileName(QStringLiteral("tembrel-panel"));
        QLabel panel(QStringLiteral("fixed"));
        panel.setWindowTitle(QString::fromUtf8(argv[2]));
        panel.setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus);
        panel.show();
        QTimer::singleShot(300, [] { fputs("shown\n", stdout); fflush(stdout); });
        return QApplication::exec();
    }
    if (argc == 3 && qstrcmp(argv[1], "--line-edit") == 0) {
        QApplication app(argc, argv);
        QLineEdit edit(QString::fromUtf8(argv[2]));
        edit.show();
        edit.selectAll();
        edit.activateWindow();
        QTimer::singleShot(300, [] { fputs("shown\n", stdout); fflush(stdout); });
        return QApplication::exec();
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    TestWaylandSession test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_waylandsession.moc"
