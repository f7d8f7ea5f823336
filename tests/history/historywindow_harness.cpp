// Opens the history window over a generated history, puts it in one state and saves a picture of
// it; prints how long loading, opening and searching took. For looking at the window by eye:
//   historywindow_harness [--count N] [--dark] [--state NAME] [--out FILE.png]
// States: list, search, plain, rich-original, rich-tembreled, rich-diff, trace, notrace, empty,
// nomatch, delete, clear.
#include "HistoryWindowFixture.h"
#include "diff/HtmlDiffWarmup.h"
#include "history/HistoryFile.h"
#include "history/HistoryManager.h"
#include "history/HistoryWindowController.h"
#include "history/HistoryWindowModel.h"
#include "modes/ModeManager.h"
#include "support/TestEnvironment.h"

#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QPalette>
#include <QQuickItem>
#include <QQuickView>
#include <QSettings>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>
#include <cstdio>

Q_IMPORT_QML_PLUGIN(TembrelPlugin)

namespace {

void report(const char* what, double milliseconds)
{
    std::printf("%-40s %8.2f ms\n", what, milliseconds);
    std::fflush(stdout);
}

QString idOfFirst(const QList<FixHistoryEntry>& entries, bool rich, bool traced)
{
    for (const FixHistoryEntry& entry : entries) {
        if (entry.originalHTML.has_value() == rich && entry.trace.has_value() == traced)
            return entry.id.toString(QUuid::WithoutBraces);
    }
    return {};
}

} // namespace

int main(int argc, char** argv)
{
    TestEnvironment env;
    HtmlDiffWarmup::initializeEngine();
    QGuiApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addOptions({{QStringLiteral("count"), QStringLiteral("entries"), QStringLiteral("n"), QStringLiteral("300")},
                       {QStringLiteral("dark"), QStringLiteral("dark appearance")},
                       {QStringLiteral("state"), QStringLiteral("state"), QStringLiteral("name"), QStringLiteral("list")},
                       {QStringLiteral("out"), QStringLiteral("picture"), QStringLiteral("file")}});
    parser.process(app);
    if (parser.isSet(QStringLiteral("dark"))) {
        QPalette dark;
        dark.setColor(QPalette::Window, QColor(0x25, 0x26, 0x2a));
        dark.setColor(QPalette::WindowText, Qt::white);
        QGuiApplication::setPalette(dark);
    }
    const QString state = parser.value(QStringLiteral("state"));
    const int count = state == QLatin1String("empty") ? 0 : parser.value(QStringLiteral("count")).toInt();

    QSettings settings(env.configHome() + QStringLiteral("/tembrel.conf"), QSettings::IniFormat);
    ModeManager modes(settings);
    const QString path = env.dataHome() + QStringLiteral("/Tembrel/history.json");
    const QDateTime now = QDateTime::currentDateTime();
    if (count > 0 && HistoryFile::write(path, HistoryWindowFixture::generate(count, now)))
        return 1;

    QElapsedTimer timer;
    timer.start();
    HistoryManager store(settings, path);
    report("load history file", timer.nsecsElapsed() / 1e6);

    HistoryWindowController controller(store, modes, [] { return QStringLiteral("0192d6c4-7f3a-7c1e-9b1a-5e2f4d3c2b1a"); });
    timer.restart();
    controller.show();
    const double built = timer.nsecsElapsed() / 1e6;
    QQuickView* view = controller.window();
    bool swapped = false;
    QObject::connect(view, &QQuickWindow::frameSwapped, view, [&] { swapped = true; });
    (void)QTest::qWaitFor([&] { return swapped; }, 5000);
    report("open window: build and show", built);
    report("open window: to first frame", timer.nsecsElapsed() / 1e6);

    HistoryWindowModel* model = controller.model();
    // Typing a word letter by letter, then deleting it again: each step filters the whole store.
    const QString word = QStringLiteral("meeting");
    timer.restart();
    for (int i = 1; i <= word.size(); ++i)
        model->setSearchText(word.left(i));
    for (int i = word.size() - 1; i >= 0; --i)
        model->setSearchText(word.left(i));
    report("search: per keystroke (filter + group)", timer.nsecsElapsed() / 1e6 / (2 * word.size()));
    timer.restart();
    for (int i = 0; i < 100; ++i)
        (void)store.filtered(QStringLiteral("meeting"));
    report("store filter alone", timer.nsecsElapsed() / 1e6 / 100);

    const QList<FixHistoryEntry>& entries = store.entries();
    if (state == QLatin1String("search")) {
        model->setSearchText(QStringLiteral("meeting"));
    } else if (state == QLatin1String("nomatch")) {
        model->setSearchText(QStringLiteral("zebra"));
    } else if (state == QLatin1String("plain") || state == QLatin1String("trace")) {
        model->setSelectedId(idOfFirst(entries, false, true));
        model->setTraceOpen(state == QLatin1String("trace"));
    } else if (state == QLatin1String("notrace")) {
        model->setSelectedId(idOfFirst(entries, false, false));
        model->setTraceOpen(true);
    } else if (state.startsWith(QLatin1String("rich-"))) {
        model->setSelectedId(idOfFirst(entries, true, true));
        model->setViewMode(state == QLatin1String("rich-original") ? 0 : state == QLatin1String("rich-tembreled") ? 1 : 2);
    } else if (state == QLatin1String("delete")) {
        model->setSelectedId(idOfFirst(entries, false, true));
        model->requestDelete(model->selectedId());
    } else if (state == QLatin1String("clear")) {
        model->requestClear();
    }
    // Long enough for the fade, the word diff and, for rich text, the web engine's first page.
    QTest::qWait(state.startsWith(QLatin1String("rich-diff")) ? 4000 : 800);
    if (parser.isSet(QStringLiteral("out")))
        view->grabWindow().save(parser.value(QStringLiteral("out")));
    return 0;
}
