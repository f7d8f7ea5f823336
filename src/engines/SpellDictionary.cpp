#include "engines/SpellDictionary.h"

#include <QDir>
#include <QFileInfo>

#include <hunspell.h>

namespace {

// The cache only bounds memory on very long texts; a word seen once is cheap to look up again.
constexpr qsizetype maxCachedWords = 50000;

} // namespace

SpellDictionary::~SpellDictionary()
{
    if (m_handle)
        Hunspell_destroy(m_handle);
}

std::unique_ptr<SpellDictionary> SpellDictionary::open(const QString& directory, const QString& name)
{
    const QString base = QDir(directory).filePath(name);
    const QFileInfo aff(base + QStringLiteral(".aff"));
    const QFileInfo dic(base + QStringLiteral(".dic"));
    if (!aff.isReadable() || !dic.isReadable())
        return nullptr;
    std::unique_ptr<SpellDictionary> dictionary(new SpellDictionary);
    dictionary->m_name = name;
    dictionary->m_handle = Hunspell_create(QFile::encodeName(aff.filePath()).constData(),
                                           QFile::encodeName(dic.filePath()).constData());
    if (!dictionary->m_handle)
        return nullptr;
    const QByteArray encoding = QByteArray(Hunspell_get_dic_encoding(dictionary->m_handle)).toUpper();
    dictionary->m_utf8 = encoding.isEmpty() || encoding == "UTF-8" || encoding == "UTF8";
    return dictionary;
}

QStringList SpellDictionary::installed(const QString& directory)
{
    QStringList names;
    const QDir dir(directory);
    for (const QFileInfo& file : dir.entryInfoList({QStringLiteral("*.dic")}, QDir::Files | QDir::Readable)) {
        if (QFileInfo::exists(dir.filePath(file.completeBaseName() + QStringLiteral(".aff"))))
            names.append(file.completeBaseName());
    }
    names.sort();
    return names;
}

QByteArray SpellDictionary::encoded(const QString& word) const
{
    if (m_utf8)
        return word.toUtf8();
    // Older dictionaries are Latin-1; a word outside it cannot be in them.
    return word.toLatin1();
}

QString SpellDictionary::decoded(const char* bytes) const
{
    return m_utf8 ? QString::fromUtf8(bytes) : QString::fromLatin1(bytes);
}

bool SpellDictionary::isCorrect(const QString& word)
{
    const auto cached = m_known.constFind(word);
    if (cached != m_known.constEnd())
        return *cached;
    const bool correct = Hunspell_spell(m_handle, encoded(word).constData()) != 0;
    if (m_known.size() > maxCachedWords)
        m_known.clear();
    m_known.insert(word, correct);
    return correct;
}

QStringList SpellDictionary::suggestions(const QString& word)
{
    const auto cached = m_suggestions.constFind(word);
    if (cached != m_suggestions.constEnd())
        return *cached;
    char** list = nullptr;
    const int count = Hunspell_suggest(m_handle, &list, encoded(word).constData());
    QStringList result;
    for (int k = 0; k < count; ++k)
        result.append(decoded(list[k]));
    if (list)
        Hunspell_free_list(m_handle, &list, count);
    if (m_suggestions.size() > maxCachedWords)
        m_suggestions.clear();
    m_suggestions.insert(word, result);
    return result;
}
