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

using Entries = QList<QPair<QString, QString>>;

class TestChromiumCustomData : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsAndWritesTheLayout_data()
    {
        QTest::addColumn<Entries>("entries");
        QTest::newRow("no entries") << Entries{};
        QTest::newRow("empty value, non-latin key, surrogate pair")
            << Entries{{"slack/texty", R"({"ops":[]})"}, {"a", ""}, {QStringLiteral("ключ"), QStringLiteral("😀")}};
        QTest::newRow("odd lengths padded") << Entries{{"odd", "x"}, {"application/x-vnd.google-docs-internal-clip-id", ""}};
        Entries many;
        for (int i = 0; i < 2000; ++i)
            many.append({QStringLiteral("key%1").arg(i), QString(i % 7, QLatin1Char('v'))});
        QTest::newRow("2000 entries") << many;
    }

    void readsAndWritesTheLayout()
    {
        QFETCH(Entries, entries);
        QMap<QString, QString> expected;
        for (const auto& [key, value] : entries)
            expected.insert(key, value);
        QCOMPARE(ChromiumCustomData::read(handBlob(entries)), expected);
        QCOMPARE(ChromiumCustomData::write(entries), handBlob(entries));
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
        const QList<std::tuple<const char*, int, quint32>> lies{{"count beyond data", 4, 0xFFFFFFFF},
                                                                {"length that wraps when doubled", 8, 0x80000000},
                                                                {"count one too many", 4, 3}};
        for (const auto& [name, offset, value] : lies) {
            QByteArray lying = good;
            qToLittleEndian(value, lying.data() + offset);
            QTest::newRow(name) << lying;
        }
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
};

QTEST_APPLESS_MAIN(TestChromiumCustomData)
#include "tst_chromiumcustomdata.moc"
