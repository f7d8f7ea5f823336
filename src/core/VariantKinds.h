#pragma once
#include <QVariant>

/// Whether a value read back from settings or a web page holds a number of any width, as opposed
/// to text, a boolean or nothing; such readers accept numbers and refuse everything else.
[[nodiscard]] inline bool holdsNumber(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::Float:
        return true;
    default:
        return false;
    }
}
