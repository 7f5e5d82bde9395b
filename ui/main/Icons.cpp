#include "ui/main/Icons.h"

#include "ui/recorder/ProgressPanel.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr double kGrid = 16.0; // the pictures are drawn on so many units
constexpr double kStroke = 1.5;

/// The names that themes use for them; none for what only this program has.
constexpr std::array<const char*, 12> kThemeNames{"media-playback-start",
                                                  "media-playback-stop",
                                                  "",
                                                  "media-record",
                                                  "media-playback-pause",
                                                  "zoom-fit-best",
                                                  "",
                                                  "",
                                                  "view-fullscreen",
                                                  "preferences-system",
                                                  "document-save-as",
                                                  "edit-find"};

void drawTriangle(QPainter& painter, double left, double right)
{
    painter.setBrush(painter.pen().color());
    painter.drawPolygon(QPolygonF({{left, 3.0}, {right, 8.0}, {left, 13.0}}));
}

void drawFilled(QPainter& painter, const QRectF& area)
{
    painter.fillRect(area, painter.pen().color());
}

void drawCorners(QPainter& painter)
{
    for (const double x : {2.0, 14.0}) {
        for (const double y : {3.0, 13.0}) {
            const double inwards = x < 8.0 ? 3.5 : -3.5, down = y < 8.0 ? 3.0 : -3.0;
            painter.drawPolyline(QPolygonF({{x + inwards, y}, {x, y}, {x, y + down}}));
        }
    }
    painter.drawPolyline(QPolygonF({{4.5, 9.5}, {6.5, 6.5}, {9.0, 9.0}, {11.5, 6.0}}));
}

void drawLetters(QPainter& painter, const QRectF& area, const QString& letters)
{
    QFont font = QGuiApplication::font();
    font.setBold(true);
    font.setPixelSize(static_cast<int>(area.height()));
    QPainterPath path;
    path.addText(0.0, 0.0, font, letters);
    const QRectF box = path.boundingRect();
    painter.save();
    painter.translate(area.center() - box.center());
    painter.fillPath(path, painter.pen().color());
    painter.restore();
}

void drawCursor(QPainter& painter, const QString& letter)
{
    painter.drawLine(QPointF(3.0, 1.5), QPointF(3.0, 14.5));
    drawLetters(painter, QRectF(5.0, 2.0, 10.0, 12.0), letter);
}

void drawSliders(QPainter& painter)
{
    const std::pair<double, double> kKnobs[] = {{3.5, 5.0}, {8.0, 11.0}, {12.5, 6.5}};
    for (const auto& [y, knob] : kKnobs) {
        painter.drawLine(QPointF(2.0, y), QPointF(14.0, y));
        drawFilled(painter, QRectF(knob - 1.25, y - 1.75, 2.5, 3.5));
    }
}

void drawArrowIntoTray(QPainter& painter)
{
    painter.drawLine(QPointF(8.0, 1.5), QPointF(8.0, 9.5));
    painter.drawPolyline(QPolygonF({{4.75, 6.5}, {8.0, 9.75}, {11.25, 6.5}}));
    painter.drawPolyline(QPolygonF({{2.0, 10.0}, {2.0, 14.0}, {14.0, 14.0}, {14.0, 10.0}}));
}

void drawLens(QPainter& painter)
{
    painter.drawEllipse(QRectF(2.0, 2.0, 8.5, 8.5));
    painter.drawLine(QPointF(9.75, 9.75), QPointF(14.0, 14.0));
}

void drawDisplay(QPainter& painter)
{
    painter.drawRect(QRectF(1.5, 3.0, 13.0, 10.0));
    drawLetters(painter, QRectF(3.0, 4.0, 10.0, 8.0), QStringLiteral("12"));
}

void draw(QPainter& painter, Symbol symbol)
{
    switch (symbol) {
    case Symbol::Start:
        return drawTriangle(painter, 4.0, 12.5);
    case Symbol::Stop:
        return drawFilled(painter, QRectF(3.5, 3.5, 9.0, 9.0));
    case Symbol::Single:
        drawTriangle(painter, 2.5, 9.5);
        return drawFilled(painter, QRectF(11.0, 2.5, 2.0, 11.0));
    case Symbol::Record:
        painter.setBrush(painter.pen().color());
        return painter.drawEllipse(QRectF(3.5, 3.5, 9.0, 9.0));
    case Symbol::Freeze:
        drawFilled(painter, QRectF(3.5, 3.0, 3.0, 10.0));
        return drawFilled(painter, QRectF(9.5, 3.0, 3.0, 10.0));
    case Symbol::Fit:
        return drawCorners(painter);
    case Symbol::CursorA:
        return drawCursor(painter, QStringLiteral("A"));
    case Symbol::CursorB:
        return drawCursor(painter, QStringLiteral("B"));
    case Symbol::LargeDisplay:
        return drawDisplay(painter);
    case Symbol::Settings:
        return drawSliders(painter);
    case Symbol::Export:
        return drawArrowIntoTray(painter);
    case Symbol::Find:
        return drawLens(painter);
    }
}

/// Draws anew for every size and palette.
class DrawnIcon : public QIconEngine {
public:
    explicit DrawnIcon(Symbol symbol) : m_symbol(symbol) {}

    QIconEngine* clone() const override { return new DrawnIcon(m_symbol); }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap picture(size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return picture;
    }
    void paint(QPainter* painter, const QRect& area, QIcon::Mode mode, QIcon::State) override
    {
        const auto group = mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
        const QColor ink = QGuiApplication::palette().color(group, QPalette::ButtonText);
        const double scale = std::min(area.width(), area.height()) / kGrid;
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(QRectF(area).center());
        painter->scale(scale, scale);
        painter->translate(-kGrid / 2, -kGrid / 2);
        if (m_symbol == Symbol::Record && mode != QIcon::Disabled) {
            DrawRecordMark(*painter, QRectF(2.5, 2.5, 11.0, 11.0));
        } else {
            painter->setPen(QPen(ink, kStroke, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
            draw(*painter, m_symbol);
        }
        painter->restore();
    }

private:
    Symbol m_symbol;
};

double luminance(const QColor& color)
{
    const auto linear = [](double share) {
        return share <= 0.04045 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

/// Whether the picture can be seen on the tool bar. A theme for light desktops is often left over on a dark one.
bool standsOut(const QIcon& icon)
{
    constexpr double kLeastContrast = 3.0;
    constexpr int kSize = 32;
    const QImage picture = icon.pixmap(kSize, kSize).toImage().convertToFormat(QImage::Format_ARGB32);
    double sum = 0.0, weight = 0.0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QRgb pixel = picture.pixel(x, y);
            sum += luminance(QColor(pixel)) * qAlpha(pixel);
            weight += qAlpha(pixel);
        }
    }
    if (weight == 0.0) {
        return false;
    }
    const double ink = sum / weight, ground = luminance(QGuiApplication::palette().color(QPalette::Window));
    return (std::max(ink, ground) + 0.05) / (std::min(ink, ground) + 0.05) >= kLeastContrast;
}

} // namespace

QIcon DrawnIconOf(Symbol symbol)
{
    return QIcon(new DrawnIcon(symbol));
}

QIcon IconOf(Symbol symbol)
{
    const QIcon themed = QIcon::fromTheme(QLatin1String(kThemeNames.at(static_cast<std::size_t>(symbol))));
    return !themed.isNull() && standsOut(themed) ? themed : DrawnIconOf(symbol);
}
