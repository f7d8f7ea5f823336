#include "PanelViewHarness.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QQuickItem>
#include <QQuickView>
#include <QScreen>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

#include <X11/Xlib.h>
// Xlib's event-type macros collide with Qt's enumerators.
#undef KeyPress
#undef KeyRelease
#undef FocusIn
#undef FocusOut

Q_IMPORT_QML_PLUGIN(TembrelPlugin)

namespace {

// One of Tembrel's other windows (settings, history): records the keys that reach it.
class OwnWindow : public QWindow
{
public:
    QList<int> keys;

protected:
    void keyPressEvent(QKeyEvent* event) override { keys.append(event->key()); }
};

Window focusedWindow(Display* display)
{
    Window focus = 0;
    int revert = 0;
    XGetInputFocus(display, &focus, &revert);
    return focus;
}

} // namespace

class TestPanelController : public QObject
{
    Q_OBJECT

    Display* m_display = nullptr;

private Q_SLOTS:
    void initTestCase()
    {
        m_display = XOpenDisplay(nullptr);
        QVERIFY2(m_display, "no X display: run inside scripts/with-desktop.sh");
    }

    void cleanupTestCase() { XCloseDisplay(m_display); }

    void geometryOnAvailableArea_data()
    {
        QTest::addColumn<QRect>("area");
        QTest::addColumn<QRect>("panel");
        QTest::newRow("whole screen") << QRect(0, 0, 1600, 1000) << QRect(600, 40, 400, 350);
        QTest::newRow("below a top bar") << QRect(0, 32, 1920, 1048) << QRect(760, 72, 400, 350);
        QTest::newRow("second screen on the right") << QRect(1600, 0, 1280, 1024) << QRect(2040, 40, 400, 350);
        QTest::newRow("dock on the left") << QRect(64, 0, 1536, 1000) << QRect(632, 40, 400, 350);
    }

    void geometryOnAvailableArea()
    {
        QFETCH(QRect, area);
        QFETCH(QRect, panel);
        QCOMPARE(InlineDiffPanelController::geometryOn(area), panel);
    }

    void showsTopCentreOfTheScreen()
    {
        PanelViewHarness harness;
        harness.controller->show(PanelPhase::loading());
        QQuickView* window = harness.controller->window();
        QVERIFY(window);
        QVERIFY(QTest::qWaitForWindowExposed(window));
        const QRect area = QGuiApplication::primaryScreen()->availableGeometry();
        QCOMPARE(window->geometry().size(), QSize(400, 350));
        QCOMPARE(window->geometry().center().x(), area.center().x());
        QCOMPARE(window->geometry().top(), area.top() + 40);
        // Where the X server put it, not only what Qt believes.
        Window child = 0;
        int x = 0, y = 0;
        XTranslateCoordinates(m_display, Window(window->winId()), DefaultRootWindow(m_display), 0, 0, &x, &y, &child);
        QCOMPARE(QPoint(x, y), window->geometry().topLeft());
        QVERIFY(window->flags().testFlag(Qt::WindowDoesNotAcceptFocus));
        QVERIFY(window->flags().testFlag(Qt::WindowStaysOnTopHint));
    }

    void neverTakesTheFocus()
    {
        // Another application's window has the keyboard.
        Display* display = m_display;
        const Window root = DefaultRootWindow(display);
        const Window editor = XCreateSimpleWindow(display, root, 50, 50, 300, 200, 0, 0, 0xffffff);
        XMapRaised(display, editor);
        XSync(display, False);
        QTest::qWait(50);
        XSetInputFocus(display, editor, RevertToParent, CurrentTime);
        XSync(display, False);
        QCOMPARE(focusedWindow(display), editor);

        PanelViewHarness harness;
        harness.controller->show(PanelPhase::loading());
        QVERIFY(QTest::qWaitForWindowExposed(harness.controller->window()));
        harness.controller->viewModel().setPhase(PanelPhase::success(sampleResult(QStringLiteral("teh"), QStringLiteral("the"), 1), 1));
        harness.controller->show(PanelPhase::error(QStringLiteral("again")));
        QTest::qWait(300);
        XSync(display, False);
        QCOMPARE(focusedWindow(display), editor);
        QVERIFY(!harness.controller->window()->isActive());

        XDestroyWindow(display, editor);
        XSync(display, False);
    }

    void fadesInAndOut()
    {
        PanelViewHarness harness;
        InlineDiffPanelController& controller = *harness.controller;
        controller.show(PanelPhase::error(QStringLiteral("x")));
        QQuickItem* content = controller.window()->rootObject();
        QVERIFY(content);
        QCOMPARE(content->opacity(), 0.0);
        QTRY_COMPARE(content->opacity(), 1.0);
        // Window opacity is left alone: without a compositor it does nothing.
        QCOMPARE(controller.window()->opacity(), 1.0);

        controller.dismiss();
        QVERIFY(controller.isVisible());
        QVERIFY(!controller.isShowing());
        QVERIFY(controller.viewModel().countdownCancelled());
        QCOMPARE(controller.viewModel().phase().kind, PanelPhase::Kind::error);
        QTRY_VERIFY(!controller.isVisible());
        QCOMPARE(content->opacity(), 0.0);
        QCOMPARE(controller.viewModel().phase(), PanelPhase::loading());
        QVERIFY(!controller.viewModel().countdownCancelled());
        // The window is kept for the next show.
        QQuickView* window = controller.window();
        controller.show(PanelPhase::loading());
        QCOMPARE(controller.window(), window);
    }

    void showDuringFadeOutWins()
    {
        PanelViewHarness harness;
        InlineDiffPanelController& controller = *harness.controller;
        controller.show(PanelPhase::error(QStringLiteral("x")));
        controller.dismiss();
        controller.show(PanelPhase::noChanges(0.2));
        QTest::qWait(2 * InlineDiffPanelController::fadeMilliseconds + 100);
        QVERIFY(controller.isShowing());
        QCOMPARE(controller.viewModel().phase(), PanelPhase::noChanges(0.2));
        QCOMPARE(controller.window()->rootObject()->opacity(), 1.0);
    }

    void keysFromOtherApplications_data()
    {
        QTest::addColumn<PanelPhase>("phase");
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("cancels");
        const PanelPhase success = PanelPhase::success(sampleResult(QStringLiteral("teh"), QStringLiteral("the"), 1), 1);
        QTest::newRow("Escape on a result") << success << int(KeyMonitor::Key::escape) << 0;
        QTest::newRow("paste on a result") << success << int(KeyMonitor::Key::paste) << 0;
        QTest::newRow("Escape on an error") << PanelPhase::error(QStringLiteral("x")) << int(KeyMonitor::Key::escape) << 0;
        QTest::newRow("Escape while loading cancels the fix") << PanelPhase::loading() << int(KeyMonitor::Key::escape) << 1;
        QTest::newRow("paste while loading cancels the fix") << PanelPhase::loading() << int(KeyMonitor::Key::paste) << 1;
    }

    void keysFromOtherApplications()
    {
        QFETCH(PanelPhase, phase);
        QFETCH(int, key);
        QFETCH(int, cancels);
        PanelViewHarness harness;
        int cancelled = 0;
        harness.controller->cancelAction = [&] { ++cancelled; };
        harness.controller->show(phase);
        QVERIFY(harness.fakes.keyMonitor->isActive());
        harness.fakes.keyMonitor->press(KeyMonitor::Key(key));
        QVERIFY(!harness.controller->isShowing());
        QVERIFY2(!harness.fakes.keyMonitor->isActive(), "monitors go with the panel");
        // The same Escape typed into Tembrel's own window reaches the local monitor too: still one cancel.
        harness.controller->dismiss();
        QTRY_VERIFY(!harness.controller->isVisible());
        QCOMPARE(cancelled, cancels);
    }

    void keysInTembrelsOwnWindows_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<bool>("dismisses");
        QTest::addColumn<bool>("delivered");
        QTest::newRow("Escape is swallowed") << int(Qt::Key_Escape) << int(Qt::NoModifier) << true << false;
        QTest::newRow("Ctrl+V still pastes") << int(Qt::Key_V) << int(Qt::ControlModifier) << true << true;
        QTest::newRow("plain V") << int(Qt::Key_V) << int(Qt::NoModifier) << false << true;
        QTest::newRow("Ctrl+C") << int(Qt::Key_C) << int(Qt::ControlModifier) << false << true;
        QTest::newRow("Alt+V") << int(Qt::Key_V) << int(Qt::AltModifier) << false << true;
    }

    void keysInTembrelsOwnWindows()
    {
        QFETCH(int, key);
        QFETCH(int, modifiers);
        QFETCH(bool, dismisses);
        QFETCH(bool, delivered);
        OwnWindow settings;
        settings.resize(200, 100);
        settings.show();
        QVERIFY(QTest::qWaitForWindowExposed(&settings));

        // Without a monitor of other applications' keys, Tembrel's own windows are still watched.
        PanelViewHarness harness;
        InlineDiffPanelController controller(*harness.services->workspace, nullptr);
        controller.show(PanelPhase::error(QStringLiteral("x")));
        QKeyEvent press(QEvent::KeyPress, key, Qt::KeyboardModifiers(modifiers));
        QCoreApplication::sendEvent(&settings, &press);
        QCOMPARE(!controller.isShowing(), dismisses);
        QCOMPARE(settings.keys.contains(key), delivered);

        // Once the panel is gone, Escape reaches the window again.
        controller.dismiss();
        QTRY_VERIFY(!controller.isVisible());
        settings.keys.clear();
        QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
        QCoreApplication::sendEvent(&settings, &escape);
        QCOMPARE(settings.keys, QList<int>{Qt::Key_Escape});
    }

    void retryDismissesThenRuns()
    {
        PanelViewHarness harness;
        QStringList calls;
        harness.controller->cancelAction = [&] { calls << QStringLiteral("cancel"); };
        harness.controller->retryAction = [&] {
            calls << (harness.controller->isShowing() ? QStringLiteral("retry while shown") : QStringLiteral("retry"));
        };
        harness.controller->show(PanelPhase::error(QStringLiteral("Request timed out.")));
        harness.controller->viewModel().retry();
        QCOMPARE(calls, QStringList{QStringLiteral("retry")});
    }

    void countdownEndDismisses()
    {
        PanelViewHarness harness;
        harness.controller->show(PanelPhase::noChanges(0.1));
        for (int i = 0; i < 59; ++i)
            harness.controller->viewModel().tick();
        QVERIFY(harness.controller->isShowing());
        harness.controller->viewModel().tick();
        QVERIFY(!harness.controller->isShowing());
        QTRY_VERIFY(!harness.controller->isVisible());
    }

    void maskFollowsWhatIsDrawn_data()
    {
        QTest::addColumn<bool>("compositor");
        QTest::newRow("composited") << true;
        QTest::newRow("no compositor") << false;
    }

    void maskFollowsWhatIsDrawn()
    {
        QFETCH(bool, compositor);
        PanelViewHarness harness;
        harness.fakes.workspace->compositor = compositor;
        harness.controller->show(PanelPhase::loading());
        QQuickView* window = harness.controller->window();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QTRY_VERIFY(!window->mask().isEmpty());
        // The pill is small: the rest of the window lets clicks through to what lies below.
        QVERIFY(window->mask().contains(QPoint(200, 19)));
        QVERIFY(!window->mask().contains(QPoint(10, 100)));
        QVERIFY(!window->mask().contains(QPoint(200, 60)));

        harness.controller->viewModel().setPhase(PanelPhase::error(QStringLiteral("x")));
        QTRY_VERIFY(window->mask().contains(QPoint(200, 40)));
        // Without a compositor the corners are cut to the rounded shape; with one they are drawn.
        QCOMPARE(window->mask().contains(QPoint(1, 1)), compositor);
        if (compositor)
            return;
        // Nothing composites the window: every pixel the mask keeps must be drawn opaque, or the
        // screen shows it black.
        QTRY_COMPARE(window->rootObject()->opacity(), 1.0); // faded in
        QTest::qWait(50);
        const QImage drawn = window->grabWindow();
        const qreal scale = drawn.devicePixelRatio();
        int seen = 0;
        for (const QRect& rect : window->mask()) {
            for (int y = rect.top(); y <= rect.bottom(); ++y) {
                for (int x = rect.left(); x <= rect.right(); ++x) {
                    const QPoint at(qRound(x * scale), qRound(y * scale));
                    if (!drawn.rect().contains(at))
                        continue;
                    ++seen;
                    QVERIFY2(qAlpha(drawn.pixel(at)) == 255, qPrintable(QStringLiteral("(%1, %2)").arg(x).arg(y)));
                }
            }
        }
        QVERIFY(seen > 1000);
    }
};

QTEST_MAIN(TestPanelController)
#include "tst_panelcontroller.moc"
