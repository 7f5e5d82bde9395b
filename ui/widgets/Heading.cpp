#include "ui/widgets/Heading.h"

#include "base/modAPI.h"
#include "texts/modFunctions.h"
#include "ui/widgets/QtText.h"

#include <QApplication>
#include <QLabel>
#include <QVBoxLayout>

namespace {

constexpr double kNameFontScale = 1.8;

QLabel* label(QWidget& window, const char* name, const QString& text)
{
    auto* shown = new QLabel(text, &window);
    shown->setObjectName(QLatin1String(name));
    return shown;
}

} // namespace

QLayout* BuildHeading(QWidget& window, const char* systemLabelName)
{
    QLabel* product = label(window, "lblProduct", FromUtf8(modFunctions::NeutralText(TextId::ProgramName)));
    QFont large = window.font();
    large.setPointSizeF(large.pointSizeF() * kNameFontScale);
    product->setFont(large);
    auto* column = new QVBoxLayout;
    column->setSpacing(window.fontMetrics().height() / 3);
    column->addWidget(product);
    column->addWidget(label(window, "lblVersion", QLatin1Char('V') + QApplication::applicationVersion()));
    column->addWidget(label(window, systemLabelName, FromUtf8(modAPI::GetOSName())));
    return column;
}
