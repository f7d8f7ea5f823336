#pragma once
#include <QStringView>
#include <QTextBoundaryFinder>

/// Walks a text one user-perceived character (grapheme cluster) at a time.
class GraphemeCursor
{
public:
    explicit GraphemeCursor(QStringView text);

    /// Moves past the next character and returns where it ends, or -1 at the end of the text.
    qsizetype next();

private:
    QStringView m_text;
    qsizetype m_position = 0;
    bool m_simple = true;
    QTextBoundaryFinder m_finder;
};

/// Number of user-perceived characters in a text.
[[nodiscard]] qsizetype graphemeCount(QStringView text);
