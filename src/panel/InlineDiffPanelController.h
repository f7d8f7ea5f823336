#pragma once
#include <QObject>
#include <QString>
#include <functional>
#include <memory>

class QQuickView;
class Workspace;

/// Owns the floating result panel: shows it near the top centre of the screen without taking the
/// keyboard focus from the application the user is writing in, and hides it again.
class InlineDiffPanelController : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString phase READ phase NOTIFY changed)
    Q_PROPERTY(QString message READ message NOTIFY changed)
    Q_PROPERTY(QString fixedText READ fixedText NOTIFY changed)
    Q_PROPERTY(bool visible READ isVisible NOTIFY visibleChanged)

public:
    static constexpr int width = 400;
    static constexpr int height = 350;
    static constexpr int topMargin = 40;

    explicit InlineDiffPanelController(Workspace& workspace, QObject* parent = nullptr);
    ~InlineDiffPanelController() override;

    void showLoading();
    void showError(const QString& message);
    void showResult(const QString& fixedText, bool changed);
    Q_INVOKABLE void dismiss();
    Q_INVOKABLE void retry();

    [[nodiscard]] QString phase() const { return m_phase; }
    [[nodiscard]] QString message() const { return m_message; }
    [[nodiscard]] QString fixedText() const { return m_fixedText; }
    [[nodiscard]] bool isVisible() const;
    /// The window, once it has been shown; for tests and screenshots.
    [[nodiscard]] QQuickView* window() const { return m_window.get(); }

    std::function<void()> retryAction;
    std::function<void()> cancelAction;

Q_SIGNALS:
    void changed();
    void visibleChanged();

private:
    void show();
    void ensureWindow();

    Workspace& m_workspace;
    std::unique_ptr<QQuickView> m_window;
    QString m_phase = QStringLiteral("loading");
    QString m_message;
    QString m_fixedText;
};
