#pragma once
#include "diff/Change.h"

#include <QString>

// Writes changes compactly for readable test failures: "{=the| }{-cat| }{+dog|\n}" followed by
// "#<edit count>", with newlines, tabs and carriage returns escaped.
inline QString describe(const DiffComputation &diff)
{
    const auto escape = [](QString s) {
        return s.replace(u'\\', QStringLiteral("\\\\"))
            .replace(u'\n', QStringLiteral("\\n"))
            .replace(u'\r', QStringLiteral("\\r"))
            .replace(u'\t', QStringLiteral("\\t"));
    };
    QString out;
    for (const Change &c : diff.changes) {
        const QChar kind = c.added ? u'+' : c.removed ? u'-' : u'=';
        out += u'{' + QString(kind) + escape(c.value) + u'|' + escape(c.trailingWhitespace) + u'}';
    }
    return out + u'#' + QString::number(diff.editCount);
}
