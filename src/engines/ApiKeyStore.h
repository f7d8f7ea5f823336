#pragma once
#include <QObject>
#include <QString>
#include <QCoro/QCoroTask>
#include <memory>
#include <optional>

/// Why the API key could not be saved or removed; the settings window shows message().
struct ApiKeyStoreError
{
    enum class Kind {
        noKeyring,    // no keyring service is reachable on this desktop
        accessDenied, // the keyring refused (locked, or the user said no)
        failed,       // anything else the keyring reported
    };
    enum class Operation { save, remove };

    Kind kind = Kind::failed;
    Operation operation = Operation::save;

    bool operator==(const ApiKeyStoreError&) const = default;
    [[nodiscard]] QString message() const;
};

/// The custom endpoint's API key, kept only in the system keyring (Secret Service, or the macOS
/// Keychain), never in a file. Jobs run asynchronously on the calling thread.
///
/// Asking the keyring takes a few hundred milliseconds, too long to wait for in front of a fix:
/// the key is read once, ahead of need (prefetch()), and kept in memory; a key saved here replaces
/// the kept one. A read that failed is not kept, so the next one asks the keyring again.
class ApiKeyStore
{
public:
    static inline const QString service = QStringLiteral("com.tembrel.Tembrel");
    static inline const QString account = QStringLiteral("com.tembrel.apikey");

    ApiKeyStore();
    ~ApiKeyStore();

    /// The stored key; nothing when there is none or no keyring can be reached. Answers from
    /// memory once the key is known, and joins a read under way.
    QCoro::Task<std::optional<QString>> readKey();

    /// Starts reading the key unless it is known or being read.
    void prefetch();
    /// Forgets the kept key and reads it again, for when it may have changed outside Tembrel.
    void refresh();
    /// How many times the keyring was asked for the key.
    [[nodiscard]] int keyringReads() const { return m_keyringReads; }

    /// Saves a key that is not blank; a blank key removes the stored one. Nothing means it worked.
    QCoro::Task<std::optional<ApiKeyStoreError>> setKey(QString key);

private:
    struct Read;
    std::shared_ptr<Read> startRead();

    QObject m_context; // ends the jobs' callbacks into the store with it
    std::optional<std::optional<QString>> m_known;
    std::shared_ptr<Read> m_reading;
    quint64 m_generation = 0; // a read started before the last save or refresh is not kept
    int m_keyringReads = 0;
};
