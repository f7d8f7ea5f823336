#pragma once
#include <QString>

/// The first fix of onboarding: the deliberately wrong sample sentence and the two ways of telling
/// that the user's fixed version of it has arrived.
namespace OnboardingSuccess {

/// What the user selects and fixes on the try-it page.
inline const QString sampleSentence =
    QStringLiteral("I has a meeting tomorow and their going to be alot of people.");

/// Whether what the user pasted into the page is a fixed sentence: not blank, still about the
/// meeting, and free of both misspellings (any letter case).
[[nodiscard]] bool pastedTextIsFixed(const QString& pasted);

/// Whether new clipboard text is the fixed sentence: not the sample itself, still about the
/// meeting, without "tomorow". Looser than the paste check on purpose: a result that keeps "alot"
/// counts here.
[[nodiscard]] bool clipboardTextIsFixed(const QString& clipboardText);

} // namespace OnboardingSuccess
