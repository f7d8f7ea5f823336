#include "HistoryWindowFixture.h"
#include "diff/HtmlDiffWarmup.h"
#include "history/HistoryFile.h"
#include "history/HistoryListModel.h"
#include "history/HistoryManager.h"
#include "history/HistoryWindowController.h"
#include "history/HistoryWindowModel.h"
#include "modes/ModeManager.h"
#include "support/TestEnvironment.h"

#include <QClipboard>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickView>
#include <QRegularExpression>
#include <QSet>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>
#include <memory>

Q_IMPORT_QML_PLUGIN(TembrelPlugin)

namespace {

const QString clientId = QStringLiteral("client-7f3a");

QDateTime fixedNow()
{
    return QDateTime(QDate(2025, 10, 15), QTime(12, 0));
}

// Searches the visual tree too: items a Repeater makes are not QObject children of the view.
QQuickItem* findItem(QQuickItem* under, const QString& name)
{
    if (!under)
        return nullptr;
    if (under->objectName() == name)
        return under;
    if (auto* child = under->findChild<QQuickItem*>(name))
        return child;
    for (QQuickItem* child : under->childItems()) {
        if (QQuickItem* found = findItem(child, name))
            return found;
    }
    return nullptr;
}

QQuickItem* item(QQuickView* view, const char* name)
{
    return view ? findItem(view->rootObject(), QLatin1String(name)) : nullptr;
}

QObject* object(QQuickView* view, const char* name)
{
    return view && view->rootObject() ? view->rootObject()->findChild<QObject*>(QLatin1String(name)) : nullptr;
}

// Clicks the middle of an item the way a user would.
void click(QQuickView* view, QQuickItem* target)
{
    QVERIFY(target);
    const QPointF centre = target->mapToScene(QPointF(target->width() / 2, target->height() / 2));
    QTest::mouseClick(view, Qt::LeftButton, Qt::NoModifier, centre.toPoint());
}

// The nth row's delegate, as the list shows it.
QQuickItem* rowItem(QQuickView* view, int row)
{
    QQuickItem* list = item(view, "historyList");
    if (!list)
        return nullptr;
    QQuickItem* found = nullptr;
    QMetaObject::invokeMethod(list, "positionViewAtIndex", Q_ARG(int, row), Q_ARG(int, 0));
    QMetaObject::invokeMethod(list, "itemAtIndex", Q_RETURN_ARG(QQuickItem*, found), Q_ARG(int, row));
    return found;
}

QString text(QQuickItem* target)
{
    return target ? target->property("text").toString() : QString();
}

} // namespace

class TestHistoryWindow : public QObject
{
    Q_OBJECT

    TestEnvironment m_env;
    std::unique_ptr<QSettings> m_settings;
    std::unique_ptr<ModeManager> m_modes;
    std::unique_ptr<HistoryManager> m_store;
    std::unique_ptr<HistoryWindowController> m_controller;
    int m_run = 0;

    QString storePath() const { return m_env.dataHome() + QStringLiteral("/run%1/history.json").arg(m_run); }

    // A store loaded from a file holding `entries`, and a controller over it with the test clock.
    void open(const QList<FixHistoryEntry>& entries)
    {
        ++m_run;
        if (!entries.isEmpty())
            QVERIFY(!HistoryFile::write(storePath(), entries));
        m_store = std::make_unique<HistoryManager>(*m_settings, storePath());
        QCOMPARE(m_store->count(), entries.size());
        m_controller = std::make_unique<HistoryWindowController>(*m_store, *m_modes, [] { return clientId; });
        m_controller->setClock(fixedNow);
        m_controller->show();
        QVERIFY(m_controller->window());
        QVERIFY(QTest::qWaitForWindowExposed(m_controller->window()));
        QCOMPARE(m_controller->window()->status(), QQuickView::Ready);
    }

    QQuickView* view() const { return m_controller ? m_controller->window() : nullptr; }
    HistoryWindowModel* model() const { return m_controller ? m_controller->model() : nullptr; }

    QList<FixHistoryEntry> threeEntries() const
    {
        const QDateTime now = fixedNow();
        return {
            HistoryWindowFixture::plainEntry(now.addSecs(-60), QStringLiteral("teh cat sat"), QStringLiteral("the cat sat")),
            HistoryWindowFixture::plainEntry(now.addDays(-1), QStringLiteral("a dog barkd"), QStringLiteral("a dog barked")),
            HistoryWindowFixture::plainEntry(now.addDays(-40), QStringLiteral("old storie"), QStringLiteral("old story")),
        };
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_settings = std::make_unique<QSettings>(m_env.configHome() + QStringLiteral("/tembrel.conf"), QSettings::IniFormat);
        m_modes = std::make_unique<ModeManager>(*m_settings);
    }

    void cleanup()
    {
        m_controller.reset();
        m_store.reset();
    }

    void windowIsBuiltOnShowAndRebuiltAfterClose()
    {
        open(threeEntries());
        QQuickView* first = view();
        QCOMPARE(first->title(), QStringLiteral("Tembrel History"));
        QCOMPARE(first->size(), QSize(900, 650));
        QCOMPARE(first->minimumSize(), QSize(750, 550));
        QVERIFY(first->maximumSize().width() > 900);
        // Centred on its screen.
        const QPoint centre = first->screen()->availableGeometry().center();
        QVERIFY(qAbs(first->geometry().center().x() - centre.x()) <= 1);
        // Faded in from transparent.
        QTRY_COMPARE(first->rootObject()->opacity(), 1.0);

        // A second show while open reuses the window.
        m_controller->show();
        QCOMPARE(view(), first);

        model()->setSearchText(QStringLiteral("dog"));
        QSignalSpy closed(m_controller.get(), &HistoryWindowController::closed);
        first->close();
        QTRY_COMPARE(closed.count(), 1);
        QVERIFY(!view());
        m_controller->show();
        QVERIFY(view());
        QVERIFY(QTest::qWaitForWindowExposed(view()));
        // Built afresh from the store: the old search is gone.
        QCOMPARE(model()->searchText(), QString());
        QCOMPARE(model()->list()->rowCount(), 3);
    }

    void anUnreadableHistoryIsToldInTheWindow()
    {
        ++m_run;
        QDir().mkpath(QFileInfo(storePath()).absolutePath());
        QFile file(storePath());
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("[{") == 2);
        file.close();
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^Kept the unreadable history file as ")));
        m_store = std::make_unique<HistoryManager>(*m_settings, storePath());
        m_controller = std::make_unique<HistoryWindowController>(*m_store, *m_modes, [] { return clientId; });
        m_controller->show();
        QVERIFY(QTest::qWaitForWindowExposed(view()));
        QQuickItem* notice = item(view(), "storageNotice");
        QVERIFY(notice->isVisible());
        QVERIFY2(text(notice).contains(QStringLiteral("history.json.unreadable-")), qPrintable(text(notice)));
    }

    void listIsGroupedByDate()
    {
        open(HistoryWindowFixture::generate(300, fixedNow()));
        const QStringList headings = model()->list()->headings();
        QCOMPARE(headings.mid(0, 3), (QStringList{QStringLiteral("Today"), QStringLiteral("Yesterday"), QStringLiteral("This Week")}));
        QVERIFY(headings.contains(QStringLiteral("September 2025")));
        QCOMPARE(headings.size(), QSet<QString>(headings.cbegin(), headings.cend()).size());
        QQuickItem* first = rowItem(view(), 0);
        QVERIFY(first);
        QCOMPARE(first->property("preview").toString(), HistoryListModel::preview(m_store->entries().first()));
        QCOMPARE(first->property("subtitle").toString(), m_store->entries().first().subtitle(fixedNow()));
    }

    void searchFiltersWhileTheSummaryCountsAll_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("rows");
        QTest::addColumn<bool>("noMatches");
        QTest::newRow("in the fixed text only, other case") << "BARKED" << 1 << false;
        QTest::newRow("in the original text") << "teh" << 1 << false;
        QTest::newRow("in both texts") << "cat" << 1 << false;
        QTest::newRow("common to all") << "o" << 2 << false;
        QTest::newRow("source application is not searched") << "Kate" << 0 << true;
        QTest::newRow("nothing") << "zebra" << 0 << true;
    }

    void searchFiltersWhileTheSummaryCountsAll()
    {
        QFETCH(QString, typed);
        QFETCH(int, rows);
        QFETCH(bool, noMatches);
        open(threeEntries());
        QQuickItem* field = item(view(), "searchField");
        QVERIFY(field);
        QCOMPARE(field->property("placeholderText").toString(), QStringLiteral("Search tembrels..."));
        field->forceActiveFocus();
        for (const QChar letter : typed)
            QTest::keyClick(view(), letter.toLatin1());
        QCOMPARE(model()->searchText(), typed);
        QCOMPARE(model()->list()->rowCount(), rows);
        QCOMPARE(item(view(), "noMatches")->isVisible(), noMatches);
        QVERIFY(!item(view(), "emptyHistory")->isVisible());
        QCOMPARE(text(item(view(), "tembrelSummary")), QStringLiteral("3 tembrels"));
        QCOMPARE(text(item(view(), "editSummary")), QStringLiteral("9 edits"));
    }

    void oneTembrelHasNoPlural()
    {
        open({HistoryWindowFixture::plainEntry(fixedNow(), QStringLiteral("a"), QStringLiteral("b"))});
        m_store->updateEditCount(m_store->entries().first().id, 1);
        QCOMPARE(text(item(view(), "tembrelSummary")), QStringLiteral("1 tembrel"));
        QCOMPARE(text(item(view(), "editSummary")), QStringLiteral("1 edit"));
        QCOMPARE(model()->clearMessage(), QStringLiteral("Delete all 1 tembrel from history? This can't be undone."));
    }

    void emptyHistoryInvitesAFirstTembrel()
    {
        open({});
        QVERIFY(item(view(), "emptyHistory")->isVisible());
        QVERIFY(!item(view(), "noMatches")->isVisible());
        QCOMPARE(model()->shortcutHint(), QStringLiteral("Press ") + m_modes->defaultMode().hotkey->platformDisplayString()
                                              + QStringLiteral(" to get started"));
        QCOMPARE(text(item(view(), "tembrelSummary")), QStringLiteral("0 tembrels"));
        QVERIFY(item(view(), "selectPrompt")->isVisible());
    }

    void deleteAndClearAskFirst_data()
    {
        QTest::addColumn<bool>("clear");
        QTest::addColumn<QString>("answer"); // empty: Escape
        QTest::addColumn<int>("remaining");
        QTest::newRow("delete, confirmed") << false << "confirmButton" << 2;
        QTest::newRow("delete, cancelled") << false << "cancelButton" << 3;
        QTest::newRow("delete, escape") << false << "" << 3;
        QTest::newRow("clear, confirmed") << true << "confirmButton" << 0;
        QTest::newRow("clear, cancelled") << true << "cancelButton" << 3;
    }

    void deleteAndClearAskFirst()
    {
        QFETCH(bool, clear);
        QFETCH(QString, answer);
        QFETCH(int, remaining);
        const QList<FixHistoryEntry> entries = threeEntries();
        open(entries);
        if (clear) {
            click(view(), item(view(), "clearButton"));
        } else {
            model()->setSelectedId(entries.at(1).id.toString(QUuid::WithoutBraces));
            QQuickItem* row = rowItem(view(), 1);
            QVERIFY(row);
            click(view(), row->findChild<QQuickItem*>(QStringLiteral("deleteButton")));
            QVERIFY(model()->isConfirmingDelete());
        }
        QObject* sheet = object(view(), clear ? "clearConfirmation" : "deleteConfirmation");
        QTRY_VERIFY(sheet->property("opened").toBool());
        QQuickItem* content = sheet->property("contentItem").value<QQuickItem*>();
        const auto part = [content](const char* name) { return content->findChild<QQuickItem*>(QLatin1String(name)); };
        QCOMPARE(text(part("confirmTitle")),
                 clear ? QStringLiteral("Clear all history?") : QStringLiteral("Delete this tembrel from history?"));
        QCOMPARE(text(part("confirmMessage")),
                 clear ? QStringLiteral("Delete all 3 tembrels from history? This can't be undone.")
                       : QStringLiteral("This can't be undone."));
        if (clear)
            QCOMPARE(text(part("confirmButton")), QStringLiteral("Clear History"));
        if (answer.isEmpty())
            QTest::keyClick(view(), Qt::Key_Escape);
        else
            click(view(), part(qPrintable(answer)));
        QTRY_VERIFY(!sheet->property("visible").toBool());
        QVERIFY(!model()->isConfirmingDelete());
        QCOMPARE(m_store->count(), remaining);
        QCOMPARE(model()->list()->rowCount(), remaining);
        // Saved without waiting for the quit: the file soon says the same.
        QTRY_COMPARE(std::get<QList<FixHistoryEntry>>(HistoryFile::read(storePath())).size(), remaining);
        const bool changed = remaining < 3;
        QCOMPARE(m_store->entries().contains(entries.at(1)), !changed);
        QCOMPARE(model()->hasSelection(), !clear && !changed);
        QCOMPARE(item(view(), "emptyHistory")->isVisible(), remaining == 0);
        QCOMPARE(item(view(), "clearButton")->property("enabled").toBool(), remaining > 0);
    }

    void headerOfTheSelection()
    {
        QList<FixHistoryEntry> entries = threeEntries();
        entries[2].editCount.reset();
        entries[2].sourceApp.reset();
        open(entries);
        QVERIFY(!item(view(), "headerLine")->isVisible());
        click(view(), rowItem(view(), 0));
        QCOMPARE(model()->selectedId(), entries.at(0).id.toString(QUuid::WithoutBraces));
        QStringList parts = model()->headerParts();
        QCOMPARE(parts.size(), 3);
        QCOMPARE(parts.at(0), QStringLiteral("3 edits"));
        QCOMPARE(parts.at(1), QStringLiteral("Kate"));
        QVERIFY(parts.at(2).contains(QString::number(fixedNow().date().year())));
        QVERIFY(item(view(), "headerLine")->isVisible());

        click(view(), rowItem(view(), 2));
        QCOMPARE(model()->headerParts().size(), 1);
        QCOMPARE(model()->viewMode(), HistoryWindowModel::diffMode);
    }

    // Each switch between the three views in either direction, and between a rich and a plain
    // entry in each view, shows that view's text: never the markup of what was shown before.
    void everySwitchShowsItsViewsText()
    {
        QList<FixHistoryEntry> entries = threeEntries();
        entries[0].originalHTML = QStringLiteral("<p>teh <b>cat</b> sat</p>");
        entries[0].fixedHTML = QStringLiteral("<p>the <b>cat</b> sat</p>");
        entries[0].sourceFormat = QStringLiteral("html");
        open(entries);
        QQuickItem* entryText = item(view(), "entryText");
        QVERIFY(entryText);
        const auto shown = [entryText] {
            QString plain;
            QMetaObject::invokeMethod(entryText, "getText", Q_RETURN_ARG(QString, plain), Q_ARG(int, 0),
                                      Q_ARG(int, entryText->property("length").toInt()));
            return plain;
        };
        // The strike lines the view draws through removed words, in red at 60 %.
        const auto strikeLines = [this] {
            QList<QQuickItem*> lines;
            const std::function<void(QQuickItem*)> collect = [&](QQuickItem* item) {
                if (item->objectName() == QStringLiteral("strikeLine") && item->isVisible())
                    lines.append(item);
                for (QQuickItem* child : item->childItems())
                    collect(child);
            };
            collect(view()->contentItem());
            return lines;
        };
        int row = 1;
        // Every ordered pair of views follows once in this walk, and each view sees both changes of entry.
        for (const char* step : {"plain", "Diff", "Tembreled", "Original", "Diff", "Original", "Tembreled", "Diff",
                                 "rich", "plain", "Tembreled", "rich", "plain", "Original", "rich", "plain"}) {
            const QString name = QString::fromLatin1(step);
            if (name == QStringLiteral("rich") || name == QStringLiteral("plain")) {
                row = name == QStringLiteral("rich") ? 0 : 1;
                click(view(), rowItem(view(), row));
            } else {
                click(view(), item(view(), qPrintable(QStringLiteral("viewMode_") + name)));
            }
            const FixHistoryEntry& entry = entries.at(row);
            const QString mode = model()->viewModeLabels().at(model()->viewMode());
            const QString where = mode + u" of " + entry.originalText + u": ";
            if (mode == QStringLiteral("Diff") && row == 0)
                continue; // the web page shows it
            if (mode == QStringLiteral("Diff")) {
                QTRY_VERIFY2(shown().contains(entry.originalText.left(5)) && shown().contains(entry.fixedText.right(7)),
                             qPrintable(where + shown()));
                QTRY_COMPARE(strikeLines().size(), 1); // "barkd"
                const QColor red = strikeLines().first()->property("color").value<QColor>();
                QVERIFY(red.red() > 200 && red.green() < 100 && qAbs(red.alphaF() - 0.6) < 0.01);
            } else {
                const QString expected = mode == QStringLiteral("Original") ? entry.originalText : entry.fixedText;
                QVERIFY2(shown() == expected, qPrintable(where + shown()));
                QTRY_VERIFY(strikeLines().isEmpty());
            }
        }
    }

    // The header's date: the locale's long date, without the weekday that would crowd it out.
    void headerDateLeavesOutTheWeekday_data()
    {
        QTest::addColumn<QString>("locale");
        for (const char* name : {"en_US", "en_GB", "de_DE", "fr_FR", "hu_HU", "ja_JP", "zh_CN", "ar_EG", "fi_FI"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }

    void headerDateLeavesOutTheWeekday()
    {
        QFETCH(QString, locale);
        const QLocale language(locale);
        const QDate wednesday(2026, 11, 25);
        const QString pattern = HistoryWindowModel::longDateWithoutWeekday(language);
        const QString shown = language.toString(wednesday, pattern);
        const QString full = language.toString(wednesday, QLocale::LongFormat);
        QVERIFY2(!shown.contains(language.dayName(3, QLocale::LongFormat)), qPrintable(shown));
        QVERIFY2(!shown.contains(language.dayName(3, QLocale::ShortFormat)), qPrintable(shown));
        QVERIFY2(shown.contains(language.toString(wednesday, QStringLiteral("yyyy"))), qPrintable(shown));
        QVERIFY2(shown.size() < full.size(), qPrintable(shown + u" / " + full));
        // Nothing left dangling where the weekday was.
        static const QRegularExpression dangling(QStringLiteral("^[\\s,.،、]|[\\s,،、]$"));
        QVERIFY2(!dangling.match(shown).hasMatch(), qPrintable(shown));
        // The rest of the long date is as the locale writes it.
        QVERIFY2(full.contains(shown) || full.contains(shown.left(shown.size() / 2)), qPrintable(shown + u" / " + full));
    }

    // A rich entry's diff is the web page, drawn in the window's appearance; the other two view
    // modes show the entry's text.
    void richEntryShowsThePageInTheWindowsAppearance_data()
    {
        QTest::addColumn<bool>("dark");
        QTest::newRow("light") << false;
        QTest::newRow("dark") << true;
    }

    void richEntryShowsThePageInTheWindowsAppearance()
    {
        QFETCH(bool, dark);
        QList<FixHistoryEntry> entries = threeEntries();
        entries[0].originalHTML = QStringLiteral("<p>teh <b>cat</b> sat</p>");
        entries[0].fixedHTML = QStringLiteral("<p>the <b>cat</b> sat</p>");
        entries[0].sourceFormat = QStringLiteral("html");
        open(entries);
        view()->rootObject()->setProperty("dark", dark);
        click(view(), rowItem(view(), 0));
        QCOMPARE(model()->viewMode(), HistoryWindowModel::diffMode);

        QQuickItem* page = item(view(), "htmlDiff");
        QVERIFY(page);
        QVERIFY(page->isVisible());
        QCOMPARE(page->property("dark").toBool(), dark);
        QTRY_VERIFY_WITH_TIMEOUT(page->property("pageReady").toBool(), 60000);
        QCOMPARE(page->property("fixedHTML").toString(), entries.at(0).fixedHTML.value());

        // The fixed text keeps its formatting.
        click(view(), item(view(), "viewMode_Tembreled"));
        QVERIFY(!page->isVisible());
        QQuickItem* entryText = item(view(), "entryText");
        QVERIFY(entryText && entryText->isVisible());
        QString shown;
        QMetaObject::invokeMethod(entryText, "getText", Q_RETURN_ARG(QString, shown), Q_ARG(int, 0),
                                  Q_ARG(int, entryText->property("length").toInt()));
        QCOMPARE(shown, entries.at(0).fixedText);
        QVERIFY(text(entryText).contains(QStringLiteral("font-weight")));
    }

    void traceCopyWritesTheClipboard()
    {
        const QList<FixHistoryEntry> entries = threeEntries();
        open(entries);
        QGuiApplication::clipboard()->setText(QStringLiteral("before"));
        click(view(), rowItem(view(), 0));
        click(view(), item(view(), "traceButton"));
        QObject* popover = object(view(), "tracePopover");
        QTRY_VERIFY(popover->property("opened").toBool());
        const QString expected = TraceCollector::render(entries.at(0).traceId, clientId, *entries.at(0).trace);
        QVERIFY(expected.startsWith(QStringLiteral("Trace ID: ")));
        QVERIFY(expected.contains(QStringLiteral("Client ID: ") + clientId));
        QQuickItem* content = popover->property("contentItem").value<QQuickItem*>();
        QCOMPARE(text(content->findChild<QQuickItem*>(QStringLiteral("traceText"))), expected);
        QQuickItem* copy = content->findChild<QQuickItem*>(QStringLiteral("copyButton"));
        QCOMPARE(text(copy), QStringLiteral("Copy"));
        click(view(), copy);
        QCOMPARE(QGuiApplication::clipboard()->text(), expected);
        QCOMPARE(text(copy), QStringLiteral("Copied"));
        QTest::qWait(1000);
        QCOMPARE(text(copy), QStringLiteral("Copied"));
        QTRY_COMPARE_WITH_TIMEOUT(text(copy), QStringLiteral("Copy"), 2000);
    }

    void entryWithoutTraceShowsTheNote()
    {
        QList<FixHistoryEntry> entries = threeEntries();
        entries[0].trace.reset();
        entries[0].traceId.reset();
        open(entries);
        click(view(), rowItem(view(), 0));
        model()->setTraceOpen(true);
        QObject* popover = object(view(), "tracePopover");
        QTRY_VERIFY(popover->property("opened").toBool());
        QQuickItem* content = popover->property("contentItem").value<QQuickItem*>();
        QVERIFY(content->findChild<QQuickItem*>(QStringLiteral("noTrace"))->isVisible());
        QVERIFY(!content->findChild<QQuickItem*>(QStringLiteral("copyButton"))->isVisible());
        QVERIFY(model()->traceText().isEmpty());
    }

    void fixesArriveWhileOpen()
    {
        open(threeEntries());
        const QString selected = m_store->entries().at(1).id.toString(QUuid::WithoutBraces);
        model()->setSelectedId(selected);
        QSignalSpy inserted(model()->list(), &QAbstractItemModel::rowsInserted);
        QSignalSpy reset(model()->list(), &QAbstractItemModel::modelReset);
        FixHistoryEntry draft = HistoryWindowFixture::plainEntry(fixedNow(), QStringLiteral("brand nwe"), QStringLiteral("brand new"));
        const auto id = m_store->addEntry(draft);
        QVERIFY(id);
        QCOMPARE(inserted.count(), 1);
        QCOMPARE(inserted.first().at(1).toInt(), 0);
        QCOMPARE(reset.count(), 0);
        QCOMPARE(model()->list()->rowCount(), 4);
        QCOMPARE(model()->list()->entryAt(0).id, *id);
        QCOMPARE(text(item(view(), "tembrelSummary")), QStringLiteral("4 tembrels"));
        QCOMPARE(model()->selectedId(), selected);
        QTRY_VERIFY(rowItem(view(), 0));
        QCOMPARE(rowItem(view(), 0)->property("preview").toString(), QStringLiteral("brand new"));

        // A fix that does not match the search waits outside the list.
        model()->setSearchText(QStringLiteral("cat"));
        m_store->addEntry(HistoryWindowFixture::plainEntry(fixedNow(), QStringLiteral("x"), QStringLiteral("y")));
        QCOMPARE(model()->list()->rowCount(), 1);
        QCOMPARE(text(item(view(), "tembrelSummary")), QStringLiteral("5 tembrels"));
    }
};

int main(int argc, char** argv)
{
    // The web engine needs its share of the OpenGL context, and the diff pages their scheme,
    // before the application exists.
    HtmlDiffWarmup::initializeEngine();
    QGuiApplication app(argc, argv);
    TestHistoryWindow test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_historywindow.moc"
