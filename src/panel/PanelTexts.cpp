#include "panel/PanelTexts.h"

#include "core/TextFixError.h"
#include "core/TextFormat.h"

#include <QRegularExpression>

namespace {

bool containsAny(const QString& message, std::initializer_list<const char16_t*> words)
{
    for (const char16_t* word : words) {
        if (message.contains(QStringView(word), Qt::CaseSensitive))
            return true;
    }
    return false;
}

// The key caps of the hints: macOS shows its symbols, every other platform spells the keys out.
struct KeyCaps
{
    const char16_t* paste;
    const char16_t* dismiss;
};
constexpr KeyCaps macKeyCaps{u"⌘V", u"⎋"};
constexpr KeyCaps spelledKeyCaps{u"Ctrl+V", u"Esc"};
#ifdef Q_OS_MACOS
constexpr const KeyCaps& keyCaps = macKeyCaps;
#else
constexpr const KeyCaps& keyCaps = spelledKeyCaps;
#endif

} // namespace

namespace PanelTexts {

QString editCountText(qint64 editCount)
{
    return TextFormat::plural(editCount, QStringLiteral("edit"));
}

QString durationText(double durationSeconds)
{
    return QString::asprintf("%.2fs", durationSeconds);
}

QString successHeader(qint64 editCount, double durationSeconds)
{
    return QStringLiteral("Copied! · ") + editCountText(editCount) + QStringLiteral(" · ") + durationText(durationSeconds);
}

QString errorTitle(const QString& message)
{
    if (message == TextFixError::needsLanguageModelMessage())
        return QStringLiteral("This mode needs a language model");
    if (containsAny(message, {u"internet", u"server", u"connection"}))
        return QStringLiteral("Couldn't reach the server");
    if (containsAny(message, {u"API endpoint", u"authentication", u"API key"}))
        return QStringLiteral("Couldn't connect to your API");
    return QStringLiteral("Something went wrong");
}

QString errorSubtitle(const QString& message, const QString& detail)
{
    if (message == TextFixError::needsLanguageModelMessage())
        return QStringLiteral("Proofreading works on this computer. For this mode, add an OpenAI-compatible endpoint in Settings.");
    if (!detail.isEmpty())
        return detail;
    // "connection" alone is deliberately not enough here: such a message is shown as it is.
    if (containsAny(message, {u"internet", u"server"}))
        return QStringLiteral("Check your internet connection and try again.");
    if (containsAny(message, {u"API endpoint", u"authentication", u"API key"}))
        return QStringLiteral("Check your custom endpoint settings and try again.");
    // A message that opens with the title's words ("Something went wrong. Try again?") keeps
    // only the rest, so the panel does not say the same thing twice.
    const QString title = errorTitle(message);
    if (message.startsWith(title)) {
        const QString rest = message.mid(title.size()).remove(QRegularExpression(QStringLiteral("^[.!:,;\\s]+")));
        if (!rest.isEmpty())
            return rest;
    }
    return message;
}

QString editPosition(int index, int total)
{
    const int shown = total > 0 ? index + 1 : 0;
    return QString::number(shown) + QStringLiteral(" of ") + QString::number(total);
}

QString pasteKeyCap()
{
    return QString::fromUtf16(keyCaps.paste);
}

QString dismissKeyCap()
{
    return QString::fromUtf16(keyCaps.dismiss);
}

} // namespace PanelTexts
