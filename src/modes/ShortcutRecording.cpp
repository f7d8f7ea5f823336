#include "modes/ShortcutRecording.h"

ShortcutRecording& ShortcutRecording::instance()
{
    static ShortcutRecording recording;
    return recording;
}

void ShortcutRecording::begin()
{
    if (++m_listening == 1)
        Q_EMIT activeChanged(true);
}

void ShortcutRecording::end()
{
    if (m_listening == 0)
        return;
    if (--m_listening == 0)
        Q_EMIT activeChanged(false);
}
