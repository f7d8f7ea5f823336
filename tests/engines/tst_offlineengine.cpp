#include "engines/OfflineEngine.h"
#include "modes/BuiltInPrompts.h"
#include "EngineTestSupport.h"
#include "support/TestData.h"

#include <QCoro/QCoroTask>
#include <QtTest>

// The offline engine on a corpus of sentences: misspelled ones with the fix expected, and correct
// ones full of names, addresses and code that must come back exactly as they were.
class TestOfflineEngine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void corpus_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        const QStringList lines = QString::fromUtf8(testData(QStringLiteral("engines/offline-corpus.tsv"))).split(u'\n');
        for (qsizetype k = 0; k < lines.size(); ++k) {
            const QString& line = lines[k];
            if (line.trimmed().isEmpty() || line.startsWith(u'#'))
                continue;
            const QStringList fields = line.split(u'\t');
            QVERIFY2(fields.size() == 2, qPrintable(QStringLiteral("line %1 needs two fields").arg(k + 1)));
            const QString expected = fields[1] == u"=" ? fields[0] : fields[1];
            QTest::addRow("line %lld: %s", qlonglong(k + 1), qPrintable(fields[0].left(40))) << fields[0] << expected;
        }
    }

    void corpus()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        auto trace = std::make_shared<TraceCollector>();
        const FixOutcome outcome =
            EngineTest::finish(m_engine.fix(text, BuiltInPrompts::proofreadPrompt(), trace, CancellationToken::none()));
        QVERIFY(outcome);
        QCOMPARE(outcome.value().fixedText, expected);
        QCOMPARE(outcome.value().originalText, text);
        QCOMPARE(outcome.value().editCount.value_or(-1) == 0, expected == text);
        QStringList names;
        for (const TraceEvent& event : trace->events())
            names.append(event.event);
        QCOMPARE(names, (QStringList{QStringLiteral("request_started"), QStringLiteral("response_received")}));
    }

    // Rewriting a text in another register takes a language model; the engine says so plainly.
    void modesNeedingALanguageModel()
    {
        for (const QString& prompt : {BuiltInPrompts::professionalPrompt(), BuiltInPrompts::casualPrompt(),
                                      BuiltInPrompts::concisePrompt(), QStringLiteral("Translate to French.")}) {
            const FixOutcome outcome = EngineTest::finish(
                m_engine.fix(QStringLiteral("teh text"), prompt, nullptr, CancellationToken::none()));
            QVERIFY(!outcome);
            QCOMPARE(panelMessage(outcome.error(), false), TextFixError::needsLanguageModelMessage());
        }
    }

private:
    OfflineEngine m_engine;
};

QTEST_GUILESS_MAIN(TestOfflineEngine)
#include "tst_offlineengine.moc"
