// Measures the HTML diff view in a real web engine: the first page shown (with and without the
// engine started ahead), later pages, how long the UI thread stalls, and the memory it all costs.
// Usage: htmldiff_view_bench cold|warm   (run under a display, e.g. scripts/with-desktop.sh)
#include "diff/HtmlDiffWarmup.h"
#include "support/EventLoopWait.h"
#include "support/ProcessTree.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTimer>
#include <QtQml/qqmlextensionplugin.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

#include <unistd.h>

Q_IMPORT_QML_PLUGIN(TembrelPlugin)

namespace {

const QByteArray hostQml = R"qml(
import QtQuick
import Tembrel
Window {
    width: 480; height: 320; visible: true
    property alias diff: diff
    DiffWebView { id: diff; anchors.fill: parent }
}
)qml";

// Longest gap between ticks of a 5 ms timer: how long the UI thread was blocked.
class StallMeter : public QObject
{
public:
    StallMeter()
    {
        m_clock.start();
        m_timer.setInterval(5);
        connect(&m_timer, &QTimer::timeout, this, [this] {
            const qint64 now = m_clock.elapsed();
            m_longest = std::max(m_longest, now - m_last);
            m_last = now;
        });
        m_timer.start();
    }
    void reset()
    {
        m_longest = 0;
        m_last = m_clock.elapsed();
    }
    [[nodiscard]] qint64 longest() const { return m_longest; }

private:
    QElapsedTimer m_clock;
    QTimer m_timer;
    qint64 m_last = 0;
    qint64 m_longest = 0;
};

QString document(int paragraphs, int variant)
{
    QString html;
    for (int i = 0; i < paragraphs; ++i) {
        html += QStringLiteral("<p>Paragraph %1 says the <b>meeting</b> moved to %2 and the room is booked.</p>")
                    .arg(i)
                    .arg(i % 7 == 0 ? QStringLiteral("Tuesday %1").arg(variant) : QStringLiteral("Monday"));
    }
    return html;
}

} // namespace

int main(int argc, char* argv[])
{
    const bool warm = argc > 1 && qstrcmp(argv[1], "warm") == 0;
    HtmlDiffWarmup::initializeEngine();
    QGuiApplication app(argc, argv);
    StallMeter stalls;
    const qint64 basePss = ProcessTree::pssKb(::getpid());

    QQmlEngine engine;
    engine.addImportPath(QStringLiteral("qrc:/"));
    QQmlComponent component(&engine);
    component.setData(hostQml, QUrl(QStringLiteral("qrc:/bench/Host.qml")));
    std::unique_ptr<QObject> window(component.create());
    if (!window) {
        std::fprintf(stderr, "%s\n", qPrintable(component.errorString()));
        return 1;
    }
    auto* diff = window->property("diff").value<QQuickItem*>();
    EventLoopWait::run(200);

    qint64 warmupStall = 0;
    qint64 warmupMs = 0;
    if (warm) {
        // As when a fix of HTML begins: the engine starts while the request is on its way.
        QElapsedTimer warmup;
        warmup.start();
        stalls.reset();
        HtmlDiffWarmup::begin();
        (void)EventLoopWait::until([] { return HtmlDiffWarmup::isStarted(); }, 5000);
        warmupMs = warmup.elapsed();
        EventLoopWait::run(1000); // the language model's answer
        warmupStall = stalls.longest();
    }

    std::vector<qint64> later;
    QElapsedTimer first;
    stalls.reset();
    first.start();
    diff->setProperty("originalHTML", document(30, 0));
    diff->setProperty("fixedHTML", document(30, 1));
    if (!EventLoopWait::until([&] { return diff->property("pageReady").toBool(); }, 30000)) {
        std::fprintf(stderr, "first page did not load\n");
        return 1;
    }
    const qint64 firstMs = first.elapsed();
    const qint64 firstStall = stalls.longest();
    EventLoopWait::run(500);
    const qint64 shownPss = ProcessTree::pssKb(::getpid());

    for (int variant = 2; variant < 12; ++variant) {
        QElapsedTimer again;
        again.start();
        diff->setProperty("fixedHTML", document(30, variant));
        (void)EventLoopWait::until([&] { return !diff->property("pageReady").toBool(); }, 1000);
        (void)EventLoopWait::until([&] { return diff->property("pageReady").toBool(); }, 30000);
        later.push_back(again.elapsed());
    }
    std::sort(later.begin(), later.end());

    std::printf("mode %s\n", warm ? "warm" : "cold");
    if (warm) {
        std::printf("engine start ahead: %lld ms (UI thread blocked up to %lld ms)\n",
                    static_cast<long long>(warmupMs), static_cast<long long>(warmupStall));
    }
    std::printf("first page shown: %lld ms (UI thread blocked up to %lld ms)\n", static_cast<long long>(firstMs),
                static_cast<long long>(firstStall));
    std::printf("later pages: median %lld ms, max %lld ms\n", static_cast<long long>(later[later.size() / 2]),
                static_cast<long long>(later.back()));
    std::printf("memory (PSS of the process tree): %lld MB before, %lld MB with the view\n",
                static_cast<long long>(basePss / 1024), static_cast<long long>(shownPss / 1024));
    return 0;
}
