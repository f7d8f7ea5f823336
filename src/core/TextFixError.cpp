#include "core/TextFixError.h"

QString failureCategoryText(int code)
{
    switch (code) {
    case 0: return QStringLiteral("network");
    case 1: return QStringLiteral("rate_limit");
    case 2: return QStringLiteral("empty_input");
    case 3: return QStringLiteral("too_long");
    case 4: return QStringLiteral("processing");
    default: return QStringLiteral("other");
    }
}

const QString& TextFixError::needsLanguageModelMessage()
{
    static const QString message = QStringLiteral(
        "This mode needs a language model. Proofreading works offline; for this mode, add an OpenAI-compatible "
        "endpoint in Settings.");
    return message;
}

TextFixError TextFixError::inputTooLong(int maximumLength)
{
    TextFixError error(Kind::inputTooLong);
    error.m_maximumLength = maximumLength;
    return error;
}

TextFixError TextFixError::processingFailed(std::optional<NetworkFailure> underlying)
{
    TextFixError error(Kind::processingFailed);
    error.m_underlying = std::move(underlying);
    return error;
}

TextFixError TextFixError::networkError(std::optional<NetworkFailure> underlying)
{
    TextFixError error(Kind::networkError);
    error.m_underlying = std::move(underlying);
    return error;
}

QString TextFixError::errorDescription() const
{
    switch (m_kind) {
    case Kind::inputTooLong: return QStringLiteral("Text is too long. Maximum %1 characters.").arg(m_maximumLength);
    case Kind::processingFailed: return QStringLiteral("Processing failed.");
    case Kind::networkError: return QStringLiteral("Network error. Check your connection.");
    case Kind::engineUnavailable: return QStringLiteral("Unable to connect to the server.");
    case Kind::emptyInput: return QStringLiteral("No text found to fix.");
    case Kind::emptyResponse: return QStringLiteral("No response received.");
    case Kind::rateLimited: return QStringLiteral("Too many requests. Try again in a moment.");
    case Kind::needsLanguageModel: return QStringLiteral("This mode needs a language model.");
    }
    Q_UNREACHABLE();
    return QString();
}

TextFixError TextFixError::withDetail(QString detail) const
{
    TextFixError detailed = *this;
    detailed.m_detail = std::move(detail);
    return detailed;
}

QString TextFixError::panelMessage(bool customEndpointConfigured) const
{
    switch (m_kind) {
    case Kind::inputTooLong: return QStringLiteral("That's a lot of text! Try a shorter selection.");
    case Kind::processingFailed: return QStringLiteral("Couldn't process that text. Try again?");
    case Kind::networkError: return QStringLiteral("No internet connection. Try again when online.");
    case Kind::engineUnavailable:
        return customEndpointConfigured ? QStringLiteral("Couldn't connect to your API endpoint.")
                                        : QStringLiteral("Couldn't reach the server. Check your internet connection.");
    case Kind::emptyInput: return QStringLiteral("No text selected. Select some text first.");
    case Kind::emptyResponse: return QStringLiteral("Something went wrong. Try again?");
    case Kind::rateLimited: return QStringLiteral("Service is busy. Try again in a moment.");
    case Kind::needsLanguageModel: return needsLanguageModelMessage();
    }
    Q_UNREACHABLE();
    return QString();
}

FailureCategory TextFixError::category() const
{
    switch (m_kind) {
    case Kind::networkError:
    case Kind::engineUnavailable: return FailureCategory::network;
    case Kind::rateLimited: return FailureCategory::rateLimit;
    case Kind::emptyInput: return FailureCategory::emptyInput;
    case Kind::inputTooLong: return FailureCategory::tooLong;
    case Kind::processingFailed:
    case Kind::emptyResponse: return FailureCategory::processing;
    case Kind::needsLanguageModel: return FailureCategory::other;
    }
    Q_UNREACHABLE();
    return FailureCategory::other;
}

QString errorDescription(CustomEndpointError error)
{
    switch (error) {
    case CustomEndpointError::authenticationFailed: return QStringLiteral("API authentication failed. Check your API key.");
    case CustomEndpointError::serverError: return QStringLiteral("Your API endpoint returned an error.");
    case CustomEndpointError::invalidResponse: return QStringLiteral("Invalid response from API endpoint.");
    case CustomEndpointError::redirectRefused:
        return QStringLiteral("Your API endpoint redirected to another server. Tembrel did not follow, so your API key stayed safe.");
    case CustomEndpointError::answerTooLarge:
        return QStringLiteral("Your API endpoint's answer was far too large to use.");
    }
    Q_UNREACHABLE();
    return QString();
}

QString panelMessage(const FixError& error, bool customEndpointConfigured)
{
    if (const auto* fixError = std::get_if<TextFixError>(&error))
        return fixError->panelMessage(customEndpointConfigured);
    if (const auto* endpointError = std::get_if<CustomEndpointError>(&error))
        return errorDescription(*endpointError);
    return QStringLiteral("Something went wrong. Try again?");
}

QString failureDetail(const FixError& error)
{
    if (const auto* fixError = std::get_if<TextFixError>(&error))
        return fixError->detail();
    if (const auto* other = std::get_if<OtherError>(&error))
        return other->detail;
    switch (std::get<CustomEndpointError>(error)) {
    case CustomEndpointError::authenticationFailed: return QStringLiteral("The API key was rejected.");
    case CustomEndpointError::serverError: return QStringLiteral("The endpoint's server failed while answering.");
    case CustomEndpointError::invalidResponse:
    case CustomEndpointError::redirectRefused:
    case CustomEndpointError::answerTooLarge: return QString(); // the message itself says what happened
    }
    return QString();
}

FailureCategory failureCategory(const FixError& error)
{
    if (const auto* fixError = std::get_if<TextFixError>(&error))
        return fixError->category();
    return FailureCategory::other;
}

QString traceReason(const FixError& error, bool customEndpointConfigured)
{
    if (std::holds_alternative<OtherError>(error))
        return QStringLiteral("unknown error");
    return panelMessage(error, customEndpointConfigured);
}
