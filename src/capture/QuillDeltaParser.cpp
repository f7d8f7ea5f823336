#include "capture/QuillDeltaParser.h"

#include "core/TextFormat.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>

namespace {

std::optional<bool> boolAttribute(const QJsonObject& object, QLatin1StringView key)
{
    const QJsonValue value = object.value(key);
    return value.isBool() ? std::optional<bool>(value.toBool()) : std::nullopt;
}

std::optional<QString> stringAttribute(const QJsonObject& object, QLatin1StringView key)
{
    const QJsonValue value = object.value(key);
    return value.isString() ? std::optional<QString>(value.toString()) : std::nullopt;
}

// JSON has only doubles; an integer attribute is a number without a fractional part that fits.
std::optional<int> intAttribute(const QJsonObject& object, QLatin1StringView key)
{
    const QJsonValue value = object.value(key);
    if (!value.isDouble())
        return std::nullopt;
    const double number = value.toDouble();
    if (!std::isfinite(number) || std::trunc(number) != number || std::abs(number) > 1'000'000)
        return std::nullopt;
    return int(number);
}

DeltaOp::Attributes readAttributes(const QJsonObject& object)
{
    DeltaOp::Attributes a;
    a.bold = boolAttribute(object, QLatin1StringView("bold"));
    a.italic = boolAttribute(object, QLatin1StringView("italic"));
    a.strike = boolAttribute(object, QLatin1StringView("strike"));
    a.code = boolAttribute(object, QLatin1StringView("code"));
    a.link = stringAttribute(object, QLatin1StringView("link"));
    a.list = stringAttribute(object, QLatin1StringView("list"));
    a.indent = intAttribute(object, QLatin1StringView("indent"));
    a.blockquote = boolAttribute(object, QLatin1StringView("blockquote"));
    a.codeBlock = boolAttribute(object, QLatin1StringView("code-block"));
    a.header = intAttribute(object, QLatin1StringView("header"));
    return a;
}

DeltaOp::Insert readInsert(const QJsonValue& value)
{
    using Kind = DeltaOp::Insert::Kind;
    if (value.isString())
        return {Kind::text, value.toString()};
    const QJsonValue emoji = value.toObject().value(QLatin1StringView("slackemoji"));
    const QJsonValue text = emoji.toObject().value(QLatin1StringView("text"));
    if (value.isObject() && emoji.isObject() && text.isString())
        return {Kind::slackEmoji, text.toString()};
    return {Kind::unknown, {}};
}

bool isOn(const std::optional<bool>& flag)
{
    return flag.value_or(false);
}

class Renderer
{
public:
    void add(const DeltaOp& op)
    {
        using Kind = DeltaOp::Insert::Kind;
        switch (op.insert.kind) {
        case Kind::unknown:
            return;
        case Kind::slackEmoji:
            m_line += op.insert.text;
            return;
        case Kind::text:
            break;
        }
        const DeltaOp::Attributes attributes = op.attributes.value_or(DeltaOp::Attributes{});
        const QList<QStringView> pieces = QStringView(op.insert.text).split(QLatin1Char('\n'));
        for (qsizetype i = 0; i < pieces.size(); ++i) {
            if (!pieces[i].isEmpty())
                m_line += inlineHtml(pieces[i].toString(), attributes);
            if (i + 1 < pieces.size())
                endLine(attributes);
        }
    }

    QString finish()
    {
        if (m_inCodeBlock && !m_codeBuffer.isEmpty()) {
            closeLists();
            appendCodeBlock();
        }
        closeLists();
        if (!m_line.isEmpty())
            m_out += QStringLiteral("<p>") + m_line + QStringLiteral("</p>");
        return m_out;
    }

private:
    struct OpenList
    {
        QString tag;
        int indent;
    };

    static QString inlineHtml(const QString& text, const DeltaOp::Attributes& a)
    {
        QString html = TextFormat::escapeHtml(text);
        if (isOn(a.code))
            html = QStringLiteral("<code>") + html + QStringLiteral("</code>");
        if (isOn(a.italic))
            html = QStringLiteral("<em>") + html + QStringLiteral("</em>");
        if (isOn(a.bold))
            html = QStringLiteral("<strong>") + html + QStringLiteral("</strong>");
        if (isOn(a.strike))
            html = QStringLiteral("<del>") + html + QStringLiteral("</del>");
        if (a.link)
            html = QStringLiteral("<a href=\"") + TextFormat::escapeHtml(*a.link) + QStringLiteral("\">") + html
                + QStringLiteral("</a>");
        return html;
    }

    void endLine(const DeltaOp::Attributes& a)
    {
        if (isOn(a.codeBlock)) {
            if (m_inCodeBlock) {
                m_codeBuffer += QLatin1Char('\n') + m_line;
            } else {
                closeLists();
                m_codeBuffer = m_line;
            }
        } else {
            if (m_inCodeBlock)
                appendCodeBlock();
            if (a.list) {
                addListItem(*a.list, a.indent.value_or(0));
            } else {
                closeLists();
                if (isOn(a.blockquote)) {
                    m_out += QStringLiteral("<blockquote>") + m_line + QStringLiteral("</blockquote>");
                } else if (a.header) {
                    const QString level = QString::number(*a.header);
                    m_out += QStringLiteral("<h") + level + QLatin1Char('>') + m_line + QStringLiteral("</h") + level
                        + QLatin1Char('>');
                } else if (!m_line.isEmpty()) {
                    m_out += QStringLiteral("<p>") + m_line + QStringLiteral("</p>");
                }
            }
        }
        m_line.clear();
        m_inCodeBlock = isOn(a.codeBlock);
    }

    // The buffer holds line HTML, already escaped; escaping it again is what Slack's own renderer
    // does, and the engine's prompts are tuned to it.
    void appendCodeBlock()
    {
        m_out += QStringLiteral("<pre><code>") + TextFormat::escapeHtml(m_codeBuffer) + QStringLiteral("</code></pre>");
        m_codeBuffer.clear();
    }

    void addListItem(const QString& type, int indent)
    {
        const QString tag = type == QLatin1StringView("ordered") ? QStringLiteral("ol") : QStringLiteral("ul");
        while (!m_lists.isEmpty() && m_lists.last().indent > indent)
            popList();
        if (!m_lists.isEmpty() && m_lists.last().indent == indent && m_lists.last().tag != tag)
            popList();
        if (!m_lists.isEmpty() && m_lists.last().indent == indent) {
            m_out += QStringLiteral("</li><li>") + m_line;
            return;
        }
        m_out += QLatin1Char('<') + tag + QStringLiteral("><li>") + m_line;
        m_lists.append({tag, indent});
    }

    void popList()
    {
        m_out += QStringLiteral("</li></") + m_lists.takeLast().tag + QLatin1Char('>');
    }

    void closeLists()
    {
        while (!m_lists.isEmpty())
            popList();
    }

    QString m_out;
    QString m_line;
    QString m_codeBuffer;
    bool m_inCodeBlock = false;
    QList<OpenList> m_lists;
};

} // namespace

std::optional<QList<DeltaOp>> QuillDeltaParser::readOps(const QByteArray& json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    const QJsonValue opsValue = document.object().value(QLatin1StringView("ops"));
    if (!opsValue.isArray())
        return std::nullopt;
    QList<DeltaOp> ops;
    for (const QJsonValue& value : opsValue.toArray()) {
        if (!value.isObject())
            return std::nullopt;
        const QJsonObject object = value.toObject();
        if (!object.contains(QLatin1StringView("insert")))
            continue;
        DeltaOp op;
        op.insert = readInsert(object.value(QLatin1StringView("insert")));
        const QJsonValue attributes = object.value(QLatin1StringView("attributes"));
        if (attributes.isObject())
            op.attributes = readAttributes(attributes.toObject());
        ops.append(op);
    }
    return ops;
}

QString QuillDeltaParser::render(const QList<DeltaOp>& ops)
{
    Renderer renderer;
    for (const DeltaOp& op : ops)
        renderer.add(op);
    return renderer.finish();
}

std::optional<QString> QuillDeltaParser::parse(const QByteArray& json)
{
    const std::optional<QList<DeltaOp>> ops = readOps(json);
    if (!ops)
        return std::nullopt;
    return render(*ops);
}

std::optional<QString> QuillDeltaParser::parse(const QString& json)
{
    // Lone surrogates cannot be encoded as UTF-8; such text is not a delta.
    for (qsizetype i = 0; i < json.size(); ++i) {
        const QChar c = json.at(i);
        if (c.isHighSurrogate() && i + 1 < json.size() && json.at(i + 1).isLowSurrogate()) {
            ++i;
            continue;
        }
        if (c.isSurrogate())
            return std::nullopt;
    }
    return parse(json.toUtf8());
}
