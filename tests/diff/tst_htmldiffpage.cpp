#include "diff/DiffWebViewCoordinator.h"
#include "diff/HtmlDiffPage.h"
#include "support/TestEnvironment.h"

#include <QSignalSpy>
#include <QTest>

#include <memory>

// The page builder and the coordinator that keeps a view's page current, without a web engine.
class TestHtmlDiffPage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void templateLiteral_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("literal");
        QTest::newRow("plain") << QStringLiteral("<p>a & b</p>") << QStringLiteral("`<p>a & b</p>`");
        QTest::newRow("empty") << QString() << QStringLiteral("``");
        QTest::newRow("backslash") << QStringLiteral("a\\b") << QStringLiteral("`a\\\\b`");
        QTest::newRow("backtick") << QStringLiteral("a`b") << QStringLiteral("`a\\`b`");
        QTest::newRow("dollar brace") << QStringLiteral("${x}") << QStringLiteral("`\\${x}`");
        // Backslashes first: the escape added before a backtick must not be doubled again.
        QTest::newRow("backslash before backtick") << QStringLiteral("\\`") << QStringLiteral("`\\\\\\``");
        QTest::newRow("backslash before dollar") << QStringLiteral("\\$") << QStringLiteral("`\\\\\\$`");
        QTest::newRow("newlines and quotes untouched")
            << QStringLiteral("a\n'b\"\r\t") << QStringLiteral("`a\n'b\"\r\t`");
        QTest::newRow("non-ASCII untouched") << QStringLiteral("é — 😀") << QStringLiteral("`é — 😀`");
    }

    void templateLiteral()
    {
        QFETCH(QString, text);
        QFETCH(QString, literal);
        QCOMPARE(HtmlDiffPage::templateLiteral(text), literal);
    }

    void pageHoldsItsPartsInOrder()
    {
        const QString page = HtmlDiffPage::build(QStringLiteral("<p>old</p>"), QStringLiteral("<p>new</p>"));
        QVERIFY(page.startsWith(QLatin1String("<!DOCTYPE html><html><head><meta charset=\"utf-8\">")));
        QVERIFY(page.endsWith(QLatin1String("</script></body></html>")));
        const QStringList parts = {
            QStringLiteral("<style>"),
            QStringLiteral("box-sizing: border-box"),
            QStringLiteral("</style></head><body><div id=\"diff-content\"></div><script"),
            QStringLiteral("function htmldiff("),
            QStringLiteral("var originalHTML = `<p>old</p>`;"),
            QStringLiteral("var fixedHTML = `<p>new</p>`;"),
            QStringLiteral("'editCountHandler'"),
            QStringLiteral("'contentHeightHandler'"),
            QStringLiteral("function scrollToEdit("),
        };
        qsizetype previous = -1;
        for (const QString& part : parts) {
            const qsizetype at = page.indexOf(part);
            QVERIFY2(at > previous, qPrintable(part));
            previous = at;
        }
    }

    void diffScriptComesFromTheResources()
    {
        QVERIFY(HtmlDiffPage::diffScript().contains(QLatin1String("HtmlDiff.execute")));
    }

    void documentsCannotCloseTheScriptElement()
    {
        const QString page = HtmlDiffPage::build(QStringLiteral("x</script><script>alert(1)</SCRIPT >"),
                                                 QStringLiteral("<!-- <script>"));
        QCOMPARE(page.count(QLatin1String("</script>"), Qt::CaseInsensitive), 1);
        QVERIFY(page.contains(QLatin1String("var originalHTML = `x<\\/script><script>alert(1)<\\/SCRIPT >`;")));
        QVERIFY(page.contains(QLatin1String("var fixedHTML = `<\\!-- <script>`;")));
    }

    void stylesheetHasADarkAppearance()
    {
        const QString css = HtmlDiffPage::styleSheet();
        const qsizetype dark = css.indexOf(QLatin1String("@media (prefers-color-scheme: dark)"));
        QVERIFY(dark > 0);
        QVERIFY(css.indexOf(QLatin1String("color: #f5f5f7"), dark) > dark);
        QVERIFY(css.indexOf(QLatin1String("rgba(45, 122, 79, 0.15)")) < dark);
        QVERIFY(css.indexOf(QLatin1String("rgba(45, 122, 79, 0.3)"), dark) > dark);
    }

    void scrollScript()
    {
        QCOMPARE(HtmlDiffPage::scrollToEditScript(0), QStringLiteral("scrollToEdit(0)"));
        QCOMPARE(HtmlDiffPage::scrollToEditScript(12), QStringLiteral("scrollToEdit(12)"));
    }

    void settingBothDocumentsLoadsOnePageAndScrollsOnce()
    {
        DiffWebViewCoordinator coordinator;
        QSignalSpy loads(&coordinator, &DiffWebViewCoordinator::loadRequested);
        QSignalSpy scripts(&coordinator, &DiffWebViewCoordinator::scriptRequested);
        coordinator.setOriginalHTML(QStringLiteral("<p>a b</p>"));
        coordinator.setFixedHTML(QStringLiteral("<p>a c</p>"));
        QCOMPARE(loads.count(), 0);
        QTRY_COMPARE(loads.count(), 1);
        QVERIFY(loads.at(0).at(0).toString().contains(QLatin1String("var fixedHTML = `<p>a c</p>`;")));
        // The first update always moves the highlight, even to index 0.
        QCOMPARE(scripts.count(), 1);
        QCOMPARE(scripts.at(0).at(0).toString(), QStringLiteral("scrollToEdit(0)"));
    }

    void indexChangesScrollWithoutReloading()
    {
        DiffWebViewCoordinator coordinator;
        QSignalSpy loads(&coordinator, &DiffWebViewCoordinator::loadRequested);
        QSignalSpy scripts(&coordinator, &DiffWebViewCoordinator::scriptRequested);
        coordinator.setOriginalHTML(QStringLiteral("a"));
        coordinator.setFixedHTML(QStringLiteral("b"));
        coordinator.update();
        coordinator.setCurrentEditIndex(3);
        coordinator.update();
        coordinator.setCurrentEditIndex(3);
        coordinator.update();
        QCOMPARE(loads.count(), 1);
        QCOMPARE(scripts.count(), 2);
        QCOMPARE(scripts.at(1).at(0).toString(), QStringLiteral("scrollToEdit(3)"));

        coordinator.setFixedHTML(QStringLiteral("c"));
        coordinator.update();
        QCOMPARE(loads.count(), 2);
        QCOMPARE(scripts.count(), 2);
        // Back to the first pair: still a different page from the one loaded.
        coordinator.setFixedHTML(QStringLiteral("b"));
        coordinator.update();
        QCOMPARE(loads.count(), 3);
    }

    void emptyDocumentsStillGetAPage()
    {
        DiffWebViewCoordinator coordinator;
        QSignalSpy loads(&coordinator, &DiffWebViewCoordinator::loadRequested);
        coordinator.update();
        QCOMPARE(loads.count(), 1);
        coordinator.update();
        QCOMPARE(loads.count(), 1);
    }

    void messages_data()
    {
        QTest::addColumn<QString>("channel");
        QTest::addColumn<QVariant>("body");
        QTest::addColumn<int>("counts");
        QTest::addColumn<int>("heights");
        QTest::addColumn<double>("value");
        QTest::newRow("count as double") << QStringLiteral("editCountHandler") << QVariant(3.0) << 1 << 0 << 3.0;
        QTest::newRow("count as int") << QStringLiteral("editCountHandler") << QVariant(0) << 1 << 0 << 0.0;
        QTest::newRow("count as string") << QStringLiteral("editCountHandler") << QVariant(QStringLiteral("3")) << 0 << 0 << 0.0;
        QTest::newRow("fractional count") << QStringLiteral("editCountHandler") << QVariant(2.5) << 0 << 0 << 0.0;
        QTest::newRow("negative count") << QStringLiteral("editCountHandler") << QVariant(-1.0) << 0 << 0 << 0.0;
        QTest::newRow("count too large") << QStringLiteral("editCountHandler") << QVariant(1e12) << 0 << 0 << 0.0;
        QTest::newRow("missing body") << QStringLiteral("editCountHandler") << QVariant() << 0 << 0 << 0.0;
        QTest::newRow("height") << QStringLiteral("contentHeightHandler") << QVariant(120.5) << 0 << 1 << 120.5;
        QTest::newRow("height as int") << QStringLiteral("contentHeightHandler") << QVariant(88) << 0 << 1 << 88.0;
        QTest::newRow("height as bool") << QStringLiteral("contentHeightHandler") << QVariant(true) << 0 << 0 << 0.0;
        QTest::newRow("unknown channel") << QStringLiteral("otherHandler") << QVariant(1.0) << 0 << 0 << 0.0;
        QTest::newRow("channel name case") << QStringLiteral("EditCountHandler") << QVariant(1.0) << 0 << 0 << 0.0;
    }

    void messages()
    {
        QFETCH(QString, channel);
        QFETCH(QVariant, body);
        QFETCH(int, counts);
        QFETCH(int, heights);
        QFETCH(double, value);
        DiffWebViewCoordinator coordinator;
        QSignalSpy countSpy(&coordinator, &DiffWebViewCoordinator::editCount);
        QSignalSpy heightSpy(&coordinator, &DiffWebViewCoordinator::contentHeight);
        coordinator.postMessage(channel, body);
        // Delivered from the event loop, never inside the call.
        QCOMPARE(countSpy.count() + heightSpy.count(), 0);
        QCoreApplication::processEvents();
        QCOMPARE(countSpy.count(), counts);
        QCOMPARE(heightSpy.count(), heights);
        if (counts > 0) {
            QCOMPARE(countSpy.at(0).at(0).toInt(), qRound(value));
        }
        if (heights > 0) {
            QCOMPARE(heightSpy.at(0).at(0).toDouble(), value);
        }
    }

    void messageAfterTheCoordinatorIsGoneIsDropped()
    {
        auto coordinator = std::make_unique<DiffWebViewCoordinator>();
        int delivered = 0;
        QObject::connect(coordinator.get(), &DiffWebViewCoordinator::editCount, [&delivered] { ++delivered; });
        coordinator->postMessage(QStringLiteral("editCountHandler"), 2.0);
        coordinator.reset();
        QCoreApplication::processEvents();
        QCOMPARE(delivered, 0);
    }

    void hostScriptProvidesTheMessageHandlers()
    {
        DiffWebViewCoordinator coordinator;
        const QString script = coordinator.hostScript();
        QVERIFY(script.contains(QLatin1String("QWebChannel")));
        QVERIFY(script.contains(QLatin1String("['editCountHandler', 'contentHeightHandler']")));
        QVERIFY(script.contains(QLatin1String("window.webkit = { messageHandlers: handlers }")));
    }

private:
    TestEnvironment m_environment;
};

QTEST_GUILESS_MAIN(TestHtmlDiffPage)
#include "tst_htmldiffpage.moc"
