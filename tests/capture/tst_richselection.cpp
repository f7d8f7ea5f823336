#include "capture/ClipboardManager.h"
#include "engines/CustomOpenAIEngine.h"
#include "engines/EngineTestSupport.h"
#include "engines/TextChunker.h"
#include "support/ChromiumSession.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>
#include <QXmlStreamReader>

namespace {

const QSet<QString> voidElements {"area", "br", "col", "hr", "img", "input", "link", "meta", "source", "wbr"};

// Why `html` is not a well-formed fragment: a tag cut open, an end tag without its start, an
// element left open, or an entity cut off; empty when it is one.
QString malformation(const QString& html)
{
    QStringList open;
    static const QRegularExpression tag("<(/?)([a-zA-Z][a-zA-Z0-9]*)((?:[^>\"']|\"[^\"]*\"|'[^']*')*)>");
    qsizetype at = 0;
    for (auto match = tag.globalMatch(html); match.hasNext();) {
        const QRegularExpressionMatch m = match.next();
        const QString between = html.mid(at, m.capturedStart() - at);
        if (between.contains(u'<') || between.contains(u'>'))
            return "text holds a piece of a tag: " + between.left(80);
        at = m.capturedEnd();
        const QString name = m.captured(2).toLower();
        if (m.captured(1).isEmpty()) {
            if (!voidElements.contains(name) && !m.captured(3).endsWith(u'/'))
                open.append(name);
        } else if (open.isEmpty() || open.takeLast() != name) {
            return "</" + name + "> closes nothing open";
        }
    }
    const QString rest = html.mid(at);
    if (rest.contains(u'<') || rest.contains(u'>'))
        return "ends inside a tag: " + rest.left(80);
    if (!open.isEmpty())
        return "leaves <" + open.join("><") + "> open";
    static const QRegularExpression cutEntity("&[#a-zA-Z0-9]*$");
    if (cutEntity.match(html).hasMatch())
        return "ends inside an entity";
    return {};
}

} // namespace

// What Chromium copies from a real page, taken as Tembrel takes it: the plain text Tembrel derives
// from the copied HTML must be the plain text Chromium itself put beside it; a long article's HTML
// is split for the engine only between blocks, and the RTF written from it reads back in AbiWord
// with its lists and tables.
class TestRichSelection : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void plainTextIsChromiumsPlainText_data();
    void plainTextIsChromiumsPlainText();
    void longArticleGoesOutInWholeBlocks_data();
    void longArticleGoesOutInWholeBlocks();
    void rtfOpensInAbiWordWithListsAndTables();

private:
    /// Selects the element's contents in Chromium and copies them; false when nothing arrived.
    bool copy(const QString& elementId, QString& html, QString& text);

    ChromiumSession m_chromium;
};

void TestRichSelection::initTestCase()
{
    QVERIFY2(m_chromium.start(QStringLiteral(TEMBREL_TEST_DATA_DIR "/capture/structure-page.html")),
        qPrintable(m_chromium.error()));
}

bool TestRichSelection::copy(const QString& elementId, QString& html, QString& text)
{
    // Until the window is mapped and focused a copy can come to nothing, so it is repeated.
    QClipboard* clipboard = QGuiApplication::clipboard();
    for (int attempt = 0; attempt < 10; ++attempt) {
        clipboard->clear();
        m_chromium.evaluate(QStringLiteral("getSelection().selectAllChildren(document.getElementById('%1'));"
                                           "document.execCommand('copy')")
                                .arg(elementId));
        if (QTest::qWaitFor(
                [&] { return clipboard->mimeData() && clipboard->mimeData()->hasHtml(); }, 2000)) {
            html = clipboard->mimeData()->html();
            text = clipboard->mimeData()->text();
            return !html.isEmpty();
        }
    }
    return false;
}

void TestRichSelection::plainTextIsChromiumsPlainText_data()
{
    QTest::addColumn<QString>("elementId");
    QTest::newRow("headings, paragraphs, entities, no-break spaces") << "paragraphs";
    QTest::newRow("nested bullets and numbers") << "lists";
    QTest::newRow("a table between paragraphs") << "table";
}

void TestRichSelection::plainTextIsChromiumsPlainText()
{
    QFETCH(QString, elementId);
    QString html, chromiumText;
    QVERIFY(copy(elementId, html, chromiumText));
    const QString text = ClipboardManager::htmlToPlainText(html);
    for (QChar c : text)
        QVERIFY2(!c.isNonCharacter(), qPrintable(text));
    QCOMPARE(text, chromiumText.trimmed());
}

void TestRichSelection::longArticleGoesOutInWholeBlocks_data()
{
    // Services often drop the white space around their answer; the seams must survive that.
    QTest::addColumn<bool>("trimsAnswers");
    QTest::newRow("answers as sent") << false;
    QTest::newRow("answers trimmed") << true;
}

void TestRichSelection::longArticleGoesOutInWholeBlocks()
{
    QFETCH(bool, trimsAnswers);
    QString html, chromiumText;
    QVERIFY(copy(QStringLiteral("article"), html, chromiumText));
    const QString sent = ClipboardManager::cleanHTMLForFix(html);
    QVERIFY2(sent.size() > 2 * TextChunker::chunkSize, qPrintable(QString::number(sent.size())));

    TestHttpServer server;
    QVERIFY(server.listen());
    server.setHandler([trimsAnswers](const RecordedRequest& request) {
        const QString content = EngineTest::userContent(request);
        return CannedResponse::json(200, EngineTest::chatAnswer(trimsAnswers ? content.trimmed() : content));
    });
    CustomOpenAIEngine engine(
        [&] {
            return CustomEndpointConfig {server.url("/v1").toString(), {}, true};
        },
        []() -> QCoro::Task<std::optional<QString>> { co_return std::nullopt; });
    const FixOutcome outcome = EngineTest::finish(engine.fix(sent, QStringLiteral("Fix it."), nullptr, {}));
    QVERIFY(outcome);

    const QList<RecordedRequest> requests = server.requests();
    QVERIFY(requests.size() >= 3);
    bool cutInsideText = false;
    for (const RecordedRequest& request : requests) {
        const QString chunk = EngineTest::userContent(request);
        QVERIFY2(chunk.size() <= TextChunker::chunkSize, qPrintable(QString::number(chunk.size())));
        const QString fault = malformation(chunk);
        QVERIFY2(fault.isEmpty(), qPrintable(fault));
        // A chunk starts and ends with a tag; inside the paragraph longer than a request, the cut
        // falls after a sentence.
        QVERIFY2(chunk.startsWith(u'<') && chunk.endsWith(u'>'),
            qPrintable(chunk.left(80) + " … " + chunk.right(80)));
        static const QRegularExpression endTags("(</[a-z0-9]+>)*$");
        cutInsideText = cutInsideText
            || chunk.left(endTags.match(chunk).capturedStart()).endsWith(QStringLiteral(". "));
    }
    QVERIFY(cutInsideText);
    // Put together again, nothing was added, lost or moved.
    QCOMPARE(outcome.value().fixedText, sent);
}

void TestRichSelection::rtfOpensInAbiWordWithListsAndTables()
{
    QString html, chromiumText;
    QVERIFY(copy(QStringLiteral("structure"), html, chromiumText));
    const std::optional<QByteArray> rtf = ClipboardManager::htmlToRTF(html);
    QVERIFY(rtf);
    QTemporaryDir dir;
    QFile file(dir.filePath("fixed.rtf"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(*rtf);
    file.close();

    // AbiWord's own document format says plainly what it made of the RTF.
    const QString abiword = QStandardPaths::findExecutable(QStringLiteral("abiword"));
    QVERIFY2(!abiword.isEmpty(), "abiword is not installed");
    QProcess convert;
    convert.start(abiword, {"--to=abw", "-o", dir.filePath("fixed.abw"), file.fileName()});
    QVERIFY(convert.waitForFinished(60000));
    QFile converted(dir.filePath("fixed.abw"));
    QVERIFY(converted.open(QIODevice::ReadOnly));

    struct Item
    {
        QString text;
        QString style;
        QString level;
        QString listId;
        QString parentId;
    };
    QList<Item> items;
    QStringList cells;
    int tables = 0;
    int cellDepth = 0;
    QXmlStreamReader reader(&converted);
    std::optional<Item> paragraph;
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement() && reader.name() == u"table")
            ++tables;
        if (reader.isStartElement() && reader.name() == u"cell") {
            ++cellDepth;
            cells.append(QString());
        }
        if (reader.isEndElement() && reader.name() == u"cell")
            --cellDepth;
        if (reader.isStartElement() && reader.name() == u"p") {
            const QXmlStreamAttributes attributes = reader.attributes();
            static const QRegularExpression style("list-style:([^;]*)");
            paragraph = Item {{}, style.match(attributes.value("props").toString()).captured(1),
                attributes.value("level").toString(), attributes.value("listid").toString(),
                attributes.value("parentid").toString()};
        }
        if (reader.isCharacters() && paragraph) {
            paragraph->text += reader.text();
            if (cellDepth > 0)
                cells.last() += reader.text();
        }
        if (reader.isEndElement() && reader.name() == u"p" && paragraph) {
            if (!paragraph->listId.isEmpty())
                items.append(*paragraph);
            paragraph.reset();
        }
    }
    QVERIFY2(!reader.hasError(), qPrintable(reader.errorString()));

    QCOMPARE(items.size(), 8);
    const QStringList texts {"Tent", "Stove with fuel", "Maps", "North sheet", "South sheet",
        "Book the ferry", "Pack the car", "Drive"};
    for (qsizetype i = 0; i < items.size(); ++i) {
        QCOMPARE(items[i].text.trimmed(), texts[i]);
        QCOMPARE(items[i].style, i < 5 ? QStringLiteral("Bullet List") : QStringLiteral("Numbered List"));
    }
    // The nested sheets hang under the packing list; the steps are a list of their own.
    QCOMPARE(items[3].level, QStringLiteral("1"));
    QCOMPARE(items[3].parentId, items[0].listId);
    QCOMPARE(items[0].listId, items[2].listId);
    QVERIFY(items[5].listId != items[0].listId);

    QCOMPARE(tables, 1);
    for (QString& cell : cells)
        cell = cell.trimmed();
    QCOMPARE(
        cells, (QStringList {"Item", "Price", "Note", "Ferry", "42", "return", "Fuel", "60", "estimate"}));
}

QTEST_MAIN(TestRichSelection)

#include "tst_richselection.moc"
