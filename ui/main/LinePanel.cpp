#include "ui/main/LinePanel.h"

#include "session/clsSession.h"
#include "session/modAccountText.h"
#include "session/modReadingText.h"
#include "store/modGlobals.h"
#include "ui/widgets/FocusMark.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/KeptRoom.h"
#include "ui/widgets/LineLabel.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/Named.h"
#include "ui/widgets/QtText.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QGridLayout>
#include <QLabel>
#include <QPainter>

namespace {

constexpr char kWidest[] = "0000.0 /s";
constexpr std::int32_t kTicksPerLook = 500 / clsMeasurementLoop::kInterval_ms;

} // namespace

LinePanel::LinePanel(QWidget* parent) : QGroupBox(parent)
{
    setObjectName(QStringLiteral("fraLine"));
    setFocusPolicy(Qt::StrongFocus); // so that it can be copied
    setContextMenuPolicy(Qt::ActionsContextMenu);
    auto* grid = new QGridLayout(this);
    lblReceivedRate = addRow(*grid, "lblReceivedRate", TextId::CaptionReceivedRate, TextId::ToolTipReceivedRate);
    lblRecordedRate = addRow(*grid, "lblRecordedRate", TextId::CaptionRecordedRate, TextId::ToolTipRecordedRate);
    lblValidShare = addRow(*grid, "lblValidShare", TextId::CaptionValidShare, TextId::ToolTipValidShare);
    lblNoEcho = addRow(*grid, "lblNoEcho", TextId::CaptionNoEcho, TextId::ToolTipNoEcho);
    lblDamaged = addRow(*grid, "lblDamaged", TextId::CaptionDamaged, TextId::ToolTipDamaged);
    lblLongestGap = addRow(*grid, "lblLongestGap", TextId::CaptionLongestGap, TextId::ToolTipLongestGap);
    grid->setColumnStretch(1, 1);
    grid->setVerticalSpacing(0);
    mnuLineCopy = new QAction(this);
    mnuLineCopy->setObjectName(QStringLiteral("mnuLineCopy"));
    mnuLineCopy->setShortcut(QKeySequence::Copy);
    mnuLineCopy->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    addAction(mnuLineCopy);
    connect(mnuLineCopy, &QAction::triggered, this, [this] { Guarded([this] { copy(); }); });
    SetTextIds(this, TextId::FrameLine);
}

LinePanel::~LinePanel()
{
    if (m_session != nullptr) {
        m_session->Leave(*this);
    }
}

LineLabel* LinePanel::addRow(QGridLayout& grid, const char* name, TextId caption, TextId toolTip)
{
    const int row = grid.count() / 2;
    auto* words = new QLabel(this);
    auto* room = new KeptRoom(this); // nothing moves with a new figure
    auto* figure = Named<LineLabel>(name, room);
    figure->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    room->Hold(*figure);
    room->setMinimumWidth(figure->fontMetrics().horizontalAdvance(QLatin1String(kWidest)));
    words->setObjectName(QLatin1String(name) + QLatin1String("Caption"));
    SetTextIds(words, caption, toolTip);
    SetTextIds(figure, TextId::None, toolTip);
    grid.addWidget(words, row, 0);
    grid.addWidget(room, row, 1);
    return figure;
}

void LinePanel::Follow(clsSession& session, const modGlobals::Settings& settings)
{
    m_session = &session;
    m_settings = &settings;
    session.Listen(*this);
    showFigures();
}

void LinePanel::Localise()
{
    const auto text = [this](TextId id) { return Text(id, m_settings->Language); };
    mnuLineCopy->setText(text(TextId::MenuLineCopy));
    setAccessibleName(text(TextId::FrameLine));
    lblReceivedRate->setAccessibleName(text(TextId::CaptionReceivedRate));
    lblRecordedRate->setAccessibleName(text(TextId::CaptionRecordedRate));
    lblValidShare->setAccessibleName(text(TextId::CaptionValidShare));
    lblNoEcho->setAccessibleName(text(TextId::CaptionNoEcho));
    lblDamaged->setAccessibleName(text(TextId::CaptionDamaged));
    lblLongestGap->setAccessibleName(text(TextId::CaptionLongestGap));
}

/// Twice a second: figures that change faster cannot be read.
void LinePanel::Ticked()
{
    if (++m_ticks % kTicksPerLook == 0) {
        showFigures();
    }
}

void LinePanel::showFigures()
{
    const clsAccount& account = m_session->Loop().Account();
    const AccountFigures& figures = account.Figures();
    const char separator = DecimalSeparator();
    const auto text = [separator](double rate) { return FromUtf8(modAccountText::Rate(rate, separator)); };
    ShowText(*lblReceivedRate, text(account.PerSecond(&AccountFigures::received)));
    const auto recorded = recordedRate();
    ShowText(*lblRecordedRate, recorded ? text(*recorded) : QStringLiteral("–"));
    ShowText(*lblValidShare, FromUtf8(modReadingText::Share(figures.valid, figures.received, separator)));
    ShowText(*lblNoEcho, QString::number(figures.noEcho));
    ShowText(*lblDamaged, QString::number(figures.damaged));
    ShowText(*lblLongestGap, FromUtf8(modAccountText::Duration(figures.longestGap_ms, separator)));
}

/// The recorder's own rate, which its window shows, too: that of the account begins with the measurement.
std::optional<double> LinePanel::recordedRate() const
{
    const clsRecorder& recorder = m_session->Recorder();
    return recorder.Mode == RecorderRecording ? recorder.Figures().rate : std::nullopt;
}

void LinePanel::copy()
{
    QApplication::clipboard()->setText(FromUtf8(
        modAccountText::Table(m_session->Loop().Account(), recordedRate(), m_settings->Language, DecimalSeparator())));
}

/// The style shows the focus only of a frame that can be ticked.
void LinePanel::paintEvent(QPaintEvent* event)
{
    QGroupBox::paintEvent(event);
    if (hasFocus()) {
        QPainter painter(this);
        PaintFocus(painter, *this, contentsRect(), palette().color(backgroundRole()));
    }
}
