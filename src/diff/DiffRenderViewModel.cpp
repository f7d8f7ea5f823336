#include "diff/DiffRenderViewModel.h"

#include "diff/DiffComputer.h"
#include "diff/DiffViewMode.h"
#include "diff/EditNavigation.h"

#include <QGuiApplication>
#include <QPalette>
#include <QPointer>

namespace {

bool systemIsDark()
{
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return false;
    const QPalette palette = QGuiApplication::palette();
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

} // namespace

DiffRenderViewModel::DiffRenderViewModel(QObject *parent)
    : QObject(parent)
    , m_dark(systemIsDark())
{
}

DiffRenderViewModel::DiffRenderViewModel(const QString &original, const QString &fixed, Palette palette,
                                         QObject *parent)
    : QObject(parent)
    , m_original(original)
    , m_fixed(fixed)
    , m_palette(palette)
    , m_dark(systemIsDark())
{
    compute();
}

DiffRenderViewModel::~DiffRenderViewModel() = default;

void DiffRenderViewModel::setComputer(DiffComputer *computer)
{
    m_computer = computer;
}

void DiffRenderViewModel::compute()
{
    m_computePending = false;
    // Only the newest computation may publish; an older one finds its generation overtaken.
    const quint64 generation = ++m_generation;
    setComputing(true);
    DiffComputer &computer = m_computer ? *m_computer : DiffComputer::shared();
    const DiffColors colors = this->colors();
    computer.computation(m_original, m_fixed)
        .then(QtFuture::Launch::Async, [colors](const DiffComputation &diff) { return styleDiff(diff, colors); })
        // Published on the main thread, and not at all once the model is gone. (A continuation
        // with the model itself as context asserts when the model dies before the diff is done.)
        .then([model = QPointer<DiffRenderViewModel>(this), generation](const StyledDiff &styled) {
            QMetaObject::invokeMethod(qApp, [model, generation, styled] {
                if (!model || generation != model->m_generation)
                    return;
                model->m_styled = styled;
                Q_EMIT model->attributedChanged();
                model->setComputing(false);
            });
        });
}

void DiffRenderViewModel::scheduleCompute()
{
    // Setting both texts and the palette from QML costs one computation, not three.
    if (m_computePending)
        return;
    m_computePending = true;
    setComputing(true);
    QMetaObject::invokeMethod(
        this, [this] {
            if (m_computePending)
                compute();
        },
        Qt::QueuedConnection);
}

void DiffRenderViewModel::setComputing(bool computing)
{
    if (m_computing == computing)
        return;
    m_computing = computing;
    Q_EMIT isComputingChanged();
}

void DiffRenderViewModel::setOriginalText(const QString &text)
{
    if (m_original == text)
        return;
    m_original = text;
    Q_EMIT originalTextChanged();
    scheduleCompute();
}

void DiffRenderViewModel::setFixedText(const QString &text)
{
    if (m_fixed == text)
        return;
    m_fixed = text;
    Q_EMIT fixedTextChanged();
    scheduleCompute();
}

void DiffRenderViewModel::setPalette(Palette palette)
{
    if (m_palette == palette)
        return;
    m_palette = palette;
    Q_EMIT paletteChanged();
    scheduleCompute();
}

void DiffRenderViewModel::setDark(bool dark)
{
    if (m_dark == dark)
        return;
    m_dark = dark;
    Q_EMIT darkChanged();
    Q_EMIT paletteChanged();
    scheduleCompute();
}

DiffColors DiffRenderViewModel::colors() const
{
    return diffColors(m_palette == Palette::History ? DiffPaletteKind::History : DiffPaletteKind::Panel, m_dark);
}

int DiffRenderViewModel::previousEditIndex(int index, int total)
{
    return ::previousEditIndex(index, total);
}

int DiffRenderViewModel::nextEditIndex(int index, int total)
{
    return ::nextEditIndex(index, total);
}

QStringList DiffRenderViewModel::viewModeLabels()
{
    QStringList labels;
    for (DiffViewMode mode : allDiffViewModes())
        labels.append(diffViewModeLabel(mode));
    return labels;
}
