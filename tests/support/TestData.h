#pragma once
#include <QByteArray>
#include <QFile>
#include <QString>

/// The bytes of a fixture below tests/data, e.g. testData("capture/pandoc-sample.rtf"). A missing
/// fixture stops the test at once rather than letting it compare against nothing.
inline QByteArray testData(const QString& path)
{
    QFile file(QStringLiteral(TEMBREL_TEST_DATA_DIR "/") + path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("missing test data %s", qPrintable(path));
    return file.readAll();
}
