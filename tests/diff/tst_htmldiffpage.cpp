#include "diff/DiffPageScheme.h"
#include "diff/DiffWebViewCoordinator.h"
#include "diff/HtmlDiffPage.h"
#include "support/TestEnvironment.h"

#include <QRegularExpression>
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
        QTest::newRow("newlines and quotes untouched") << QStringLiteral("a\n'b\"\r\t") << QStringLiteral("`a\n'b\"\r\t`");
        QTest::newRow("non-ASCII untouched") << QStringLiteral("é — 😀") << QStringLiteral("`é — 😀`");
    }

    void templateLiteral()
    {
        QFETCH(QString, text);
        QFETCH(QString, literal);
        QCOMPARE(HtmlDiffPage::templateLiteral(text), literal);
    }

    void pageHoldsItsPartsInOrder_data()
    {
        QTest::addColumn<bool>("dark");
        QTest::addColumn<QString>("root");
        QTest::newRow("light") << false << QStringLiteral("<html class=\"light\">");
        QTest::newRow("dark") << true << QStringLiteral("<html class=\"dark\">");
    }

    void pageHoldsItsPartsInOrder()
    {
        QFETCH(bool, dark);
        QFETCH(QString, root);
        const QString page = HtmlDiffPage::build(QStringLiteral("<p>old</p>"), QStringLiteral("<p>new</p>"),
                                                 dark ? HtmlDiffPage::Appearance::dark : HtmlDiffPage::Appearance::light);
        QVERIFY(page.startsWith(QStringLiteral("<!DOCTYPE html>") + root + QStringLiteral("<head><meta charset=\"utf-8\">")));
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

    void documentsCannotCloseTheScriptElement()
    {
        const QString page = HtmlDiffPage::build(QStringLiteral("x</script><script>alert(1)</SCRIPT >"),
                                                 QStringLiteral("<!-- <script>"));
        QCOMPARE(page.count(QLatin1String("</script>"), Qt::CaseInsensitive), 1);
        QVERIFY(page.contains(QLatin1String("var originalHTML = `x<\\/script><script>alert(1)<\\/SCRIPT >`;")));
        QVERIFY(page.contains(QLatin1String("var fixedHTML = `<\\!-- <script>`;")));
    }

    // Steps: "o:<doc>", "f:<doc>", "i:<index>" and "d:0|1" set a property; "now" updates at once,
    // "turn" lets the event loop update. Each page load is logged with its appearance and fixed
    // document, each script as it is.
    void updates_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("log");
        QTest::newRow("both documents in one turn: one page, one scroll")
            << "o:a f:b turn" << "load:light:b scrollToEdit(0)";
        QTest::newRow("nothing set still gets a page, once") << "now now" << "load:light: scrollToEdit(0)";
        QTest::newRow("index changes scroll without reloading")
            << "o:a f:b now i:3 now i:3 now" << "load:light:b scrollToEdit(0) scrollToEdit(3)";
        QTest::newRow("a changed document reloads, even back to the first")
            << "o:a f:b now f:c now f:b now" << "load:light:b scrollToEdit(0) load:light:c load:light:b";
        QTest::newRow("appearance before the first page builds it")
            << "d:1 f:b turn" << "load:dark:b scrollToEdit(0)";
        QTest::newRow("appearance switches the loaded page, only on a change")
            << "f:b now d:1 now d:1 now d:0 now"
            << "load:light:b scrollToEdit(0) setAppearance('dark') setAppearance('light')";
        QTest::newRow("appearance and document together: one new page")
            << "f:b now d:1 f:c now" << "load:light:b scrollToEdit(0) load:dark:c";
        QTest::newRow("appearance switched there and back in one turn: nothing")
            << "f:b now d:1 d:0 turn" << "load:light:b scrollToEdit(0)";
    }

    void updates()
    {
        QFETCH(QString, steps);
        QFETCH(QString, log);
        static const QRegularExpression fixedDocument(QStringLiteral("var fixedHTML = `(.*?)`;"));
        auto coordinator = std::make_unique<DiffWebViewCoordinator>();
        QStringList actual;
        QList<QUrl> pages;
        connect(coordinator.get(), &DiffWebViewCoordinator::loadRequested, this, [&](const QUrl& url) {
            const QString page = QString::fromUtf8(DiffPageScheme::page(url));
            const bool dark = page.contains(QLatin1String("<html class=\"dark\">"));
            actual << QStringLiteral("load:%1:%2").arg(dark ? QStringLiteral("dark") : QStringLiteral("light"),
                                                       fixedDocument.match(page).captured(1));
            pages << url;
        });
        connect(coordinator.get(), &DiffWebViewCoordinator::scriptRequested, this,
                [&](const QString& script) { actual << script; });
        for (const QString& step : steps.split(u' ')) {
            const QString value = step.mid(2);
            if (step == u"now")
                coordinator->update();
            else if (step == u"turn")
                QCoreApplication::processEvents();
            else if (step.startsWith(u"o:"))
                coordinator->setOriginalHTML(value);
            else if (step.startsWith(u"f:"))
                coordinator->setFixedHTML(value);
            else if (step.startsWith(u"i:"))
                coordinator->setCurrentEditIndex(value.toInt());
            else if (step.startsWith(u"d:"))
                coordinator->setDark(value == u"1");
        }
        QCOMPARE(actual.join(u' '), log);
        // Only the page on show is kept, and nothing once the coordinator is gone.
        for (qsizetype i = 0; i < pages.size(); ++i)
            QCOMPARE(DiffPageScheme::page(pages[i]).isEmpty(), i + 1 < pages.size());
        coordinator.reset();
        QVERIFY(DiffPageScheme::page(pages.last()).isEmpty());
    }

    void messages_data()
    {
        QTest::addColumn<QString>("channel");
        QTest::addColumn<QVariant>("body");
        QTest::addColumn<QString>("delivered");
        const QString count = QStringLiteral("editCountHandler");
        const QString height = QStringLiteral("contentHeightHandler");
        QTest::newRow("count as double") << count << QVariant(3.0) << QStringLiteral("count 3");
        QTest::newRow("count as int") << count << QVariant(0) << QStringLiteral("count 0");
        QTest::newRow("count as string") << count << QVariant(QStringLiteral("3")) << QString();
        QTest::newRow("fractional count") << count << QVariant(2.5) << QString();
        QTest::newRow("negative count") << count << QVariant(-1.0) << QString();
        QTest::newRow("count too large") << count << QVariant(1e12) << QString();
        QTest::newRow("missing body") << count << QVariant() << QString();
        QTest::newRow("height") << height << QVariant(120.5) << QStringLiteral("height 120.5");
        QTest::newRow("height as int") << height << QVariant(88) << QStringLiteral("height 88");
        QTest::newRow("height as bool") << height << QVariant(true) << QString();
        QTest::newRow("unknown channel") << QStringLiteral("otherHandler") << QVariant(1.0) << QString();
        QTest::newRow("channel name case") << QStringLiteral("EditCountHandler") << QVariant(1.0) << QString();
    }

    void messages()
    {
        QFETCH(QString, channel);
        QFETCH(QVariant, body);
        QFETCH(QString, delivered);
        DiffWebViewCoordinator coordinator;
        QStringList received;
        connect(&coordinator, &DiffWebViewCoordinator::editCount, this,
                [&](int count) { received << QStringLiteral("count %1").arg(count); });
        connect(&coordinator, &DiffWebViewCoordinator::contentHeight, this,
                [&](double height) { received << QStringLiteral("height %1").arg(height); });
        coordinator.postMessage(channel, body);
        // Delivered from the event loop, never inside the call.
        QVERIFY(received.isEmpty());
        QCoreApplication::processEvents();
        QCOMPARE(received.join(u' '), delivered);
    }

    void messageAfterTheCoordinatorIsGoneIsDropped()
    {
        auto coordinator = std::make_unique<DiffWebViewCoordinator>();
        int delivered = 0;
        connect(coordinator.get(), &DiffWebViewCoordinator::editCount, this, [&delivered] { ++delivered; });
        coordinator->postMessage(QStringLiteral("editCountHandler"), 2.0);
        coordinator.reset();
        QCoreApplication::processEvents();
        QCOMPARE(delivered, 0);
    }

private:
    TestEnvironment m_environment;
};

QTEST_GUILESS_MAIN(TestHtmlDiffPage)
#include "tst_htmldiffpage.moc"
