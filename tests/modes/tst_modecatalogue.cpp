#include "modes/BuiltInPrompts.h"
#include "modes/Mode.h"

#include <QFile>
#include <QJsonDocument>
#include <QTest>

namespace {
QByteArray fixture(const char* name)
{
    QFile file(QStringLiteral(TEMBREL_TEST_DATA_DIR "/modes/") + QString::fromLatin1(name));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("missing fixture %s", name);
    return file.readAll();
}
} // namespace

class TestModeCatalogue : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void builtIns_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("id");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("description");
        QTest::addColumn<quint32>("keyCode");
        QTest::addColumn<bool>("isEnabled");
        QTest::addColumn<bool>("isDefault");
        QTest::addColumn<int>("promptBytes");

        QTest::newRow("Tembrel") << 0 << QStringLiteral("00000000-0000-0000-0000-000000000001")
                                 << QStringLiteral("Tembrel")
                                 << QStringLiteral("Fix typos and grammar while preserving your voice.") << 1u << true
                                 << true << 1896;
        QTest::newRow("Professional") << 1 << QStringLiteral("00000000-0000-0000-0000-000000000002")
                                      << QStringLiteral("Professional")
                                      << QStringLiteral("Polish your writing for the workplace.") << 35u << false
                                      << false << 1673;
        QTest::newRow("Casual") << 2 << QStringLiteral("00000000-0000-0000-0000-000000000003")
                                << QStringLiteral("Casual")
                                << QStringLiteral("Keep it conversational while preserving lowercase.") << 37u << false
                                << false << 1586;
        QTest::newRow("Concise") << 3 << QStringLiteral("00000000-0000-0000-0000-000000000004")
                                 << QStringLiteral("Concise") << QStringLiteral("Tighten your writing.") << 11u << false
                                 << false << 1777;
    }

    void builtIns()
    {
        QFETCH(int, index);
        const QList<Mode> modes = ModeCatalogue::defaultModes();
        QCOMPARE(modes.size(), 4);
        const Mode& mode = modes.at(index);
        QTEST(mode.idString(), "id");
        QTEST(mode.name, "name");
        QTEST(mode.description, "description");
        QVERIFY(mode.hotkey.has_value());
        QTEST(mode.hotkey->keyCode, "keyCode");
        QCOMPARE(mode.hotkey->modifierFlagsRawValue, quint64(1179648));
        QTEST(mode.isEnabled, "isEnabled");
        QTEST(mode.isDefault, "isDefault");
        QVERIFY(mode.isBuiltIn);
        QCOMPARE(mode.defaultPrompt, std::optional<QString>(mode.prompt));
        QTEST(int(mode.prompt.toUtf8().size()), "promptBytes");
        QCOMPARE(ModeCatalogue::builtInId(index + 1), mode.id);
    }

    void promptsKeepTheirExactCharacters()
    {
        const QList<const QString*> prompts = {&BuiltInPrompts::proofreadPrompt(), &BuiltInPrompts::professionalPrompt(),
                                               &BuiltInPrompts::casualPrompt(), &BuiltInPrompts::concisePrompt()};
        for (const QString* prompt : prompts) {
            QVERIFY(!prompt->endsWith(QLatin1Char('\n')));
            QVERIFY(!prompt->contains(QLatin1Char('\r')));
            QVERIFY(!prompt->startsWith(QLatin1Char(' ')));
        }
        // The quote rule writes its "curly" quotes as straight ones in three prompts.
        const QString quoteRule = QStringLiteral(
            "- Do NOT convert straight quotes/apostrophes (\"') to curly quotes/apostrophes (\"\"'')");
        QVERIFY(prompts[0]->contains(quoteRule));
        QVERIFY(prompts[1]->contains(quoteRule));
        QVERIFY(!prompts[2]->contains(quoteRule));
        QVERIFY(prompts[3]->contains(quoteRule));
        QVERIFY(prompts[0]->contains(QString::fromUtf8("em dashes (—)")));
        QVERIFY(prompts[2]->contains(QString::fromUtf8("\"teh\" → \"the\"")));
        QVERIFY(prompts[1]->contains(QString::fromUtf8("concise—don't")));
        QVERIFY(prompts[0]->startsWith(QStringLiteral("You are a proofreader. ")));
        QVERIFY(prompts[0]->endsWith(QStringLiteral("---\n\nNow proofread this text and output ONLY the corrected version:")));
        QVERIFY(prompts[3]->endsWith(QStringLiteral("\n\nNow tighten this text and output ONLY the result:")));
    }

    void encodeLeavesOutAbsentOptionals()
    {
        Mode custom{QUuid::createUuid(), QStringLiteral("Mine"), QString(), QStringLiteral("p"), std::nullopt, false,
                    false, false, std::nullopt};
        const QJsonObject object = custom.toJson();
        QVERIFY(!object.contains(QStringLiteral("hotkey")));
        QVERIFY(!object.contains(QStringLiteral("defaultPrompt")));
        QCOMPARE(object.size(), 7);
        QCOMPARE(object.value(QStringLiteral("id")).toString(), custom.id.toString(QUuid::WithoutBraces).toUpper());
        custom.hotkey = Hotkey{9, 0x140000};
        custom.defaultPrompt = QString();
        QCOMPARE(custom.toJson().size(), 9);
    }

    void roundTrip()
    {
        const QList<Mode> modes = ModeCatalogue::defaultModes();
        const auto decoded = ModeCatalogue::decode(ModeCatalogue::encode(modes));
        QVERIFY(std::holds_alternative<QList<Mode>>(decoded));
        QCOMPARE(std::get<QList<Mode>>(decoded), modes);
    }

    void decodesHandWrittenCatalogue()
    {
        const auto decoded = ModeCatalogue::decode(fixture("builtins-then-custom.json"));
        QVERIFY(std::holds_alternative<QList<Mode>>(decoded));
        const QList<Mode> modes = std::get<QList<Mode>>(decoded);
        QCOMPARE(modes.size(), 4);
        QCOMPARE(modes[0].prompt, QStringLiteral("My own proofreading prompt."));
        QCOMPARE(modes[0].defaultPrompt, std::optional<QString>(QStringLiteral("Shipped prompt one")));
        QCOMPARE(modes[2].prompt, QString::fromUtf8("Rewrite like a pirate: “Arr” — ok?"));
        QCOMPARE(modes[2].hotkey, std::optional<Hotkey>(Hotkey{9, 1310720}));
        QVERIFY(!modes[3].hotkey);
        QVERIFY(!modes[3].defaultPrompt);
        const auto again = ModeCatalogue::decode(ModeCatalogue::encode(modes));
        QVERIFY(std::holds_alternative<QList<Mode>>(again));
        QCOMPARE(std::get<QList<Mode>>(again), modes);
    }

    void decodesWithoutOptionalKeysOrWithNulls()
    {
        const auto decoded = ModeCatalogue::decode(fixture("no-optional-keys.json"));
        QVERIFY(std::holds_alternative<QList<Mode>>(decoded));
        const QList<Mode> modes = std::get<QList<Mode>>(decoded);
        QCOMPARE(modes.size(), 2);
        for (const Mode& mode : modes) {
            QVERIFY(!mode.hotkey);
            QVERIFY(!mode.defaultPrompt);
        }
        QCOMPARE(modes[1].id, QUuid(QStringLiteral("0b4c1e0a-7c3f-4a8e-9d2b-1f0e6a5c4b3d")));
    }

    void rejects_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("key");

        const auto entry = [](const char* replace, const char* with) -> QByteArray {
            QByteArray object = R"({"id":"00000000-0000-0000-0000-000000000009","name":"n","description":"d",)"
                                R"("prompt":"p","isEnabled":true,"isBuiltIn":false,"isDefault":false,)"
                                R"("hotkey":{"keyCode":1,"modifierFlagsRawValue":0},"defaultPrompt":"x"})";
            return '[' + object.replace(replace, with) + ']';
        };
        using K = ModeDecodeError::Kind;
        QTest::newRow("missing isBuiltIn") << fixture("missing-isBuiltIn.json") << int(K::missingKey)
                                           << QStringLiteral("isBuiltIn");
        QTest::newRow("truncated") << fixture("truncated.json") << int(K::notJson) << QString();
        QTest::newRow("object, not array") << QByteArray("{}") << int(K::notArray) << QString();
        QTest::newRow("array of numbers") << QByteArray("[1]") << int(K::notObject) << QString();
        QTest::newRow("empty data") << QByteArray() << int(K::notJson) << QString();
        QTest::newRow("id not a uuid") << entry("00000000-0000-0000-0000-000000000009", "mode-9") << int(K::wrongType)
                                       << QStringLiteral("id");
        QTest::newRow("null name") << entry(R"("name":"n")", R"("name":null)") << int(K::missingKey)
                                   << QStringLiteral("name");
        QTest::newRow("enabled as text") << entry(R"("isEnabled":true)", R"("isEnabled":"true")") << int(K::wrongType)
                                         << QStringLiteral("isEnabled");
        QTest::newRow("enabled as number") << entry(R"("isEnabled":true)", R"("isEnabled":1)") << int(K::wrongType)
                                           << QStringLiteral("isEnabled");
        QTest::newRow("hotkey without modifiers")
            << entry(R"(,"modifierFlagsRawValue":0)", "") << int(K::wrongType) << QStringLiteral("hotkey");
        QTest::newRow("default prompt a number") << entry(R"("defaultPrompt":"x")", R"("defaultPrompt":3)")
                                                 << int(K::wrongType) << QStringLiteral("defaultPrompt");
        QTest::newRow("missing isDefault") << entry(R"(,"isDefault":false)", "") << int(K::missingKey)
                                           << QStringLiteral("isDefault");
    }

    void rejects()
    {
        QFETCH(QByteArray, data);
        const auto decoded = ModeCatalogue::decode(data);
        QVERIFY(std::holds_alternative<ModeDecodeError>(decoded));
        const ModeDecodeError error = std::get<ModeDecodeError>(decoded);
        QTEST(int(error.kind), "kind");
        QTEST(error.key, "key");
        QVERIFY(!error.description().isEmpty());
    }

    void acceptsTheSameEntryUnchanged()
    {
        const QByteArray good = R"([{"id":"00000000-0000-0000-0000-000000000009","name":"n","description":"d",)"
                                R"("prompt":"p","isEnabled":true,"isBuiltIn":false,"isDefault":false}])";
        QVERIFY(std::holds_alternative<QList<Mode>>(ModeCatalogue::decode(good)));
    }
};

QTEST_GUILESS_MAIN(TestModeCatalogue)
#include "tst_modecatalogue.moc"
