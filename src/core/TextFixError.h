#pragma once
#include "core/FixResult.h"
#include "core/NetworkFailure.h"

#include <QString>
#include <optional>
#include <variant>

/// Analytics category of a failure ("error_type").
enum class FailureCategory { network = 0, rateLimit = 1, emptyInput = 2, tooLong = 3, processing = 4, other = 5 };
/// "network", "rate_limit", "empty_input", "too_long", "processing"; "other" for 5 and any other code.
[[nodiscard]] QString failureCategoryText(int code);
[[nodiscard]] inline QString failureCategoryText(FailureCategory category) { return failureCategoryText(int(category)); }

/// The fix pipeline's own failures.
class TextFixError
{
public:
    enum class Kind { inputTooLong, processingFailed, networkError, engineUnavailable, emptyInput, emptyResponse, rateLimited,
                      needsLanguageModel };

    static TextFixError inputTooLong(int maximumLength);
    static TextFixError processingFailed(std::optional<NetworkFailure> underlying = std::nullopt);
    static TextFixError networkError(std::optional<NetworkFailure> underlying = std::nullopt);
    static TextFixError engineUnavailable() { return TextFixError(Kind::engineUnavailable); }
    static TextFixError emptyInput() { return TextFixError(Kind::emptyInput); }
    static TextFixError emptyResponse() { return TextFixError(Kind::emptyResponse); }
    static TextFixError rateLimited() { return TextFixError(Kind::rateLimited); }
    /// The mode asks for more than proofreading and no language model is set up.
    static TextFixError needsLanguageModel() { return TextFixError(Kind::needsLanguageModel); }

    [[nodiscard]] Kind kind() const { return m_kind; }
    [[nodiscard]] int maximumLength() const { return m_maximumLength; }
    [[nodiscard]] const std::optional<NetworkFailure>& underlying() const { return m_underlying; }
    /// The same failure with a sentence on what actually happened (the panel's second line).
    [[nodiscard]] TextFixError withDetail(QString detail) const;
    /// What actually happened, in the user's words; empty when nothing more is known.
    [[nodiscard]] const QString& detail() const { return m_detail; }

    /// Short developer text.
    [[nodiscard]] QString errorDescription() const;
    /// The friendlier text the result panel shows; depends on which engine is in use.
    [[nodiscard]] QString panelMessage(bool customEndpointConfigured) const;
    /// What the panel says when a mode needs a language model; the panel offers Settings beside it.
    [[nodiscard]] static const QString& needsLanguageModelMessage();
    /// The analytics category.
    [[nodiscard]] FailureCategory category() const;

    /// The same failure whatever its detail says: the detail explains, it does not distinguish.
    bool operator==(const TextFixError& other) const
    {
        return m_kind == other.m_kind && m_maximumLength == other.m_maximumLength && m_underlying == other.m_underlying;
    }

private:
    explicit TextFixError(Kind kind) : m_kind(kind) {}

    Kind m_kind;
    int m_maximumLength = 0;
    std::optional<NetworkFailure> m_underlying;
    QString m_detail;
};

/// Failures only the user's own endpoint produces; their description is also the panel message.
enum class CustomEndpointError { authenticationFailed, serverError, invalidResponse, redirectRefused, answerTooLarge };
/// Developer text of an endpoint failure, which is also what the panel shows.
[[nodiscard]] QString errorDescription(CustomEndpointError error);

/// Any other failure, such as an answer that does not decode.
struct OtherError
{
    QString description;
    QString detail; ///< what actually happened, in the user's words; may be empty
    bool operator==(const OtherError& other) const { return description == other.description; }
};

/// Everything an engine can fail with.
using FixError = std::variant<TextFixError, CustomEndpointError, OtherError>;

/// What the result panel shows for any failure.
[[nodiscard]] QString panelMessage(const FixError& error, bool customEndpointConfigured);
/// What actually happened, for the line under the panel's title; empty when nothing more is known.
[[nodiscard]] QString failureDetail(const FixError& error);
/// The analytics category of any failure.
[[nodiscard]] FailureCategory failureCategory(const FixError& error);
/// What the trace records for a failure: the panel message, the endpoint error's description, or
/// "unknown error".
[[nodiscard]] QString traceReason(const FixError& error, bool customEndpointConfigured);

/// A value or the failure that stood in its way.
template<typename T>
class Outcome
{
public:
    Outcome(T value) : m_value(std::move(value)) {}
    Outcome(FixError error) : m_value(std::move(error)) {}
    Outcome(TextFixError error) : m_value(FixError(std::move(error))) {}
    Outcome(CustomEndpointError error) : m_value(FixError(error)) {}
    Outcome(OtherError error) : m_value(FixError(std::move(error))) {}

    [[nodiscard]] bool hasValue() const { return std::holds_alternative<T>(m_value); }
    explicit operator bool() const { return hasValue(); }
    [[nodiscard]] const T& value() const { return std::get<T>(m_value); }
    [[nodiscard]] T& value() { return std::get<T>(m_value); }
    [[nodiscard]] const FixError& error() const { return std::get<FixError>(m_value); }

private:
    std::variant<T, FixError> m_value;
};

using FixOutcome = Outcome<FixResult>;
