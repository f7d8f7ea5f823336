#include "support/ProcessTree.h"

#include <QDir>
#include <QFile>

namespace {

QByteArray procFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QList<qint64> children(qint64 pid)
{
    QList<qint64> found;
    const QDir tasks(QStringLiteral("/proc/%1/task").arg(pid));
    for (const QString& task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        for (const QByteArray& child : procFile(tasks.filePath(task) + QStringLiteral("/children")).split(' ')) {
            if (!child.trimmed().isEmpty())
                found.append(child.trimmed().toLongLong());
        }
    }
    return found;
}

qint64 ownPssKb(qint64 pid)
{
    for (const QByteArray& line : procFile(QStringLiteral("/proc/%1/smaps_rollup").arg(pid)).split('\n')) {
        if (line.startsWith("Pss:"))
            return line.mid(4).trimmed().split(' ').value(0).toLongLong();
    }
    return 0;
}

} // namespace

QList<qint64> ProcessTree::descendants(qint64 pid)
{
    QList<qint64> found = children(pid);
    for (qsizetype i = 0; i < found.size(); ++i)
        found.append(children(found.at(i)));
    return found;
}

qint64 ProcessTree::pssKb(qint64 pid)
{
    qint64 total = ownPssKb(pid);
    for (const qint64 descendant : descendants(pid))
        total += ownPssKb(descendant);
    return total;
}
