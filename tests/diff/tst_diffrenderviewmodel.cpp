#include "diff/DiffComputer.h"
#include "diff/DiffRenderViewModel.h"
#include "diff/DiffViewMode.h"
#include "support/TestEnvironment.h"

#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QTextDocument>

#include <memory>

namespace {

struct Fragment
{
    QString text;
    QTextCharFormat format;
};

// The rendered rich text read back as a reader sees it: its plain text and its styled fragments.
QList<Fragment> fragments(const QString& html, QString* plain = nullptr)
{
    QTextDocument document;
    document.setHtml(html);
    if (plain)
        *plain = document.toPlainText();
    QList<Fragment> out;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it)
            out.append({it.fragment().text(), it.fragment().charFormat()});
    }
    return out;
}

bool tinted(const Fragment& fragment)
{
    return fragment.format.background().style() != Qt::NoBrush;
}

void waitUntilDone(DiffRenderViewModel& model)
{
    QTRY_VERIFY_WITH_TIMEOUT(!model.isComputing(), 10000);
}

} // namespace

// The styled diff text: what it shows, how it is tinted, and which computation gets to publish.
class TestDiffRenderViewModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void startsComputingAndEmpty()
    {
        DiffRenderViewModel model(QStringLiteral("a"), QStringLiteral("b"), DiffRenderViewModel::Palette::Panel);
        model.setComputer(&m_computer);
        QVERIFY(model.isComputing());
        QVERIFY(model.attributed().isEmpty());
        waitUntilDone(model);
        QVERIFY(!model.attributed().isEmpty());
        QCOMPARE(model.editCount(), 1);
    }

    void rendering_data()
    {
        QTest::addColumn<QString>("original");
        QTest::addColumn<QString>("fixed");
        QTest::addColumn<QString>("plain");
        QTest::addColumn<int>("tintedWords");
        QTest::addColumn<int>("edits");
        QTest::newRow("substitution: removed then added") << "the cat sat" << "the dog sat" << "the cat dog sat" << 2 << 1;
        QTest::newRow("identical texts have no tint")
            << "Same words here." << "Same  words\nhere." << "Same  words\nhere." << 0 << 0;
        QTest::newRow("whitespace between changed words is never tinted")
            << "a b c d" << "w x\ty  z" << "a w b x\tc y  d z" << 8 << 4;
        QTest::newRow("line breaks kept, markup shown as text")
            << "<b>x</b> &amp;" << "<b>x</b>\r\n&amp;\t'q\"" << "<b>x</b>\n&amp;\t'q\"" << 1 << 1;
    }

    void rendering()
    {
        QFETCH(QString, original);
        QFETCH(QString, fixed);
        QFETCH(QString, plain);
        QFETCH(int, tintedWords);
        QFETCH(int, edits);
        DiffRenderViewModel model(original, fixed, DiffRenderViewModel::Palette::Panel);
        waitUntilDone(model);
        QString shown;
        int tintedCount = 0;
        int removedCount = 0;
        for (const Fragment& f : fragments(model.attributed(), &shown)) {
            QVERIFY2(!tinted(f) || f.text.trimmed() == f.text, qPrintable(f.text));
            tintedCount += tinted(f) ? 1 : 0;
            // Removed words are tinted in the removal colour, added ones in the addition colour; the
            // views strike the removed ones themselves, in the removal colour.
            const QColor tint = f.format.background().color();
            QVERIFY(!f.format.fontStrikeOut());
            if (tinted(f))
                QVERIFY(tint.rgb() == model.removalColor().rgb() || tint.rgb() == model.additionColor().rgb());
            removedCount += tinted(f) && tint.rgb() == model.removalColor().rgb() ? 1 : 0;
            if (tinted(f))
                QCOMPARE(tint.alpha(), qRound(0.15 * 255));
            if (!f.text.trimmed().isEmpty())
                QCOMPARE(f.format.foreground().color().rgb(), model.textColor().rgb());
        }
        QCOMPARE(shown, plain);
        QCOMPARE(tintedCount, tintedWords);
        QCOMPARE(model.editCount(), edits);
        // Where the views draw the strike lines: exactly over the removed words of the shown text.
        QStringList removedRuns;
        for (const QVariant& run : model.runs())
            if (run.toMap().value(QStringLiteral("kind")).toString() == u"removed")
                removedRuns.append(run.toMap().value(QStringLiteral("text")).toString());
        const QVariantList ranges = model.strikeRanges();
        QCOMPARE(ranges.size(), removedCount);
        QCOMPARE(ranges.size(), removedRuns.size());
        for (qsizetype i = 0; i < ranges.size(); ++i) {
            const int start = ranges.at(i).toMap().value(QStringLiteral("start")).toInt();
            const int end = ranges.at(i).toMap().value(QStringLiteral("end")).toInt();
            QCOMPARE(shown.mid(start, end - start), removedRuns.at(i));
        }
        // Runs for views that draw their own strike lines: whitespace marked as such, none empty.
        for (const QVariant& run : model.runs()) {
            const QString text = run.toMap().value(QStringLiteral("text")).toString();
            QVERIFY(!text.isEmpty());
            QCOMPARE(run.toMap().value(QStringLiteral("kind")).toString() == u"whitespace", text.trimmed().isEmpty());
        }
    }

    void palettesDiffer()
    {
        DiffRenderViewModel history(QStringLiteral("a"), QStringLiteral("b"), DiffRenderViewModel::Palette::History);
        DiffRenderViewModel panel(QStringLiteral("a"), QStringLiteral("b"), DiffRenderViewModel::Palette::Panel);
        waitUntilDone(history);
        waitUntilDone(panel);
        QVERIFY(history.removalColor() != panel.removalColor());
        QVERIFY(history.additionColor() != panel.additionColor());
        QVERIFY(history.attributed() != panel.attributed());
        const QColor lightRemoval = panel.removalColor();
        panel.setDark(!panel.dark());
        QVERIFY(panel.removalColor() != lightRemoval);
        QVERIFY(panel.isComputing()); // a new appearance restyles
        waitUntilDone(panel);
    }

    void newerComputationOvertakesOlder()
    {
        DiffRenderViewModel model;
        model.setComputer(&m_computer);
        QSignalSpy published(&model, &DiffRenderViewModel::attributedChanged);
        QSignalSpy computing(&model, &DiffRenderViewModel::isComputingChanged);
        // A large first pair so that it is still running when the second is asked for.
        QString big;
        for (int k = 0; k < 3000; ++k)
            big += QStringLiteral("w%1 ").arg(k % 97);
        model.setOriginalText(big);
        model.setFixedText(big + u"tail");
        model.compute();
        model.setOriginalText(QStringLiteral("old"));
        model.setFixedText(QStringLiteral("new"));
        model.compute();
        QVERIFY(model.isComputing());
        waitUntilDone(model);
        QTest::qWait(50); // give a late, overtaken result the chance to show up wrongly
        QCOMPARE(published.count(), 1);
        QCOMPARE(model.editCount(), 1);
        QVERIFY(model.attributed().contains(u"new"));
        QVERIFY(!model.attributed().contains(u"tail"));
        QCOMPARE(computing.count(), 1); // never back to false in between
    }

    void settersComputeOnce()
    {
        DiffComputer computer;
        DiffRenderViewModel model;
        model.setComputer(&computer);
        model.setOriginalText(QStringLiteral("one two"));
        model.setFixedText(QStringLiteral("one three"));
        model.setPalette(DiffRenderViewModel::Palette::History);
        waitUntilDone(model);
        QCOMPARE(computer.computedCount(), quint64(1));
        QCOMPARE(model.editCount(), 1);
    }

    void modelGoneBeforeResult()
    {
        DiffComputer computer;
        auto model = std::make_unique<DiffRenderViewModel>();
        model->setComputer(&computer);
        model->setOriginalText(QStringLiteral("x y"));
        model->compute();
        model.reset();
        auto later = computer.computation(QStringLiteral("p"), QStringLiteral("q"));
        later.waitForFinished();
        QTest::qWait(50); // the dropped continuation must not touch the deleted model
        QCOMPARE(computer.computedCount(), quint64(2));
    }

    void navigation_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<int>("total");
        QTest::addColumn<int>("previous");
        QTest::addColumn<int>("next");
        QTest::newRow("first wraps back to last") << 0 << 3 << 2 << 1;
        QTest::newRow("middle") << 1 << 3 << 0 << 2;
        QTest::newRow("last wraps to first") << 2 << 3 << 1 << 0;
        QTest::newRow("single edit") << 0 << 1 << 0 << 0;
        QTest::newRow("before the first") << -1 << 3 << 2 << 0;
        QTest::newRow("past the last") << 5 << 3 << 4 << 0;
        QTest::newRow("no edits") << 0 << 0 << -1 << 0;
    }

    void navigation()
    {
        QFETCH(int, index);
        QFETCH(int, total);
        QFETCH(int, previous);
        QFETCH(int, next);
        QCOMPARE(DiffRenderViewModel::previousEditIndex(index, total), previous);
        QCOMPARE(DiffRenderViewModel::nextEditIndex(index, total), next);
    }

    void viewModeLabels()
    {
        QCOMPARE(DiffRenderViewModel::viewModeLabels(),
                 (QStringList{QStringLiteral("Diff"), QStringLiteral("Original"), QStringLiteral("Tembreled")}));
        QCOMPARE(allDiffViewModes().size(), 3);
        QCOMPARE(diffViewModeLabel(DiffViewMode::Fixed), QStringLiteral("Tembreled"));
    }

private:
    TestEnvironment m_environment; // no test touches real settings
    DiffComputer m_computer;
};

QTEST_MAIN(TestDiffRenderViewModel)
#include "tst_diffrenderviewmodel.moc"
