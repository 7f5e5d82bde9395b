#include "ui/recorder/ExportPicture.h"

#include "base/IsoTime.h"
#include "session/clsSession.h"
#include "session/modAccountText.h"
#include "session/modReadingText.h"
#include "ui/chart/ChartPicture.h"
#include "ui/chart/XYChart.h"
#include "ui/widgets/FileErrors.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"

#include <QBuffer>
#include <QFontInfo>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QSaveFile>
#include <QSvgGenerator>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kUnitsPerInch = 96.0;
constexpr double kPointsPerInch = 72.0;
constexpr int kPdfResolution = 1200; // dots per inch
constexpr int kPngScale = 2;
constexpr int kHeadingMargin = 8;    // units
constexpr double kSvgFineness = 4.0; // an SVG stays sharp when it is shown this many times larger

/// The heading above the chart, as wide as the chart; it takes as many lines as it needs.
int headingHeight(const XYChart& chart, const QString& heading)
{
    const QRect room(0, 0, chart.width() - 2 * kHeadingMargin, QWIDGETSIZE_MAX);
    return heading.isEmpty()
               ? 0
               : chart.fontMetrics().boundingRect(room, Qt::TextWordWrap, heading).height() + kHeadingMargin;
}

QSize pictureSize(const XYChart& chart, const QString& heading)
{
    return chart.size() + QSize(0, headingHeight(chart, heading));
}

void paintPicture(QPainter& painter, XYChart& chart, const QString& heading, double ratio)
{
    if (const int height = headingHeight(chart, heading); height > 0) {
        painter.fillRect(0, 0, chart.width(), height, Qt::white);
        QFont font = chart.font();
        font.setPixelSize(std::max(QFontInfo(font).pixelSize(), 1)); // in the painter's units
        painter.setFont(font);
        painter.setPen(Qt::black);
        painter.drawText(QRect(kHeadingMargin, kHeadingMargin, chart.width() - 2 * kHeadingMargin, height),
                         Qt::TextWordWrap, heading);
        painter.translate(0, height);
    }
    DrawChart(painter, chart, chart.size(), ratio);
}

bool paintSvg(XYChart& chart, const QString& heading, QIODevice& device)
{
    const QSize size = pictureSize(chart, heading);
    QSvgGenerator svg;
    svg.setOutputDevice(&device);
    svg.setResolution(static_cast<int>(kUnitsPerInch));
    svg.setSize(size);
    svg.setViewBox(QRect(QPoint(), size));
    QPainter painter(&svg);
    paintPicture(painter, chart, heading, kSvgFineness);
    return painter.end();
}

bool paintPdf(XYChart& chart, const QString& heading, QIODevice& device)
{
    QPdfWriter pdf(&device);
    pdf.setPageSize(QPageSize(QSizeF(pictureSize(chart, heading)) * kPointsPerInch / kUnitsPerInch, QPageSize::Point,
                              QString(), QPageSize::ExactMatch));
    pdf.setPageMargins(QMarginsF());
    pdf.setResolution(kPdfResolution);
    QPainter painter(&pdf);
    constexpr double kScale = kPdfResolution / kUnitsPerInch;
    painter.scale(kScale, kScale);
    paintPicture(painter, chart, heading, kScale);
    return painter.end();
}

/// "2026-11-20 14:03:05.250", or only its last part on the same day.
QString timeText(double time, bool withDay)
{
    const QString iso = FromUtf8(IsoText(time));
    return withDay ? QString(iso).replace(u'T', u' ') : iso.section(u'T', 1);
}

/// By way of the memory: Qt's encoder loses its own memory when a disk is full.
bool writePng(const QImage& image, QIODevice& target)
{
    QByteArray png;
    QBuffer buffer(&png);
    return buffer.open(QIODevice::WriteOnly) && image.save(&buffer, "PNG") && target.write(png) == png.size();
}

} // namespace

QString HeadingOf(const XYChart& chart, const clsSession& session, std::int32_t language)
{
    const clsHistory& history = session.Shown();
    const PlaceRange range = chart.ShownRange();
    const double begin = history.Times().TimeOf(range.begin), end = history.Times().TimeOf(range.end);
    const Statistics statistics = history.StatisticsOf(range);
    const char separator = DecimalSeparator();
    QStringList lines{
        QStringLiteral("%1   %2 – %3")
            .arg(chart.SeriesLabel(), timeText(begin, true), timeText(end, std::floor(begin) != std::floor(end))),
        Text(TextId::ExportHeading, language)
            .arg(statistics.values)
            .arg(FromUtf8(modReadingText::Share(statistics.valid, statistics.values, separator)))};
    if (statistics.valid > 0) {
        const auto length = [&](double mm) { // to a tenth of a millimetre at least
            return FromUtf8(modReadingText::Length(mm, session.ShownUnit(), 1, separator));
        };
        const QString rate = statistics.rate_perSecond > 0.0 // none between values of one time
                                 ? FromUtf8(modAccountText::Rate(statistics.rate_perSecond, separator))
                                 : QStringLiteral("–");
        lines.back() += QStringLiteral(", ") + Text(TextId::ExportHeadingFigures, language)
                                                   .arg(length(statistics.minimum), length(statistics.maximum),
                                                        length(statistics.mean), length(statistics.deviation), rate);
    }
    return lines.join(u'\n');
}

QImage PictureOf(XYChart& chart, const QString& heading)
{
    QImage image(pictureSize(chart, heading) * kPngScale, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.scale(kPngScale, kPngScale);
    paintPicture(painter, chart, heading, kPngScale);
    return painter.end() ? image : QImage();
}

QString WritePicture(XYChart& chart, const QString& file, const QString& kind, const QString& heading)
{
    QSaveFile target(file);
    const bool written = target.open(QIODevice::WriteOnly) &&
                         (kind == QLatin1String("svg")   ? paintSvg(chart, heading, target)
                          : kind == QLatin1String("pdf") ? paintPdf(chart, heading, target)
                                                         : writePng(PictureOf(chart, heading), target));
    if (written && CommitFile(target)) {
        return {};
    }
    target.cancelWriting();
    return target.errorString();
}
