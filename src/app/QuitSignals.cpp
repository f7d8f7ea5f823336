#include "app/QuitSignals.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {
int s_pipe[2] = {-1, -1};

// Only what is safe in a signal handler: one write to the pipe the event loop watches.
void onSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(s_pipe[1], &byte, 1);
}
} // namespace

void QuitSignals::install(std::function<void()> quit)
{
    if (s_pipe[0] >= 0 || ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, s_pipe) != 0)
        return;
    auto* notifier = new QSocketNotifier(s_pipe[0], QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [notifier, quit = std::move(quit)] {
        char bytes[16];
        while (::read(s_pipe[0], bytes, sizeof bytes) > 0) {
        }
        notifier->setEnabled(false); // one quit is enough
        quit();
    });
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        ::sigaction(signal, &action, nullptr);
}
