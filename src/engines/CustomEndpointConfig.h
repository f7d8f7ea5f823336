#pragma once
#include <QString>
#include <QCoro/QCoroTask>
#include <functional>
#include <optional>

/// The user's own endpoint as the settings describe it at one moment.
struct CustomEndpointConfig
{
    QString url;           // base URL as entered, untrimmed
    QString model;         // model identifier as entered; blank means "let the server choose"
    bool isConfigured = false; // the custom endpoint is switched on and its URL is not blank
};

/// Reads the current settings each time it is called.
using CustomEndpointConfigProvider = std::function<CustomEndpointConfig()>;

/// Reads the endpoint's API key; nothing (or an empty text) means requests go without one.
using ApiKeyProvider = std::function<QCoro::Task<std::optional<QString>>()>;

/// Number of word edits between an original and a fixed text.
using EditCounter = std::function<qint64(const QString& original, const QString& fixed)>;
