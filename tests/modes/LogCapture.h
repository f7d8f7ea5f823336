#pragma once
#include <QList>
#include <QString>
#include <QtGlobal>

/// Records the log lines of one category while it exists, so a test can check the exact text
/// and level a component logged.
class LogCapture
{
public:
    struct Line
    {
        QtMsgType type;
        QString message;
        bool operator==(const Line&) const = default;
    };

    explicit LogCapture(const char* category)
        : m_category(category)
    {
        current() = this;
        m_previous = qInstallMessageHandler(&LogCapture::handle);
    }
    ~LogCapture()
    {
        qInstallMessageHandler(m_previous);
        current() = nullptr;
    }

    [[nodiscard]] const QList<Line>& lines() const { return m_lines; }

private:
    static LogCapture*& current()
    {
        static LogCapture* instance = nullptr;
        return instance;
    }
    static void handle(QtMsgType type, const QMessageLogContext& context, const QString& message)
    {
        LogCapture* self = current();
        if (self && context.category && qstrcmp(context.category, self->m_category) == 0)
            self->m_lines.append({type, message});
        else if (self && self->m_previous)
            self->m_previous(type, context, message);
    }

    const char* m_category;
    QtMessageHandler m_previous = nullptr;
    QList<Line> m_lines;
};
