#include "settings/OnboardingSuccess.h"

#include "core/TextFormat.h"

namespace OnboardingSuccess {

namespace {
const QString meeting = QStringLiteral("meeting");
const QString tomorow = QStringLiteral("tomorow");
const QString alot = QStringLiteral("alot");
} // namespace

bool pastedTextIsFixed(const QString& pasted)
{
    const QString text = pasted.toLower();
    return !TextFormat::isBlank(text) && text.contains(meeting) && !text.contains(tomorow) && !text.contains(alot);
}

bool clipboardTextIsFixed(const QString& clipboardText)
{
    const QString text = clipboardText.toLower();
    return text != sampleSentence.toLower() && text.contains(meeting) && !text.contains(tomorow);
}

} // namespace OnboardingSuccess
