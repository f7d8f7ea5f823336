#pragma once
#include "platform/KeyMonitor.h"

#include <QObject>
#include <QSet>
#include <memory>

class QSocketNotifier;
typedef struct _XDisplay Display;

/// Sees Escape and Ctrl+V pressed in any application through XInput2 raw key events on a
/// connection of its own. Raw events are copies: nothing is grabbed, and the application that has
/// the focus still receives every key.
class X11KeyMonitor : public QObject, public KeyMonitor
{
    Q_OBJECT
public:
    X11KeyMonitor();
    ~X11KeyMonitor() override;

    bool start(std::function<void(Key key)> handler) override;
    void stop() override;
    [[nodiscard]] bool isActive() const override { return m_display != nullptr; }

private:
    void readEvents();
    void onRawKey(int keycode, bool pressed);

    Display* m_display = nullptr;
    std::unique_ptr<QSocketNotifier> m_notifier;
    std::function<void(Key)> m_handler;
    int m_xiOpcode = 0;
    QSet<int> m_controlKeycodes;
    QSet<int> m_heldControls;
    int m_escapeKeycode = 0;
    int m_vKeycode = 0;
};
