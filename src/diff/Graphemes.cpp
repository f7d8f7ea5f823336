#include "diff/Graphemes.h"

namespace {

// Below U+0300 no code point extends, prepends to or joins a cluster, so every code unit is a
// character of its own except CR LF. Most selections are in that range and skip the finder.
bool onlyBelowCombiningMarks(QStringView text)
{
    for (QChar c : text) {
        if (c.unicode() >= 0x300)
            return false;
    }
    return true;
}

} // namespace

GraphemeCursor::GraphemeCursor(QStringView text)
    : m_text(text)
    , m_simple(onlyBelowCombiningMarks(text))
{
    if (!m_simple)
        m_finder = QTextBoundaryFinder(QTextBoundaryFinder::Grapheme, text);
}

qsizetype GraphemeCursor::next()
{
    if (m_position >= m_text.size())
        return -1;
    if (m_simple) {
        const bool crlf = m_text[m_position] == u'\r' && m_position + 1 < m_text.size()
            && m_text[m_position + 1] == u'\n';
        m_position += crlf ? 2 : 1;
        return m_position;
    }
    m_position = m_finder.toNextBoundary();
    if (m_position < 0)
        m_position = m_text.size();
    return m_position;
}

qsizetype graphemeCount(QStringView text)
{
    GraphemeCursor cursor(text);
    qsizetype count = 0;
    while (cursor.next() >= 0)
        ++count;
    return count;
}
