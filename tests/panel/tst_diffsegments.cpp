#include "diff/DiffUtils.h"
#include "panel/DiffSegments.h"

#include <QRandomGenerator>
#include <QTest>

namespace {

const DiffColors colors{QColor(0x20, 0x21, 0x24), QColor(0xd9, 0x30, 0x25), QColor(0x18, 0x80, 0x38)};

QVariantList runsOf(const QString& original, const QString& fixed)
{
    return styleDiff(DiffUtils::wordDiff(original, fixed), colors).runs;
}

// The segments as "text|edit" pieces, edit "-" for unchanged text, with markup stripped.
QStringList describe(const SegmentedDiff& diff, const QVariantList& runs)
{
    QString plain;
    for (const QVariant& run : runs)
        plain += run.toMap().value(QStringLiteral("text")).toString();
    QStringList pieces;
    for (qsizetype i = 0; i < diff.segments.size(); ++i) {
        const auto [start, end] = diff.textRanges[i];
        const DiffSegment& segment = diff.segments[i];
        pieces << plain.mid(start, end - start) + u'|'
                + (segment.editNumber ? QString::number(*segment.editNumber) : QStringLiteral("-"));
    }
    return pieces;
}

} // namespace

class TestDiffSegments : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void segments_data()
    {
        QTest::addColumn<QString>("original");
        QTest::addColumn<QString>("fixed");
        QTest::addColumn<QStringList>("pieces");

        QTest::newRow("replacement is one edit with its space")
            << QStringLiteral("the cat sat") << QStringLiteral("the dog sat")
            << QStringList{QStringLiteral("the |-"), QStringLiteral("cat dog|0"), QStringLiteral(" sat|-")};
        QTest::newRow("insertion") << QStringLiteral("a c") << QStringLiteral("a b c")
                                   << QStringList{QStringLiteral("a |-"), QStringLiteral("b|0"), QStringLiteral(" c|-")};
        QTest::newRow("deletion") << QStringLiteral("a b c") << QStringLiteral("a c")
                                  << QStringList{QStringLiteral("a |-"), QStringLiteral("b|0"), QStringLiteral(" c|-")};
        QTest::newRow("three replaced words are three edits")
            << QStringLiteral("x one two three y") << QStringLiteral("x uno dos tres y")
            << QStringList{QStringLiteral("x |-"), QStringLiteral("one uno|0"), QStringLiteral(" |-"),
                           QStringLiteral("two dos|1"), QStringLiteral(" |-"), QStringLiteral("three tres|2"),
                           QStringLiteral(" y|-")};
        QTest::newRow("edit at the start and the end")
            << QStringLiteral("teh end") << QStringLiteral("the end.")
            << QStringList{QStringLiteral("teh the|0"), QStringLiteral(" |-"), QStringLiteral("end end.|1")};
        QTest::newRow("only additions") << QString() << QStringLiteral("x y")
                                        << QStringList{QStringLiteral("x|0"), QStringLiteral(" |-"), QStringLiteral("y|1")};
        QTest::newRow("identical texts: one unchanged stretch")
            << QStringLiteral("same words") << QStringLiteral("same  words\n")
            << QStringList{QStringLiteral("same  words\n|-")};
        QTest::newRow("nothing") << QString() << QString() << QStringList{};
    }

    void segments()
    {
        QFETCH(QString, original);
        QFETCH(QString, fixed);
        QFETCH(QStringList, pieces);
        const QVariantList runs = runsOf(original, fixed);
        const SegmentedDiff diff = segmentDiff(runs, colors);
        QCOMPARE(describe(diff, runs), pieces);
        for (qsizetype i = 0; i < diff.segments.size(); ++i)
            QCOMPARE(diff.segments[i].id, int(i));
    }

    void editCountMatchesTheWordDiff_data()
    {
        QTest::addColumn<QString>("original");
        QTest::addColumn<QString>("fixed");
        QTest::newRow("delete then replace") << QStringLiteral("a b c d") << QStringLiteral("a x d");
        QTest::newRow("replace then insert") << QStringLiteral("a b d") << QStringLiteral("a x y d");
        QTest::newRow("repeated words") << QStringLiteral("the the cat the") << QStringLiteral("the cat the the");
        QTest::newRow("all different") << QStringLiteral("a b c") << QStringLiteral("x y");
        QTest::newRow("line breaks") << QStringLiteral("one\ntwo\r\nthree") << QStringLiteral("one\n2\r\nthree four");

        // Random sentences over a small vocabulary make every kind of run appear next to every other.
        QRandomGenerator random(20240611);
        const QStringList words{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c"), QStringLiteral("d")};
        auto sentence = [&] {
            QStringList picked;
            const int length = int(random.bounded(9));
            for (int i = 0; i < length; ++i)
                picked << words[random.bounded(int(words.size()))];
            return picked.join(u' ');
        };
        for (int i = 0; i < 200; ++i)
            QTest::addRow("random %d", i) << sentence() << sentence();
    }

    void editCountMatchesTheWordDiff()
    {
        QFETCH(QString, original);
        QFETCH(QString, fixed);
        const DiffComputation computation = DiffUtils::wordDiff(original, fixed);
        const SegmentedDiff diff = segmentDiff(styleDiff(computation, colors).runs, colors);
        QCOMPARE(qint64(diff.editCount), computation.editCount);
        int numbered = 0;
        for (const DiffSegment& segment : diff.segments) {
            if (segment.editNumber)
                QCOMPARE(*segment.editNumber, numbered++);
        }
        QCOMPARE(numbered, diff.editCount);
    }

    void offsetsCountCharactersNotCodeUnits()
    {
        // The flag is one character of four code units; text positions count the units.
        const QVariantList runs = runsOf(QStringLiteral("🇫🇷 teh"), QStringLiteral("🇫🇷 the"));
        const SegmentedDiff diff = segmentDiff(runs, colors);
        QCOMPARE(diff.segments.size(), 2);
        QCOMPARE(diff.segments[1].characterOffset, 2);
        QCOMPARE(diff.segments[1].characterLength, 7);
        QCOMPARE(diff.textRanges[1].first, 5);
    }

    void onlyTheHighlightedEditIsDeeper()
    {
        const QVariantList runs = runsOf(QStringLiteral("a b c"), QStringLiteral("x b y"));
        const QString normalTint = QColor(0x18, 0x80, 0x38, int(0.15 * 255 + 0.5)).name(QColor::HexArgb);
        const SegmentedDiff plain = segmentDiff(runs, colors, -1);
        const SegmentedDiff second = segmentDiff(runs, colors, 1);
        QVERIFY(plain.segments[0].attributed.contains(normalTint));
        QVERIFY(second.segments[0].attributed.contains(normalTint));
        QVERIFY(!second.segments[2].attributed.contains(normalTint));
        QVERIFY(second.segments[2].attributed.contains(QStringLiteral("background-color")));
        QVERIFY(plain.html.startsWith(QStringLiteral("<div style=\"white-space:pre-wrap\">")));
    }

    void markupInWordsIsEscaped()
    {
        const SegmentedDiff diff = segmentDiff(runsOf(QStringLiteral("<b>"), QStringLiteral("<i>'s")), colors);
        QVERIFY(diff.html.contains(QStringLiteral("&lt;i&gt;&#39;s")));
        QVERIFY(!diff.html.contains(QStringLiteral("<i>")));
    }
};

QTEST_GUILESS_MAIN(TestDiffSegments)
#include "tst_diffsegments.moc"
