#include "ui/main/frmAbout.h"

#include "store/modGlobals.h"
#include "ui/widgets/Heading.h"
#include "ui/widgets/Localise.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

frmAbout::frmAbout(QWidget* parent, const modGlobals::Settings& settings) : QDialog(parent)
{
    setObjectName(QStringLiteral("frmAbout"));
    SetTextIds(this, TextId::TitleAbout);
    auto* purpose = new QLabel(this);
    purpose->setObjectName(QStringLiteral("lblPurpose"));
    SetTextIds(purpose, TextId::AboutPurpose);
    auto* close = new QPushButton(this);
    close->setObjectName(QStringLiteral("cmdClose"));
    SetTextIds(close, TextId::ButtonCloseAbout);
    connect(close, &QPushButton::clicked, this, &QDialog::accept);

    auto* column = new QVBoxLayout(this);
    column->setSpacing(fontMetrics().height());
    column->setContentsMargins(QMargins(2, 1, 2, 1) * fontMetrics().height());
    column->addLayout(BuildHeading(*this, "lblOPSystem"));
    column->addWidget(purpose);
    column->addStretch(1);
    column->addWidget(close, 0, Qt::AlignRight);
    LocaliseForm(*this, settings.Language);
}
