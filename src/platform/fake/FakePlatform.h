#pragma once
#include "platform/PlatformServices.h"

#include <QHash>
#include <QList>
#include <functional>

/// Test backends of the platform seam: they record what they were asked to do and let a test
/// play the user's part (press a shortcut, deny trust).
class FakeGlobalShortcuts : public GlobalShortcuts
{
public:
    struct Registration
    {
        quint16 keyCode;
        quint64 modifierFlags;
    };

    RegistrationError registerShortcut(quint32 id, quint16 keyCode, quint64 modifierFlags) override;
    void unregisterShortcut(quint32 id) override;
    void setPressHandler(std::function<void(quint32 id)> handler) override { m_onPress = std::move(handler); }

    /// Plays a press of the shortcut registered under `id` (or of an id nobody registered).
    void press(quint32 id) const;

    QHash<quint32, Registration> registrations;
    /// Shortcuts "owned by another application": registering them fails.
    QList<QPair<quint16, quint64>> takenElsewhere;

private:
    std::function<void(quint32)> m_onPress;
};

class FakeKeySender : public KeySender
{
public:
    [[nodiscard]] bool isAvailable() const override { return available; }
    QCoro::Task<bool> sendCopy() override;
    QCoro::Task<bool> sendTerminalCopy() override;

    bool available = true;
    int copiesSent = 0;
    int terminalCopiesSent = 0;
    /// Runs when a copy is sent: a test puts the "selection" on the clipboard here, or does not.
    std::function<void()> onCopy;
};

class FakeAccessibilityTrust : public AccessibilityTrust
{
public:
    [[nodiscard]] bool isTrusted() const override { return trusted; }
    void requestTrust() override { ++trustRequests; }
    [[nodiscard]] QString untrustedReason() const override { return trusted ? QString() : reason; }
    [[nodiscard]] QString sessionNote() const override { return note; }

    bool trusted = true;
    QString note;
    int trustRequests = 0;
    QString reason = QStringLiteral("Not trusted in this test.");
};

class FakeWorkspace : public Workspace
{
public:
    [[nodiscard]] QString frontmostApplicationName() const override { return frontmostApplication; }
    [[nodiscard]] bool hasCompositor() const override { return compositor; }
    [[nodiscard]] QStringList frontmostApplicationIds() const override { return applicationIds; }
    [[nodiscard]] bool frontmostApplicationOwnsPrimarySelection() const override { return ownsPrimarySelection; }

    QString frontmostApplication = QStringLiteral("TextEdit");
    QStringList applicationIds{QStringLiteral("textedit")};
    bool ownsPrimarySelection = false;
    bool compositor = true;
};

class FakeKeyMonitor : public KeyMonitor
{
public:
    bool start(std::function<void(Key)> handler) override;
    void stop() override { m_handler = {}; }
    [[nodiscard]] bool isActive() const override { return bool(m_handler); }
    /// Plays a press in another application.
    void press(Key key) const;

private:
    std::function<void(Key)> m_handler;
};

class FakeLoginItem : public LoginItem
{
public:
    [[nodiscard]] Status status() const override { return currentStatus; }
    bool setEnabled(bool enabled) override;
    [[nodiscard]] QString lastError() const override { return error; }

    Status currentStatus = Status::notRegistered;
    bool refuse = false;
    QString error;
};

/// The fake services with their concrete types, for tests that play the user's part.
struct FakePlatform
{
    FakeGlobalShortcuts* shortcuts;
    FakeKeySender* keySender;
    FakeAccessibilityTrust* trust;
    FakeWorkspace* workspace;
    FakeKeyMonitor* keyMonitor;
    FakeLoginItem* loginItem;
};

/// Builds fake services and hands out typed pointers to them (owned by the returned services).
std::unique_ptr<PlatformServices> createFakePlatformServices(FakePlatform* handles);
