#pragma once
#include <QList>
#include <QString>
#include <optional>

/// One operation of a Quill delta: an insert and the attributes that format it.
struct DeltaOp
{
    /// What the op inserts: text, a Slack emoji (its text), or something this parser ignores.
    struct Insert
    {
        enum class Kind { text, slackEmoji, unknown };
        Kind kind = Kind::unknown;
        QString text;
    };

    /// The attributes Tembrel renders; a key of the wrong JSON type counts as absent.
    struct Attributes
    {
        std::optional<bool> bold;
        std::optional<bool> italic;
        std::optional<bool> strike;
        std::optional<bool> code;
        std::optional<QString> link;
        std::optional<QString> list;
        std::optional<int> indent;
        std::optional<bool> blockquote;
        std::optional<bool> codeBlock;
        std::optional<int> header;
    };

    Insert insert;
    std::optional<Attributes> attributes;
};

/// Turns the Quill delta Slack puts on the clipboard into a small, predictable HTML fragment.
namespace QuillDeltaParser {
/// The HTML of a delta; none when the JSON is not an object with an "ops" array of objects.
[[nodiscard]] std::optional<QString> parse(const QByteArray& json);
/// Same, for JSON held as text.
[[nodiscard]] std::optional<QString> parse(const QString& json);
/// The ops of a delta (ops without "insert" dropped); none on the same conditions as parse().
[[nodiscard]] std::optional<QList<DeltaOp>> readOps(const QByteArray& json);
/// The HTML of a sequence of ops.
[[nodiscard]] QString render(const QList<DeltaOp>& ops);
} // namespace QuillDeltaParser
