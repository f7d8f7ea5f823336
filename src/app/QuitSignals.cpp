#include "app/QuitSignals.h"
#include "core/Logging.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// A signal handler may only do async-signal-safe work: it writes the signal's number into one
// end of a socket pair, and the event loop reads it from the other.
int signalPipe[2] = {-1, -1};

void onSignal(int signalNumber)
{
    const int savedErrno = errno;
    const char byte = char(signalNumber);
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[0], &byte, 1);
    errno = savedErrno;
}

} // namespace

QuitSignals::QuitSignals(QObject* parent)
    : QObject(parent)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, signalPipe) != 0) {
        qCWarning(lcApp) << "Cannot catch SIGTERM and SIGINT:" << strerror(errno);
        return;
    }
    m_notifier = std::make_unique<QSocketNotifier>(signalPipe[1], QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &QuitSignals::onReadable);

    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGTERM, &action, nullptr);
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGHUP, &action, nullptr); // the terminal that started Tembrel was closed
}

QuitSignals::~QuitSignals()
{
    if (!m_notifier)
        return;
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGTERM, &action, nullptr);
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGHUP, &action, nullptr);
    m_notifier.reset();
    ::close(signalPipe[0]);
    ::close(signalPipe[1]);
    signalPipe[0] = signalPipe[1] = -1;
}

void QuitSignals::onReadable()
{
    char byte = 0;
    while (::read(signalPipe[1], &byte, 1) == 1) {
        qCInfo(lcApp).noquote() << "Received" << (byte == SIGTERM ? "SIGTERM" : byte == SIGHUP ? "SIGHUP" : "SIGINT") << "; quitting";
        Q_EMIT quitRequested(byte);
    }
}
