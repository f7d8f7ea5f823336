#include "capture/RichText.h"

#include "core/TextFormat.h"

bool TextRun::sameFormat(const TextRun& other) const
{
    return bold == other.bold && italic == other.italic && underline == other.underline && strike == other.strike
        && link == other.link;
}

void TextParagraph::append(const TextRun& run)
{
    if (run.text.isEmpty())
        return;
    if (!runs.isEmpty() && runs.last().sameFormat(run))
        runs.last().text += run.text;
    else
        runs.append(run);
}

QString TextParagraph::plainText() const
{
    QString text;
    for (const TextRun& run : runs)
        text += run.text;
    return text;
}

QString RichText::plainText() const
{
    QString text;
    for (qsizetype i = 0; i < paragraphs.size(); ++i) {
        if (i > 0)
            text += QLatin1Char('\n');
        text += paragraphs[i].plainText();
    }
    return text;
}

namespace {

QString runHtml(const TextRun& run)
{
    QString html = TextFormat::escapeHtml(run.text);
    html.replace(QLatin1Char('\n'), QStringLiteral("<br>"));
    if (run.strike)
        html = QStringLiteral("<del>") + html + QStringLiteral("</del>");
    if (run.underline)
        html = QStringLiteral("<u>") + html + QStringLiteral("</u>");
    if (run.italic)
        html = QStringLiteral("<em>") + html + QStringLiteral("</em>");
    if (run.bold)
        html = QStringLiteral("<strong>") + html + QStringLiteral("</strong>");
    if (!run.link.isEmpty())
        html = QStringLiteral("<a href=\"") + TextFormat::escapeHtml(run.link) + QStringLiteral("\">") + html
            + QStringLiteral("</a>");
    return html;
}

QString paragraphContent(const TextParagraph& paragraph)
{
    QString html;
    for (const TextRun& run : paragraph.runs)
        html += runHtml(run);
    return html;
}

// Lists nest the way browsers expect: a deeper list opens inside its parent's still-open item.
class ListWriter
{
public:
    explicit ListWriter(QString& out)
        : m_out(out)
    {
    }

    void item(const TextParagraph& paragraph)
    {
        const QString tag = paragraph.list == TextParagraph::List::ordered ? QStringLiteral("ol") : QStringLiteral("ul");
        const int level = qMax(0, paragraph.listLevel);
        while (!m_open.isEmpty() && m_open.last().second > level)
            pop();
        if (!m_open.isEmpty() && m_open.last().second == level && m_open.last().first != tag)
            pop();
        if (!m_open.isEmpty() && m_open.last().second == level)
            m_out += QStringLiteral("</li><li>");
        else {
            m_out += QLatin1Char('<') + tag + QStringLiteral("><li>");
            m_open.append({tag, level});
        }
        m_out += paragraphContent(paragraph);
    }

    void closeAll()
    {
        while (!m_open.isEmpty())
            pop();
    }

private:
    void pop() { m_out += QStringLiteral("</li></") + m_open.takeLast().first + QLatin1Char('>'); }

    QString& m_out;
    QList<QPair<QString, int>> m_open;
};

} // namespace

QString RichText::toHtml() const
{
    qsizetype first = 0;
    qsizetype last = paragraphs.size();
    while (first < last && paragraphs[first].runs.isEmpty() && paragraphs[first].list == TextParagraph::List::none)
        ++first;
    while (last > first && paragraphs[last - 1].runs.isEmpty() && paragraphs[last - 1].list == TextParagraph::List::none)
        --last;
    QString out;
    ListWriter lists(out);
    for (qsizetype i = first; i < last; ++i) {
        const TextParagraph& paragraph = paragraphs[i];
        if (paragraph.list != TextParagraph::List::none) {
            lists.item(paragraph);
            continue;
        }
        lists.closeAll();
        const QString content = paragraphContent(paragraph);
        // An empty paragraph is a blank line the author typed; <p></p> would collapse to nothing.
        out += QStringLiteral("<p>") + (content.isEmpty() ? QStringLiteral("<br>") : content) + QStringLiteral("</p>");
    }
    lists.closeAll();
    return out;
}
