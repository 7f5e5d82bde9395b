#include "ui/main/FirstSteps.h"

#include "ui/widgets/Localise.h"
#include "ui/widgets/Named.h"

#include <QGridLayout>
#include <QLabel>
#include <QPushButton>

#include <algorithm>

FirstSteps::FirstSteps(QWidget& chart)
    : QFrame(&chart), lblFirstSteps(new QLabel(this)), cmdFindSensor(Named<QPushButton>("cmdFindSensor", this)),
      cmdSimulatedSensor(new QPushButton(this))
{
    setObjectName(QStringLiteral("fraFirstSteps"));
    setFrameShape(QFrame::StyledPanel);
    setAutoFillBackground(true);
    lblFirstSteps->setObjectName(QStringLiteral("lblFirstSteps"));
    lblFirstSteps->setWordWrap(true);
    lblFirstSteps->setAlignment(Qt::AlignCenter);
    lblFirstSteps->setMinimumWidth(fontMetrics().averageCharWidth() * 24);
    cmdSimulatedSensor->setObjectName(QStringLiteral("cmdSimulatedSensor"));
    connect(cmdFindSensor, &QPushButton::clicked, this, &FirstSteps::searched);
    connect(cmdSimulatedSensor, &QPushButton::clicked, this, &FirstSteps::tried);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(QMargins(1, 1, 1, 1) * fontMetrics().height());
    column->setSpacing(fontMetrics().height() / 2);
    column->addWidget(lblFirstSteps);
    auto* buttons = new QVBoxLayout; // in a row they would be cut off in a small chart
    for (QPushButton* button : {cmdFindSensor, cmdSimulatedSensor}) {
        buttons->addWidget(button, 0, Qt::AlignHCenter);
    }
    column->addLayout(buttons);
    auto* middle = new QGridLayout(&chart);
    // Roughly the room that the scales of an empty chart take, so that the sheet stands in the middle of the plot.
    middle->setContentsMargins(QMargins(4, 2, 1, 3) * fontMetrics().height());
    middle->addWidget(this, 0, 0, Qt::AlignCenter);
    hide();
}

QSize FirstSteps::sizeHint() const
{
    const int width = std::max(QFrame::sizeHint().width(), fontMetrics().averageCharWidth() * 56);
    return {width, heightForWidth(width)};
}

void FirstSteps::Explain(const QString& failure)
{
    if (failure != m_failure) {
        m_failure = failure;
        showText();
    }
}

void FirstSteps::Localise(std::int32_t language)
{
    m_language = language;
    cmdFindSensor->setText(Text(TextId::ButtonFind, language));
    cmdFindSensor->setToolTip(Text(TextId::ToolTipFind, language));
    cmdSimulatedSensor->setText(Text(TextId::ButtonSimulatedSensor, language));
    showText();
}

void FirstSteps::showText()
{
    const QString howTo = Text(TextId::CaptionFirstSteps, m_language);
    lblFirstSteps->setText(m_failure.isEmpty() ? howTo : m_failure + QStringLiteral("\n\n") + howTo);
}
