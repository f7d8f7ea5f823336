#pragma once
#include <QMetaType>
#include <QString>

#include <optional>

/// One navigable piece of a rendered diff: a numbered edit or a stretch of unchanged text.
/// `attributed` uses the same rich-text form as DiffRenderViewModel::attributed; offsets and
/// lengths count user-perceived characters of the whole rendered text.
struct DiffSegment
{
    int id = 0;
    QString attributed;
    std::optional<int> editNumber;
    qsizetype characterOffset = 0;
    qsizetype characterLength = 0;

    friend bool operator==(const DiffSegment &, const DiffSegment &) = default;
};
Q_DECLARE_METATYPE(DiffSegment)
