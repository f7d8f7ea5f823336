#include "diff/DiffComputer.h"
#include "diff/DiffRenderViewModel.h"
#include "diff/DiffViewMode.h"

#include <QSignalSpy>
#include "support/TestEnvironment.h"

#include <QTest>
#include <QTextBlock>
#include <QTextDocument>

#include <memory>

// The styled diff text: what it shows, how it is tinted, and which computation gets to publish.
class TestDiffRenderViewModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void startsComputingAndEmpty();
    void substitutionRendersStruckThenTinted();
    void identicalTextsHaveNoTint();
    void whitespaceIsNeverTinted();
    void keepsLineBreaksAndEscapesMarkup();
    void palettesDiffer();
    void newerComputationOvertakesOlder();
    void settersComputeOnce();
    void modelGoneBeforeResult();
    void navigation_data();
    void navigation();
    void viewModeLabels();

private:
    TestEnvironment m_environment; // no test touches real settings
    struct Fragment
    {
        QString text;
        QTextCharFormat format;
    };
    static QList<Fragment> fragments(const QString &html, QString *plain = nullptr);
    static void waitUntilDone(DiffRenderViewModel &model);
    DiffComputer m_computer;
};

QList<TestDiffRenderViewModel::Fragment> TestDiffRenderViewModel::fragments(const QString &html, QString *plain)
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

void TestDiffRenderViewModel::waitUntilDone(DiffRenderViewModel &model)
{
    QTRY_VERIFY_WITH_TIMEOUT(!model.isComputing(), 10000);
}

void TestDiffRenderViewModel::startsComputingAndEmpty()
{
    DiffRenderViewModel model(QStringLiteral("a"), QStringLiteral("b"), DiffRenderViewModel::Palette::Panel);
    model.setComputer(&m_computer);
    QVERIFY(model.isComputing());
    QVERIFY(model.attributed().isEmpty());
    waitUntilDone(model);
    QVERIFY(!model.attributed().isEmpty());
    QCOMPARE(model.editCount(), 1);
}

void TestDiffRenderViewModel::substitutionRendersStruckThenTinted()
{
    DiffRenderViewModel model(QStringLiteral("the cat sat"), QStringLiteral("the dog sat"),
                              DiffRenderViewModel::Palette::Panel);
    waitUntilDone(model);
    QString plain;
    const auto parts = fragments(model.attributed(), &plain);
    QCOMPARE(plain, QStringLiteral("the cat dog sat"));
    bool sawRemoved = false;
    bool sawAdded = false;
    for (const Fragment &f : parts) {
        if (f.text == u"cat") {
            sawRemoved = true;
            QVERIFY(f.format.fontStrikeOut());
            QCOMPARE(f.format.background().color().alpha(), qRound(0.15 * 255));
            QCOMPARE(f.format.background().color().rgb(), model.removalColor().rgb());
        } else if (f.text == u"dog") {
            sawAdded = true;
            QVERIFY(!f.format.fontStrikeOut());
            QCOMPARE(f.format.background().color().rgb(), model.additionColor().rgb());
        } else if (f.text.trimmed() == f.text && !f.text.isEmpty()) {
            QCOMPARE(f.format.background().style(), Qt::NoBrush);
        }
        if (!f.text.trimmed().isEmpty())
            QCOMPARE(f.format.foreground().color().rgb(), model.textColor().rgb());
    }
    QVERIFY(sawRemoved && sawAdded);
    QCOMPARE(model.runs().size(), 7); // the, " ", cat, " ", dog, " ", sat, and nothing after sat
}

void TestDiffRenderViewModel::identicalTextsHaveNoTint()
{
    DiffRenderViewModel model(QStringLiteral("Same words here."), QStringLiteral("Same  words\nhere."),
                              DiffRenderViewModel::Palette::History);
    waitUntilDone(model);
    QString plain;
    for (const Fragment &f : fragments(model.attributed(), &plain)) {
        QCOMPARE(f.format.background().style(), Qt::NoBrush);
        QVERIFY(!f.format.fontStrikeOut());
    }
    QCOMPARE(plain, QStringLiteral("Same  words\nhere."));
    QCOMPARE(model.editCount(), 0);
}

void TestDiffRenderViewModel::whitespaceIsNeverTinted()
{
    DiffRenderViewModel model(QStringLiteral("a b c d"), QStringLiteral("w x\ty  z"), DiffRenderViewModel::Palette::Panel);
    waitUntilDone(model);
    int tinted = 0;
    for (const Fragment &f : fragments(model.attributed())) {
        const bool hasTint = f.format.background().style() != Qt::NoBrush;
        QVERIFY2(!hasTint || f.text.trimmed() == f.text, qPrintable(f.text));
        tinted += hasTint ? 1 : 0;
    }
    QCOMPARE(tinted, 8);
    for (const QVariant &run : model.runs()) {
        const QVariantMap map = run.toMap();
        QCOMPARE(map.value(QStringLiteral("kind")).toString() == u"whitespace",
                 map.value(QStringLiteral("text")).toString().trimmed().isEmpty());
    }
}

void TestDiffRenderViewModel::keepsLineBreaksAndEscapesMarkup()
{
    DiffRenderViewModel model(QStringLiteral("<b>x</b> &amp;"), QStringLiteral("<b>x</b>\r\n&amp;\t'q\""),
                              DiffRenderViewModel::Palette::Panel);
    waitUntilDone(model);
    QString plain;
    (void)fragments(model.attributed(), &plain);
    QCOMPARE(plain, QStringLiteral("<b>x</b>\n&amp;\t'q\""));
    QCOMPARE(model.editCount(), 1);
}

void TestDiffRenderViewModel::palettesDiffer()
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

void TestDiffRenderViewModel::newerComputationOvertakesOlder()
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

void TestDiffRenderViewModel::settersComputeOnce()
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

void TestDiffRenderViewModel::modelGoneBeforeResult()
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

void TestDiffRenderViewModel::navigation_data()
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

void TestDiffRenderViewModel::navigation()
{
    QFETCH(int, index);
    QFETCH(int, total);
    QFETCH(int, previous);
    QFETCH(int, next);
    QCOMPARE(DiffRenderViewModel::previousEditIndex(index, total), previous);
    QCOMPARE(DiffRenderViewModel::nextEditIndex(index, total), next);
}

void TestDiffRenderViewModel::viewModeLabels()
{
    QCOMPARE(DiffRenderViewModel::viewModeLabels(),
             (QStringList{QStringLiteral("Diff"), QStringLiteral("Original"), QStringLiteral("Tembreled")}));
    QCOMPARE(allDiffViewModes().size(), 3);
    QCOMPARE(diffViewModeLabel(DiffViewMode::Fixed), QStringLiteral("Tembreled"));
}

QTEST_MAIN(TestDiffRenderViewModel)
#include "tst_diffrenderviewmodel.moc"
