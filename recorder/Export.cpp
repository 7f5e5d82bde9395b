#include "recorder/Export.h"

#include "chart/XYChart.h"
#include "recorder/ChartPicture.h"
#include "recorder/LoadProgress.h"
#include "recorder/clsRecorder.h"
#include "shell/FileFilter.h"
#include "shell/Localise.h"
#include "shell/QtText.h"

#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QImage>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QSaveFile>
#include <QSvgGenerator>

#include <system_error>

namespace {

constexpr double kUnitsPerInch = 96.0;
constexpr double kPointsPerInch = 72.0;
constexpr int kPdfResolution = 1200; // dots per inch
constexpr int kPngScale = 2;

struct TableKind {
    modCsvExport::Format format;
    const char* separatorName; ///< as the list shows it; null: the one with words of its own
};

constexpr TableKind kTableKinds[] = {
    {modCsvExport::kGermanSpreadsheet, nullptr},
    {{',', '.', false}, ","},
    {{';', '.', false}, ";"},
    {{';', ',', false}, ";"},
    {{'\t', '.', false}, "Tab"},
    {{'\t', ',', false}, "Tab"},
};

QString kindText(const TableKind& kind, std::int32_t language)
{
    if (kind.separatorName == nullptr) {
        return Text(1089, language);
    }
    return Text(1090, language).arg(QLatin1String(kind.separatorName), QChar::fromLatin1(kind.format.decimalSign));
}

/// Beside the recording, or in its folder as long as there is none.
QString proposal(const clsRecorder& recorder, const QString& suffix)
{
    const QFileInfo recording(QFile::decodeName(recorder.FileName.c_str()));
    return recorder.FileName.empty() ? QFile::decodeName(recorder.Folder().c_str())
                                     : recording.absolutePath() + u'/' + recording.completeBaseName() + u'.' + suffix;
}

QString cannotSave(const QString& file, const QString& why, std::int32_t language)
{
    return Text(1016, language).arg(file, why);
}

bool paintSvg(XYChart& chart, QIODevice& device)
{
    QSvgGenerator svg;
    svg.setOutputDevice(&device);
    svg.setResolution(static_cast<int>(kUnitsPerInch));
    svg.setSize(chart.size());
    svg.setViewBox(QRect(QPoint(), chart.size()));
    QPainter painter(&svg);
    DrawChart(painter, chart, chart.size());
    return painter.end();
}

bool paintPdf(XYChart& chart, QIODevice& device)
{
    QPdfWriter pdf(&device);
    pdf.setPageSize(QPageSize(QSizeF(chart.size()) * kPointsPerInch / kUnitsPerInch, QPageSize::Point, QString(),
                              QPageSize::ExactMatch));
    pdf.setPageMargins(QMarginsF());
    pdf.setResolution(kPdfResolution);
    QPainter painter(&pdf);
    painter.scale(kPdfResolution / kUnitsPerInch, kPdfResolution / kUnitsPerInch);
    DrawChart(painter, chart, chart.size());
    return painter.end();
}

bool paintPng(XYChart& chart, QIODevice& device)
{
    QImage image(chart.size() * kPngScale, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.scale(kPngScale, kPngScale);
    DrawChart(painter, chart, chart.size());
    return painter.end() && image.save(&device, "PNG");
}

} // namespace

QString ExportRecording(QWidget& owner, const clsRecorder& recorder, std::int32_t language)
{
    const QString title = Text(1087, language).remove(u'&').remove(QStringLiteral(" …"));
    const QString recording = QFileDialog::getOpenFileName(&owner, title, proposal(recorder, QStringLiteral("rec")),
                                                           FileFilter(Text(1151, language), QStringLiteral("*.rec")));
    if (recording.isEmpty()) {
        return {};
    }
    QStringList kinds;
    for (const TableKind& kind : kTableKinds) {
        kinds += kindText(kind, language);
    }
    const QFileInfo source(recording);
    QString chosen;
    const QString table =
        QFileDialog::getSaveFileName(&owner, title, source.absolutePath() + u'/' + source.completeBaseName() + ".csv",
                                     kinds.join(QLatin1String(";;")), &chosen);
    if (table.isEmpty()) {
        return {};
    }
    if (QFileInfo(table) == source) {
        return cannotSave(table, Text(1070, language), language); // the recording must not give way to its table
    }
    const auto index = static_cast<std::size_t>(std::max<qsizetype>(kinds.indexOf(chosen), 0));
    return WriteTable(owner, recording, table, kTableKinds[index].format, language);
}

QString WriteTable(QWidget& owner, const QString& recording, const QString& table, const modCsvExport::Format& format,
                   std::int32_t language)
{
    QSaveFile file(table);
    if (!file.open(QIODevice::WriteOnly)) {
        return cannotSave(table, file.errorString(), language);
    }
    LoadProgress progress(owner, language);
    const auto write = [&file](std::string_view piece) {
        const auto size = static_cast<qint64>(piece.size());
        return file.write(piece.data(), size) == size;
    };
    const auto goOn = [&progress](double read) { return progress.GoOn(read); };
    modCsvExport::Exported exported;
    try {
        exported = modCsvExport::ExportCsv(QFile::encodeName(recording).toStdString(), format,
                                           Text(1093, language).toStdString(), {.write = write, .goOn = goOn});
    } catch (const std::system_error& failure) {
        return cannotSave(table, QString::fromLocal8Bit(failure.what()), language);
    }
    if (exported.finished && exported.rows == 0) {
        return Text(1091, language).arg(recording);
    }
    const bool cancelled = !exported.finished && file.error() == QFileDevice::NoError;
    if (cancelled) {
        return {};
    }
    if (!exported.finished || !file.commit()) {
        return cannotSave(table, file.errorString(), language);
    }
    return Text(1092, language).arg(exported.rows).arg(exported.unreadable);
}

QString ExportChart(QWidget& owner, XYChart& chart, const clsRecorder& recorder, std::int32_t language)
{
    QFileDialog dialog(&owner, Text(1088, language).remove(u'&').remove(QStringLiteral(" …")));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setNameFilters(
        {QStringLiteral("PNG (*.png)"), QStringLiteral("SVG (*.svg)"), QStringLiteral("PDF (*.pdf)")});
    // The name gets the ending of the chosen kind before the dialog asks whether to overwrite.
    dialog.setDefaultSuffix(QStringLiteral("png"));
    QObject::connect(&dialog, &QFileDialog::filterSelected, &dialog,
                     [&dialog](const QString& kind) { dialog.setDefaultSuffix(kind.left(3).toLower()); });
    const QFileInfo place(proposal(recorder, QString()));
    dialog.setDirectory(recorder.FileName.empty() ? place.filePath() : place.absolutePath());
    dialog.selectFile(recorder.FileName.empty() ? QString() : place.completeBaseName());
    if (dialog.exec() != QDialog::Accepted) {
        return {};
    }
    const QString file = dialog.selectedFiles().constFirst();
    const QString why = WritePicture(chart, file);
    return why.isEmpty() ? file : cannotSave(file, why, language);
}

QString WritePicture(XYChart& chart, const QString& file)
{
    const QString kind = QFileInfo(file).suffix().toLower();
    QSaveFile target(file);
    const bool written =
        target.open(QIODevice::WriteOnly) && (kind == QLatin1String("svg")   ? paintSvg(chart, target)
                                              : kind == QLatin1String("pdf") ? paintPdf(chart, target)
                                                                             : paintPng(chart, target));
    if (written && target.error() == QFileDevice::NoError && target.commit()) {
        return {};
    }
    target.cancelWriting();
    return target.errorString();
}
