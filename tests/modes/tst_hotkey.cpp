#include "modes/Hotkey.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

class TestHotkey : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void display_data()
    {
        QTest::addColumn<quint32>("keyCode");
        QTest::addColumn<quint64>("modifiers");
        QTest::addColumn<QString>("mac");
        QTest::addColumn<QString>("portable");
        QTest::addColumn<quint32>("carbon");

        QTest::newRow("command+shift+S") << 1u << quint64(0x120000) << "⇧⌘S" << "Ctrl+Shift+S" << 0x300u;
        QTest::newRow("all four, space") << 49u << quint64(0x1E0000) << "⌃⌥⇧⌘Space" << "Super+Ctrl+Alt+Shift+Space" << 0x1B00u;
        QTest::newRow("symbol order ignores bit order") << 0u << quint64(0x40000 | 0x100000) << "⌃⌘A" << "Super+Ctrl+A" << 0x1100u;
        QTest::newRow("option alone") << 12u << quint64(0x80000) << "⌥Q" << "Alt+Q" << 0x800u;
        QTest::newRow("unnamed code") << 10u << quint64(0x100000) << "⌘Key 10" << "Ctrl+Key 10" << 0x100u;
        QTest::newRow("no modifiers") << 122u << quint64(0) << "F1" << "F1" << 0u;
        QTest::newRow("other bits ignored") << 1u << quint64(0x120000 | 0x10000 | 0x800000) << "⇧⌘S" << "Ctrl+Shift+S" << 0x300u;
        QTest::newRow("return") << 36u << quint64(0x100000) << "⌘↩" << "Ctrl+Return" << 0x100u;
        QTest::newRow("keypad enter") << 76u << quint64(0) << "Keypad ↩" << "Keypad Enter" << 0u;
        QTest::newRow("forward delete") << 117u << quint64(0x20000) << "⇧⌦" << "Shift+Del" << 0x200u;
    }

    void display()
    {
        QFETCH(quint32, keyCode);
        QFETCH(quint64, modifiers);
        const Hotkey hotkey{keyCode, modifiers};
        QTEST(hotkey.displayString(), "mac");
        QTEST(hotkey.portableDisplayString(), "portable");
        QTEST(hotkey.carbonModifiers(), "carbon");
        QCOMPARE(hotkey.displayString(), hotkey.modifierSymbols() + hotkey.keyName());
#ifdef Q_OS_MACOS
        QCOMPARE(hotkey.platformDisplayString(), hotkey.displayString());
#else
        QCOMPARE(hotkey.platformDisplayString(), hotkey.portableDisplayString());
#endif
    }

    void keyNames_data()
    {
        QTest::addColumn<quint32>("keyCode");
        QTest::addColumn<QString>("name");
        // Codes next to gaps and the irregular stretches of the virtual key layout.
        const QList<std::pair<quint32, const char*>> rows = {
            {0, "A"}, {9, "V"}, {11, "B"}, {22, "6"}, {23, "5"}, {24, "="}, {27, "-"}, {29, "0"},
            {30, "]"}, {33, "["}, {39, "'"}, {41, ";"}, {42, "\\"}, {43, ","}, {44, "/"}, {47, "."},
            {48, "⇥"}, {50, "`"}, {51, "⌫"}, {52, "Key 52"}, {53, "⎋"}, {54, "Key 54"}, {63, "Key 63"},
            {64, "F17"}, {65, "Keypad ."}, {66, "Key 66"}, {67, "Keypad *"}, {71, "Keypad Clear"},
            {75, "Keypad /"}, {78, "Keypad -"}, {81, "Keypad ="}, {82, "Keypad 0"}, {89, "Keypad 7"},
            {90, "F20"}, {91, "Keypad 8"}, {92, "Keypad 9"}, {93, "Key 93"}, {96, "F5"}, {99, "F3"},
            {102, "Key 102"}, {103, "F11"}, {104, "Key 104"}, {105, "F13"}, {106, "F16"}, {107, "F14"},
            {109, "F10"}, {110, "Key 110"}, {111, "F12"}, {113, "F15"}, {114, "Key 114"}, {115, "↖"},
            {116, "⇞"}, {118, "F4"}, {119, "↘"}, {120, "F2"}, {121, "⇟"}, {123, "←"}, {124, "→"},
            {125, "↓"}, {126, "↑"}, {127, "Key 127"}, {4294967295u, "Key 4294967295"},
        };
        for (const auto& [code, name] : rows)
            QTest::addRow("%u", code) << code << QString::fromUtf8(name);
    }

    void keyNames()
    {
        QFETCH(quint32, keyCode);
        QTEST((Hotkey{keyCode, 0}.keyName()), "name");
    }

    void json_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QByteArray>("stored"); // the decoded hotkey encoded again; empty: refused

        const QByteArray stored = R"({"keyCode":1,"modifierFlagsRawValue":1179648})";
        QTest::newRow("stored form") << stored << stored;
        QTest::newRow("extra keys ignored") << QByteArray(R"({"keyCode":35,"modifierFlagsRawValue":0,"x":1})")
                                            << QByteArray(R"({"keyCode":35,"modifierFlagsRawValue":0})");
        QTest::newRow("largest key code") << QByteArray(R"({"keyCode":4294967295,"modifierFlagsRawValue":0})")
                                          << QByteArray(R"({"keyCode":4294967295,"modifierFlagsRawValue":0})");
        QTest::newRow("no modifiers key") << QByteArray(R"({"keyCode":1})") << QByteArray();
        QTest::newRow("no key code") << QByteArray(R"({"modifierFlagsRawValue":1179648})") << QByteArray();
        QTest::newRow("negative key code") << QByteArray(R"({"keyCode":-1,"modifierFlagsRawValue":0})") << QByteArray();
        QTest::newRow("fractional") << QByteArray(R"({"keyCode":1.5,"modifierFlagsRawValue":0})") << QByteArray();
        QTest::newRow("key code too large") << QByteArray(R"({"keyCode":4294967296,"modifierFlagsRawValue":0})") << QByteArray();
        QTest::newRow("string value") << QByteArray(R"({"keyCode":"1","modifierFlagsRawValue":0})") << QByteArray();
        QTest::newRow("null value") << QByteArray(R"({"keyCode":1,"modifierFlagsRawValue":null})") << QByteArray();
        QTest::newRow("array") << QByteArray("[1,1179648]") << QByteArray();
    }

    void json()
    {
        QFETCH(QByteArray, json);
        const QJsonDocument document = QJsonDocument::fromJson(json);
        const QJsonValue value = document.isObject() ? QJsonValue(document.object()) : QJsonValue(document.array());
        const std::optional<Hotkey> hotkey = Hotkey::fromJson(value);
        QTEST(hotkey ? QJsonDocument(hotkey->toJson()).toJson(QJsonDocument::Compact) : QByteArray(), "stored");
        if (hotkey)
            QCOMPARE(Hotkey::fromJson(hotkey->toJson()), hotkey);
    }
};

QTEST_GUILESS_MAIN(TestHotkey)
#include "tst_hotkey.moc"
