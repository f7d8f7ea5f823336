#pragma once
#include <QByteArray>
#include <QString>
#include <optional>

class QSettings;

/// Typed reads of the user's settings with the fallbacks the stores rely on. The settings file on
/// Linux is INI text, which keeps byte arrays typed but gives booleans and numbers back as text,
/// so each read accepts both the typed value (before a sync) and its textual form (after one).
namespace UserDefaults {
/// A boolean; absent or unreadable reads as false. "true"/"yes"/non-zero numbers read as true.
[[nodiscard]] bool boolValue(const QSettings& settings, const QString& key);
/// A boolean only when the value is one: true/false, or the text "true"/"false". Anything else gives nothing.
[[nodiscard]] std::optional<bool> strictBool(const QSettings& settings, const QString& key);
/// A 64-bit integer; absent or not a number reads as 0.
[[nodiscard]] qint64 integerValue(const QSettings& settings, const QString& key);
/// A floating-point number, or nothing when absent or not a number.
[[nodiscard]] std::optional<double> doubleValue(const QSettings& settings, const QString& key);
/// A string (numbers give their text), or nothing when absent or not text.
[[nodiscard]] std::optional<QString> stringValue(const QSettings& settings, const QString& key);
/// A "data" value (stored as a byte array), or nothing when absent or of another type.
[[nodiscard]] std::optional<QByteArray> dataValue(const QSettings& settings, const QString& key);
} // namespace UserDefaults
