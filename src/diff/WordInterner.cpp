#include "diff/WordInterner.h"

namespace {

// Nothing below U+0300 decomposes or combines, so such a word is already in composed form and
// only words with later code points pay for normalisation.
bool alreadyComposed(QStringView word)
{
    for (QChar c : word) {
        if (c.unicode() >= 0x300)
            return false;
    }
    return true;
}

} // namespace

QStringView WordInterner::key(QStringView word, QString &storage) const
{
    if (alreadyComposed(word))
        return word;
    storage = word.toString().normalized(QString::NormalizationForm_C);
    return storage;
}

int WordInterner::insert(QStringView word)
{
    QString storage;
    const QStringView k = key(word, storage);
    const auto it = m_ids.constFind(k);
    if (it != m_ids.constEnd())
        return it.value();
    const int id = int(m_ids.size());
    if (!storage.isNull()) {
        // The view keeps pointing at the string's buffer, which moving the QString leaves alone.
        m_normalized.append(storage);
        m_ids.insert(QStringView(m_normalized.constLast()), id);
    } else {
        m_ids.insert(k, id);
    }
    return id;
}

int WordInterner::find(QStringView word) const
{
    QString storage;
    return m_ids.value(key(word, storage), -1);
}
