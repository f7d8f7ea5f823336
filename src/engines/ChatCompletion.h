#pragma once
#include "core/TextFixError.h"

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <optional>

/// The chat-completions protocol as the custom engine and the connection test speak it.
namespace ChatCompletion {

/// "<base>/chat/completions" with exactly one slash between; nothing when the base, trimmed, does
/// not make an http(s) URL with a host.
[[nodiscard]] std::optional<QUrl> endpointUrl(const QString& baseUrl);

/// The request body: the system prompt and the user's text as two messages, and "model" only
/// when `model` is not blank.
[[nodiscard]] QByteArray requestBody(const QString& systemPrompt, const QString& userText, const QString& model);

/// The answer text of a 200 response: the first choice's message content with a leading
/// "<think>…</think>" block removed. No choice, or no content, is emptyResponse; a body that is
/// not a chat completion is an OtherError describing why.
[[nodiscard]] Outcome<QString> decodeAnswer(const QByteArray& body);

/// `content` without one leading reasoning block and the white space after it; nothing when the
/// block is never closed, since then everything is reasoning.
[[nodiscard]] std::optional<QString> stripReasoning(const QString& content);

} // namespace ChatCompletion
