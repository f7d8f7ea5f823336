#include "diff/HtmlDiffWarmup.h"

#include "core/Logging.h"
#include "diff/DiffPageScheme.h"
#include "engines/HttpExchange.h"

#include <QElapsedTimer>
#include <QTimer>
#include <QtWebEngineQuick/QQuickWebEngineProfile>
#include <QtWebEngineQuick/qtwebenginequickglobal.h>

#include <unistd.h>

namespace {

bool s_started = false;

void appendChromiumFlag(const QByteArray& flag)
{
    QByteArray flags = qgetenv("QTWEBENGINE_CHROMIUM_FLAGS");
    if (flags.contains(flag)) {
        return;
    }
    flags = flags.isEmpty() ? flag : flags + ' ' + flag;
    qputenv("QTWEBENGINE_CHROMIUM_FLAGS", flags);
}

void startEngine()
{
    if (s_started) {
        return;
    }
    s_started = true;
    QElapsedTimer timer;
    timer.start();
    // The default profile brings up the browser context that every view shares.
    QQuickWebEngineProfile::defaultProfile();
    qCDebug(lcDiff) << "Web engine started in" << timer.elapsed() << "ms";
}

} // namespace

void HtmlDiffWarmup::initializeEngine()
{
    // Chromium refuses to run its sandbox as root.
    if (::geteuid() == 0 && !qEnvironmentVariableIsSet("QTWEBENGINE_DISABLE_SANDBOX")) {
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    }
    if (qgetenv("QT_QUICK_BACKEND") == "software" || qgetenv("QT_QPA_PLATFORM") == "offscreen") {
        appendChromiumFlag("--disable-gpu");
    }
    // The diff pages' own scheme must be known before the engine starts.
    DiffPageScheme::registerScheme();
    QtWebEngineQuick::initialize();
}

void HtmlDiffWarmup::begin()
{
    if (s_started) {
        return;
    }
    // Starting the engine holds the UI thread for a while: it waits until the request that made
    // the caller ask is on the wire, or a second at most when no request follows.
    whenNextRequestSent([] { startEngine(); });
    QTimer::singleShot(1000, [] { startEngine(); });
}

bool HtmlDiffWarmup::isStarted()
{
    return s_started;
}
