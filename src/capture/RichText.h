#pragma once
#include <QList>
#include <QString>

/// A run of text with one set of character attributes; "\n" inside it is a line break, "\t" a tab.
struct TextRun
{
    QString text;
    bool bold = false;
    bool italic = false;
    bool underline = false;
    bool strike = false;
    QString link;

    /// Whether two runs carry the same attributes and can be merged.
    [[nodiscard]] bool sameFormat(const TextRun& other) const;
    bool operator==(const TextRun&) const = default;
};

/// One paragraph: its runs; for a list item, the kind of list and nesting level; for the text of a
/// table cell, which table (counted from 0 in the text), row and column.
struct TextParagraph
{
    enum class List { none, bullet, ordered };

    QList<TextRun> runs;
    List list = List::none;
    int listLevel = 0;
    int table = -1;
    int tableRow = 0;
    int tableColumn = 0;

    /// Appends text, merging it into the last run when the attributes match.
    void append(const TextRun& run);
    [[nodiscard]] QString plainText() const;
    bool operator==(const TextParagraph&) const = default;
};

/// Styled text between the clipboard's rich formats: what the RTF reader produces, the RTF writer
/// consumes and an HTML document converts to.
struct RichText
{
    QList<TextParagraph> paragraphs;

    /// The text, paragraphs separated by "\n".
    [[nodiscard]] QString plainText() const;
    /// A small HTML fragment: <p>, <br>, <strong>, <em>, <u>, <del>, <a href>, nested <ul>/<ol>.
    [[nodiscard]] QString toHtml() const;
    bool operator==(const RichText&) const = default;
};
