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

// One keyring read, shared by everyone waiting for it. The job lives as long as the read: the
// awaiting coroutines may resume after the finished() emission, by a later turn of the loop.
struct ApiKeyStore::Read
{
    QKeychain::ReadPasswordJob* job = nullptr;
    std::optional<QString> key;
    bool done = false;

    // A job still running must not be deleted: the keyring library calls back into it.
    ~Read()
    {
        if (done)
            job->deleteLater();
        else
            QObject::connect(job, &QKeychain::Job::finished, job, &QObject::deleteLater);
    }
};

ApiKeyStore::ApiKeyStore() = default;
ApiKeyStore::~ApiKeyStore() = default;

std::shared_ptr<ApiKeyStore::Read> ApiKeyStore::startRead()
{
    auto read = std::make_shared<Read>();
    auto* job = new QKeychain::ReadPasswordJob(service);
    read->job = job;
    job->setAutoDelete(false);
    job->setInsecureFallback(false);
    job->setKey(account);
    ++m_keyringReads;
    const quint64 generation = m_generation;
    // Connected before any reader awaits the job, so the result is in place when they resume.
    QObject::connect(job, &QKeychain::Job::finished, &m_context, [this, weak = std::weak_ptr<Read>(read), generation] {
        const std::shared_ptr<Read> read = weak.lock();
        if (!read)
            return;
        const QKeychain::Error error = read->job->error();
        const QString key = read->job->textData();
        read->done = true;
        if (m_reading == read)
            m_reading.reset();
        if (error != QKeychain::NoError && error != QKeychain::EntryNotFound) {
            qCWarning(lcCustomEngine) << "reading the API key from the keyring failed";
            return;
        }
        if (error == QKeychain::NoError && !key.isEmpty())
            read->key = key;
        if (generation == m_generation)
            m_known = read->key;
    });
    m_reading = read;
    job->start();
    return read;
}

void ApiKeyStore::prefetch()
{
    if (!m_known && !m_reading)
        startRead();
}

void ApiKeyStore::refresh()
{
    m_known.reset();
    ++m_generation;
    startRead();
}

QCoro::Task<std::optional<QString>> ApiKeyStore::readKey()
{
    if (m_known)
        co_return *m_known;
    std::shared_ptr<Read> read = m_reading ? m_reading : startRead();
    if (!read->done)
        co_await qCoro(read->job, &QKeychain::Job::finished);
    co_return read->key;
}

QCoro::Task<std::optional<ApiKeyStoreError>> ApiKeyStore::setKey(QString key)
{
    if (key.trimmed().isEmpty()) {
        auto* job = new QKeychain::DeletePasswordJob(service);
        const QKeychain::Error error = co_await run(job);
        ++m_generation;
        if (error == QKeychain::NoError || error == QKeychain::EntryNotFound) {
            m_known = std::optional<QString>();
            co_return std::nullopt;
        }
        m_known.reset();
        qCWarning(lcCustomEngine) << "removing the API key from the keyring failed:" << job->errorString();
        co_return ApiKeyStoreError{kindOf(error, job->errorString()), ApiKeyStoreError::Operation::remove};
    }
    auto* job = new QKeychain::WritePasswordJob(service);
    job->setTextData(key);
    const QKeychain::Error error = co_await run(job);
    ++m_generation;
    if (error == QKeychain::NoError) {
        m_known = key;
        co_return std::nullopt;
    }
    m_known.reset();
    qCWarning(lcCustomEngine) << "saving the API key in the keyring failed:" << job->errorString();
    co_return ApiKeyStoreError{kindOf(error, job->errorString()), ApiKeyStoreError::Operation::save};
}
