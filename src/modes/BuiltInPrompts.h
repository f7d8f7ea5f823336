#pragma once
#include <QString>

/// The system prompts the four built-in modes ship with.
namespace BuiltInPrompts {
/// "Tembrel": fix only clear errors, keep the author's voice.
[[nodiscard]] const QString& proofreadPrompt();
/// "Professional": polish for the workplace.
[[nodiscard]] const QString& professionalPrompt();
/// "Casual": fix errors, keep the informal style and lowercase.
[[nodiscard]] const QString& casualPrompt();
/// "Concise": tighten the text.
[[nodiscard]] const QString& concisePrompt();
} // namespace BuiltInPrompts
