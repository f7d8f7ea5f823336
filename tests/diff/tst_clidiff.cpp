#include "cli/DiffOutput.h"
#include "diff/DiffUtils.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include "support/TestEnvironment.h"

#include <QTest>

// `tembrel-cli diff`, run as a real process, and its two output forms.
class TestCliDiff : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void jsonMatchesTheWordDiff();
    void jsonEscapesEverything();
    void plainMarkersWhenPiped_data();
    void plainMarkersWhenPiped();
    void standardInput();
    void terminalColours();
    void badUsage_data();
    void badUsage();
    void unreadableInput();

private:
    TestEnvironment m_environment; // no test touches real settings
    struct Run
    {
        int exitCode = -1;
        QByteArray out;
        QByteArray err;
    };
    static Run run(const QStringList &arguments, const QByteArray &input = {});
    QString write(const QString &name, const QByteArray &bytes);
    static QString fixture(const char *name) { return QStringLiteral(TEMBREL_TEST_DATA_DIR "/diff/") + QLatin1String(name); }
    static QString readUtf8(const QString &path);
    QTemporaryDir m_dir;
};

TestCliDiff::Run TestCliDiff::run(const QStringList &arguments, const QByteArray &input)
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

QString TestCliDiff::write(const QString &name, const QByteArray &bytes)
{
    QFile file(m_dir.filePath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write a test file");
    return file.fileName();
}

QString TestCliDiff::readUtf8(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("missing fixture");
    return QString::fromUtf8(file.readAll());
}

void TestCliDiff::initTestCase()
{
    QVERIFY(m_dir.isValid());
    QVERIFY(QFile::exists(QStringLiteral(TEMBREL_CLI_PATH)));
}

void TestCliDiff::jsonMatchesTheWordDiff()
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

void TestCliDiff::jsonEscapesEverything()
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

void TestCliDiff::plainMarkersWhenPiped_data()
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

void TestCliDiff::plainMarkersWhenPiped()
{
    QFETCH(QByteArray, original);
    QFETCH(QByteArray, fixed);
    QFETCH(QByteArray, expected);
    const Run r = run({QStringLiteral("diff"), write(QStringLiteral("o"), original), write(QStringLiteral("f"), fixed)});
    QCOMPARE(r.exitCode, 0);
    QCOMPARE(r.out, expected);
    QVERIFY(r.err.isEmpty());
}

void TestCliDiff::standardInput()
{
    const QString fixed = write(QStringLiteral("f"), "one two three");
    const Run first = run({QStringLiteral("diff"), QStringLiteral("-"), fixed}, "one three");
    QCOMPARE(first.out, QByteArray("one {+two+} three\n1 edit\n"));
    const Run second = run({QStringLiteral("diff"), QStringLiteral("--json"), fixed, QStringLiteral("-")}, "one two three");
    QVERIFY(second.out.endsWith(",\"editCount\":0}\n"));
}

void TestCliDiff::terminalColours()
{
    const DiffComputation diff = DiffUtils::wordDiff(QStringLiteral("the cat sat"), QStringLiteral("the dog sat"));
    QCOMPARE(diffAsText(diff, DiffMarkup::Terminal),
             QByteArray("the \x1b[9;31m" "cat\x1b[0m \x1b[32m" "dog\x1b[0m sat\n1 edit\n"));
}

void TestCliDiff::badUsage_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("nothing") << QStringList{};
    QTest::newRow("unknown command") << QStringList{QStringLiteral("merge")};
    QTest::newRow("one text") << QStringList{QStringLiteral("diff"), QStringLiteral("a")};
    QTest::newRow("three texts") << QStringList{QStringLiteral("diff"), QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")};
    QTest::newRow("unknown option") << QStringList{QStringLiteral("diff"), QStringLiteral("--html"), QStringLiteral("a"), QStringLiteral("b")};
    QTest::newRow("stdin twice") << QStringList{QStringLiteral("diff"), QStringLiteral("-"), QStringLiteral("-")};
}

void TestCliDiff::badUsage()
{
    QFETCH(QStringList, arguments);
    const Run r = run(arguments);
    QCOMPARE(r.exitCode, 2);
    QVERIFY(r.out.isEmpty());
    QVERIFY(r.err.contains("tembrel-cli"));
}

void TestCliDiff::unreadableInput()
{
    const QString good = write(QStringLiteral("good"), "text");
    const Run missing = run({QStringLiteral("diff"), m_dir.filePath(QStringLiteral("missing")), good});
    QCOMPARE(missing.exitCode, 1);
    QVERIFY(missing.out.isEmpty());
    QVERIFY(missing.err.contains("missing"));
    const Run binary = run({QStringLiteral("diff"), good, write(QStringLiteral("bad"), "ok \xff\xfe\x80 no")});
    QCOMPARE(binary.exitCode, 1);
    QVERIFY(binary.out.isEmpty());
    QVERIFY(binary.err.contains("UTF-8"));
    const Run folder = run({QStringLiteral("diff"), good, m_dir.path()});
    QCOMPARE(folder.exitCode, 1);
}

QTEST_GUILESS_MAIN(TestCliDiff)
#include "tst_clidiff.moc"
