#include <QTest>

#include "platform/x11/MacKeyTable.h"

#include <X11/X.h>
#include <X11/keysym.h>

// Stored shortcuts are macOS key codes; a wrong row here grabs the wrong key on Linux.
class MacKeyTableTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keys_data()
    {
        QTest::addColumn<int>("macKeyCode");
        QTest::addColumn<uint>("keysym");
        QTest::newRow("S") << 1 << uint(XK_s);
        QTest::newRow("P") << 35 << uint(XK_p);
        QTest::newRow("L") << 37 << uint(XK_l);
        QTest::newRow("B") << 11 << uint(XK_b);
        QTest::newRow("6 and 5 are swapped on the Mac row") << 22 << uint(XK_6);
        QTest::newRow("5") << 23 << uint(XK_5);
        QTest::newRow("space") << 49 << uint(XK_space);
        QTest::newRow("escape") << 53 << uint(XK_Escape);
        QTest::newRow("keypad enter") << 76 << uint(XK_KP_Enter);
        QTest::newRow("F1") << 122 << uint(XK_F1);
        QTest::newRow("F20") << 90 << uint(XK_F20);
        QTest::newRow("forward delete") << 117 << uint(XK_Delete);
        QTest::newRow("up") << 126 << uint(XK_Up);
        QTest::newRow("not a key") << 10 << 0u;
        QTest::newRow("Mac-only fn") << 63 << 0u;
    }

    void keys()
    {
        QFETCH(int, macKeyCode);
        QFETCH(uint, keysym);
        QCOMPARE(MacKeyTable::keysymForMacKeyCode(quint16(macKeyCode)), keysym);
        if (keysym != 0)
            QCOMPARE(MacKeyTable::macKeyCodeForKeysym(keysym), macKeyCode);
    }

    void upperCaseLettersAreTheSameKey() { QCOMPARE(MacKeyTable::macKeyCodeForKeysym(XK_S), 1); }

    void modifiers_data()
    {
        QTest::addColumn<quint64>("appKit");
        QTest::addColumn<uint>("x11");
        QTest::newRow("command shift") << quint64(0x120000) << uint(ControlMask | ShiftMask);
        QTest::newRow("control is super") << quint64(0x40000) << uint(Mod4Mask);
        QTest::newRow("option is alt") << quint64(0x80000) << uint(Mod1Mask);
        QTest::newRow("all four") << quint64(0x1E0000) << uint(ControlMask | ShiftMask | Mod1Mask | Mod4Mask);
        QTest::newRow("caps lock bit ignored") << quint64(0x10000 | 0x100000) << uint(ControlMask);
        QTest::newRow("none") << quint64(0) << 0u;
    }

    void modifiers()
    {
        QFETCH(quint64, appKit);
        QFETCH(uint, x11);
        QCOMPARE(uint(MacKeyTable::x11ModifiersForAppKit(appKit)), x11);
    }
};

QTEST_APPLESS_MAIN(MacKeyTableTest)
#include "tst_mackeytable.moc"
