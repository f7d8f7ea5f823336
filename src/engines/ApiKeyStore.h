#pragma once
#include <QString>
#include <QCoro/QCoroTask>
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
class ApiKeyStore
{
public:
    static inline const QString service = QStringLiteral("com.tembrel.Tembrel");
    static inline const QString account = QStringLiteral("com.tembrel.apikey");

    /// The stored key; nothing when there is none or no keyring can be reached.
    QCoro::Task<std::optional<QString>> readKey() const;

    /// Saves a key that is not blank; a blank key removes the stored one. Nothing means it worked.
    QCoro::Task<std::optional<ApiKeyStoreError>> setKey(QString key);
};
