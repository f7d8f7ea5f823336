#include "cli/DiffOutput.h"
#include "diff/DiffUtils.h"
#include "support/TestEnvironment.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

// `tembrel-cli diff`, run as a real process, and its two output forms.
class TestCliDiff : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        QVERIFY(QFile::exists(QStringLiteral(TEMBREL_CLI_PATH)));
    }

    void jsonMatchesTheWordDiff()
    {
        const Run r = run({QStringLiteral("diff"), QStringLiteral("--json"), fixture("original.txt"), fixture("fixed.txt")});
        QCOMPARE(r.exitCode, 0);
        QVERIFY(r.out.startsWith("{\"changes\":[{\"value\":"));
        QJsonParseError error;
        const QJsonObject json = QJsonDocument::fromJson(r.out, &error).object();
        QCOMPARE(error.error, QJsonParseError::NoError);
        const DiffComputation expected = DiffUtils::wordDiff(readUtf8(fixture("original.txt")), readUtf8(fixture("fixed.txt")));
        QVERIFY(expected.editCount >= 5);
        QCOMPARE(json.value(QStringLiteral("editCount")).toInteger(), expected.editCount);
        const QJsonArray changes = json.value(QStringLiteral("changes")).toArray();
        QCOMPARE(changes.size(), expected.changes.size());
        for (qsizetype k = 0; k < changes.size(); ++k) {
            const QJsonObject c = changes.at(k).toObject();
            const Change &e = expected.changes.at(k);
            QCOMPARE(c.value(QStringLiteral("value")).toString(), e.value);
            QCOMPARE(c.value(QStringLiteral("added")).toBool(), e.added);
            QCOMPARE(c.value(QStringLiteral("removed")).toBool(), e.removed);
            QCOMPARE(c.value(QStringLiteral("trailingWhitespace")).toString(), e.trailingWhitespace);
            QCOMPARE(c.keys().size(), 4);
        }
    }

    void jsonEscapesEverything()
    {
        const QByteArray fixed = "a\"b\\c \x01\x1f\x7f\r\n\f\b \xe2\x80\xa8 \xf0\x9f\x91\x8d";
        const Run r = run({QStringLiteral("diff"), QStringLiteral("--json"), write(QStringLiteral("o"), "x"),
                           write(QStringLiteral("f"), fixed)});
        QCOMPARE(r.exitCode, 0);
        QJsonParseError error;
        const QJsonArray changes = QJsonDocument::fromJson(r.out, &error).object().value(QStringLiteral("changes")).toArray();
        QCOMPARE(error.error, QJsonParseError::NoError);
        QString roundTrip;
        for (const QJsonValue &c : changes) {
            if (!c.toObject().value(QStringLiteral("removed")).toBool())
                roundTrip += c.toObject().value(QStringLiteral("value")).toString()
                    + c.toObject().value(QStringLiteral("trailingWhitespace")).toString();
        }
        QCOMPARE(roundTrip, QString::fromUtf8(fixed));
    }

    void plainMarkersWhenPiped_data()
    {
        QTest::addColumn<QByteArray>("original");
        QTest::addColumn<QByteArray>("fixed");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("substitution") << QByteArray("the cat sat") << QByteArray("the dog sat\n")
                                      << QByteArray("the [-cat-] {+dog+} sat\n1 edit\n");
        QTest::newRow("no final newline") << QByteArray("a b") << QByteArray("a  c")
                                          << QByteArray("a  [-b-] {+c+}\n1 edit\n");
        QTest::newRow("both empty") << QByteArray() << QByteArray() << QByteArray("0 edits\n");
        QTest::newRow("all removed") << QByteArray("x y") << QByteArray(" ") << QByteArray("[-x-] [-y-]\n2 edits\n");
        QTest::newRow("byte order mark ignored") << QByteArray("\xef\xbb\xbfsame") << QByteArray("same\n")
                                                 << QByteArray("same\n0 edits\n");
    }

    void plainMarkersWhenPiped()
    {
        QFETCH(QByteArray, original);
        QFETCH(QByteArray, fixed);
        QFETCH(QByteArray, expected);
        const Run r = run({QStringLiteral("diff"), write(QStringLiteral("o"), original), write(QStringLiteral("f"), fixed)});
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out, expected);
        QVERIFY(r.err.isEmpty());
    }

    // Where the two texts come from: files, standard input ("-"), or the arguments themselves.
    void inputs_data()
    {
        QTest::addColumn<QStringList>("arguments"); // "FILE" names a file holding "one two three"
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("original from standard input")
            << QStringList{"-", "FILE"} << QByteArray("one three") << QByteArray("one {+two+} three\n1 edit\n");
        QTest::newRow("fixed from standard input")
            << QStringList{"FILE", "-"} << QByteArray("one two") << QByteArray("one two[-three-] \n1 edit\n");
        QTest::newRow("two texts") << QStringList{"--text", "the cat sat", "the dog sat"} << QByteArray()
                                   << QByteArray("the [-cat-] {+dog+} sat\n1 edit\n");
        QTest::newRow("texts that look like file names")
            << QStringList{"--text", "FILE", "-"} << QByteArray("ignored") << QByteArray("[-FILE-] {+-+}\n1 edit\n");
    }

    void inputs()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, input);
        QFETCH(QByteArray, expected);
        const bool literal = arguments.contains(QStringLiteral("--text"));
        const QString file = write(QStringLiteral("f"), "one two three");
        for (QString& argument : arguments)
            if (!literal && argument == QStringLiteral("FILE"))
                argument = file;
        arguments.prepend(QStringLiteral("diff"));
        const Run r = run(arguments, input);
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out, expected);
    }

    void terminalColours()
    {
        const DiffComputation diff = DiffUtils::wordDiff(QStringLiteral("the cat sat"), QStringLiteral("the dog sat"));
        QCOMPARE(diffAsText(diff, DiffMarkup::Terminal),
                 QByteArray("the \x1b[9;31m" "cat\x1b[0m \x1b[32m" "dog\x1b[0m sat\n1 edit\n"));
    }

    // In the arguments "good" names a readable text file, "bad" one that is not UTF-8, "missing"
    // a file that does not exist and "folder" a folder.
    void failures_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QByteArray>("message");
        QTest::newRow("nothing") << "" << 2 << QByteArray("tembrel-cli");
        QTest::newRow("unknown command") << "merge" << 2 << QByteArray("tembrel-cli");
        QTest::newRow("one text") << "diff a" << 2 << QByteArray("tembrel-cli");
        QTest::newRow("three texts") << "diff a b c" << 2 << QByteArray("tembrel-cli");
        QTest::newRow("unknown option") << "diff --html a b" << 2 << QByteArray("tembrel-cli");
        QTest::newRow("stdin twice") << "diff - -" << 2 << QByteArray("tembrel-cli");
        QTest::newRow("missing file") << "diff missing good" << 1 << QByteArray("missing");
        QTest::newRow("not UTF-8") << "diff good bad" << 1 << QByteArray("UTF-8");
        QTest::newRow("a folder") << "diff good folder" << 1 << QByteArray();
    }

    void failures()
    {
        QFETCH(QString, arguments);
        QFETCH(int, exitCode);
        QFETCH(QByteArray, message);
        const QHash<QString, QString> files{{QStringLiteral("good"), write(QStringLiteral("good"), "text")},
                                            {QStringLiteral("bad"), write(QStringLiteral("bad"), "ok \xff\xfe\x80 no")},
                                            {QStringLiteral("missing"), m_dir.filePath(QStringLiteral("missing"))},
                                            {QStringLiteral("folder"), m_dir.path()}};
        QStringList argv;
        for (const QString& argument : arguments.split(u' ', Qt::SkipEmptyParts))
            argv << files.value(argument, argument);
        const Run r = run(argv);
        QCOMPARE(r.exitCode, exitCode);
        QVERIFY(r.out.isEmpty());
        QVERIFY(r.err.contains(message));
    }

private:
    TestEnvironment m_environment; // no test touches real settings
    struct Run
    {
        int exitCode = -1;
        QByteArray out;
        QByteArray err;
    };
    static Run run(const QStringList &arguments, const QByteArray &input = {})
    {
        QProcess process;
        process.start(QStringLiteral(TEMBREL_CLI_PATH), arguments);
        if (!process.waitForStarted())
            return {};
        process.write(input);
        process.closeWriteChannel();
        process.waitForFinished(30000);
        return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
    }

    QString write(const QString &name, const QByteArray &bytes)
    {
        QFile file(m_dir.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("cannot write a test file");
        return file.fileName();
    }

    static QString fixture(const char *name) { return QStringLiteral(TEMBREL_TEST_DATA_DIR "/diff/") + QLatin1String(name); }
    static QString readUtf8(const QString &path)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            qFatal("missing fixture");
        return QString::fromUtf8(file.readAll());
    }

    QTemporaryDir m_dir;
};

QTEST_GUILESS_MAIN(TestCliDiff)
#include "tst_clidiff.moc"
