#include "capture/ChromiumCustomData.h"
#include "capture/ClipboardManager.h"
#include "capture/ClipboardTypes.h"
#include "capture/HtmlText.h"
#include "support/TestEnvironment.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

// The clipboard of a real X server, owned by another process: what Tembrel reads is what crossed
// the selection protocol, not a QMimeData handed over inside one process.

using Offer = QList<QPair<QString, QByteArray>>;

namespace {

// Child mode: own the clipboard with the given MIME types (type=file holding the data) until killed.
int serve(const QStringList& entries)
{
    auto* data = new QMimeData;
    for (const QString& entry : entries) {
        const qsizetype equals = entry.lastIndexOf(QLatin1Char('='));
        QFile file(entry.mid(equals + 1));
        if (!file.open(QIODevice::ReadOnly))
            return 1;
        const QString type = entry.left(equals);
        if (type.startsWith(QLatin1String("text/plain")))
            data->setText(QString::fromUtf8(file.readAll()));
        else
            data->setData(type, file.readAll());
    }
    QGuiApplication::clipboard()->setMimeData(data);
    QTextStream(stdout) << "ready" << Qt::endl;
    return QGuiApplication::exec();
}

} // namespace

class TestClipboardManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        if (m_owner.state() != QProcess::NotRunning) {
            m_owner.kill();
            m_owner.waitForFinished();
        }
    }

    void readsAnotherProcess_data()
    {
        QTest::addColumn<Offer>("offered");
        QTest::addColumn<SourceFormat>("format");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("googleDocs");
        QByteArray utf16 = "\xFF\xFE";
        for (QChar c : QStringLiteral("<p>caf\u00e9 <b>x</b></p>")) {
            utf16 += char(c.unicode() & 0xff);
            utf16 += char(c.unicode() >> 8);
        }
        const QString plain = QStringLiteral("text/plain;charset=utf-8");
        QTest::newRow("utf-16 html with mark") << Offer{{"text/html", utf16}} << SourceFormat::html << "café x" << false;
        QTest::newRow("chromium-style html")
            << Offer{{"text/html", "<meta charset='utf-8'><b id=\"docs-internal-guid-9\">D\xC3\xB6" "c</b>"}, {plain, "Doc"}}
            << SourceFormat::html << "Döc" << true;
        QTest::newRow("rtf only as application/rtf")
            << Offer{{"application/rtf", "{\\rtf1\\ansi Dear {\\b team}\\par}"}} << SourceFormat::rtf << "Dear team" << false;
        QTest::newRow("slack blob beside html")
            << Offer{{ClipboardTypes::chromiumCustomData,
                      ChromiumCustomData::write({{ClipboardTypes::slackTexty, R"({"ops":[{"insert":"From Slack\n"}]})"}})},
                     {"text/html", "<p>poorer</p>"}}
            << SourceFormat::html << "From Slack" << false;
        const QByteArray blob = ChromiumCustomData::write({{ClipboardTypes::slackTexty, R"({"ops":[]})"}, {"x", "y"}});
        QTest::newRow("corrupt blob beside plain text")
            << Offer{{ClipboardTypes::chromiumCustomData, blob.left(blob.size() - 3)}, {plain, "plain"}}
            << SourceFormat::plainText << "plain" << false;
        QTest::newRow("plain text only") << Offer{{plain, "just \xE2\x80\x94 text"}} << SourceFormat::plainText
                                         << "just — text" << false;
        // Far more than one X request holds: the owner hands it over in increments.
        const QByteArray huge = QByteArray("huge clipboard, ").repeated(250'000) + "end";
        QTest::newRow("3 MB of plain text") << Offer{{plain, huge}} << SourceFormat::plainText << QString::fromLatin1(huge)
                                            << false;
    }

    void readsAnotherProcess()
    {
        QFETCH(Offer, offered);
        QFETCH(SourceFormat, format);
        QFETCH(QString, text);
        QFETCH(bool, googleDocs);
        QVERIFY(own(offered));
        const auto content = ClipboardManager().readContent();
        QVERIFY(content);
        QCOMPARE(content->sourceFormat, format);
        QCOMPARE(content->plainText.size(), text.size());
        QCOMPARE(content->plainText, text);
        QCOMPARE(content->isFromGoogleDocs, googleDocs);
        QVERIFY(content->html);
    }

    void readPlainTextKeepsItUntrimmed()
    {
        QVERIFY(own({{"text/plain;charset=utf-8", "  padded\n"}}));
        QCOMPARE(ClipboardManager().readPlainText(), QStringLiteral("  padded\n"));
        QVERIFY(own({{"text/plain;charset=utf-8", " \n\t"}}));
        QCOMPARE(ClipboardManager().readPlainText(), std::nullopt);
        QCOMPARE(ClipboardManager().readContent(), std::nullopt);
    }

    void writtenContentCrossesTheServer()
    {
        ClipboardManager clipboard;
        clipboard.writeFixedContent(QStringLiteral("<p>Fixed <b>text</b></p>"),
                                    CapturedContent{"x", "<p>x</p>", SourceFormat::rtf, false});
        const QMimeData* data = QGuiApplication::clipboard()->mimeData();
        QVERIFY(data);
        QCOMPARE(data->text(), QStringLiteral("Fixed text"));
        QVERIFY(data->data(ClipboardTypes::rtf).startsWith("{\\rtf1"));
        // Another reader sees what the owner offered.
        QProcess reader;
        reader.start(QCoreApplication::applicationFilePath(), {"--types"});
        // This process owns the clipboard and must answer the reader's requests meanwhile.
        QVERIFY(QTest::qWaitFor([&] { return reader.state() == QProcess::NotRunning; }, 20000));
        const QString types = QString::fromUtf8(reader.readAllStandardOutput());
        QVERIFY2(types.contains(QStringLiteral("text/html")) && types.contains(QStringLiteral("text/rtf")), qPrintable(types));
        QVERIFY(!types.contains(ClipboardTypes::chromiumCustomData));
    }

private:
    bool own(const Offer& offered)
    {
        cleanup();
        QStringList args{"--serve"};
        for (const auto& [type, bytes] : offered) {
            QFile file(m_dir.filePath(QString::number(args.size())));
            if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
                return false;
            args << type + QLatin1Char('=') + file.fileName();
        }
        m_owner.start(QCoreApplication::applicationFilePath(), args);
        if (!m_owner.waitForReadyRead(20000))
            return false;
        // The owner said it took the clipboard; wait until this process sees the change.
        return QTest::qWaitFor([&] {
            const QMimeData* data = QGuiApplication::clipboard()->mimeData();
            if (!data)
                return false;
            // Until the new owner's data is visible the old owner's (or none) may still be.
            const auto& [type, bytes] = offered.first();
            // Readers see the plain-text targets (UTF8_STRING, text/plain;charset=utf-8…) as text.
            if (type.startsWith(QLatin1String("text/plain")))
                return data->text() == QString::fromUtf8(bytes);
            // Qt's X11 transfer re-encodes UTF-16 HTML; the text is what must match.
            if (type == ClipboardTypes::html)
                return HtmlText::decode(data->data(type)) == HtmlText::decode(bytes);
            return data->data(type) == bytes;
        }, 10000);
    }

    QTemporaryDir m_dir;
    QProcess m_owner;
};

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.value(1) == QLatin1String("--serve"))
        return serve(args.mid(2));
    if (args.value(1) == QLatin1String("--types")) {
        QTextStream(stdout) << QGuiApplication::clipboard()->mimeData()->formats().join(QLatin1Char('\n'));
        return 0;
    }
    TestEnvironment environment;
    TestClipboardManager test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_clipboardmanager.moc"
