#include "engines/ConnectionTestState.h"

ConnectionTestState::ConnectionTestState(PromptProvider defaultPrompt, QObject* parent)
    : QObject(parent)
    , m_defaultPrompt(std::move(defaultPrompt))
{
}

ConnectionTestState::~ConnectionTestState()
{
    abandonRunning();
}

void ConnectionTestState::test(const QString& baseUrl, const QString& apiKey, const QString& model)
{
    abandonRunning();
    const CancellationToken token;
    m_running = token;
    setState(Status::Testing);
    const QString prompt = m_defaultPrompt ? m_defaultPrompt() : QString();
    QCoro::connect(m_tester.run(baseUrl, apiKey, model, prompt, token), this,
                   [this, token](const std::optional<QString>& failure) {
                       // An abandoned test's verdict belongs to values the user has since changed.
                       if (token.isCancelled())
                           return;
                       m_running.reset();
                       if (failure)
                           setState(Status::Failed, *failure);
                       else
                           setState(Status::Success);
                   });
}

void ConnectionTestState::reset()
{
    abandonRunning();
    setState(Status::Idle);
}

void ConnectionTestState::abandonRunning()
{
    if (m_running) {
        m_running->cancel();
        m_running.reset();
    }
}

void ConnectionTestState::setState(Status status, const QString& message)
{
    if (m_status == status && m_message == message)
        return;
    m_status = status;
    m_message = message;
    Q_EMIT changed();
}
