#include "diff/DiffPageScheme.h"
#include "diff/HtmlDiffPage.h"
#include "diff/HtmlDiffWarmup.h"
#include "support/EventLoopWait.h"
#include "support/ProcessTree.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QQmlComponent>
#include <QRegularExpression>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

#include <algorithm>
#include <memory>
#include <set>

Q_IMPORT_QML_PLUGIN(TembrelPlugin)

namespace {

// A diff view in a window, with a way to ask its page a question.
const QByteArray hostQml = R"qml(
import QtQuick
import Tembrel
Window {
    width: 480; height: 320; visible: true
    property alias diff: diff
    property var probeResult
    property int probeCount: 0
    function probe(view, script) {
        view.runJavaScript(script, function (result) { probeResult = result; probeCount += 1 })
    }
    DiffWebView { id: diff; anchors.fill: parent }
}
)qml";

constexpr int loadTimeout = 60000;

// An image 200 × 600 pixels whose data URL pads the document to about `bytes`. A page that
// arrives cut short cannot decode it.
QString paddedImage(qsizetype bytes)
{
    QByteArray svg = "<svg xmlns='http://www.w3.org/2000/svg' width='200' height='600'>"
                     "<rect width='200' height='600' fill='#4a90d9'/><!-- ";
    const qsizetype padding = std::max<qsizetype>(0, bytes * 3 / 4 - svg.size() - 10);
    for (qsizetype i = 0; i < padding; ++i)
        svg += char('a' + (i * 7919) % 26);
    svg += " --></svg>";
    return QStringLiteral("<img src=\"data:image/svg+xml;base64,") + QString::fromLatin1(svg.toBase64())
        + QStringLiteral("\">");
}

// The web engine's renderer processes started by this test.
std::set<qint64> ownRenderers()
{
    std::set<qint64> found;
    for (const qint64 pid : ProcessTree::descendants(QCoreApplication::applicationPid())) {
        QFile commandLine(QStringLiteral("/proc/%1/cmdline").arg(pid));
        if (commandLine.open(QIODevice::ReadOnly) && commandLine.readAll().contains("--type=renderer"))
            found.insert(pid);
    }
    return found;
}

} // namespace

// The diff view in a real web engine: messages from the page, navigation, escaping, page sizes
// and appearance.
class TestDiffWebView : public QObject
{
    Q_OBJECT

public:
    explicit TestDiffWebView(const TestEnvironment& environment) : m_environment(environment) {}

private Q_SLOTS:
    void initTestCase()
    {
        // Qt 6.4 does not look for modules in the resources by itself.
        m_engine.addImportPath(QStringLiteral("qrc:/"));
    }

    void init()
    {
        QQmlComponent component(&m_engine);
        component.setData(hostQml, QUrl(QStringLiteral("qrc:/test/Host.qml")));
        m_window.reset(qobject_cast<QQuickWindow*>(component.create()));
        QVERIFY2(m_window, qPrintable(component.errorString()));
        m_diff = m_window->property("diff").value<QQuickItem*>();
        QVERIFY(m_diff);
        m_counts = std::make_unique<QSignalSpy>(m_diff, SIGNAL(editCount(int)));
        m_heights = std::make_unique<QSignalSpy>(m_diff, SIGNAL(contentHeight(double)));
    }

    void cleanup()
    {
        m_counts.reset();
        m_heights.reset();
        m_window.reset();
    }

    void editCounts_data()
    {
        QTest::addColumn<QString>("original");
        QTest::addColumn<QString>("fixed");
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("numbering"); // tag and index of every numbered element
        QTest::newRow("identical") << QStringLiteral("<p>Same text.</p>") << QStringLiteral("<p>Same text.</p>") << 0
                                   << QString();
        QTest::newRow("one replacement") << QStringLiteral("<p>a b</p>") << QStringLiteral("<p>a c</p>") << 1
                                         << QStringLiteral("DEL0,INS0");
        QTest::newRow("insertion of several words")
            << QStringLiteral("<p>one two</p>") << QStringLiteral("<p>one three four five two</p>") << 1
            << QStringLiteral("INS0");
        QTest::newRow("replacement, insertion and deletion")
            << QStringLiteral("<p>We was here and there today.</p><p>Old line.</p>")
            << QStringLiteral("<p>We were here and there.</p><p>Old line.</p><p>New line.</p>") << 3
            << QStringLiteral("DEL0,INS0,DEL1,INS2");
        // Markup already in the documents is numbered like the diff's own.
        QTest::newRow("halves across whitespace share one index")
            << QStringLiteral("<p><del class=\"diffmod\">x</del> \n <ins class=\"diffmod\">y</ins> z</p>")
            << QStringLiteral("<p><del class=\"diffmod\">x</del> \n <ins class=\"diffmod\">y</ins> z</p>") << 1
            << QStringLiteral("DEL0,INS0");
        QTest::newRow("halves across an element are two edits")
            << QStringLiteral("<p><del class=\"diffmod\">x</del><span></span><ins class=\"diffmod\">y</ins></p>")
            << QStringLiteral("<p><del class=\"diffmod\">x</del><span></span><ins class=\"diffmod\">y</ins></p>") << 2
            << QStringLiteral("DEL0,INS1");
        QTest::newRow("deletion then insertion are two edits")
            << QStringLiteral("<del class=\"diffdel\">x</del><ins class=\"diffins\">y</ins>")
            << QStringLiteral("<del class=\"diffdel\">x</del><ins class=\"diffins\">y</ins>") << 2
            << QStringLiteral("DEL0,INS1");
        // The documents sit in template literals inside a script element of the page.
        QTest::newRow("backticks, dollar braces, backslashes and a closing script tag")
            << QStringLiteral("<p>Use `code` and ${name} or \\n and \\` and $` and \\${x} and \\\\</p>")
            << QStringLiteral("<p>Use `code`, ${name} or \\n; a \\` and $` \\${x}</p><p>x</script>y</p>") << 7
            << QStringLiteral("DEL0,INS0,INS1,DEL2,INS2,DEL3,DEL4,INS5,INS6");
    }

    void editCounts()
    {
        QFETCH(QString, original);
        QFETCH(QString, fixed);
        QFETCH(int, count);
        QFETCH(QString, numbering);
        QVERIFY(shown(original, fixed));
        QCOMPARE(m_counts->at(0).at(0).toInt(), count);
        LOOP_TRY_COMPARE(m_heights->count(), 1);
        QVERIFY(m_heights->at(0).at(0).toDouble() > 0);
        QCOMPARE(probe(QStringLiteral("Array.from(document.querySelectorAll('[data-edit-idx]'))"
                                      ".map(e => e.tagName + e.dataset.editIdx).join()")),
                 QVariant(numbering));
        // Both documents arrive intact, served from memory under the diff pages' own scheme.
        QCOMPARE(probe(QStringLiteral("location.protocol")).toString(), QLatin1String(DiffPageScheme::name) + u':');
        const QJsonArray documents =
            QJsonDocument::fromJson(probe(QStringLiteral("JSON.stringify([originalHTML, fixedHTML])")).toString().toUtf8())
                .array();
        QCOMPARE(documents, (QJsonArray{original, fixed}));
    }

    // A data: URL stops at 2 MB; pages are served from memory instead, whatever their size.
    void largePagesLoad_data()
    {
        QTest::addColumn<qsizetype>("bytes");
        QTest::newRow("just under 2 MB") << qsizetype(2 * 1024 * 1024 - 64 * 1024);
        QTest::newRow("just over 2 MB") << qsizetype(2 * 1024 * 1024 + 64 * 1024);
        QTest::newRow("3 MB") << qsizetype(3 * 1024 * 1024);
    }

    void largePagesLoad()
    {
        QFETCH(qsizetype, bytes);
        // Half the page is each document: the image is in both, the words around it change.
        const QString image = paddedImage(bytes / 2);
        QVERIFY(shown(QStringLiteral("<p>one two three</p>") + image + QStringLiteral("<p>four five</p>"),
                      QStringLiteral("<p>one 2 three</p>") + image + QStringLiteral("<p>four five six</p>")));
        QCOMPARE(m_counts->at(0).at(0).toInt(), 2);
        LOOP_TRY_COMPARE(m_heights->count(), 1);
        QVERIFY(m_heights->at(0).at(0).toDouble() > 0);
        LOOP_TRY_COMPARE(probe(QStringLiteral("document.images[0].complete && document.images[0].naturalHeight")).toInt(),
                     600);
        QVERIFY(probe(QStringLiteral("fixedHTML.length")).toLongLong() > bytes / 2);
    }

    void appearance_data()
    {
        QTest::addColumn<bool>("dark");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("insertion");
        QTest::newRow("light") << false << QStringLiteral("rgb(26, 26, 26)") << QStringLiteral("rgba(45, 122, 79, 0.15)");
        QTest::newRow("dark") << true << QStringLiteral("rgb(245, 245, 247)") << QStringLiteral("rgba(45, 122, 79, 0.3)");
    }

    void appearance()
    {
        QFETCH(bool, dark);
        QFETCH(QString, text);
        QFETCH(QString, insertion);
        const QString colours = QStringLiteral(
            "[getComputedStyle(document.body).color, getComputedStyle(document.querySelector('ins')).backgroundColor,"
            " getComputedStyle(document.documentElement).backgroundColor].join(' / ')");
        const QString expected = text + QStringLiteral(" / ") + insertion + QStringLiteral(" / rgba(0, 0, 0, 0)");

        // Built in the appearance it is shown in.
        m_diff->setProperty("dark", dark);
        QVERIFY(shown(QStringLiteral("<p>a b</p>"), QStringLiteral("<p>a b c</p>")));
        QCOMPARE(probe(colours).toString(), expected);

        // Switched both ways on the loaded page, which stays where it is.
        probe(QStringLiteral("window.marker = 5"));
        m_diff->setProperty("dark", !dark);
        LOOP_TRY_VERIFY(probe(colours).toString() != expected);
        m_diff->setProperty("dark", dark);
        LOOP_TRY_COMPARE(probe(colours).toString(), expected);
        QCOMPARE(probe(QStringLiteral("window.marker")).toInt(), 5);
        QCOMPARE(m_diff->property("pageLoads").toInt(), 1);
    }

    // The engine keeps every rule of the page's style sheet: one it cannot parse (a selector newer
    // than the engine) is dropped whole, silently, and its layout with it.
    void everyStyleRuleIsKept()
    {
        QString css = HtmlDiffPage::styleSheet();
        static const QRegularExpression comments(QStringLiteral("/\\*.*?\\*/"),
                                                 QRegularExpression::DotMatchesEverythingOption);
        css.remove(comments);
        int rules = 0;
        int depth = 0;
        for (const QChar c : std::as_const(css)) {
            depth += c == u'{' ? 1 : c == u'}' ? -1 : 0;
            rules += c == u'}' && depth == 0 ? 1 : 0;
        }
        QVERIFY(rules > 30);
        QVERIFY(shown(QStringLiteral("<p>a</p><hr><p>b</p>"), QStringLiteral("<p>a</p><hr><p>c</p>")));
        QCOMPARE(probe(QStringLiteral("document.styleSheets[0].cssRules.length")).toInt(), rules);
    }

    void currentFollowsTheIndexWithoutReloading()
    {
        QVERIFY(shown(QStringLiteral("<p>one two three four five six seven</p>"),
                      QStringLiteral("<p>one 2 three 4 five 6 seven</p>")));
        QCOMPARE(m_counts->at(0).at(0).toInt(), 3);
        LOOP_TRY_COMPARE(probe(currentIndexScript()), QVariant(QStringLiteral("0")));
        QCOMPARE(m_diff->property("pageLoads").toInt(), 1);
        probe(QStringLiteral("window.marker = 42"));

        m_diff->setProperty("currentEditIndex", 2);
        LOOP_TRY_COMPARE(probe(currentIndexScript()), QVariant(QStringLiteral("2")));
        QCOMPARE(probe(QStringLiteral("document.querySelectorAll('.current').length")).toInt(), 1);
        QCOMPARE(probe(QStringLiteral("document.querySelector('.current').tagName")), QVariant(QStringLiteral("DEL")));

        // An index with no edit leaves the highlight where it was.
        m_diff->setProperty("currentEditIndex", 7);
        EventLoopWait::run(200);
        QCOMPARE(probe(currentIndexScript()), QVariant(QStringLiteral("2")));

        m_diff->setProperty("currentEditIndex", 1);
        LOOP_TRY_COMPARE(probe(currentIndexScript()), QVariant(QStringLiteral("1")));
        QCOMPARE(probe(QStringLiteral("window.marker")).toInt(), 42);
        QCOMPARE(m_diff->property("pageLoads").toInt(), 1);
        QCOMPARE(m_counts->count(), 1);
    }

    void aChangedDocumentReloadsAndStartsAtTheFirstEdit()
    {
        QVERIFY(shown(QStringLiteral("<p>a b c d</p>"), QStringLiteral("<p>a x c y</p>")));
        LOOP_TRY_COMPARE(probe(currentIndexScript()), QVariant(QStringLiteral("0")));
        m_diff->setProperty("currentEditIndex", 1);
        LOOP_TRY_COMPARE(probe(currentIndexScript()), QVariant(QStringLiteral("1")));
        const std::set<qint64> renderers = ownRenderers();
        QVERIFY(!renderers.empty());

        m_diff->setProperty("fixedHTML", QStringLiteral("<p>a b c z</p>"));
        LOOP_TRY_COMPARE_WITH_TIMEOUT(m_counts->count(), 2, loadTimeout);
        QCOMPARE(m_counts->at(1).at(0).toInt(), 1);
        QCOMPARE(m_diff->property("pageLoads").toInt(), 2);
        LOOP_TRY_COMPARE(probe(currentIndexScript()), QVariant(QStringLiteral("0")));
        // The new page is drawn by the renderer of the one before: starting another costs seconds.
        EventLoopWait::run(300);
        const std::set<qint64> after = ownRenderers();
        QVERIFY(!after.empty());
        QVERIFY(std::includes(renderers.begin(), renderers.end(), after.begin(), after.end()));
    }

    void userTextNeverReachesTheDisk()
    {
        const QString marker = QStringLiteral("Zebrafinch%1Quartz").arg(QCoreApplication::applicationPid());
        QVERIFY(shown(QStringLiteral("<p>%1 one</p>").arg(marker), QStringLiteral("<p>%1 two</p>").arg(marker)));
        m_window.reset();
        EventLoopWait::run(500);
        // Home, configuration, data and cache folders of this run, where a browser profile writes.
        QDirIterator files(m_environment.root(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            QFile file(files.next());
            if (file.open(QIODevice::ReadOnly))
                QVERIFY2(!file.readAll().contains(marker.toUtf8()), qPrintable(file.fileName()));
        }
    }

    void pastedEventHandlersDoNotRun()
    {
        const QString doc = QStringLiteral("<p>x<img src=\"nothing:here\" onerror=\"document.title='ran'\"></p>");
        QVERIFY(shown(doc, doc + QStringLiteral("<p>y</p>")));
        EventLoopWait::run(300);
        QVERIFY(probe(QStringLiteral("document.title")).toString() != QLatin1String("ran"));
    }

    void linksDoNotNavigateAway_data()
    {
        QTest::addColumn<QString>("target");
        QTest::newRow("web page") << QStringLiteral("https://example.invalid/");
        QTest::newRow("another diff page") << QStringLiteral("tembrel-diff://page/00000000-0000-0000-0000-000000000000");
    }

    void linksDoNotNavigateAway()
    {
        QFETCH(QString, target);
        const QString link = QStringLiteral("<p><a id=\"l\" href=\"%1\">link</a> ").arg(target);
        QVERIFY(shown(link + QStringLiteral("a</p>"), link + QStringLiteral("b</p>")));
        const QVariant address = probe(QStringLiteral("location.href"));
        probe(QStringLiteral("window.marker = 7; document.getElementById('l').click()"));
        EventLoopWait::run(500);
        QCOMPARE(probe(QStringLiteral("location.href")), address);
        QCOMPARE(probe(QStringLiteral("window.marker")).toInt(), 7);
    }

private:
    // Sets both documents and waits until the page has counted its edits.
    [[nodiscard]] bool shown(const QString& original, const QString& fixed)
    {
        m_diff->setProperty("originalHTML", original);
        m_diff->setProperty("fixedHTML", fixed);
        return EventLoopWait::until([this] { return m_counts->count() == 1; }, loadTimeout);
    }

    static QString currentIndexScript()
    {
        return QStringLiteral("(document.querySelector('.current') || { dataset: {} }).dataset.editIdx || 'none'");
    }

    QObject* webView() const
    {
        for (QObject* child : m_diff->findChildren<QObject*>()) {
            if (QByteArray(child->metaObject()->className()).startsWith("QQuickWebEngineView"))
                return child;
        }
        return nullptr;
    }

    // Runs a script in the page and waits for its result.
    QVariant probe(const QString& script)
    {
        QObject* view = webView();
        if (!view)
            return QStringLiteral("no view");
        const int before = m_window->property("probeCount").toInt();
        QMetaObject::invokeMethod(m_window.get(), "probe", Q_ARG(QVariant, QVariant::fromValue(view)),
                                  Q_ARG(QVariant, script));
        if (!EventLoopWait::until([&] { return m_window->property("probeCount").toInt() > before; }, 5000))
            return QStringLiteral("no answer");
        return m_window->property("probeResult");
    }

    const TestEnvironment& m_environment;
    QQmlEngine m_engine;
    std::unique_ptr<QQuickWindow> m_window;
    QQuickItem* m_diff = nullptr;
    std::unique_ptr<QSignalSpy> m_counts;
    std::unique_ptr<QSignalSpy> m_heights;
};

int main(int argc, char* argv[])
{
    TestEnvironment environment;
    HtmlDiffWarmup::initializeEngine();
    QGuiApplication app(argc, argv);
    TestDiffWebView test(environment);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_diffwebview.moc"
