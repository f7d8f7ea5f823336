#pragma once
#include "diff/DiffStyledText.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

class DiffComputer;

/// Turns an (original, fixed) pair into one styled text that shows the word diff inline, computed
/// in the background; a newer computation overtakes an older one. Lives on the main thread.
///
/// For views: `attributed` is Qt rich text (HTML subset) for a Text/TextEdit with
/// `textFormat: Text.RichText` — one <div style="white-space:pre-wrap"> holding one <span> per
/// word with its colour, tint (#AARRGGBB background at 15 %) and, for removed words,
/// line-through, and the fixed text's whitespace between the spans, never inside them. Qt 6.4's
/// rich text draws the strike line in the text colour; a view that wants it in `removalColor` at
/// 60 % can draw it itself from `runs`: a list of {text, kind} maps in reading order, kind being
/// "removed", "added", "unchanged" or "whitespace". Empty `attributed` with `isComputing` true
/// means "not ready yet".
class DiffRenderViewModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString originalText READ originalText WRITE setOriginalText NOTIFY originalTextChanged)
    Q_PROPERTY(QString fixedText READ fixedText WRITE setFixedText NOTIFY fixedTextChanged)
    Q_PROPERTY(Palette palette READ palette WRITE setPalette NOTIFY paletteChanged)
    Q_PROPERTY(bool dark READ dark WRITE setDark NOTIFY darkChanged)
    Q_PROPERTY(QString attributed READ attributed NOTIFY attributedChanged)
    Q_PROPERTY(QVariantList runs READ runs NOTIFY attributedChanged)
    Q_PROPERTY(QVariantList strikeRanges READ strikeRanges NOTIFY attributedChanged)
    Q_PROPERTY(qint64 editCount READ editCount NOTIFY attributedChanged)
    Q_PROPERTY(bool isComputing READ isComputing NOTIFY isComputingChanged)
    Q_PROPERTY(QColor textColor READ textColor NOTIFY paletteChanged)
    Q_PROPERTY(QColor removalColor READ removalColor NOTIFY paletteChanged)
    Q_PROPERTY(QColor additionColor READ additionColor NOTIFY paletteChanged)
    Q_PROPERTY(QStringList viewModeLabels READ viewModeLabels CONSTANT)

public:
    /// Where the diff is shown, which decides its colours.
    enum class Palette { History, Panel };
    Q_ENUM(Palette)

    /// An empty model for QML; it computes once the texts are set.
    explicit DiffRenderViewModel(QObject *parent = nullptr);
    /// A model for a pair; starts computing at once.
    DiffRenderViewModel(const QString &original, const QString &fixed, Palette palette, QObject *parent = nullptr);
    ~DiffRenderViewModel() override;

    /// Uses `computer` instead of the shared one (tests); it must outlive the model.
    void setComputer(DiffComputer *computer);

    /// Starts a new computation of the current pair, overtaking any running one.
    Q_INVOKABLE void compute();

    /// Edit index after "previous", wrapping from the first edit to the last.
    Q_INVOKABLE static int previousEditIndex(int index, int total);
    /// Edit index after "next", wrapping from the last edit to the first.
    Q_INVOKABLE static int nextEditIndex(int index, int total);

    [[nodiscard]] QString originalText() const { return m_original; }
    void setOriginalText(const QString &text);
    [[nodiscard]] QString fixedText() const { return m_fixed; }
    void setFixedText(const QString &text);
    [[nodiscard]] Palette palette() const { return m_palette; }
    void setPalette(Palette palette);
    [[nodiscard]] bool dark() const { return m_dark; }
    void setDark(bool dark);
    [[nodiscard]] QString attributed() const { return m_styled.html; }
    [[nodiscard]] QVariantList runs() const { return m_styled.runs; }
    [[nodiscard]] QVariantList strikeRanges() const { return ::strikeRanges(m_styled.runs); }
    [[nodiscard]] qint64 editCount() const { return m_styled.editCount; }
    [[nodiscard]] bool isComputing() const { return m_computing; }
    [[nodiscard]] QColor textColor() const { return colors().text; }
    [[nodiscard]] QColor removalColor() const { return colors().removal; }
    [[nodiscard]] QColor additionColor() const { return colors().addition; }
    /// Labels of the mode switch, indexed by DiffViewMode (Diff, Original, Tembreled).
    [[nodiscard]] static QStringList viewModeLabels();

Q_SIGNALS:
    void originalTextChanged();
    void fixedTextChanged();
    void paletteChanged();
    void darkChanged();
    void attributedChanged();
    void isComputingChanged();

private:
    [[nodiscard]] DiffColors colors() const;
    void scheduleCompute();
    void setComputing(bool computing);

    QString m_original;
    QString m_fixed;
    Palette m_palette = Palette::Panel;
    bool m_dark = false;
    StyledDiff m_styled;
    bool m_computing = true;
    bool m_computePending = false;
    quint64 m_generation = 0;
    DiffComputer *m_computer = nullptr;
};
