#include "app/SparkleVersion.h"

#include <QList>
#include <QStringView>

namespace {

enum class PartType { number, text, separator };

PartType typeOf(QChar c)
{
    if (c.isDigit())
        return PartType::number;
    if (c == u'.' || c.isSpace() || c.isPunct() || c.isSymbol())
        return PartType::separator;
    return PartType::text;
}

struct Part
{
    PartType type;
    QStringView text;
};

// Runs of one type form a part, except separators: each separator character stands alone, so
// "1..2" has four parts, as in Sparkle.
QList<Part> split(const QString& version)
{
    QList<Part> parts;
    qsizetype start = 0;
    for (qsizetype i = 1; i <= version.size(); ++i) {
        const PartType type = typeOf(version.at(start));
        if (i < version.size() && typeOf(version.at(i)) == type && type != PartType::separator)
            continue;
        parts.append(Part{type, QStringView(version).mid(start, i - start)});
        start = i;
    }
    return parts;
}

// Compares digit runs of any length without overflow: fewer significant digits is smaller.
int compareNumbers(QStringView a, QStringView b)
{
    auto significant = [](QStringView digits) {
        qsizetype zeros = 0;
        while (zeros < digits.size() - 1 && digits.at(zeros) == u'0')
            ++zeros;
        return digits.mid(zeros);
    };
    const QStringView x = significant(a);
    const QStringView y = significant(b);
    if (x.size() != y.size())
        return x.size() < y.size() ? -1 : 1;
    const int order = x.compare(y);
    return order < 0 ? -1 : (order > 0 ? 1 : 0);
}

// Sparkle 2 ignores everything from the first dash on, so "0.7.0-beta.8" and "0.7.0-beta.9" are
// the same version to it; feeds shared with the macOS build must get the same answer here.
QString comparablePart(const QString& version)
{
    const qsizetype dash = version.indexOf(u'-');
    return (dash < 0 ? version : version.left(dash)).trimmed();
}

} // namespace

int SparkleVersion::compare(const QString& a, const QString& b)
{
    const QList<Part> partsA = split(comparablePart(a));
    const QList<Part> partsB = split(comparablePart(b));
    const qsizetype common = std::min(partsA.size(), partsB.size());
    for (qsizetype i = 0; i < common; ++i) {
        const Part& x = partsA.at(i);
        const Part& y = partsB.at(i);
        if (x.type == y.type) {
            int order = 0;
            if (x.type == PartType::number)
                order = compareNumbers(x.text, y.text);
            else if (x.type == PartType::text)
                order = x.text.compare(y.text, Qt::CaseSensitive);
            if (order != 0)
                return order < 0 ? -1 : 1;
            continue;
        }
        // Mixed types: whatever is not a letter run wins over one; between a number and a
        // separator the number wins.
        if (y.type == PartType::text)
            return 1;
        if (x.type == PartType::text)
            return -1;
        return x.type == PartType::number ? 1 : -1;
    }
    if (partsA.size() == partsB.size())
        return 0;
    const bool aLonger = partsA.size() > partsB.size();
    const Part& extra = aLonger ? partsA.at(common) : partsB.at(common);
    const int longerIsNewer = extra.type == PartType::text ? -1 : 1;
    return aLonger ? longerIsNewer : -longerIsNewer;
}
