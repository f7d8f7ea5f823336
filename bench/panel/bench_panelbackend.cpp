// Compares Qt Quick's scene graph backends for the result panel: the default (OpenGL) against the
// software renderer. Each round starts this program again per backend, so every figure comes from
// a fresh process; the default backend measured in the same run is the baseline of the ratios.
//
//   scripts/with-desktop.sh --no-keyring <dir>/bench/panel/bench_panelbackend [rounds]
//
// A measured process shows the panel with a plain-text diff, then with an HTML diff, and reports:
// time from show() to the first frame on screen, time until the HTML page has counted its edits,
// resident memory of the process after each, and the proportional set size of the whole process
// tree (the web engine's processes included) with the HTML diff shown.
#include "PanelViewHarness.h"

#include "diff/HtmlDiffWarmup.h"
#include "support/EventLoopWait.h"
#include "support/ProcessTree.h"

#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QQuickView>
#include <QtQml/qqmlextensionplugin.h>

#include <algorithm>
#include <cstdio>

#include <unistd.h>

Q_IMPORT_QML_PLUGIN(TembrelPlugin)

namespace {

// A field of /proc/self/status in megabytes.
double statusMegabytes(const char* field)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(field))
            return line.mid(qstrlen(field)).trimmed().split(' ').value(0).toDouble() / 1024.0;
    }
    return 0;
}

// Milliseconds from show() to the first frame of the panel on screen; -1 if none came.
qint64 showUntilFirstFrame(PanelViewHarness& harness, const PanelPhase& phase)
{
    bool swapped = false;
    QElapsedTimer timer;
    timer.start();
    harness.controller->show(phase);
    const auto connection = QObject::connect(harness.controller->window(), &QQuickWindow::frameSwapped,
                                             [&] { swapped = true; });
    const bool shown = EventLoopWait::until([&] { return swapped; }, 20000);
    QObject::disconnect(connection);
    return shown ? timer.elapsed() : -1;
}

int measureOnce()
{
    PanelViewHarness harness;
    harness.fakes.workspace->compositor = false;
    QJsonObject figures;

    figures[QStringLiteral("plainFirstFrameMs")] = showUntilFirstFrame(
        harness, PanelPhase::success(sampleResult(QStringLiteral("Teh meeting is moved too Thursday."),
                                                  QStringLiteral("The meeting has moved to Thursday."), std::nullopt),
                                     1.0));
    EventLoopWait::run(1000);
    figures[QStringLiteral("plainRssMb")] = statusMegabytes("VmRSS:");
    harness.controller->dismiss();
    (void)EventLoopWait::until([&] { return !harness.controller->isVisible(); }, 2000);

    // As in a rich fix: the engine starts while the request is on its way.
    HtmlDiffWarmup::begin();
    (void)EventLoopWait::until([] { return HtmlDiffWarmup::isStarted(); }, 5000);
    QElapsedTimer html;
    html.start();
    figures[QStringLiteral("htmlFirstFrameMs")] = showUntilFirstFrame(
        harness, PanelPhase::success(
                     sampleResult(QStringLiteral("Release notes"), QStringLiteral("Release notes"), std::nullopt,
                                  QStringLiteral("<h3>Release notes</h3><ul><li>Faster startup on older machnes</li>"
                                                 "<li>Fixed a crash when the the window closes</li></ul>"),
                                  QStringLiteral("<h3>Release notes</h3><ul><li>Faster startup on older machines</li>"
                                                 "<li>Fixed a crash when the window closes</li></ul>")),
                     1.0));
    const bool counted = EventLoopWait::until([&] { return harness.controller->viewModel().totalEdits() == 2; }, 30000);
    figures[QStringLiteral("htmlCountedMs")] = counted ? html.elapsed() : -1;
    EventLoopWait::run(1000);
    figures[QStringLiteral("htmlRssMb")] = statusMegabytes("VmRSS:");
    figures[QStringLiteral("htmlTreePssMb")] = ProcessTree::pssKb(::getpid()) / 1024.0;
    figures[QStringLiteral("peakRssMb")] = statusMegabytes("VmHWM:");
    std::printf("%s\n", QJsonDocument(figures).toJson(QJsonDocument::Compact).constData());
    return counted ? 0 : 1;
}

QJsonObject runChild(const QString& program, bool software)
{
    QProcess child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("QT_QUICK_BACKEND"));
    if (software)
        environment.insert(QStringLiteral("QT_QUICK_BACKEND"), QStringLiteral("software"));
    child.setProcessEnvironment(environment);
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(program, {QStringLiteral("--measure")});
    child.waitForFinished(120000);
    const QList<QByteArray> lines = child.readAllStandardOutput().trimmed().split('\n');
    return QJsonDocument::fromJson(lines.last()).object();
}

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values.isEmpty() ? 0 : values[values.size() / 2];
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc > 1 && qstrcmp(argv[1], "--measure") == 0) {
        HtmlDiffWarmup::initializeEngine();
        QGuiApplication app(argc, argv);
        return measureOnce();
    }

    QCoreApplication app(argc, argv);
    const int rounds = std::max(1, QCoreApplication::arguments().value(1, QStringLiteral("3")).toInt());
    const QStringList keys = {QStringLiteral("plainFirstFrameMs"), QStringLiteral("plainRssMb"),
                              QStringLiteral("htmlFirstFrameMs"),  QStringLiteral("htmlCountedMs"),
                              QStringLiteral("htmlRssMb"),         QStringLiteral("htmlTreePssMb"),
                              QStringLiteral("peakRssMb")};
    QMap<QString, QList<double>> defaults;
    QMap<QString, QList<double>> software;
    for (int round = 0; round < rounds; ++round) {
        // Alternating, so that a machine that gets busier part-way does not favour one backend.
        for (const bool useSoftware : {round % 2 == 1, round % 2 == 0}) {
            const QJsonObject figures = runChild(QCoreApplication::applicationFilePath(), useSoftware);
            if (figures.isEmpty()) {
                std::fprintf(stderr, "a measured run failed (%s backend)\n", useSoftware ? "software" : "default");
                return 1;
            }
            for (const QString& key : keys)
                (useSoftware ? software : defaults)[key].append(figures.value(key).toDouble());
        }
    }

    std::printf("median of %d rounds          default   software   software/default\n", rounds);
    for (const QString& key : keys) {
        const double base = median(defaults[key]);
        const double soft = median(software[key]);
        std::printf("%-28s %8.1f   %8.1f   %6.2f\n", qPrintable(key), base, soft, base > 0 ? soft / base : 0.0);
    }
    return 0;
}
