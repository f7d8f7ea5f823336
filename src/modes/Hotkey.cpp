#include "modes/Hotkey.h"

#include <QHashFunctions>
#include <QJsonValue>
#include <cmath>
#include <limits>

namespace {
// Values Swift's decoder accepts for an unsigned integer field: whole, non-negative, in range.
std::optional<quint64> unsignedValue(const QJsonValue& value, quint64 max)
{
    if (!value.isDouble())
        return std::nullopt;
    const double number = value.toDouble();
    if (number < 0 || number != std::floor(number) || number > double(max))
        return std::nullopt;
    // Integers beyond 2^53 lose precision as doubles; toInteger keeps the exact parsed value.
    const qint64 exact = value.toInteger(-1);
    if (exact >= 0)
        return quint64(exact);
    return quint64(number);
}
} // namespace

quint32 Hotkey::carbonModifiers() const
{
    quint32 carbon = 0;
    if (hasControl())
        carbon += carbonControlKey;
    if (hasOption())
        carbon += carbonOptionKey;
    if (hasShift())
        carbon += carbonShiftKey;
    if (hasCommand())
        carbon += carbonCmdKey;
    return carbon;
}

QJsonObject Hotkey::toJson() const
{
    return {{QStringLiteral("keyCode"), qint64(keyCode)},
            {QStringLiteral("modifierFlagsRawValue"), qint64(modifierFlagsRawValue)}};
}

std::optional<Hotkey> Hotkey::fromJson(const QJsonValue& value)
{
    if (!value.isObject())
        return std::nullopt;
    const QJsonObject object = value.toObject();
    const auto code = unsignedValue(object.value(QStringLiteral("keyCode")), std::numeric_limits<quint32>::max());
    const auto flags = unsignedValue(object.value(QStringLiteral("modifierFlagsRawValue")),
                                     quint64(std::numeric_limits<qint64>::max()));
    if (!code || !flags)
        return std::nullopt;
    return Hotkey{quint32(*code), *flags};
}

size_t qHash(const Hotkey& hotkey, size_t seed) noexcept
{
    return qHashMulti(seed, hotkey.keyCode, hotkey.modifierFlagsRawValue);
}
