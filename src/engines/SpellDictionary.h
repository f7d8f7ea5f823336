#pragma once
#include <QHash>
#include <QString>
#include <QStringList>
#include <memory>

struct Hunhandle;

/// One installed hunspell dictionary (such as "en_US"), with its suggestions cached. Not
/// thread-safe: one owner thread.
class SpellDictionary
{
public:
    ~SpellDictionary();
    SpellDictionary(const SpellDictionary&) = delete;
    SpellDictionary& operator=(const SpellDictionary&) = delete;

    /// Opens "<directory>/<name>.aff" and ".dic"; nothing when either is missing or unreadable.
    [[nodiscard]] static std::unique_ptr<SpellDictionary> open(const QString& directory, const QString& name);
    /// The names of the dictionaries installed in `directory`, sorted.
    [[nodiscard]] static QStringList installed(const QString& directory);

    /// The dictionary's name, such as "en_US".
    [[nodiscard]] const QString& name() const { return m_name; }
    /// Whether the dictionary accepts `word`.
    [[nodiscard]] bool isCorrect(const QString& word);
    /// The dictionary's suggestions for `word`, best first.
    [[nodiscard]] QStringList suggestions(const QString& word);

private:
    SpellDictionary() = default;
    [[nodiscard]] QByteArray encoded(const QString& word) const;
    [[nodiscard]] QString decoded(const char* bytes) const;

    QString m_name;
    Hunhandle* m_handle = nullptr;
    bool m_utf8 = true;
    QHash<QString, bool> m_known;
    QHash<QString, QStringList> m_suggestions;
};
