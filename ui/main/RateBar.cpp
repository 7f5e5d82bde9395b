#include "ui/main/RateBar.h"

#include "ui/widgets/BarLayout.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/Named.h"
#include "ui/widgets/WrappedLabel.h"

#include <QPushButton>
#include <QToolButton>

RateBar::RateBar(QWidget* parent)
    : QFrame(parent), lblRate(Named<WrappedLabel>("lblRate", this)),
      cmdRateBack(Named<QPushButton>("cmdRateBack", this)), cmdDismissRate(Named<QToolButton>("cmdDismissRate", this))
{
    setObjectName(QStringLiteral("fraRate"));
    LayOutBar(*this, *lblRate, *cmdRateBack, *cmdDismissRate);
    SetTextIds(cmdRateBack, TextId::None, TextId::ToolTipRateBack);
    SetTextIds(cmdDismissRate, TextId::None, TextId::ToolTipDismissRate);
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
