#include "engines/ApiKeyStore.h"

#include "core/Logging.h"

#include <QScopedPointer>
#include <QCoro/QCoroSignal>
#include <qt6keychain/keychain.h>

namespace {

ApiKeyStoreError::Kind kindOf(QKeychain::Error error, const QString& why)
{
    // With no Secret Service on the session bus the library reports a plain failure; its D-Bus
    // text is the only sign that there is no keyring at all.
    if (why.contains(QStringLiteral("org.freedesktop.secrets")))
        return ApiKeyStoreError::Kind::noKeyring;
    switch (error) {
    case QKeychain::NoBackendAvailable:
    case QKeychain::NotImplemented: return ApiKeyStoreError::Kind::noKeyring;
    case QKeychain::AccessDenied:
    case QKeychain::AccessDeniedByUser: return ApiKeyStoreError::Kind::accessDenied;
    default: return ApiKeyStoreError::Kind::failed;
    }
}

// Runs a prepared job to its end. The job must outlive its own finished() emission, so it is
// deleted later rather than by the awaiting code.
template<typename Job>
QCoro::Task<QKeychain::Error> run(Job* job)
{
    QScopedPointer<Job, QScopedPointerDeleteLater> owned(job);
    job->setAutoDelete(false);
    // A plaintext copy beside the keyring is exactly what the key must never become.
    job->setInsecureFallback(false);
    job->setKey(ApiKeyStore::account);
    job->start();
    co_await qCoro(job, &QKeychain::Job::finished);
    co_return job->error();
}

} // namespace

QString ApiKeyStoreError::message() const
{
    const bool saving = operation == Operation::save;
    switch (kind) {
    case Kind::noKeyring:
        return (saving ? QStringLiteral("No keyring is available on this system, so the API key was not saved.")
                       : QStringLiteral("No keyring is available on this system, so the API key could not be removed."))
            + QStringLiteral(" Install a Secret Service keyring (gnome-keyring, or KeePassXC with its Secret "
                             "Service turned on), log in again, and enter the key once more.");
    case Kind::accessDenied:
        return saving ? QStringLiteral("The keyring refused to save the API key. Unlock it and try again.")
                      : QStringLiteral("The keyring refused to remove the API key. Unlock it and try again.");
    case Kind::failed: break;
    }
    return saving ? QStringLiteral("The API key could not be saved in the keyring.")
                  : QStringLiteral("The API key could not be removed from the keyring.");
}

QCoro::Task<std::optional<QString>> ApiKeyStore::readKey() const
{
    auto* job = new QKeychain::ReadPasswordJob(service);
    job->setAutoDelete(false);
    job->setInsecureFallback(false);
    job->setKey(account);
    job->start();
    co_await qCoro(job, &QKeychain::Job::finished);
    const QKeychain::Error error = job->error();
    const QString key = job->textData();
    job->deleteLater();
    if (error == QKeychain::EntryNotFound)
        co_return std::nullopt;
    if (error != QKeychain::NoError) {
        qCWarning(lcCustomEngine) << "reading the API key from the keyring failed";
        co_return std::nullopt;
    }
    if (key.isEmpty())
        co_return std::nullopt;
    co_return key;
}

QCoro::Task<std::optional<ApiKeyStoreError>> ApiKeyStore::setKey(QString key)
{
    if (key.trimmed().isEmpty()) {
        auto* job = new QKeychain::DeletePasswordJob(service);
        const QKeychain::Error error = co_await run(job);
        if (error == QKeychain::NoError || error == QKeychain::EntryNotFound)
            co_return std::nullopt;
        qCWarning(lcCustomEngine) << "removing the API key from the keyring failed:" << job->errorString();
        co_return ApiKeyStoreError{kindOf(error, job->errorString()), ApiKeyStoreError::Operation::remove};
    }
    auto* job = new QKeychain::WritePasswordJob(service);
    job->setTextData(key);
    const QKeychain::Error error = co_await run(job);
    if (error == QKeychain::NoError)
        co_return std::nullopt;
    qCWarning(lcCustomEngine) << "saving the API key in the keyring failed:" << job->errorString();
    co_return ApiKeyStoreError{kindOf(error, job->errorString()), ApiKeyStoreError::Operation::save};
}
