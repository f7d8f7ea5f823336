#pragma once

/// Starts the web engine behind the HTML diff view ahead of need. The engine costs a few hundred
/// milliseconds and over a hundred megabytes, so it is created only when a fix of rich content
/// begins, and its start-up overlaps the wait for the fixed text.
class HtmlDiffWarmup
{
public:
    /// Prepares the process for the web engine; call before the QGuiApplication is constructed.
    /// Turns the engine's sandbox off only when running as root (where it cannot work) and its
    /// GPU use off only when Qt Quick renders in software, unless the environment already decides.
    static void initializeEngine();

    /// Starts creating the engine once the next request is on the wire (a second later at most),
    /// once per process; later calls do nothing. Call on the UI thread when a fix of HTML content
    /// begins.
    static void begin();

    /// Whether begin() has started the engine.
    [[nodiscard]] static bool isStarted();
};
