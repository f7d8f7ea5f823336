#pragma once
#include <QList>
#include <QString>

/// Splits HTML too long for one request between its blocks, never inside a tag, an attribute, an
/// entity or an inline run, and joins the answers back without inserting anything. A block longer
/// than a request is split inside its own text (sentences, then words); each piece then carries
/// the block's tags so that every chunk is a well-formed fragment, and joining takes them out again.
class HtmlChunker
{
public:
    /// One request's worth of HTML: `text` is sent; `opening` and `closing` are tags repeated from
    /// an element the chunk starts or ends inside of, which the join removes again.
    struct Chunk
    {
        QString text;
        QString opening;
        QString closing;
        bool operator==(const Chunk&) const = default;
    };

    /// Whether a text to fix is an HTML fragment (what a rich selection is sent as) rather than
    /// plain text: it starts with a tag and ends with one.
    [[nodiscard]] static bool isHtml(const QString& text);
    /// The chunks of `html`, each at most `limit` code units where the HTML allows it. Without their
    /// repeated tags the chunks concatenate to `html` exactly.
    [[nodiscard]] static QList<Chunk> split(const QString& html, qsizetype limit);
    /// The answers to the chunks, in order, joined: each answer loses the repeated tags its chunk
    /// carried when it still has them, and nothing is put between answers.
    [[nodiscard]] static QString join(const QList<Chunk>& chunks, const QStringList& answers);
};
