#include "diff/HtmlDiffWarmup.h"
#include "support/TestEnvironment.h"

#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

#include <memory>

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

constexpr int loadTimeout = 20000;

} // namespace

// The diff view in a real web engine: messages from the page, navigation and escaping.
class TestDiffWebView : public QObject
{
    Q_OBJECT

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
        QTest::newRow("identical") << QStringLiteral("<p>Same text.</p>") << QStringLiteral("<p>Same text.</p>") << 0;
        QTest::newRow("one replacement") << QStringLiteral("<p>a b</p>") << QStringLiteral("<p>a c</p>") << 1;
        QTest::newRow("insertion of several words")
            << QStringLiteral("<p>one two</p>") << QStringLiteral("<p>one three four five two</p>") << 1;
        QTest::newRow("replacement, insertion and deletion")
            << QStringLiteral("<p>We was here and there today.</p><p>Old line.</p>")
            << QStringLiteral("<p>We were here and there.</p><p>Old line.</p><p>New line.</p>") << 3;
        // Markup already in the documents is numbered like the diff's own.
        QTest::newRow("halves across whitespace share one index")
            << QStringLiteral("<p><del class=\"diffmod\">x</del> \n <ins class=\"diffmod\">y</ins></p>")
            << QStringLiteral("<p><del class=\"diffmod\">x</del> \n <ins class=\"diffmod\">y</ins></p>") << 1;
        QTest::newRow("halves across an element are two edits")
            << QStringLiteral("<p><del class=\"diffmod\">x</del><span></span><ins class=\"diffmod\">y</ins></p>")
            << QStringLiteral("<p><del class=\"diffmod\">x</del><span></span><ins class=\"diffmod\">y</ins></p>") << 2;
        QTest::newRow("deletion then insertion are two edits")
            << QStringLiteral("<del class=\"diffdel\">x</del><ins class=\"diffins\">y</ins>")
            << QStringLiteral("<del class=\"diffdel\">x</del><ins class=\"diffins\">y</ins>") << 2;
    }

    void editCounts()
    {
        QFETCH(QString, original);
        QFETCH(QString, fixed);
        QFETCH(int, count);
        show(original, fixed);
        QTRY_COMPARE_WITH_TIMEOUT(m_counts->count(), 1, loadTimeout);
        QCOMPARE(m_counts->at(0).at(0).toInt(), count);
        QTRY_COMPARE(m_heights->count(), 1);
        QVERIFY(m_heights->at(0).at(0).toDouble() > 0);
    }

    void replacementHalvesShareTheirIndex()
    {
        const QString doc = QStringLiteral("<p><del class=\"diffmod\">x</del> <ins class=\"diffmod\">y</ins> z</p>");
        show(doc, doc);
        QTRY_COMPARE_WITH_TIMEOUT(m_counts->count(), 1, loadTimeout);
        QCOMPARE(probe(QStringLiteral("Array.from(document.querySelectorAll('[data-edit-idx]'))"
                                      ".map(e => e.tagName + e.dataset.editIdx).join()")),
                 QVariant(QStringLiteral("DEL0,INS0")));
    }

    void longerContentIsTaller()
    {
        show(QStringLiteral("<p>short</p>"), QStringLiteral("<p>short text</p>"));
        QTRY_COMPARE_WITH_TIMEOUT(m_heights->count(), 1, loadTimeout);
        const double shortHeight = m_heights->at(0).at(0).toDouble();
        QString paragraphs;
        for (int i = 0; i < 40; ++i) {
            paragraphs += QStringLiteral("<p>Paragraph number %1 with a few words.</p>").arg(i);
        }
        show(paragraphs, paragraphs + QStringLiteral("<p>One more.</p>"));
        QTRY_COMPARE_WITH_TIMEOUT(m_heights->count(), 2, loadTimeout);
        QVERIFY2(m_heights->at(1).at(0).toDouble() > shortHeight * 10,
                 qPrintable(QStringLiteral("%1 vs %2").arg(m_heights->at(1).at(0).toDouble()).arg(shortHeight)));
    }

    void currentFollowsTheIndexWithoutReloading()
    {
        show(QStringLiteral("<p>one two three four five six seven</p>"),
             QStringLiteral("<p>one 2 three 4 five 6 seven</p>"));
        QTRY_COMPARE_WITH_TIMEOUT(m_counts->count(), 1, loadTimeout);
        QCOMPARE(m_counts->at(0).at(0).toInt(), 3);
        QTRY_COMPARE(probe(currentIndexScript()), QVariant(QStringLiteral("0")));
        const int loads = m_diff->property("pageLoads").toInt();
        QCOMPARE(loads, 1);
        probe(QStringLiteral("window.marker = 42"));

        m_diff->setProperty("currentEditIndex", 2);
        QTRY_COMPARE(probe(currentIndexScript()), QVariant(QStringLiteral("2")));
        QCOMPARE(probe(QStringLiteral("document.querySelectorAll('.current').length")).toInt(), 1);
        QCOMPARE(probe(QStringLiteral("document.querySelector('.current').tagName")), QVariant(QStringLiteral("DEL")));

        // An index with no edit leaves the highlight where it was.
        m_diff->setProperty("currentEditIndex", 7);
        QTest::qWait(200);
        QCOMPARE(probe(currentIndexScript()), QVariant(QStringLiteral("2")));

        m_diff->setProperty("currentEditIndex", 1);
        QTRY_COMPARE(probe(currentIndexScript()), QVariant(QStringLiteral("1")));
        QCOMPARE(probe(QStringLiteral("window.marker")).toInt(), 42);
        QCOMPARE(m_diff->property("pageLoads").toInt(), loads);
        QCOMPARE(m_counts->count(), 1);
    }

    void aChangedDocumentReloadsAndStartsAtTheFirstEdit()
    {
        show(QStringLiteral("<p>a b c d</p>"), QStringLiteral("<p>a x c y</p>"));
        QTRY_COMPARE_WITH_TIMEOUT(m_counts->count(), 1, loadTimeout);
        QTRY_COMPARE(probe(currentIndexScript()), QVariant(QStringLiteral("0")));
        m_diff->setProperty("currentEditIndex", 1);
        QTRY_COMPARE(probe(currentIndexScript()), QVariant(QStringLiteral("1")));

        m_diff->setProperty("fixedHTML", QStringLiteral("<p>a b c z</p>"));
        QTRY_COMPARE_WITH_TIMEOUT(m_counts->count(), 2, loadTimeout);
        QCOMPARE(m_counts->at(1).at(0).toInt(), 1);
        QCOMPARE(m_diff->property("pageLoads").toInt(), 2);
        QTRY_COMPARE(probe(currentIndexScript()), QVariant(QStringLiteral("0")));
    }

    void awkwardCharactersArriveIntact()
    {
        const QString original = QStringLiteral("<p>Use `code` and ${name} or \\n and \\` and $` and \\${x} and \\\\</p>");
        const QString fixed = QStringLiteral("<p>Use `code`, ${name} or \\n; a \\` and $` \\${x}</p><p>x</script>y</p>");
        show(original, fixed);
        QTRY_COMPARE_WITH_TIMEOUT(m_counts->count(), 1, loadTimeout);
        QVERIFY(m_counts->at(0).at(0).toInt() > 0);
        const QVariant documents = probe(QStringLiteral("JSON.stringify([originalHTML, fixedHTML])"));
        const QJsonArray array = QJsonDocument::fromJson(documents.toString().toUtf8()).array();
        QCOMPARE(array.size(), 2);
        QCOMPARE(array.at(0).toString(), original);
        QCOMPARE(array.at(1).toString(), fixed);
        QVERIFY(probe(QStringLiteral("document.getElementById('diff-content').textContent"))
                    .toString().contains(QLatin1String("${name}")));
    }

    void pastedEventHandlersDoNotRun()
    {
        const QString doc = QStringLiteral("<p>x<img src=\"nothing:here\" onerror=\"document.title='ran'\"></p>");
        show(doc, doc + QStringLiteral("<p>y</p>"));
        QTRY_COMPARE_WITH_TIMEOUT(m_counts->count(), 1, loadTimeout);
        QTest::qWait(300);
        QVERIFY(probe(QStringLiteral("document.title")).toString() != QLatin1String("ran"));
    }

    void linksDoNotNavigateAway()
    {
        show(QStringLiteral("<p><a id=\"l\" href=\"https://example.invalid/\">link</a> a</p>"),
             QStringLiteral("<p><a id=\"l\" href=\"https://example.invalid/\">link</a> b</p>"));
        QTRY_COMPARE_WITH_TIMEOUT(m_counts->count(), 1, loadTimeout);
        const QVariant address = probe(QStringLiteral("location.href"));
        QVERIFY(address.toString().startsWith(QLatin1String("data:")));
        probe(QStringLiteral("window.marker = 7; document.getElementById('l').click()"));
        QTest::qWait(500);
        QCOMPARE(probe(QStringLiteral("location.href")), address);
        QCOMPARE(probe(QStringLiteral("window.marker")).toInt(), 7);
    }

private:
    void show(const QString& original, const QString& fixed)
    {
        m_diff->setProperty("originalHTML", original);
        m_diff->setProperty("fixedHTML", fixed);
    }

    static QString currentIndexScript()
    {
        return QStringLiteral("(document.querySelector('.current') || { dataset: {} }).dataset.editIdx || 'none'");
    }

    QObject* webView() const
    {
        for (QObject* child : m_diff->findChildren<QObject*>()) {
            if (QByteArray(child->metaObject()->className()).startsWith("QQuickWebEngineView")) {
                return child;
            }
        }
        return nullptr;
    }

    // Runs a script in the page and waits for its result.
    QVariant probe(const QString& script)
    {
        QObject* view = webView();
        if (!view) {
            return QStringLiteral("no view");
        }
        const int before = m_window->property("probeCount").toInt();
        QMetaObject::invokeMethod(m_window.get(), "probe", Q_ARG(QVariant, QVariant::fromValue(view)),
                                  Q_ARG(QVariant, script));
        if (!QTest::qWaitFor([&] { return m_window->property("probeCount").toInt() > before; }, 5000)) {
            return QStringLiteral("no answer");
        }
        return m_window->property("probeResult");
    }

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
    TestDiffWebView test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_diffwebview.moc"
