#include "capture/ChromiumCustomData.h"

#include <QtEndian>
#include <QtTest>

namespace {

// A blob laid out by hand, independently of the writer: size, count, then padded UTF-16 strings.
QByteArray handBlob(const QList<QPair<QString, QString>>& entries)
{
    QByteArray payload;
    auto u32 = [&payload](quint32 v) {
        char b[4];
        qToLittleEndian(v, b);
        payload.append(b, 4);
    };
    auto str = [&](const QString& s) {
        u32(quint32(s.size()));
        for (QChar c : s) {
            payload.append(char(c.unicode() & 0xff));
            payload.append(char(c.unicode() >> 8));
        }
        payload.append(QByteArray((4 - payload.size() % 4) % 4, '\0'));
    };
    u32(quint32(entries.size()));
    for (const auto& [k, v] : entries) {
        str(k);
        str(v);
    }
    QByteArray blob(4, '\0');
    qToLittleEndian(quint32(payload.size()), blob.data());
    return blob + payload;
}

} // namespace

class TestChromiumCustomData : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsHandMadeBlob()
    {
        const auto entries = ChromiumCustomData::read(
            handBlob({{"slack/texty", R"({"ops":[]})"}, {"a", ""}, {QStringLiteral("ключ"), QStringLiteral("😀")}}));
        QVERIFY(entries);
        QCOMPARE(entries->size(), 3);
        QCOMPARE(entries->value("slack/texty"), QStringLiteral(R"({"ops":[]})"));
        QCOMPARE(entries->value("a"), QString());
        QVERIFY(entries->contains("a"));
        QCOMPARE(entries->value(QStringLiteral("ключ")), QStringLiteral("😀"));
    }

    void writerMatchesLayout()
    {
        const QList<QPair<QString, QString>> entries = {{"odd", "x"}, {"application/x-vnd.google-docs-internal-clip-id", ""}};
        QCOMPARE(ChromiumCustomData::write(entries), handBlob(entries));
        QCOMPARE(ChromiumCustomData::write(entries).size() % 4, 0);
    }

    void emptyBlobHasNoEntries()
    {
        const auto entries = ChromiumCustomData::read(handBlob({}));
        QVERIFY(entries);
        QVERIFY(entries->isEmpty());
    }

    void rejectsBrokenBlobs_data()
    {
        QTest::addColumn<QByteArray>("blob");
        const QByteArray good = handBlob({{"slack/texty", "delta"}, {"second", "value!"}});
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("size only") << good.left(4);
        QTest::newRow("count cut") << good.left(6);
        QTest::newRow("truncated second string") << good.left(good.size() - 4);
        QTest::newRow("missing padding") << good.left(good.size() - 1);
        QByteArray lyingCount = good;
        qToLittleEndian(quint32(0xFFFFFFFF), lyingCount.data() + 4);
        QTest::newRow("count beyond data") << lyingCount;
        QByteArray lyingLength = good;
        qToLittleEndian(quint32(0x80000000), lyingLength.data() + 8);
        QTest::newRow("length that wraps when doubled") << lyingLength;
        QByteArray oneMore = good;
        qToLittleEndian(quint32(3), oneMore.data() + 4);
        QTest::newRow("count one too many") << oneMore;
    }

    void rejectsBrokenBlobs()
    {
        QFETCH(QByteArray, blob);
        QCOMPARE(ChromiumCustomData::read(blob), std::nullopt);
    }

    void ignoresPayloadSizeField()
    {
        QByteArray blob = handBlob({{"k", "v"}});
        qToLittleEndian(quint32(12345), blob.data());
        QCOMPARE(ChromiumCustomData::read(blob)->value("k"), QStringLiteral("v"));
    }

    void bigBlobRoundTrips()
    {
        QList<QPair<QString, QString>> entries;
        for (int i = 0; i < 2000; ++i)
            entries.append({QStringLiteral("key%1").arg(i), QString(i % 7, QLatin1Char('v'))});
        const auto read = ChromiumCustomData::read(ChromiumCustomData::write(entries));
        QVERIFY(read);
        QCOMPARE(read->size(), 2000);
        QCOMPARE(read->value("key1999"), QString(1999 % 7, QLatin1Char('v')));
    }
};

QTEST_APPLESS_MAIN(TestChromiumCustomData)
#include "tst_chromiumcustomdata.moc"
