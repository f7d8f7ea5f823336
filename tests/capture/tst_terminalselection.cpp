#include "capture/ClipboardManager.h"
#include "capture/SelectionManager.h"
#include "platform/x11/X11Display.h"
#include "platform/x11/X11GlobalShortcuts.h"
#include "platform/x11/X11KeySender.h"
#include "platform/x11/X11Workspace.h"

#include <QClipboard>
#include <QCoroTask>
#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace {

constexpr quint16 macS = 1;
constexpr quint64 commandShift = 0x120000;

// The program running in the terminal: it shows a line, notes an interrupt in a file instead of
// dying of it, and writes every line typed into it to another file.
constexpr char program[] = R"(trap 'echo interrupted > "$DIR/interrupted"' INT
printf '%s\n' "$LINE"
echo "$WINDOWID" > "$DIR/window.tmp" && mv "$DIR/window.tmp" "$DIR/window"
while :; do
  if read -r typed; then echo "$typed" > "$DIR/typed"; fi
done
)";

// The user's keyboard and mouse, as a client of their own.
class User
{
public:
    User() : m_display(XOpenDisplay(nullptr)) {}
    ~User() { XCloseDisplay(m_display); }
    void key(KeySym sym, bool press)
    {
        XTestFakeKeyEvent(m_display, XKeysymToKeycode(m_display, sym), press, CurrentTime);
        XFlush(m_display);
    }
    void type(const QList<KeySym>& keys)
    {
        for (KeySym sym : keys) {
            key(sym, true);
            key(sym, false);
        }
    }
    void clickAt(int x, int y, int clicks)
    {
        XTestFakeMotionEvent(m_display, -1, x, y, CurrentTime);
        for (int i = 0; i < clicks; ++i) {
            XTestFakeButtonEvent(m_display, 1, True, CurrentTime);
            XTestFakeButtonEvent(m_display, 1, False, CurrentTime);
        }
        XFlush(m_display);
    }
    Display* display() const { return m_display; }

private:
    Display* m_display;
};

QString readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).trimmed() : QString();
}

} // namespace

// The shortcut pressed over a real xterm: its selection is what gets captured, and the program
// running in it is never interrupted, whether or not the terminal has text selected.
class TestTerminalSelection : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QVERIFY(m_dir.isValid());
        QFile::remove(m_dir.filePath("window"));
        QFile::remove(m_dir.filePath("typed"));
        QFile::remove(m_dir.filePath("interrupted"));
        QFile script(m_dir.filePath("program.sh"));
        QVERIFY(script.open(QIODevice::WriteOnly));
        script.write(program);
        script.close();

        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("DIR", m_dir.path());
        environment.insert("LINE", shownLine());
        m_terminal.setProcessEnvironment(environment);
        m_terminal.start("xterm", {"-geometry", "80x5+0+0", "-e", "sh", script.fileName()});
        QVERIFY2(m_terminal.waitForStarted(), "xterm is needed for this test");
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(m_dir.filePath("window")), 15000);
        const Window window = readFile(m_dir.filePath("window")).toULong();
        QVERIFY(window != 0);
        XSetInputFocus(m_user.display(), window, RevertToParent, CurrentTime);
        XSync(m_user.display(), False);
    }

    void cleanup()
    {
        for (KeySym sym : {XK_s, XK_Shift_L, XK_Control_L})
            m_user.key(sym, false);
        m_terminal.kill();
        m_terminal.waitForFinished();
    }

    void capture_data()
    {
        QTest::addColumn<bool>("selectInTerminal");
        QTest::addColumn<QString>("captured"); // null: nothing

        QTest::newRow("line selected in the terminal") << true << shownLine() + u'\n';
        QTest::newRow("selection of another application") << false << QString();
    }

    void capture()
    {
        QFETCH(bool, selectInTerminal);
        QFETCH(QString, captured);

        QClipboard* clipboard = QGuiApplication::clipboard();
        clipboard->setText(QStringLiteral("earlier fix"));
        if (selectInTerminal) {
            // A triple click selects the line the program printed, and the terminal takes PRIMARY.
            clipboard->clear(QClipboard::Selection);
            m_user.clickAt(40, 8, 3);
            QTRY_VERIFY(XGetSelectionOwner(m_user.display(), XA_PRIMARY) != None);
        } else {
            clipboard->setText(QStringLiteral("selected elsewhere"), QClipboard::Selection);
        }

        X11GlobalShortcuts shortcuts;
        X11KeySender keys(&shortcuts);
        X11Workspace workspace;
        ClipboardManager reader;
        SelectionManager selection(keys, reader, workspace);
        bool done = false;
        std::optional<ClipboardContent> content;
        shortcuts.setPressHandler([&](quint32) {
            QCoro::connect(selection.captureSelection(), this, [&](std::optional<ClipboardContent> result) {
                content = std::move(result);
                done = true;
            });
        });
        QCOMPARE(shortcuts.registerShortcut(1, macS, commandShift), GlobalShortcuts::RegistrationError::none);
        for (KeySym sym : {XK_Control_L, XK_Shift_L, XK_s})
            m_user.key(sym, true);
        for (KeySym sym : {XK_s, XK_Shift_L, XK_Control_L})
            m_user.key(sym, false);
        QTRY_VERIFY(done);

        // A line typed after the capture reaches the program behind anything Tembrel sent to the
        // terminal: once it has arrived, an interrupt would have been noted.
        XSync(X11Display::display(), False);
        m_user.type({XK_d, XK_o, XK_n, XK_e, XK_Return});
        QTRY_COMPARE_WITH_TIMEOUT(readFile(m_dir.filePath("typed")), QStringLiteral("done"), 10000);
        QVERIFY2(!QFile::exists(m_dir.filePath("interrupted")), "the program in the terminal was interrupted");
        QCOMPARE(content ? content->plainText : QString(), captured);
    }

private:
    static QString shownLine() { return QStringLiteral("Their going too the libary tomorow."); }

    QTemporaryDir m_dir;
    QProcess m_terminal;
    User m_user;
};

QTEST_MAIN(TestTerminalSelection)
#include "tst_terminalselection.moc"
