#include "engines/HtmlChunker.h"

#include <QHash>
#include <QSet>

namespace {

// Elements that start a block of their own: a cut between two of them (or between one and an
// inline run) changes nothing in the rendering.
bool isBlock(const QString& tag)
{
    static const QSet<QString> blocks {"address", "article", "aside", "blockquote", "body", "caption",
        "center", "dd", "details", "dialog", "dir", "div", "dl", "dt", "fieldset", "figcaption", "figure",
        "footer", "form", "h1", "h2", "h3", "h4", "h5", "h6", "header", "hgroup", "hr", "html", "li", "main",
        "menu", "nav", "ol", "p", "pre", "section", "summary", "table", "tbody", "td", "tfoot", "th", "thead",
        "tr", "ul", "colgroup", "col", "head", "meta", "link", "style", "title", "script"};
    return blocks.contains(tag);
}

bool isVoid(const QString& tag)
{
    static const QSet<QString> voids {"area", "base", "br", "col", "embed", "hr", "img", "input", "link",
        "meta", "param", "source", "track", "wbr"};
    return voids.contains(tag);
}

bool isRawText(const QString& tag)
{
    return tag == u"script" || tag == u"style" || tag == u"textarea" || tag == u"title";
}

bool isSpace(QChar c)
{
    return c == u' ' || c == u'\n' || c == u'\t' || c == u'\r' || c == u'\f';
}

struct Node
{
    enum class Kind
    {
        text,
        element,
        other
    };
    Kind kind = Kind::other;
    QString tag;
    qsizetype start = 0;
    qsizetype openEnd = 0; // end of the start tag
    qsizetype closeStart = 0; // start of the end tag (the end when there is none)
    qsizetype end = 0;
    QList<int> children;
};

struct Piece
{
    qsizetype start = 0;
    qsizetype end = 0;
    QString opening;
    QString closing;
};

// A forgiving reading of an HTML fragment into nodes with their exact source ranges. An end tag
// closes the nearest open element of its name and everything opened inside it; an end tag that
// matches nothing, a comment or a declaration is a node of its own.
class Tree
{
public:
    explicit Tree(const QString& html)
        : m_html(html)
    {
        m_nodes.append(Node {Node::Kind::element, QString(), 0, 0, html.size(), html.size(), {}});
        parse();
    }

    const Node& node(int index) const { return m_nodes.at(index); }
    const QString& html() const { return m_html; }

private:
    qsizetype tagEnd(qsizetype from) const
    {
        QChar quote;
        for (qsizetype i = from + 1; i < m_html.size(); ++i) {
            const QChar c = m_html.at(i);
            if (!quote.isNull()) {
                if (c == quote)
                    quote = QChar();
            } else if (c == u'"' || c == u'\'') {
                quote = c;
            } else if (c == u'>') {
                return i + 1;
            }
        }
        return m_html.size();
    }

    QString nameAt(qsizetype from) const
    {
        qsizetype i = from;
        while (i < m_html.size()
            && (m_html.at(i).isLetterOrNumber() || m_html.at(i) == u'-' || m_html.at(i) == u':'))
            ++i;
        return m_html.mid(from, i - from).toLower();
    }

    int add(Node node)
    {
        m_nodes.append(std::move(node));
        const int index = int(m_nodes.size() - 1);
        m_nodes[m_open.last()].children.append(index);
        return index;
    }

    void close(int index, qsizetype closeStart, qsizetype end)
    {
        m_nodes[index].closeStart = closeStart;
        m_nodes[index].end = end;
    }

    void parse()
    {
        m_open = {0};
        const qsizetype size = m_html.size();
        qsizetype pos = 0;
        while (pos < size) {
            const QChar next = pos + 1 < size ? m_html.at(pos + 1) : QChar();
            if (m_html.at(pos) != u'<'
                || !(next.isLetter() || next == u'/' || next == u'!' || next == u'?')) {
                qsizetype end = m_html.indexOf(u'<', pos + 1);
                if (end < 0)
                    end = size;
                // A "<" that starts no tag is text, and so is what follows it.
                const QList<int>& siblings = m_nodes[m_open.last()].children;
                if (!siblings.isEmpty() && m_nodes[siblings.last()].kind == Node::Kind::text
                    && m_nodes[siblings.last()].end == pos)
                    m_nodes[siblings.last()].end = end;
                else
                    add(Node {Node::Kind::text, QString(), pos, end, end, end, {}});
                pos = end;
                continue;
            }
            if (m_html.mid(pos, 4) == u"<!--") {
                const qsizetype close = m_html.indexOf(QStringLiteral("-->"), pos + 4);
                const qsizetype end = close < 0 ? size : close + 3;
                add(Node {Node::Kind::other, QString(), pos, end, end, end, {}});
                pos = end;
                continue;
            }
            const qsizetype end = tagEnd(pos);
            if (next == u'!' || next == u'?') {
                add(Node {Node::Kind::other, QString(), pos, end, end, end, {}});
            } else if (next == u'/') {
                const QString name = nameAt(pos + 2);
                qsizetype depth = m_open.size() - 1;
                while (depth > 0 && m_nodes[m_open[depth]].tag != name)
                    --depth;
                if (depth == 0) {
                    add(Node {Node::Kind::other, QString(), pos, end, end, end, {}});
                } else {
                    while (m_open.size() - 1 > depth)
                        close(m_open.takeLast(), pos, pos);
                    close(m_open.takeLast(), pos, end);
                }
            } else {
                const QString name = nameAt(pos + 1);
                const int index = add(Node {Node::Kind::element, name, pos, end, end, end, {}});
                const bool selfClosing = end >= 2 && m_html.at(end - 2) == u'/';
                if (isRawText(name)) {
                    qsizetype closeAt = m_html.indexOf(QStringLiteral("</") + name, end, Qt::CaseInsensitive);
                    if (closeAt < 0)
                        closeAt = size;
                    close(index, closeAt, closeAt < size ? tagEnd(closeAt) : size);
                    pos = m_nodes[index].end;
                    continue;
                }
                if (!selfClosing && !isVoid(name))
                    m_open.append(index);
            }
            pos = end;
        }
        while (m_open.size() > 1)
            close(m_open.takeLast(), size, size);
    }

    const QString& m_html;
    QList<Node> m_nodes;
    QList<int> m_open;
};

class Splitter
{
public:
    explicit Splitter(const Tree& tree)
        : m_tree(tree)
    { }

    // Pieces covering [from, to) of `parent`'s content, each at most `budget` where possible.
    QList<Piece> children(int parent, qsizetype from, qsizetype to, qsizetype budget) const
    {
        const Node& node = m_tree.node(parent);
        bool hasBlocks = false;
        for (int child : node.children)
            hasBlocks = hasBlocks || isBlockNode(child);
        if (!hasBlocks)
            return inlineRun(node.children, from, to, budget);

        // Units: each block element alone, each run of everything else together.
        struct Unit
        {
            qsizetype start;
            QList<int> nodes;
        };
        QList<Unit> units;
        for (int child : node.children) {
            const bool block = isBlockNode(child);
            if (block || units.isEmpty() || isBlockNode(units.last().nodes.last()))
                units.append(Unit {units.isEmpty() ? from : m_tree.node(child).start, {child}});
            else
                units.last().nodes.append(child);
        }

        QList<Piece> pieces;
        qsizetype start = from;
        for (qsizetype u = 0; u < units.size(); ++u) {
            const qsizetype unitStart = units[u].start;
            const qsizetype unitEnd = u + 1 < units.size() ? units[u + 1].start : to;
            if (unitEnd - start <= budget)
                continue;
            if (start < unitStart) {
                pieces.append(Piece {start, unitStart, {}, {}});
                start = unitStart;
            }
            if (unitEnd - unitStart <= budget)
                continue;
            // Too long on its own: split inside it.
            QList<Piece> inside;
            if (units[u].nodes.size() == 1 && m_tree.node(units[u].nodes.first()).kind == Node::Kind::element)
                inside = element(units[u].nodes.first(), budget);
            else
                inside = inlineRun(units[u].nodes, unitStart, unitEnd, budget);
            inside.first().start = unitStart;
            inside.last().end = unitEnd;
            pieces.append(inside);
            start = unitEnd;
        }
        if (start < to || pieces.isEmpty())
            pieces.append(Piece {start, to, {}, {}});
        return pieces;
    }

    // Pieces of one element; all but the first repeat its start tag, all but the last its end tag.
    QList<Piece> element(int index, qsizetype budget) const
    {
        const Node& node = m_tree.node(index);
        const QString opening = m_tree.html().mid(node.start, node.openEnd - node.start);
        const QString closing = m_tree.html().mid(node.closeStart, node.end - node.closeStart);
        QList<Piece> pieces;
        const qsizetype inner = budget - opening.size() - closing.size();
        if (node.closeStart > node.openEnd)
            pieces = children(index, node.openEnd, node.closeStart, inner);
        // All the text inside one element (Google Docs' <p><span>…</span></p>): cut inside that.
        if (pieces.size() <= 1 && node.children.size() == 1
            && m_tree.node(node.children.first()).kind == Node::Kind::element) {
            pieces = element(node.children.first(), inner);
            pieces.first().start = node.openEnd;
            pieces.last().end = node.closeStart;
        }
        if (pieces.size() <= 1)
            return {Piece {node.start, node.end, {}, {}}};
        pieces.first().start = node.start;
        pieces.last().end = node.end;
        for (qsizetype i = 0; i < pieces.size(); ++i) {
            if (i > 0)
                pieces[i].opening = opening + pieces[i].opening;
            if (i + 1 < pieces.size())
                pieces[i].closing += closing;
        }
        return pieces;
    }

private:
    // A block element, or an inline one wrapped around blocks (Google Docs wraps its whole clip in
    // a <b>): either can be cut around, and into.
    bool isBlockNode(int index) const
    {
        const auto known = m_blockNodes.constFind(index);
        if (known != m_blockNodes.cend())
            return *known;
        const Node& node = m_tree.node(index);
        bool block = node.kind == Node::Kind::element && isBlock(node.tag);
        for (qsizetype i = 0; !block && i < node.children.size(); ++i)
            block = isBlockNode(node.children.at(i));
        m_blockNodes.insert(index, block);
        return block;
    }

    // Cuts inside the text of a run of inline nodes: after a sentence's end, else after a word; a
    // cut falls only in text directly inside the run, never inside an element or an entity.
    QList<Piece> inlineRun(const QList<int>& nodes, qsizetype from, qsizetype to, qsizetype budget) const
    {
        const QString& html = m_tree.html();
        QList<qsizetype> words;
        QList<qsizetype> sentences;
        for (int index : nodes) {
            const Node& node = m_tree.node(index);
            if (node.kind != Node::Kind::text)
                continue;
            for (qsizetype i = node.start + 1; i + 1 < node.end; ++i) {
                if (!isSpace(html.at(i)) || isSpace(html.at(i + 1)))
                    continue;
                words.append(i + 1);
                qsizetype before = i;
                while (before > node.start && isSpace(html.at(before - 1)))
                    --before;
                if (before > node.start && QStringView(u".!?").contains(html.at(before - 1)))
                    sentences.append(i + 1);
            }
        }
        QList<Piece> pieces;
        qsizetype start = from;
        while (to - start > budget) {
            const qsizetype limit = start + budget;
            const auto lastIn = [&](const QList<qsizetype>& cuts, qsizetype after) -> qsizetype {
                qsizetype best = -1;
                for (qsizetype cut : cuts) {
                    if (cut > after && cut <= limit)
                        best = cut;
                }
                return best;
            };
            qsizetype cut = lastIn(sentences, start + budget / 2);
            if (cut < 0)
                cut = lastIn(words, start);
            if (cut < 0) {
                // No word boundary in reach: the next one, even if the piece comes out too long.
                const auto next
                    = std::find_if(words.cbegin(), words.cend(), [&](qsizetype w) { return w > limit; });
                if (next == words.cend())
                    break;
                cut = *next;
            }
            pieces.append(Piece {start, cut, {}, {}});
            start = cut;
        }
        pieces.append(Piece {start, to, {}, {}});
        return pieces;
    }

    const Tree& m_tree;
    mutable QHash<int, bool> m_blockNodes;
};

QString trailingSpace(const QString& text)
{
    qsizetype i = text.size();
    while (i > 0 && isSpace(text.at(i - 1)))
        --i;
    return text.mid(i);
}

} // namespace

bool HtmlChunker::isHtml(const QString& text)
{
    const QString trimmed = text.trimmed();
    return trimmed.size() >= 3 && trimmed.front() == u'<' && trimmed.back() == u'>'
        && (trimmed.at(1).isLetter() || trimmed.at(1) == u'!');
}

QList<HtmlChunker::Chunk> HtmlChunker::split(const QString& html, qsizetype limit)
{
    if (html.size() <= limit)
        return {Chunk {html, {}, {}}};
    const Tree tree(html);
    const QList<Piece> pieces = Splitter(tree).children(0, 0, html.size(), limit);
    QList<Chunk> chunks;
    for (const Piece& piece : pieces)
        chunks.append(Chunk {piece.opening + html.mid(piece.start, piece.end - piece.start) + piece.closing,
            piece.opening, piece.closing});
    return chunks;
}

QString HtmlChunker::join(const QList<Chunk>& chunks, const QStringList& answers)
{
    QString joined;
    for (qsizetype i = 0; i < answers.size(); ++i) {
        QString answer = answers.at(i);
        if (i >= chunks.size()) {
            joined += answer;
            continue;
        }
        const Chunk& chunk = chunks.at(i);
        // A service may reformat the seams a little: the repeated tags are looked for past white space.
        if (!chunk.opening.isEmpty()) {
            qsizetype at = 0;
            while (at < answer.size() && isSpace(answer.at(at)))
                ++at;
            if (QStringView(answer).mid(at).startsWith(chunk.opening))
                answer.remove(0, at + chunk.opening.size());
        }
        const QString content = chunk.text.chopped(chunk.closing.size());
        if (!chunk.closing.isEmpty()) {
            qsizetype end = answer.size();
            while (end > 0 && isSpace(answer.at(end - 1)))
                --end;
            if (QStringView(answer).left(end).endsWith(chunk.closing))
                answer.truncate(end - chunk.closing.size());
        }
        // Services tend to drop the space a chunk ended with; the words either side stay apart.
        const QString space = trailingSpace(content);
        if (!space.isEmpty() && trailingSpace(answer).isEmpty())
            answer += space;
        joined += answer;
    }
    return joined;
}
