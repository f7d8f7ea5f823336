#pragma once
#include <QObject>
#include <QSocketNotifier>
#include <memory>

/// Turns SIGTERM, SIGINT and SIGHUP into a signal on the UI thread, so that a session ending or Ctrl+C in a
/// terminal ends Tembrel as its Quit item does. One per process.
class QuitSignals : public QObject
{
    Q_OBJECT
public:
    explicit QuitSignals(QObject* parent = nullptr);
    ~QuitSignals() override;

    /// False when the signals could not be caught; they then end the process at once.
    [[nodiscard]] bool isInstalled() const { return m_notifier != nullptr; }

Q_SIGNALS:
    /// SIGTERM or SIGINT arrived.
    void quitRequested(int signalNumber);

private:
    void onReadable();

    std::unique_ptr<QSocketNotifier> m_notifier;
};
