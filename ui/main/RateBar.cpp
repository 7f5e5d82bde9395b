#include "ui/main/RateBar.h"

#include "ui/widgets/Localise.h"
#include "ui/widgets/Named.h"
#include "ui/widgets/WrappedLabel.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QToolButton>

RateBar::RateBar(QWidget* parent)
    : QFrame(parent), lblRate(Named<WrappedLabel>("lblRate", this)),
      cmdRateBack(Named<QPushButton>("cmdRateBack", this)), cmdDismissRate(Named<QToolButton>("cmdDismissRate", this))
{
    setObjectName(QStringLiteral("fraRate"));
    setFrameShape(QFrame::StyledPanel);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::AlternateBase);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    cmdRateBack->setAutoDefault(false);
    cmdDismissRate->setAutoRaise(true);
    cmdDismissRate->setText(QStringLiteral("✕"));
    SetTextIds(cmdRateBack, TextId::None, TextId::ToolTipRateBack);
    SetTextIds(cmdDismissRate, TextId::None, TextId::ToolTipDismissRate);
    auto* row = new QHBoxLayout(this);
    const int gap = fontMetrics().height() / 4;
    row->setContentsMargins(2 * gap, gap, gap, gap);
    row->addWidget(lblRate, 1);
    row->addWidget(cmdRateBack);
    row->addWidget(cmdDismissRate);
    hide();
    connect(cmdRateBack, &QPushButton::clicked, this, &RateBar::back);
    connect(cmdDismissRate, &QToolButton::clicked, this, &QWidget::hide);
}

void RateBar::Tell(std::int32_t former, std::int32_t rate)
{
    m_former = former;
    m_rate = rate;
    m_port = 0;
    showText();
    show();
}

void RateBar::Follow(std::int32_t port, std::int32_t rate)
{
    m_port = m_port == 0 ? port : m_port;
    if (isVisibleTo(parentWidget()) && (rate != m_rate || port != m_port)) {
        hide();
    }
}

void RateBar::Localise(std::int32_t language)
{
    m_language = language;
    cmdDismissRate->setAccessibleName(Text(TextId::ToolTipDismissRate, language));
    showText();
}

void RateBar::showText()
{
    lblRate->setText(Text(TextId::RateFollowed, m_language).arg(m_rate));
    cmdRateBack->setText(Text(TextId::ButtonRateBack, m_language).arg(m_former));
}
