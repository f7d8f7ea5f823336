#include "PanelViewHarness.h"

#include "core/TextFixError.h"
#include "diff/HtmlDiffWarmup.h"

#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickView>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(TembrelPlugin)

class TestPanelViews : public QObject
{
    Q_OBJECT

private:
    static void click(PanelViewHarness& harness, const QString& name)
    {
        QQuickItem* button = harness.item(name);
        QVERIFY2(button, qPrintable(name));
        QVERIFY(QMetaObject::invokeMethod(button, "clicked"));
    }

private Q_SLOTS:
    // A test that switches the desktop to dark leaves it light for the next, pass or fail.
    void cleanup() { PanelViewHarness::setDarkAppearance(false); }

    void loadingPill()
    {
        PanelViewHarness harness;
        harness.controller->show(PanelPhase::loading());
        QTRY_VERIFY(harness.isShown(QStringLiteral("loadingText")));
        QCOMPARE(harness.text(QStringLiteral("loadingText")), QStringLiteral("Tembreling"));
        QVERIFY(!harness.item(QStringLiteral("countdownRing")));
        QVERIFY(!harness.item(QStringLiteral("dismissHint")));
    }

    void plainTextSuccess()
    {
        PanelViewHarness harness;
        QList<qint64> reported;
        harness.controller->viewModel().onEditCount = [&](qint64 count) { reported.append(count); };
        // The engine's count (9) is only a first guess: the header shows what the diff computed.
        harness.controller->show(PanelPhase::success(
            sampleResult(QStringLiteral("Teh cat sat on teh mat"), QStringLiteral("The cat sat on the mat."), 9), 1.234));
        QTRY_COMPARE(harness.text(QStringLiteral("successHeader")), QStringLiteral("Copied! · 3 edits · 1.23s"));
        QCOMPARE(reported, QList<qint64>{3});
        QCOMPARE(harness.text(QStringLiteral("editPosition")), QStringLiteral("1 of 3"));
        QVERIFY(harness.isShown(QStringLiteral("pasteHint")));
        QCOMPARE(harness.item(QStringLiteral("pasteHint"))->property("action").toString(), QStringLiteral("to paste"));
        QCOMPARE(harness.item(QStringLiteral("pasteHint"))->property("keyCap").toString(), QStringLiteral("Ctrl+V"));
        QCOMPARE(harness.item(QStringLiteral("dismissHint"))->property("action").toString(), QStringLiteral("to dismiss"));
        QCOMPARE(harness.item(QStringLiteral("dismissHint"))->property("keyCap").toString(), QStringLiteral("Esc"));

        const QString diff = harness.text(QStringLiteral("diffText"));
        // Each removed word ("Teh", "teh", "mat") is struck through in red at 60 %, not in the
        // text's colour: the line's pixels on screen are red.
        QList<QQuickItem*> lines;
        const std::function<void(QQuickItem*)> collect = [&](QQuickItem* item) {
            if (item->objectName() == QStringLiteral("strikeLine"))
                lines.append(item);
            for (QQuickItem* child : item->childItems())
                collect(child);
        };
        QTRY_VERIFY((lines.clear(), collect(harness.controller->window()->contentItem()), lines.size() == 3));
        const QImage shot = harness.controller->window()->grabWindow();
        for (QQuickItem* line : std::as_const(lines)) {
            QVERIFY(line->width() > 4);
            const QPointF middle = line->mapToScene(QPointF(line->width() / 2, line->height() / 2))
                * harness.controller->window()->devicePixelRatio();
            // The line is a saturated red, well apart from the pale tint around it and from the
            // dark text colour a rich-text strike-through would have.
            int saturation = 0;
            QString seen;
            for (int dy = -2; dy <= 2; ++dy) {
                const QColor pixel = shot.pixelColor(middle.toPoint() + QPoint(0, dy));
                seen += pixel.name() + u' ';
                if (pixel.hsvHue() <= 15 || pixel.hsvHue() >= 345)
                    saturation = std::max(saturation, pixel.hsvSaturation());
            }
            QVERIFY2(saturation > 100, qPrintable(seen));
        }
        QVERIFY(diff.contains(QStringLiteral("mat.")));
        QTRY_VERIFY(harness.isShown(QStringLiteral("currentEditFrame")));
        QQuickItem* frame = harness.item(QStringLiteral("currentEditFrame"));
        const qreal firstX = frame->x();

        click(harness, QStringLiteral("nextEdit"));
        QCOMPARE(harness.text(QStringLiteral("editPosition")), QStringLiteral("2 of 3"));
        QTRY_VERIFY(frame->x() > firstX);
        click(harness, QStringLiteral("previousEdit"));
        click(harness, QStringLiteral("previousEdit"));
        QCOMPARE(harness.text(QStringLiteral("editPosition")), QStringLiteral("3 of 3"));
        click(harness, QStringLiteral("nextEdit"));
        QCOMPARE(harness.text(QStringLiteral("editPosition")), QStringLiteral("1 of 3"));
        QCOMPARE(reported, QList<qint64>{3});
    }

    void longDiffScrollsToTheCurrentEdit()
    {
        PanelViewHarness harness;
        QStringList original;
        QStringList fixed;
        for (int i = 0; i < 120; ++i) {
            original << QStringLiteral("line %1 has a wrod in it.").arg(i);
            fixed << (i % 40 == 39 ? QStringLiteral("line %1 has a word in it.").arg(i)
                                   : QStringLiteral("line %1 has a wrod in it.").arg(i));
        }
        harness.controller->show(PanelPhase::success(
            sampleResult(original.join(u'\n'), fixed.join(u'\n'), std::nullopt), 2.5));
        QTRY_COMPARE(harness.text(QStringLiteral("successHeader")), QStringLiteral("Copied! · 3 edits · 2.50s"));
        QQuickView* window = harness.controller->window();
        const QRectF drawn = window->rootObject()->property("backgroundRect").toRectF();
        QCOMPARE(drawn.height(), 350.0);
        QQuickItem* text = harness.item(QStringLiteral("diffText"));
        QQuickItem* frame = harness.item(QStringLiteral("currentEditFrame"));
        auto frameOnScreen = [&] {
            const QPointF top = frame->mapToItem(window->contentItem(), QPointF(0, 0));
            return top.y() >= 0 && top.y() + frame->height() <= drawn.bottom();
        };
        QTRY_VERIFY(frame->isVisible());
        QTRY_VERIFY(frameOnScreen());
        click(harness, QStringLiteral("nextEdit"));
        click(harness, QStringLiteral("nextEdit"));
        QCOMPARE(harness.text(QStringLiteral("editPosition")), QStringLiteral("3 of 3"));
        // The last edit is far below the first screenful: the view scrolled to it.
        QTRY_VERIFY(frame->y() > text->height() / 2);
        QTRY_VERIFY(frameOnScreen());
    }

    void htmlSuccess_data()
    {
        QTest::addColumn<bool>("dark");
        QTest::newRow("light") << false;
        QTest::newRow("dark") << true;
    }

    void htmlSuccess()
    {
        QFETCH(bool, dark);
        PanelViewHarness::setDarkAppearance(dark);
        PanelViewHarness harness;
        QList<qint64> reported;
        harness.controller->viewModel().onEditCount = [&](qint64 count) { reported.append(count); };
        harness.controller->show(PanelPhase::success(
            sampleResult(QStringLiteral("Teh list"), QStringLiteral("The list"), 4,
                         QStringLiteral("<h2>Teh list</h2><ul><li>one iteem</li><li>two</li></ul>"),
                         QStringLiteral("<h2>The list</h2><ul><li>one item</li><li>two</li></ul>")),
            0.8));
        QCOMPARE(harness.text(QStringLiteral("successHeader")), QStringLiteral("Copied! · 4 edits · 0.80s"));
        QVERIFY(!harness.item(QStringLiteral("diffText")));
        // The page follows the panel's appearance.
        QCOMPARE(harness.item(QStringLiteral("htmlDiff"))->property("dark").toBool(), dark);
        // The page counts a replacement as one edit.
        QTRY_VERIFY_WITH_TIMEOUT(!reported.isEmpty(), 20000);
        QCOMPARE(reported, QList<qint64>{2});
        QCOMPARE(harness.text(QStringLiteral("successHeader")), QStringLiteral("Copied! · 2 edits · 0.80s"));
        QCOMPARE(harness.text(QStringLiteral("editPosition")), QStringLiteral("1 of 2"));
        click(harness, QStringLiteral("nextEdit"));
        QCOMPARE(harness.controller->viewModel().currentEditIndex(), 1);
    }

    void noChanges()
    {
        PanelViewHarness harness;
        harness.controller->show(PanelPhase::noChanges(0.456));
        QTRY_VERIFY(harness.isShown(QStringLiteral("noChangesText")));
        QCOMPARE(harness.text(QStringLiteral("noChangesText")), QStringLiteral("No changes needed"));
        QCOMPARE(harness.text(QStringLiteral("durationText")), QStringLiteral("0.46s"));
        QVERIFY(harness.isShown(QStringLiteral("countdownRing")));
        QVERIFY(harness.isShown(QStringLiteral("dismissHint")));
        QVERIFY(!harness.item(QStringLiteral("pasteHint")));
    }

    // Which title and subtitle a message gets is the texts' test; here the view shows them and its buttons work.
    void errorView()
    {
        PanelViewHarness harness;
        int retries = 0;
        harness.controller->retryAction = [&] { ++retries; };
        harness.controller->show(PanelPhase::error(QStringLiteral("The API key is invalid")));
        QTRY_VERIFY(harness.isShown(QStringLiteral("errorTitle")));
        QCOMPARE(harness.text(QStringLiteral("errorTitle")), QStringLiteral("Couldn't connect to your API"));
        QCOMPARE(harness.text(QStringLiteral("errorSubtitle")),
                 QStringLiteral("Check your custom endpoint settings and try again."));
        QVERIFY(harness.isShown(QStringLiteral("dismissHint")));
        QCOMPARE(harness.text(QStringLiteral("retryButton")), QStringLiteral("Retry"));
        QVERIFY(!harness.isShown(QStringLiteral("openSettingsButton")));
        click(harness, QStringLiteral("retryButton"));
        QCOMPARE(retries, 1);
        QVERIFY(!harness.controller->isShowing());
        QTRY_VERIFY(!harness.controller->isVisible());

        harness.controller->show(PanelPhase::error(QStringLiteral("Request timed out.")));
        QTRY_VERIFY(harness.isShown(QStringLiteral("dismissButton")));
        click(harness, QStringLiteral("dismissButton"));
        QVERIFY(!harness.controller->isShowing());
        QCOMPARE(retries, 1);

        // Trying again cannot help a mode that needs a language model: the way out is Settings.
        int settingsOpened = 0;
        harness.controller->settingsAction = [&] { ++settingsOpened; };
        harness.controller->show(PanelPhase::error(TextFixError::needsLanguageModelMessage()));
        QTRY_VERIFY(harness.isShown(QStringLiteral("openSettingsButton")));
        QCOMPARE(harness.text(QStringLiteral("errorTitle")), QStringLiteral("This mode needs a language model"));
        QVERIFY(!harness.isShown(QStringLiteral("retryButton")));
        click(harness, QStringLiteral("openSettingsButton"));
        QCOMPARE(settingsOpened, 1);
        QVERIFY(!harness.controller->isShowing());
        QCOMPARE(retries, 1);
    }

    void hoverIsReported()
    {
        PanelViewHarness harness;
        harness.controller->show(PanelPhase::noChanges(0.2));
        QQuickView* window = harness.controller->window();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QTest::mouseMove(window, QPoint(200, 20));
        QTRY_VERIFY(harness.controller->viewModel().isHovered());
        QTest::mouseMove(window, QPoint(200, 300));
        QTRY_VERIFY(!harness.controller->viewModel().isHovered());
    }
};

int main(int argc, char* argv[])
{
    // The web engine must be set up before the application object exists.
    HtmlDiffWarmup::initializeEngine();
    QGuiApplication app(argc, argv);
    TestPanelViews test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_panelviews.moc"
