#include "settings/UserDefaults.h"

#include "core/VariantKinds.h"

#include <QSettings>
#include <cmath>

namespace {
bool isText(const QVariant& value)
{
    return value.typeId() == QMetaType::QString;
}
} // namespace

bool UserDefaults::boolValue(const QSettings& settings, const QString& key)
{
    const QVariant value = settings.value(key);
    if (value.typeId() == QMetaType::Bool)
        return value.toBool();
    if (holdsNumber(value))
        return value.toDouble() != 0;
    if (isText(value)) {
        const QString text = value.toString().trimmed().toLower();
        if (text == QLatin1String("true") || text == QLatin1String("yes"))
            return true;
        bool ok = false;
        const double number = text.toDouble(&ok);
        return ok && number != 0;
    }
    return false;
}

std::optional<bool> UserDefaults::strictBool(const QSettings& settings, const QString& key)
{
    const QVariant value = settings.value(key);
    if (value.typeId() == QMetaType::Bool)
        return value.toBool();
    if (isText(value)) {
        if (value.toString() == QLatin1String("true"))
            return true;
        if (value.toString() == QLatin1String("false"))
            return false;
    }
    return std::nullopt;
}

qint64 UserDefaults::integerValue(const QSettings& settings, const QString& key)
{
    const QVariant value = settings.value(key);
    if (!holdsNumber(value) && !isText(value))
        return 0;
    bool ok = false;
    const qint64 number = value.toLongLong(&ok);
    return ok ? number : 0;
}

std::optional<double> UserDefaults::doubleValue(const QSettings& settings, const QString& key)
{
    const QVariant value = settings.value(key);
    if (holdsNumber(value))
        return value.toDouble();
    if (isText(value)) {
        bool ok = false;
        const double number = value.toString().toDouble(&ok);
        if (ok && std::isfinite(number))
            return number;
    }
    return std::nullopt;
}

std::optional<QString> UserDefaults::stringValue(const QSettings& settings, const QString& key)
{
    const QVariant value = settings.value(key);
    if (isText(value) || holdsNumber(value))
        return value.toString();
    return std::nullopt;
}

std::optional<QByteArray> UserDefaults::dataValue(const QSettings& settings, const QString& key)
{
    const QVariant value = settings.value(key);
    if (value.typeId() == QMetaType::QByteArray)
        return value.toByteArray();
    return std::nullopt;
}
