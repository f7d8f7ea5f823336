#pragma once
#include <functional>

/// Waits that keep the event loop running. QTest's waits sleep 10 ms between rounds of events,
/// which holds up each of the many steps the web engine takes on the UI thread: a page that
/// loads in 0.1 s in the app takes over a second under them.
namespace EventLoopWait {
/// Runs the event loop until `done` holds or `timeoutMs` pass; whether `done` holds.
bool until(const std::function<bool()>& done, int timeoutMs = 5000);
/// Runs the event loop for `ms` milliseconds.
void run(int ms);
} // namespace EventLoopWait

/// QTRY_COMPARE on a running event loop.
#define LOOP_TRY_COMPARE_WITH_TIMEOUT(actual, expected, timeout)                                   \
    do {                                                                                          \
        (void)EventLoopWait::until([&] { return (actual) == (expected); }, timeout);              \
        QCOMPARE(actual, expected);                                                               \
    } while (false)
#define LOOP_TRY_COMPARE(actual, expected) LOOP_TRY_COMPARE_WITH_TIMEOUT(actual, expected, 5000)
/// QTRY_VERIFY on a running event loop.
#define LOOP_TRY_VERIFY_WITH_TIMEOUT(condition, timeout)                                           \
    do {                                                                                          \
        (void)EventLoopWait::until([&] { return bool(condition); }, timeout);                     \
        QVERIFY(condition);                                                                       \
    } while (false)
#define LOOP_TRY_VERIFY(condition) LOOP_TRY_VERIFY_WITH_TIMEOUT(condition, 5000)
