#pragma once
#include "app/UpdateChecker.h"
#include "app/UpdateNotice.h"

#include <QObject>
#include <QSet>
#include <QTimer>
#include <functional>

class QSettings;
class SettingsManager;

/// Looks for new versions in the update feed once a day and when the user asks, and tells the
/// user what it found. Installs nothing. Lives on the UI thread.
class UpdateController : public QObject
{
    Q_OBJECT
public:
    using Presenter = std::function<void(const UpdateNotice&)>;

    /// `defaults` keeps the time of the last check; both must outlive the controller.
    UpdateController(const SettingsManager& settings, QSettings& defaults, QObject* parent = nullptr);
    ~UpdateController() override;

    /// The channels offered besides the default one, asked anew at every check: {"beta"} exactly
    /// when the user receives beta updates.
    [[nodiscard]] QSet<QString> allowedChannels() const;

    /// Starts the daily automatic check; the first one runs as soon as a day has passed since the last.
    void start();
    /// The user's "Check for Updates": every outcome is shown.
    void checkForUpdates();

    [[nodiscard]] QUrl feed() const { return m_feed; }
    void setFeed(const QUrl& feed) { m_feed = feed; }
    void setCurrentVersion(const QString& version) { m_currentVersion = version; }
    /// Replaces the dialogs, for tests and for a later QML view.
    void setPresenter(Presenter presenter) { m_present = std::move(presenter); }
    /// The wait before the next automatic check, for tests.
    [[nodiscard]] std::chrono::milliseconds nextAutomaticCheckIn() const;

    static constexpr auto checkInterval = std::chrono::hours(24);
    /// User-defaults key of the last check's time (the key the macOS updater uses).
    static constexpr auto lastCheckTimeKey = "SULastCheckTime";

Q_SIGNALS:
    /// A check ended; `userInitiated` when it was the user's own.
    void checkFinished(const UpdateCheckResult& result, bool userInitiated);

private:
    void runCheck(bool userInitiated);
    void finishCheck(const UpdateCheckResult& result, bool userInitiated);
    void scheduleAutomaticCheck();
    static void showDialog(const UpdateNotice& notice);

    const SettingsManager& m_settings;
    QSettings& m_defaults;
    UpdateChecker m_checker;
    QUrl m_feed;
    QString m_currentVersion;
    Presenter m_present;
    QTimer m_timer;
    bool m_checking = false;
    bool m_userWaiting = false;
};
