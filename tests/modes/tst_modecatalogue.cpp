#include "modes/Mode.h"
#include "support/TestData.h"

#include <QCryptographicHash>
#include <QTest>

class TestModeCatalogue : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void builtIns_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("description");
        QTest::addColumn<quint32>("keyCode");
        QTest::addColumn<bool>("isEnabled");
        // The prompts are what the service has always been given: SHA-256 of their UTF-8 bytes.
        QTest::addColumn<QByteArray>("promptSha256");

        QTest::newRow("Tembrel") << 0 << "Tembrel" << "Fix typos and grammar while preserving your voice." << 1u << true
                                 << QByteArray("d7a409377ba31c8846a1776ba45c64de0e153f0ffb6cf868ffea2b8918c201bc");
        QTest::newRow("Professional") << 1 << "Professional" << "Polish your writing for the workplace." << 35u << false
                                      << QByteArray("ecda0987db8a7377d447eaf86ac3e3c5023b03a6827a289364ccf46b423ef0e2");
        QTest::newRow("Casual") << 2 << "Casual" << "Keep it conversational while preserving lowercase." << 37u << false
                                << QByteArray("47019946c5b5fae8bcae51e665453da02f5d833d41fef3af4749221b0a206770");
        QTest::newRow("Concise") << 3 << "Concise" << "Tighten your writing." << 11u << false
                                 << QByteArray("eda589ea70db66ed85286279d8b1adb8cea143f0c8b503a59da56cc6498c2e52");
    }

    void builtIns()
    {
        QFETCH(int, index);
        const QList<Mode> modes = ModeCatalogue::defaultModes();
        QCOMPARE(modes.size(), 4);
        const Mode& mode = modes.at(index);
        QCOMPARE(mode.idString(), QStringLiteral("00000000-0000-0000-0000-00000000000%1").arg(index + 1));
        QCOMPARE(ModeCatalogue::builtInId(index + 1), mode.id);
        QTEST(mode.name, "name");
        QTEST(mode.description, "description");
        QTEST(mode.hotkey.value_or(Hotkey{}).keyCode, "keyCode");
        QCOMPARE(mode.hotkey->modifierFlagsRawValue, quint64(1179648));
        QTEST(mode.isEnabled, "isEnabled");
        QCOMPARE(mode.isDefault, index == 0);
        QVERIFY(mode.isBuiltIn);
        QCOMPARE(mode.defaultPrompt, std::optional<QString>(mode.prompt));
        QTEST(QCryptographicHash::hash(mode.prompt.toUtf8(), QCryptographicHash::Sha256).toHex(), "promptSha256");
    }

    void encodesTheStoredForm()
    {
        Mode custom{QUuid(QStringLiteral("6f1c2a3b-4d5e-4f60-8172-93a4b5c6d7e8")), QStringLiteral("Mine"), QString(),
                    QStringLiteral("p"), std::nullopt, false, false, false, std::nullopt};
        // Absent optionals leave their keys out; the id is upper-case.
        QCOMPARE(ModeCatalogue::encode({custom}),
                 QByteArray(R"([{"description":"","id":"6F1C2A3B-4D5E-4F60-8172-93A4B5C6D7E8","isBuiltIn":false,)"
                            R"("isDefault":false,"isEnabled":false,"name":"Mine","prompt":"p"}])"));
        custom.hotkey = Hotkey{9, 0x140000};
        custom.defaultPrompt = QString();
        QCOMPARE(ModeCatalogue::encode({custom}),
                 QByteArray(R"([{"defaultPrompt":"","description":"","hotkey":{"keyCode":9,"modifierFlagsRawValue":1310720},)"
                            R"("id":"6F1C2A3B-4D5E-4F60-8172-93A4B5C6D7E8","isBuiltIn":false,"isDefault":false,)"
                            R"("isEnabled":false,"name":"Mine","prompt":"p"}])"));
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
        const auto decoded = ModeCatalogue::decode(testData("modes/builtins-then-custom.json"));
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
        const auto decoded = ModeCatalogue::decode(testData("modes/no-optional-keys.json"));
        QVERIFY(std::holds_alternative<QList<Mode>>(decoded));
        const QList<Mode> modes = std::get<QList<Mode>>(decoded);
        QCOMPARE(modes.size(), 2);
        for (const Mode& mode : modes)
            QVERIFY(!mode.hotkey && !mode.defaultPrompt);
        QCOMPARE(modes[1].id, QUuid(QStringLiteral("0b4c1e0a-7c3f-4a8e-9d2b-1f0e6a5c4b3d")));
    }

    void rejects_data()
    {
        QTest::addColumn<QByteArray>("data");
        // The description in full, its start when it ends in the parser's words, or none when read.
        QTest::addColumn<QString>("error");

        const auto entry = [](const char* replace, const char* with) -> QByteArray {
            QByteArray object = R"({"id":"00000000-0000-0000-0000-000000000009","name":"n","description":"d",)"
                                R"("prompt":"p","isEnabled":true,"isBuiltIn":false,"isDefault":false,)"
                                R"("hotkey":{"keyCode":1,"modifierFlagsRawValue":0},"defaultPrompt":"x"})";
            return '[' + (*replace ? object.replace(replace, with) : object) + ']';
        };
        const QString none = QStringLiteral("The mode at index 0 has no value for key \"%1\"");
        const QString wrong = QStringLiteral("The mode at index 0 has a value of the wrong type for key \"%1\"");
        QTest::newRow("the entry as it is") << entry("", "") << QString();
        QTest::newRow("missing isBuiltIn") << testData("modes/missing-isBuiltIn.json")
                                           << "The mode at index 1 has no value for key \"isBuiltIn\"";
        QTest::newRow("truncated") << testData("modes/truncated.json")
                                   << "The stored modes are not valid JSON (";
        QTest::newRow("object, not array") << QByteArray("{}") << "The stored modes are not a JSON array";
        QTest::newRow("array of numbers") << QByteArray("[1]") << "The mode at index 0 is not a JSON object";
        QTest::newRow("empty data") << QByteArray() << "The stored modes are not valid JSON (";
        QTest::newRow("id not a uuid") << entry("00000000-0000-0000-0000-000000000009", "mode-9") << wrong.arg("id");
        QTest::newRow("all-zero id is one") << entry("00000000-0000-0000-0000-000000000009", "00000000-0000-0000-0000-000000000000")
                                            << QString();
        QTest::newRow("null name") << entry(R"("name":"n")", R"("name":null)") << none.arg("name");
        QTest::newRow("enabled as text") << entry(R"("isEnabled":true)", R"("isEnabled":"true")") << wrong.arg("isEnabled");
        QTest::newRow("enabled as number") << entry(R"("isEnabled":true)", R"("isEnabled":1)") << wrong.arg("isEnabled");
        QTest::newRow("hotkey without modifiers") << entry(R"(,"modifierFlagsRawValue":0)", "") << wrong.arg("hotkey");
        QTest::newRow("default prompt a number") << entry(R"("defaultPrompt":"x")", R"("defaultPrompt":3)")
                                                 << wrong.arg("defaultPrompt");
        QTest::newRow("missing isDefault") << entry(R"(,"isDefault":false)", "") << none.arg("isDefault");
    }

    void rejects()
    {
        QFETCH(QByteArray, data);
        QFETCH(QString, error);
        const auto decoded = ModeCatalogue::decode(data);
        const ModeDecodeError* failure = std::get_if<ModeDecodeError>(&decoded);
        const QString description = failure ? failure->description() : QString();
        if (error.endsWith(QLatin1Char('(')))
            QVERIFY2(description.startsWith(error) && description.endsWith(QLatin1Char(')')), qPrintable(description));
        else
            QCOMPARE(description, error);
    }
};

QTEST_GUILESS_MAIN(TestModeCatalogue)
#include "tst_modecatalogue.moc"
