#pragma once
#include "engines/TextFixEngine.h"

#include <QHash>
#include <QString>
#include <memory>

class SpellDictionary;

/// Proofreading on this computer with the system's hunspell dictionaries: no account, no network.
/// English by default; a text in another language whose dictionary is installed is checked with
/// that one. Serves the proofreading mode only. Lives on one thread (the UI thread in the app).
class OfflineEngine : public TextFixEngine
{
public:
    /// `dictionaryDirectory` holds "<name>.aff"/"<name>.dic" pairs, as defaultDictionaryDirectory().
    explicit OfflineEngine(QString dictionaryDirectory = defaultDictionaryDirectory());
    ~OfflineEngine() override;

    /// TEMBREL_DICTIONARY_DIR when set, else the system's "/usr/share/hunspell".
    [[nodiscard]] static QString defaultDictionaryDirectory();
    /// Whether a mode with this prompt can be served without a language model: the proofreading
    /// prompt, or none.
    [[nodiscard]] static bool servesPrompt(const QString& systemPrompt);

    /// True when at least one dictionary is installed.
    QCoro::Task<bool> isAvailable() override;
    QCoro::Task<FixOutcome> fix(QString text, QString systemPrompt, TracePtr trace, CancellationToken cancel) override;

    /// The same fix, synchronously; `dictionaryName` receives the dictionary used.
    [[nodiscard]] FixOutcome fixNow(const QString& text, const QString& systemPrompt, QString* dictionaryName = nullptr);
    /// The dictionary a text would be checked with, such as "en_US"; empty when none is installed.
    [[nodiscard]] QString dictionaryFor(const QString& text) const;

private:
    [[nodiscard]] SpellDictionary* dictionary(const QString& name);

    QString m_directory;
    QStringList m_installed;
    QHash<QString, std::shared_ptr<SpellDictionary>> m_dictionaries;
};
