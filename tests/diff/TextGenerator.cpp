#include "TextGenerator.h"

QStringList TextGenerator::words(int count, const QStringList &vocabulary, int common)
{
    QStringList out;
    out.reserve(count);
    for (int k = 0; k < count; ++k) {
        const bool pickCommon = common > 0 && common < vocabulary.size() && m_random.bounded(3) == 0;
        out.append(vocabulary.at(m_random.bounded(pickCommon ? common : int(vocabulary.size()))));
    }
    return out;
}

QString TextGenerator::whitespace()
{
    static const QStringList runs = {
        QStringLiteral(" "), QStringLiteral(" "), QStringLiteral(" "), QStringLiteral("  "),
        QStringLiteral("\t"), QStringLiteral("\n"), QStringLiteral("\r\n"), QStringLiteral("\n\n"),
        QStringLiteral("\r"), QStringLiteral(" \t\n"), QStringLiteral("\u00a0"), QStringLiteral("\u2028"),
        QStringLiteral("\u3000"), QStringLiteral(" \u0301"), QStringLiteral("\u2009"), QStringLiteral("\u0085"),
    };
    for (;;) {
        const QString run = runs.at(m_random.bounded(int(runs.size())));
        if (m_markedSpaces || !run.contains(u'\u0301'))
            return run;
    }
}

QString TextGenerator::join(const QStringList &words)
{
    QString text;
    if (m_random.bounded(5) == 0)
        text += whitespace();
    for (int k = 0; k < words.size(); ++k) {
        if (k > 0)
            text += whitespace();
        text += words.at(k);
    }
    if (m_random.bounded(4) == 0)
        text += whitespace();
    return text;
}

QStringList TextGenerator::edit(const QStringList &words, double rate, const QStringList &vocabulary)
{
    QStringList out;
    const auto randomWord = [&] { return vocabulary.at(m_random.bounded(int(vocabulary.size()))); };
    for (const QString &word : words) {
        if (m_random.generateDouble() >= rate) {
            out.append(word);
            continue;
        }
        switch (m_random.bounded(4)) {
        case 0: out.append(randomWord()); break;
        case 1: break;
        case 2: out.append(word); out.append(randomWord()); break;
        default: // a run of differences
            for (int r = m_random.bounded(2, 12); r > 0; --r)
                out.append(randomWord());
        }
    }
    return out;
}

QStringList TextGenerator::plainVocabulary(int size)
{
    QStringList out;
    while (out.size() < size) {
        QString word;
        for (int length = m_random.bounded(1, 9); length > 0; --length)
            word += QChar(u'a' + m_random.bounded(26));
        if (!out.contains(word))
            out.append(word);
    }
    return out;
}

QStringList TextGenerator::trickyVocabulary()
{
    return {
        QStringLiteral("the"), QStringLiteral("the"), QStringLiteral("a"), QStringLiteral("a"),
        QStringLiteral("cat"), QStringLiteral("Cat"), QStringLiteral("cat,"), QStringLiteral("cat."),
        QStringLiteral("caf\u00e9"), QStringLiteral("cafe\u0301"), QStringLiteral("\u212b"), QStringLiteral("\u00c5"),
        QStringLiteral("s\u0323\u0307"), QStringLiteral("s\u0307\u0323"), QStringLiteral("\u1e69"),
        QStringLiteral("\U0001F44D"), QStringLiteral("\U0001F44D\U0001F3FD"),
        QStringLiteral("\U0001F468\u200D\U0001F469\u200D\U0001F467"), QStringLiteral("\U0001F1E9\U0001F1EA"),
        QStringLiteral("\u0301x"), QStringLiteral("x\u200by"), QStringLiteral("\u65e5\u672c"),
        QStringLiteral("\u0928\u092e\u0938\u094d\u0924\u0947"), QStringLiteral("\ufb01"), QStringLiteral("fi"),
        QStringLiteral("don't"), QStringLiteral("--"), QStringLiteral("\u00e9\u0301"),
    };
}
