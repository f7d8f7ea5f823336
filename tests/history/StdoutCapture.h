#pragma once
#include <QByteArray>
#include <QFile>
#include <QTemporaryFile>
#include <cstdio>
#include <unistd.h>

/// Sends the process's standard output to a temporary file while it exists, so a test can read
/// exactly what a component printed there.
class StdoutCapture
{
public:
    StdoutCapture()
    {
        m_file.open();
        std::fflush(stdout);
        m_saved = ::dup(STDOUT_FILENO);
        ::dup2(m_file.handle(), STDOUT_FILENO);
    }
    ~StdoutCapture() { restore(); }

    /// Everything printed since the capture began; ends the capture.
    QByteArray text()
    {
        restore();
        QFile reader(m_file.fileName());
        reader.open(QIODevice::ReadOnly);
        return reader.readAll();
    }

private:
    void restore()
    {
        if (m_saved < 0)
            return;
        std::fflush(stdout);
        ::dup2(m_saved, STDOUT_FILENO);
        ::close(m_saved);
        m_saved = -1;
    }

    QTemporaryFile m_file;
    int m_saved = -1;
};
