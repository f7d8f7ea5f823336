// Renders every phase of the result panel in the light and the dark appearance over a plain
// desktop and saves screenshots of the screen around it:  panel_gallery <output folder>
// Run it inside scripts/with-desktop.sh; bench/panel measures the panel's speed and memory.
#include "PanelViewHarness.h"

#include "diff/HtmlDiffWarmup.h"
#include "support/EventLoopWait.h"

#include <QDir>
#include <QGuiApplication>
#include <QPainter>
#include <QProcess>
#include <QQuickItem>
#include <QQuickView>
#include <QRasterWindow>
#include <QScreen>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(TembrelPlugin)

namespace {

class Desktop : public QRasterWindow
{
public:
    QColor color;

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.fillRect(QRect(QPoint(), size()), color);
    }
};

struct Scene
{
    QString name;
    PanelPhase phase;
    std::function<bool(PanelViewHarness&)> ready;
};

QString longOriginal()
{
    return QStringLiteral(
        "Their are many reasons why a team might want to adopt a new tool. First, it can save time, "
        "especially when the old workflow involve many manual steps. Second it reduces errors that "
        "happen when people copy text between applications.\n\nHowever, adopting a tool is'nt free: "
        "everyone need to learn it, and the team must agree on how its used. In our experience the "
        "transition takes about two weeks, after which nobody want to go back.");
}

QString longFixed()
{
    return QStringLiteral(
        "There are many reasons why a team might want to adopt a new tool. First, it can save time, "
        "especially when the old workflow involves many manual steps. Second, it reduces errors that "
        "happen when people copy text between applications.\n\nHowever, adopting a tool isn't free: "
        "everyone needs to learn it, and the team must agree on how it's used. In our experience, the "
        "transition takes about two weeks, after which nobody wants to go back.");
}

QList<Scene> scenes()
{
    auto headerReady = [](PanelViewHarness& h) { return h.controller->viewModel().totalEdits() > 0; };
    return {
        {QStringLiteral("loading"), PanelPhase::loading(), [](PanelViewHarness&) { return true; }},
        {QStringLiteral("success-short"),
         PanelPhase::success(sampleResult(QStringLiteral("Teh meeting is moved too Thursday."),
                                          QStringLiteral("The meeting has moved to Thursday."), std::nullopt),
                             1.27),
         headerReady},
        {QStringLiteral("success-long"),
         PanelPhase::success(sampleResult(longOriginal(), longFixed(), std::nullopt), 2.41), headerReady},
        {QStringLiteral("success-html"),
         PanelPhase::success(
             sampleResult(QStringLiteral("Release notes"), QStringLiteral("Release notes"), std::nullopt,
                          QStringLiteral("<h3>Release notes</h3><ul><li>Faster <b>startup</b> on older machnes</li>"
                                         "<li>Fixed a crash when the the window closes</li></ul>"
                                         "<p>Thanks to everyone who <a href=\"#\">reported</a> isues.</p>"),
                          QStringLiteral("<h3>Release notes</h3><ul><li>Faster <b>startup</b> on older machines</li>"
                                         "<li>Fixed a crash when the window closes</li></ul>"
                                         "<p>Thanks to everyone who <a href=\"#\">reported</a> issues.</p>")),
             0.93),
         headerReady},
        {QStringLiteral("no-changes"), PanelPhase::noChanges(0.64), [](PanelViewHarness&) { return true; }},
        {QStringLiteral("error-server"),
         PanelPhase::error(QStringLiteral("Could not reach the server. Check your internet connection.")),
         [](PanelViewHarness&) { return true; }},
        {QStringLiteral("error-api"), PanelPhase::error(QStringLiteral("The API key is invalid or has expired.")),
         [](PanelViewHarness&) { return true; }},
        {QStringLiteral("error-other"), PanelPhase::error(QStringLiteral("No text selected. Select some text first.")),
         [](PanelViewHarness&) { return true; }},
    };
}

} // namespace

int main(int argc, char* argv[])
{
    HtmlDiffWarmup::initializeEngine();
    QGuiApplication app(argc, argv);
    const QString folder = app.arguments().value(1, QStringLiteral("."));
    QDir().mkpath(folder);

    Desktop desktop;
    desktop.setGeometry(QGuiApplication::primaryScreen()->geometry());
    desktop.show();

    for (const bool dark : {false, true}) {
        PanelViewHarness::setDarkAppearance(dark);
        desktop.color = dark ? QColor(0x3a, 0x3d, 0x45) : QColor(0xc9, 0xd1, 0xdc);
        desktop.update();
        for (const Scene& scene : scenes()) {
            PanelViewHarness harness;
            harness.fakes.workspace->compositor = false; // what Xvfb really offers
            harness.controller->show(scene.phase);
            // As if the pointer rested on the panel: the countdown waits for the picture.
            harness.controller->viewModel().setHovered(true);
            (void)EventLoopWait::until([&] { return scene.ready(harness); }, 15000);
            if (scene.phase.result.fixedHTML)
                EventLoopWait::run(1500); // the page scrolls to its first edit and settles
            EventLoopWait::run(400);
            QQuickView* window = harness.controller->window();
            const QRect drawn = window->rootObject()->property("backgroundRect").toRectF().toAlignedRect();
            const QRect shot = drawn.translated(window->position()).adjusted(-14, -14, 14, 14);
            const QString file = folder + u'/' + scene.name + (dark ? QStringLiteral("-dark") : QStringLiteral("-light"))
                + QStringLiteral(".png");
            QProcess::execute(QStringLiteral("import"),
                              {QStringLiteral("-window"), QStringLiteral("root"), QStringLiteral("-crop"),
                               QStringLiteral("%1x%2+%3+%4").arg(shot.width()).arg(shot.height()).arg(shot.x()).arg(shot.y()),
                               QStringLiteral("+repage"), file});
            harness.controller->dismiss();
            (void)EventLoopWait::until([&] { return !harness.controller->isVisible(); }, 2000);
        }
    }
    return 0;
}
