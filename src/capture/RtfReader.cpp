#include "capture/RtfReader.h"

#include "capture/RtfCodePage.h"
#include "capture/RtfKeywords.h"

#include <QHash>
#include <algorithm>

namespace {

enum class Destination { text, skip, fontTable, fieldInstruction, listText, paragraphNumbering };

struct GroupState
{
    Destination destination = Destination::text;
    TextRun format;
    bool hidden = false;
    int font = -1;
    int unicodeSkip = 1;
    int field = -1;
    bool inTable = false;
};

constexpr int maxDepth = 512;

class Reader
{
public:
    explicit Reader(const QByteArray& data)
        : m_data(data)
    {
        // The document's own group sits on top of this one; closing it ends the document.
        m_stack.append(GroupState{});
    }

    RichText run()
    {
        m_paragraph = TextParagraph{};
        while (m_pos < m_data.size() && !m_done) {
            const char c = m_data[m_pos];
            if (c == '{') {
                ++m_pos;
                openGroup();
            } else if (c == '}') {
                ++m_pos;
                closeGroup();
            } else if (c == '\\') {
                ++m_pos;
                controlSequence();
            } else if (c == '\r' || c == '\n') {
                ++m_pos;
            } else {
                ++m_pos;
                byte(c);
            }
        }
        flushBytes();
        if (!m_paragraph.runs.isEmpty() || m_paragraph.list != TextParagraph::List::none)
            finishParagraph();
        return m_text;
    }

private:
    GroupState& state() { return m_stack.last(); }

    void openGroup()
    {
        flushBytes();
        m_skipFallback = 0;
        // Nesting past any real document is kept only as a count, so a hostile "{{{{…" costs no memory.
        if (m_stack.size() >= maxDepth) {
            ++m_overflow;
            return;
        }
        m_stack.append(m_stack.last());
    }

    void closeGroup()
    {
        flushBytes();
        m_skipFallback = 0;
        if (m_overflow > 0) {
            --m_overflow;
            return;
        }
        if (m_stack.size() <= 1) {
            m_done = true;
            return;
        }
        const GroupState closing = m_stack.takeLast();
        if (closing.destination == Destination::listText && state().destination != Destination::listText)
            endListText();
        if (m_stack.size() == 1)
            m_done = true;
    }

    void controlSequence()
    {
        if (m_pos >= m_data.size())
            return;
        const char c = m_data[m_pos];
        if (!isLetter(c)) {
            ++m_pos;
            controlSymbol(c);
            return;
        }
        const qsizetype start = m_pos;
        while (m_pos < m_data.size() && isLetter(m_data[m_pos]) && m_pos - start < 32)
            ++m_pos;
        const QByteArray word = m_data.mid(start, m_pos - start);
        bool hasParameter = false;
        qint64 parameter = 0;
        bool negative = false;
        if (m_pos < m_data.size() && m_data[m_pos] == '-') {
            negative = true;
            ++m_pos;
        }
        int digits = 0;
        while (m_pos < m_data.size() && isDigit(m_data[m_pos])) {
            if (digits < 10)
                parameter = parameter * 10 + (m_data[m_pos] - '0');
            ++digits;
            ++m_pos;
        }
        hasParameter = digits > 0;
        if (negative)
            parameter = -parameter;
        if (m_pos < m_data.size() && m_data[m_pos] == ' ')
            ++m_pos;
        controlWord(word, hasParameter, int(std::clamp<qint64>(parameter, -2147483647, 2147483647)));
    }

    void controlSymbol(char c)
    {
        switch (c) {
        case '\\': case '{': case '}':
            byte(c);
            return;
        case '\'':
            hexByte();
            return;
        case '~':
            character(QChar(0x00A0));
            return;
        case '_':
            character(QChar(0x2011));
            return;
        case '-':
            return;
        case '*':
            m_starPending = true;
            return;
        case '\r': case '\n':
            paragraphEnd();
            return;
        case '\t':
            character(QLatin1Char('\t'));
            return;
        default:
            return;
        }
    }

    void hexByte()
    {
        int value = 0;
        for (int i = 0; i < 2; ++i) {
            if (m_pos >= m_data.size())
                return;
            const int digit = hexValue(m_data[m_pos]);
            if (digit < 0)
                return;
            value = value * 16 + digit;
            ++m_pos;
        }
        if (m_skipFallback > 0) {
            --m_skipFallback;
            return;
        }
        if (!acceptsText())
            return;
        m_bytes.append(char(value));
    }

    void controlWord(const QByteArray& word, bool hasParameter, int parameter)
    {
        const bool star = std::exchange(m_starPending, false);
        if (word == "bin") {
            // Binary data follows the word directly; never parse it as RTF.
            m_pos = qMin<qint64>(m_data.size(), m_pos + qMax(0, parameter));
            return;
        }
        if (state().destination == Destination::skip)
            return;
        if (word == "fldinst") {
            state().destination = Destination::fieldInstruction;
            return;
        }
        // AbiWord marks the field result with \* as well; it is the field's visible text.
        if (word == "fldrslt") {
            state().destination = Destination::text;
            fieldResult();
            return;
        }
        // Word's and AbiWord's paragraph numbering says whether a list item is numbered.
        if (word == "pn") {
            state().destination = Destination::paragraphNumbering;
            return;
        }
        if (state().destination == Destination::paragraphNumbering) {
            numberingWord(word);
            return;
        }
        if (star || RtfKeywords::isSkippedDestination(word)) {
            state().destination = Destination::skip;
            return;
        }
        if (word == "fonttbl") {
            state().destination = Destination::fontTable;
            return;
        }
        if (state().destination == Destination::fontTable) {
            fontTableWord(word, parameter);
            return;
        }
        if (word == "u") {
            unicodeCharacter(parameter);
            return;
        }
        if (word == "uc") {
            state().unicodeSkip = qBound(0, parameter, 16);
            return;
        }
        flushBytes();
        m_skipFallback = 0;
        const bool on = !hasParameter || parameter != 0;
        TextRun& f = state().format;
        if (word == "par") paragraphEnd();
        else if (word == "line") character(QLatin1Char('\n'));
        else if (word == "tab") character(QLatin1Char('\t'));
        else if (word == "cell" || word == "nestcell") cellEnd();
        else if (word == "row" || word == "nestrow") rowEnd();
        else if (word == "pard") { m_listLevel = 0; state().inTable = false; }
        else if (word == "intbl") state().inTable = true;
        else if (word == "ilvl") m_listLevel = qBound(0, parameter, 8);
        else if (word == "plain") { f = TextRun{.link = f.link}; state().hidden = false; }
        else if (word == "b") f.bold = on;
        else if (word == "i") f.italic = on;
        else if (word == "strike" || word == "striked") f.strike = on;
        else if (word == "ul" || word == "uld" || word == "uldb" || word == "uldash" || word == "ulw"
                 || word == "ulth" || word == "ulwave") f.underline = on;
        else if (word == "ulnone") f.underline = false;
        else if (word == "v") state().hidden = on;
        else if (word == "f") state().font = parameter;
        else if (word == "ansicpg") m_defaultCodePage = parameter;
        else if (word == "mac") m_defaultCodePage = 10000;
        else if (word == "field") startField();
        else if (word == "listtext" || word == "pntext") state().destination = Destination::listText;
        else if (const std::optional<QChar> symbol = RtfKeywords::namedCharacter(word)) character(*symbol);
    }

    void numberingWord(const QByteArray& word)
    {
        if (word == "pnlvlblt")
            m_numbering = TextParagraph::List::bullet;
        else if (word == "pnlvlbody" || word == "pndec" || word == "pnucltr" || word == "pnlcltr" || word == "pnucrm"
                 || word == "pnlcrm")
            m_numbering = TextParagraph::List::ordered;
    }

    void fontTableWord(const QByteArray& word, int parameter)
    {
        if (word == "f")
            m_tableFont = parameter;
        else if (word == "fcharset")
            m_fontCodePages.insert(m_tableFont, RtfCodePage::forCharset(parameter));
        else if (word == "cpg")
            m_fontCodePages.insert(m_tableFont, parameter);
    }

    void unicodeCharacter(int value)
    {
        flushBytes();
        // \u takes a signed 16-bit value; characters above U+7FFF arrive negative.
        const int unit = value < 0 ? value + 65536 : value;
        if (unit >= 0 && unit <= 0xFFFF)
            character(QChar(char16_t(unit)));
        m_skipFallback = state().unicodeSkip;
    }

    void startField()
    {
        m_fields.append(QString());
        state().field = int(m_fields.size() - 1);
    }

    void fieldResult()
    {
        if (state().field < 0)
            return;
        const QString target = RtfKeywords::hyperlinkTarget(m_fields[state().field]);
        if (!target.isEmpty())
            state().format.link = target;
    }

    void byte(char c)
    {
        if (m_skipFallback > 0) {
            --m_skipFallback;
            return;
        }
        if (!acceptsText())
            return;
        if (static_cast<unsigned char>(c) >= 0x80) {
            m_bytes.append(c);
            return;
        }
        flushBytes();
        character(QChar(QLatin1Char(c)));
    }

    [[nodiscard]] bool acceptsText()
    {
        const Destination d = state().destination;
        return d == Destination::text || d == Destination::fieldInstruction || d == Destination::listText;
    }

    void flushBytes()
    {
        if (m_bytes.isEmpty())
            return;
        const QByteArray bytes = std::exchange(m_bytes, {});
        int codePage = m_fontCodePages.value(state().font, 0);
        if (codePage == 0)
            codePage = m_defaultCodePage;
        appendText(RtfCodePage::decode(bytes, codePage));
    }

    void character(QChar c)
    {
        appendText(QString(c));
    }

    void appendText(const QString& text)
    {
        GroupState& s = state();
        switch (s.destination) {
        case Destination::text:
            if (!s.hidden) {
                if (std::exchange(m_cellBreakPending, false))
                    m_paragraph.append(TextRun{.text = QStringLiteral("\n")});
                TextRun run = s.format;
                run.text = text;
                m_paragraph.append(run);
            }
            return;
        case Destination::fieldInstruction:
            if (s.field >= 0)
                m_fields[s.field] += text;
            return;
        case Destination::listText:
            m_listMarker += text;
            return;
        case Destination::skip:
        case Destination::fontTable:
        case Destination::paragraphNumbering:
            return;
        }
    }

    void endListText()
    {
        m_paragraph.list = RtfKeywords::looksOrdered(m_listMarker) ? TextParagraph::List::ordered : TextParagraph::List::bullet;
        m_listMarker.clear();
    }

    void paragraphEnd()
    {
        flushBytes();
        // Inside a table a paragraph mark only breaks the line within its cell; the row is the
        // paragraph.
        if (state().inTable) {
            m_cellBreakPending = true;
            return;
        }
        finishParagraph();
    }

    void finishParagraph()
    {
        m_cellBreakPending = false;
        if (m_paragraph.list != TextParagraph::List::none) {
            // The level and numbering kind may come after the marker, as AbiWord writes them.
            m_paragraph.listLevel = m_listLevel;
            if (m_numbering != TextParagraph::List::none)
                m_paragraph.list = m_numbering;
        }
        m_numbering = TextParagraph::List::none;
        m_text.paragraphs.append(m_paragraph);
        m_paragraph = TextParagraph{};
    }

    void cellEnd()
    {
        m_cellBreakPending = false;
        character(QLatin1Char('\t'));
    }

    // The last cell's tab ends the row, not a cell boundary the reader can see.
    void rowEnd()
    {
        if (!m_paragraph.runs.isEmpty()) {
            QString& last = m_paragraph.runs.last().text;
            if (last.endsWith(QLatin1Char('\t')))
                last.chop(1);
            if (last.isEmpty())
                m_paragraph.runs.removeLast();
        }
        finishParagraph();
    }

    static bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
    static bool isDigit(char c) { return c >= '0' && c <= '9'; }
    static int hexValue(char c)
    {
        if (isDigit(c))
            return c - '0';
        if (c >= 'a' && c <= 'f')
            return c - 'a' + 10;
        if (c >= 'A' && c <= 'F')
            return c - 'A' + 10;
        return -1;
    }

    const QByteArray m_data;
    qsizetype m_pos = 0;
    bool m_done = false;
    bool m_starPending = false;
    int m_overflow = 0;
    int m_skipFallback = 0;
    int m_defaultCodePage = 1252;
    int m_tableFont = -1;
    int m_listLevel = 0;
    bool m_cellBreakPending = false;
    TextParagraph::List m_numbering = TextParagraph::List::none;
    QList<GroupState> m_stack;
    QHash<int, int> m_fontCodePages;
    QList<QString> m_fields;
    QByteArray m_bytes;
    QString m_listMarker;
    TextParagraph m_paragraph;
    RichText m_text;
};

} // namespace

std::optional<RichText> RtfReader::read(const QByteArray& rtf)
{
    qsizetype start = 0;
    while (start < rtf.size() && QChar::isSpace(static_cast<unsigned char>(rtf[start])))
        ++start;
    if (!QByteArrayView(rtf).sliced(start).startsWith("{\\rtf"))
        return std::nullopt;
    Reader reader(start == 0 ? rtf : rtf.mid(start));
    return reader.run();
}
