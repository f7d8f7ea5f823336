#include "capture/HtmlDocument.h"

#include "capture/HtmlText.h"
#include "core/TextFormat.h"

#include <QTextBlock>
#include <QTextDocument>
#include <QTextList>

namespace {

bool opensAsDocument(const QString& html)
{
    return !html.isEmpty() && html.size() <= HtmlDocument::maxDocumentSize;
}

TextParagraph::List listKind(const QTextList* list)
{
    if (!list)
        return TextParagraph::List::none;
    switch (list->format().style()) {
    case QTextListFormat::ListDisc:
    case QTextListFormat::ListCircle:
    case QTextListFormat::ListSquare:
    case QTextListFormat::ListStyleUndefined:
        return TextParagraph::List::bullet;
    default:
        return TextParagraph::List::ordered;
    }
}

TextParagraph paragraphOf(const QTextBlock& block)
{
    TextParagraph paragraph;
    if (const QTextList* list = block.textList()) {
        paragraph.list = listKind(list);
        paragraph.listLevel = qMax(0, list->format().indent() - 1);
    }
    for (auto it = block.begin(); !it.atEnd(); ++it) {
        const QTextFragment fragment = it.fragment();
        if (!fragment.isValid())
            continue;
        const QTextCharFormat format = fragment.charFormat();
        TextRun run;
        run.text = fragment.text();
        run.text.replace(QChar::LineSeparator, QLatin1Char('\n'));
        run.text.remove(QChar::ObjectReplacementCharacter);
        run.bold = format.fontWeight() >= QFont::DemiBold;
        run.italic = format.fontItalic();
        run.strike = format.fontStrikeOut();
        if (format.isAnchor() && !format.anchorHref().isEmpty())
            run.link = format.anchorHref();
        // A link's underline is how links look, not something the author added.
        run.underline = format.fontUnderline() && run.link.isEmpty();
        paragraph.append(run);
    }
    return paragraph;
}

QString escapedParagraph(const QString& text)
{
    return HtmlText::plainTextToHtml(text);
}

} // namespace

QString HtmlDocument::toPlainText(const QString& html)
{
    if (!opensAsDocument(html))
        return HtmlText::stripTags(html);
    QTextDocument document;
    document.setHtml(html);
    return HtmlText::normaliseNewlines(document.toRawText());
}

RichText HtmlDocument::toRichText(const QString& html)
{
    RichText text;
    if (!opensAsDocument(html)) {
        TextParagraph paragraph;
        paragraph.append(TextRun{.text = HtmlText::stripTags(html)});
        text.paragraphs.append(paragraph);
        return text;
    }
    QTextDocument document;
    document.setHtml(html);
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next())
        text.paragraphs.append(paragraphOf(block));
    return text;
}

QString HtmlDocument::bodyHtml(const QTextDocument& document)
{
    const QString exported = document.toHtml();
    // Qt writes <body style="…">, so the opening tag is matched up to its ">".
    const qsizetype bodyTag = exported.indexOf(QLatin1StringView("<body"));
    const qsizetype open = bodyTag < 0 ? -1 : exported.indexOf(QLatin1Char('>'), bodyTag);
    const qsizetype close = open < 0 ? -1 : exported.indexOf(QLatin1StringView("</body>"), open);
    if (close >= 0) {
        const QString inner = exported.mid(open + 1, close - open - 1).trimmed();
        if (!inner.isEmpty())
            return inner;
    }
    return escapedParagraph(document.toRawText());
}

QString HtmlDocument::bodyHtml(const RichText& text)
{
    const QString html = text.toHtml().trimmed();
    if (!TextFormat::isBlank(html))
        return html;
    return escapedParagraph(text.plainText());
}
