#pragma once
#include <QHash>
#include <QList>
#include <QString>
#include <QStringView>

/// Gives canonically equivalent words the same small integer, so the diff compares integers.
/// Holds views into the texts it was given: they must outlive it.
class WordInterner
{
public:
    /// The id of a word, adding it if it is new.
    int insert(QStringView word);

    /// The id of a word, or -1 if no inserted word is canonically equivalent to it.
    [[nodiscard]] int find(QStringView word) const;

    /// Number of distinct words inserted.
    [[nodiscard]] int size() const { return int(m_ids.size()); }

private:
    [[nodiscard]] QStringView key(QStringView word, QString &storage) const;

    QHash<QStringView, int> m_ids;
    QList<QString> m_normalized;
};
