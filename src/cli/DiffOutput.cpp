#include "cli/DiffOutput.h"

#include <QString>

namespace {

void appendJsonString(QByteArray &out, const QString &text)
{
    out += '"';
    // Unescaped stretches are converted whole, so surrogate pairs stay together.
    qsizetype plainFrom = 0;
    const auto flush = [&](qsizetype to) { out += QStringView(text).mid(plainFrom, to - plainFrom).toUtf8(); };
    for (qsizetype k = 0; k < text.size(); ++k) {
        const char16_t u = text.at(k).unicode();
        const char *escape = nullptr;
        switch (u) {
        case u'"': escape = "\\\""; break;
        case u'\\': escape = "\\\\"; break;
        case u'\n': escape = "\\n"; break;
        case u'\r': escape = "\\r"; break;
        case u'\t': escape = "\\t"; break;
        case u'\b': escape = "\\b"; break;
        case u'\f': escape = "\\f"; break;
        default: break;
        }
        if (!escape && u >= 0x20)
            continue;
        flush(k);
        plainFrom = k + 1;
        if (escape)
            out += escape;
        else
            out += "\\u00" + QByteArray::number(u, 16).rightJustified(2, '0');
    }
    flush(text.size());
    out += '"';
}

} // namespace

QByteArray diffAsJson(const DiffComputation &diff)
{
    // Written by hand so the keys keep this order; QJsonObject would sort them.
    QByteArray out = "{\"changes\":[";
    bool first = true;
    for (const Change &change : diff.changes) {
        if (!first)
            out += ',';
        first = false;
        out += "{\"value\":";
        appendJsonString(out, change.value);
        out += change.added ? ",\"added\":true" : ",\"added\":false";
        out += change.removed ? ",\"removed\":true" : ",\"removed\":false";
        out += ",\"trailingWhitespace\":";
        appendJsonString(out, change.trailingWhitespace);
        out += '}';
    }
    out += "],\"editCount\":" + QByteArray::number(diff.editCount) + "}\n";
    return out;
}

QByteArray diffAsText(const DiffComputation &diff, DiffMarkup markup)
{
    const bool colour = markup == DiffMarkup::Terminal;
    const QString removedStart = colour ? QStringLiteral("\x1b[9;31m") : QStringLiteral("[-");
    const QString removedEnd = colour ? QStringLiteral("\x1b[0m") : QStringLiteral("-]");
    const QString addedStart = colour ? QStringLiteral("\x1b[32m") : QStringLiteral("{+");
    const QString addedEnd = colour ? QStringLiteral("\x1b[0m") : QStringLiteral("+}");
    QString out;
    for (const Change &change : diff.changes) {
        if (change.removed)
            out += removedStart + change.value + removedEnd;
        else if (change.added)
            out += addedStart + change.value + addedEnd;
        else
            out += change.value;
        out += change.trailingWhitespace;
    }
    if (!out.isEmpty() && !out.endsWith(u'\n'))
        out += u'\n';
    out += QString::number(diff.editCount) + (diff.editCount == 1 ? QStringLiteral(" edit\n") : QStringLiteral(" edits\n"));
    return out.toUtf8();
}
