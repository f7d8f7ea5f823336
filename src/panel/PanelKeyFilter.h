#pragma once
#include <QObject>
#include <functional>

/// Watches the keys typed into Tembrel's own windows while the panel shows: Escape dismisses the
/// panel and goes no further, the paste shortcut dismisses it and still pastes.
class PanelKeyFilter : public QObject
{
    Q_OBJECT
public:
    /// `onKey` receives true for the paste shortcut and false for Escape.
    explicit PanelKeyFilter(std::function<void(bool paste)> onKey, QObject* parent = nullptr);

    /// Starts watching every window of the application.
    void install();
    /// Stops watching.
    void remove();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::function<void(bool)> m_onKey;
    bool m_installed = false;
};
