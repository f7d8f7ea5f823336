#include "engines/OfflineEngine.h"

#include "core/Logging.h"
#include "engines/OfflineProofreader.h"
#include "engines/SpellDictionary.h"
#include "modes/BuiltInPrompts.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QSet>

namespace {

// Frequent short words of the languages Debian ships dictionaries for; enough to tell them apart.
struct LanguageWords
{
    const char* language;
    QSet<QString> words;
};

const QList<LanguageWords>& languageWords()
{
    static const QList<LanguageWords> table = [] {
        const auto set = [](const char* list) {
            QSet<QString> words;
            for (const QString& word : QString::fromLatin1(list).split(u' '))
                words.insert(word);
            return words;
        };
        return QList<LanguageWords>{
            {"en", set("the and is are was to of in it you that this with for not have be on")},
            {"de", set("der die das und ist nicht ich sie es ein eine zu mit auf den dem des sind wir")},
            {"fr", set("le la les et est une des pas que qui pour dans je vous nous sur du au")},
            {"es", set("el la los las y es que de en un una por para no con se del al")},
            {"it", set("il lo la gli le e che di un una per non con sono del della")},
            {"pt", set("o os as e que de em um uma para com não do da no na")},
            {"nl", set("de het een en is van niet ik je dat met op zijn voor")},
        };
    }();
    return table;
}

QString guessLanguage(const QString& text)
{
    static const QRegularExpression separators(QStringLiteral("[^\\p{L}]+"));
    QHash<QString, int> hits;
    int seen = 0;
    for (const QString& word : text.left(4000).toLower().split(separators, Qt::SkipEmptyParts)) {
        if (++seen > 600)
            break;
        for (const LanguageWords& language : languageWords()) {
            if (language.words.contains(word))
                ++hits[QString::fromLatin1(language.language)];
        }
    }
    QString best = QStringLiteral("en");
    int bestHits = hits.value(best);
    for (auto it = hits.cbegin(); it != hits.cend(); ++it) {
        // Another language has to win clearly; a few shared words ("die", "la") prove nothing.
        if (it.value() > bestHits + 1) {
            best = it.key();
            bestHits = it.value();
        }
    }
    return best;
}

void record(const TracePtr& trace, const QString& event, const QString& detail)
{
    if (trace)
        trace->record(event, detail);
}

} // namespace

OfflineEngine::OfflineEngine(QString dictionaryDirectory)
    : m_directory(std::move(dictionaryDirectory))
    , m_installed(SpellDictionary::installed(m_directory))
{
}

OfflineEngine::~OfflineEngine() = default;

QString OfflineEngine::defaultDictionaryDirectory()
{
    const QString overridden = qEnvironmentVariable("TEMBREL_DICTIONARY_DIR");
    return overridden.isEmpty() ? QStringLiteral("/usr/share/hunspell") : overridden;
}

bool OfflineEngine::servesPrompt(const QString& systemPrompt)
{
    return systemPrompt.trimmed().isEmpty() || systemPrompt == BuiltInPrompts::proofreadPrompt();
}

QCoro::Task<bool> OfflineEngine::isAvailable()
{
    co_return !m_installed.isEmpty();
}

QString OfflineEngine::dictionaryFor(const QString& text) const
{
    if (m_installed.isEmpty())
        return QString();
    const QString prose = OfflineProofreader::looksLikeHtml(text) ? OfflineProofreader::roughText(text) : text;
    const QString language = guessLanguage(prose);
    // Prefer the language's main country ("de_DE", "fr_FR"), then any of its variants, then English.
    const QStringList preferred{language + u'_' + language.toUpper(), QStringLiteral("en_US"), QStringLiteral("en_GB")};
    if (m_installed.contains(preferred.front()))
        return preferred.front();
    for (const QString& name : m_installed) {
        if (name.startsWith(language + u'_') || name == language)
            return name;
    }
    for (const QString& name : preferred.mid(1)) {
        if (m_installed.contains(name))
            return name;
    }
    for (const QString& name : m_installed) {
        if (name.startsWith(QStringLiteral("en")))
            return name;
    }
    return m_installed.front();
}

SpellDictionary* OfflineEngine::dictionary(const QString& name)
{
    auto found = m_dictionaries.find(name);
    if (found == m_dictionaries.end())
        found = m_dictionaries.insert(name, std::shared_ptr<SpellDictionary>(SpellDictionary::open(m_directory, name)));
    return found->get();
}

FixOutcome OfflineEngine::fixNow(const QString& text, const QString& systemPrompt, QString* dictionaryName)
{
    if (!servesPrompt(systemPrompt))
        return TextFixError::needsLanguageModel();
    if (text.trimmed().isEmpty())
        return TextFixError::emptyInput();
    const QString name = dictionaryFor(text);
    SpellDictionary* spelling = name.isEmpty() ? nullptr : dictionary(name);
    if (!spelling) {
        qCWarning(lcOfflineEngine) << "no usable dictionary in" << m_directory;
        return TextFixError::engineUnavailable();
    }
    if (dictionaryName)
        *dictionaryName = name;
    OfflineProofreader proofreader(*spelling, name.startsWith(QStringLiteral("en")));
    FixResult result;
    result.originalText = text;
    qint64 edits = 0;
    result.fixedText = proofreader.proofread(text, &edits);
    result.editCount = edits;
    return result;
}

QCoro::Task<FixOutcome> OfflineEngine::fix(QString text, QString systemPrompt, TracePtr trace, CancellationToken cancel)
{
    Q_UNUSED(cancel) // the work is synchronous and short: there is no point at which to stop
    QElapsedTimer elapsed;
    elapsed.start();
    record(trace, QStringLiteral("request_started"), QStringLiteral("offline proofreading"));
    QString dictionaryName;
    FixOutcome outcome = fixNow(text, systemPrompt, &dictionaryName);
    if (!outcome) {
        record(trace, QStringLiteral("request_failed"), panelMessage(outcome.error(), false));
        co_return outcome;
    }
    record(trace, QStringLiteral("response_received"),
           QStringLiteral("%1, %2 edits (%3 ms)")
               .arg(dictionaryName)
               .arg(outcome.value().editCount.value_or(0))
               .arg(elapsed.elapsed()));
    co_return outcome;
}
