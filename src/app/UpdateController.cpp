#include "app/UpdateController.h"
#include "app/AppIcons.h"
#include "app/BuildConfig.h"
#include "core/Logging.h"
#include "settings/SettingsManager.h"

#include <QDesktopServices>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>

using namespace std::chrono;

UpdateController::UpdateController(const SettingsManager& settings, QSettings& defaults, QObject* parent)
    : QObject(parent)
    , m_settings(settings)
    , m_defaults(defaults)
    , m_feed(UpdateChecker::configuredFeed())
    , m_currentVersion(QString::fromUtf8(BuildConfig::version))
    , m_present(&UpdateController::showDialog)
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::VeryCoarseTimer);
    connect(&m_timer, &QTimer::timeout, this, [this] { runCheck(false); });
}

UpdateController::~UpdateController() = default;

QSet<QString> UpdateController::allowedChannels() const
{
    return m_settings.receiveBetaUpdates() ? QSet<QString>{QStringLiteral("beta")} : QSet<QString>{};
}

void UpdateController::start()
{
    if (m_feed.isEmpty()) {
        qCInfo(lcUpdates) << "No update feed in this build; updates come from the package manager";
        return;
    }
    scheduleAutomaticCheck();
}

void UpdateController::checkForUpdates()
{
    if (m_feed.isEmpty()) {
        m_present(UpdateNotice::noFeed());
        return;
    }
    runCheck(true);
}

milliseconds UpdateController::nextAutomaticCheckIn() const
{
    const QDateTime last = m_defaults.value(QLatin1String(lastCheckTimeKey)).toDateTime();
    if (!last.isValid())
        return milliseconds(0);
    const qint64 elapsed = last.msecsTo(QDateTime::currentDateTimeUtc());
    // A last check in the future means the clock was set back: check now rather than wait.
    if (elapsed < 0)
        return milliseconds(0);
    return std::max(milliseconds(0), duration_cast<milliseconds>(checkInterval) - milliseconds(elapsed));
}

void UpdateController::scheduleAutomaticCheck()
{
    // Leave launch alone for a moment: the first check waits at least a minute.
    const milliseconds wait = std::max(nextAutomaticCheckIn(), milliseconds(minutes(1)));
    m_timer.start(wait);
}

void UpdateController::runCheck(bool userInitiated)
{
    m_userWaiting = m_userWaiting || userInitiated;
    if (m_checking)
        return; // the running check reports to the user when it ends
    m_checking = true;
    QCoro::connect(m_checker.check(m_feed, m_currentVersion, allowedChannels()), this,
                   [this](const UpdateCheckResult& result) {
                       const bool userWaiting = m_userWaiting;
                       m_checking = false;
                       m_userWaiting = false;
                       finishCheck(result, userWaiting);
                   });
}

void UpdateController::finishCheck(const UpdateCheckResult& result, bool userInitiated)
{
    if (result.outcome != UpdateCheckResult::Outcome::failed)
        m_defaults.setValue(QLatin1String(lastCheckTimeKey), QDateTime::currentDateTimeUtc());
    if (!m_feed.isEmpty())
        scheduleAutomaticCheck();
    if (const auto notice = UpdateNotice::forResult(result, m_currentVersion, userInitiated))
        m_present(*notice);
    Q_EMIT checkFinished(result, userInitiated);
}

void UpdateController::showDialog(const UpdateNotice& notice)
{
    auto* box = new QMessageBox(notice.kind == UpdateNotice::Kind::failed ? QMessageBox::Warning
                                                                          : QMessageBox::Information,
                                notice.title, notice.text);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowIcon(AppIcons::application());
    if (!notice.details.isEmpty()) {
        box->setInformativeText(notice.details);
        box->setTextFormat(Qt::RichText);
    }
    if (notice.downloadUrl.isValid()) {
        QPushButton* download = box->addButton(QStringLiteral("Download"), QMessageBox::AcceptRole);
        const QUrl url = notice.downloadUrl;
        connect(download, &QPushButton::clicked, box, [url] { QDesktopServices::openUrl(url); });
    }
    if (notice.releaseNotesUrl.isValid()) {
        QPushButton* notes = box->addButton(QStringLiteral("Release Notes"), QMessageBox::HelpRole);
        const QUrl url = notice.releaseNotesUrl;
        connect(notes, &QPushButton::clicked, box, [url] { QDesktopServices::openUrl(url); });
    }
    box->addButton(notice.kind == UpdateNotice::Kind::updateAvailable ? QStringLiteral("Later") : QStringLiteral("OK"),
                   QMessageBox::RejectRole);
    box->open();
    box->raise();
    box->activateWindow();
}
