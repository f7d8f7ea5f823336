#pragma once
#include <QObject>

/// Whether a shortcut recorder is listening anywhere in Tembrel. While one is, Tembrel's own
/// global shortcuts stand aside, so the keys reach the recorder and not a fix. UI thread.
class ShortcutRecording : public QObject
{
    Q_OBJECT
public:
    /// The one instance of the process.
    static ShortcutRecording& instance();

    /// A recorder starts listening.
    void begin();
    /// A recorder stops listening (also when its window goes away mid-recording).
    void end();
    [[nodiscard]] bool isActive() const { return m_listening > 0; }

Q_SIGNALS:
    /// The first recorder started or the last one stopped.
    void activeChanged(bool active);

private:
    ShortcutRecording() = default;
    int m_listening = 0;
};
