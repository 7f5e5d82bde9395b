#include "ui/recorder/Export.h"

#include "session/clsRecorder.h"
#include "store/modGlobals.h"
#include "texts/modFunctions.h"
#include "ui/chart/ChartPicture.h"
#include "ui/chart/XYChart.h"
#include "ui/recorder/LoadProgress.h"
#include "ui/widgets/FileErrors.h"
#include "ui/widgets/FileFilter.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"

#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QImage>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QSaveFile>
#include <QSvgGenerator>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <system_error>
#include <utility>
#include <vector>

namespace {

constexpr double kUnitsPerInch = 96.0;
constexpr double kPointsPerInch = 72.0;
constexpr int kPdfResolution = 1200; // dots per inch
constexpr int kPngScale = 2;
constexpr double kSvgFineness = 4.0; // an SVG stays sharp when it is shown this many times larger

struct TableKind {
    modCsvExport::Format format;
    const char* separatorName; ///< as shown in the list; null: the kind has its own words
    TextId textId = TextId::FileTypeCsvOther;
};

constexpr TableKind kTableKinds[] = {
    {modCsvExport::kGermanSpreadsheet, nullptr, TextId::FileTypeCsvGerman},
    {modCsvExport::kEnglishSpreadsheet, nullptr, TextId::FileTypeCsvEnglish},
    {{',', '.', false}, ","},
    {{';', '.', false}, ";"},
    {{';', ',', false}, ";"},
    {{'\t', '.', false}, "Tab"},
    {{'\t', ',', false}, "Tab"},
};

/// The kinds in the order of the list: the spreadsheet of the program's language comes first.
std::vector<TableKind> tableKinds(std::int32_t language)
{
    std::vector<TableKind> kinds(std::begin(kTableKinds), std::end(kTableKinds));
    if (language != LanguageGerman) {
        std::swap(kinds[0], kinds[1]);
    }
    return kinds;
}

QString kindText(const TableKind& kind, std::int32_t language)
{
    if (kind.separatorName == nullptr) {
        return Text(kind.textId, language);
    }
    return Text(kind.textId, language)
        .arg(QLatin1String(kind.separatorName), QChar::fromLatin1(kind.format.decimalSign));
}

/// A dialog for a file to be written, in the folder of the recording.
struct SaveDialog {
    QFileDialog dialog;

    SaveDialog(QWidget& owner, const QString& title, const QStringList& kinds, const QString& suffix)
        : dialog(&owner, title)
    {
        dialog.setAcceptMode(QFileDialog::AcceptSave);
        dialog.setNameFilters(kinds);
        dialog.setDefaultSuffix(suffix); // set before the dialog asks whether to overwrite
    }
    /// Returns the file; empty when the user cancels.
    QString Ask(const QFileInfo& proposal)
    {
        dialog.setDirectory(proposal.absolutePath());
        dialog.selectFile(proposal.fileName());
        return dialog.exec() == QDialog::Accepted ? dialog.selectedFiles().constFirst() : QString();
    }
    /// The position of the chosen kind in the list.
    std::size_t Kind() const
    {
        return static_cast<std::size_t>(
            std::max<qsizetype>(dialog.nameFilters().indexOf(dialog.selectedNameFilter()), 0));
    }
};

QString titleOf(TextId menuText, std::int32_t language)
{
    return Text(menuText, language).remove(u'&').remove(QStringLiteral(" …"));
}

/// The recording, or the folder of recordings while there is none.
QString lastRecording(const clsRecorder& recorder)
{
    return recorder.FileName.empty() ? QFile::decodeName(recorder.NearestFolder().c_str()) + u'/'
                                     : QFile::decodeName(recorder.FileName.c_str());
}

/// The same name with another ending.
QFileInfo withSuffix(const QString& recording, const QString& suffix)
{
    const QFileInfo file(recording);
    const QString name = file.completeBaseName();
    return QFileInfo(file.absolutePath() + u'/' + (name.isEmpty() ? name : name + u'.' + suffix));
}

QString cannotSave(const QString& file, const QString& why, std::int32_t language)
{
    return Text(TextId::FailureNotSaved, language).arg(file, why);
}

std::filesystem::path pathOf(const QString& file)
{
    return QFile::encodeName(file).toStdString();
}

/// Why an export may not replace a file, whatever link leads to it; empty when it may.
QString refusal(const QString& file, const clsRecorder& recorder, std::int32_t language)
{
    return recorder.IsInUse(pathOf(file)) ? cannotSave(file, Text(TextId::ExportFileInUse, language), language)
                                          : QString();
}

bool paintSvg(XYChart& chart, QIODevice& device)
{
    QSvgGenerator svg;
    svg.setOutputDevice(&device);
    svg.setResolution(static_cast<int>(kUnitsPerInch));
    svg.setSize(chart.size());
    svg.setViewBox(QRect(QPoint(), chart.size()));
    QPainter painter(&svg);
    DrawChart(painter, chart, chart.size(), kSvgFineness);
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
    constexpr double kScale = kPdfResolution / kUnitsPerInch;
    painter.scale(kScale, kScale);
    DrawChart(painter, chart, chart.size(), kScale);
    return painter.end();
}

bool paintPng(XYChart& chart, QIODevice& device)
{
    QImage image(chart.size() * kPngScale, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.scale(kPngScale, kPngScale);
    DrawChart(painter, chart, chart.size(), kPngScale);
    return painter.end() && image.save(&device, "PNG");
}

} // namespace

QString ExportRecording(QWidget& owner, const clsRecorder& recorder, std::int32_t language)
{
    const QString title = titleOf(TextId::MenuExportRecording, language);
    const QString recording =
        QFileDialog::getOpenFileName(&owner, title, lastRecording(recorder),
                                     FileFilter(Text(TextId::FileTypesRecording, language), QStringLiteral("*.rec")));
    if (recording.isEmpty()) {
        return {};
    }
    const std::vector<TableKind> kinds = tableKinds(language);
    QStringList names;
    for (const TableKind& kind : kinds) {
        names += kindText(kind, language);
    }
    SaveDialog saving(owner, title, names, QStringLiteral("csv"));
    const QString table = saving.Ask(withSuffix(recording, QStringLiteral("csv")));
    if (table.isEmpty()) {
        return {};
    }
    const QString refused = refusal(table, recorder, language);
    return refused.isEmpty() ? WriteTable(owner, recording, table, kinds[saving.Kind()].format, language) : refused;
}

QString WriteTable(QWidget& owner, const QString& recording, const QString& table, const modCsvExport::Format& format,
                   std::int32_t language)
{
    std::error_code unknown;
    if (std::filesystem::equivalent(pathOf(recording), pathOf(table), unknown)) {
        // A recording must not be replaced by its own table.
        return cannotSave(table, Text(TextId::ExportOntoItself, language), language);
    }
    QSaveFile file(table);
    if (!file.open(QIODevice::WriteOnly)) {
        return cannotSave(table, FileErrorText(file.errorString(), language), language);
    }
    LoadProgress progress(owner, language);
    const auto write = [&file](std::string_view piece) {
        const auto size = static_cast<qint64>(piece.size());
        return file.write(piece.data(), size) == size;
    };
    const auto goOn = [&progress](double read) { return progress.GoOn(read); };
    modCsvExport::Exported exported;
    try {
        exported =
            modCsvExport::ExportCsv(pathOf(recording), format, Text(TextId::ExportColumns, language).toStdString(),
                                    {.write = write, .goOn = goOn});
    } catch (const std::system_error& failure) {
        return Text(TextId::FailureNotRead, language).arg(recording, FileErrorText(failure.code(), language));
    }
    if (exported.finished && exported.rows == 0) {
        return Text(TextId::ExportNoLine, language).arg(recording);
    }
    const bool cancelled = !exported.finished && file.error() == QFileDevice::NoError;
    if (cancelled) {
        return {};
    }
    if (!exported.finished || !file.commit()) {
        return cannotSave(table, FileErrorText(file.errorString(), language), language);
    }
    return Text(TextId::ExportDone, language).arg(exported.rows).arg(exported.unreadable);
}

QString ExportChart(QWidget& owner, XYChart& chart, const clsRecorder& recorder, std::int32_t language)
{
    const QString suffixes[] = {QStringLiteral("png"), QStringLiteral("svg"), QStringLiteral("pdf")};
    QStringList kinds;
    for (const QString& suffix : suffixes) {
        kinds += QStringLiteral("%1 (*.%2)").arg(suffix.toUpper(), suffix);
    }
    SaveDialog saving(owner, titleOf(TextId::MenuExportChart, language), kinds, suffixes[0]);
    QObject::connect(&saving.dialog, &QFileDialog::filterSelected, &saving.dialog,
                     [&] { saving.dialog.setDefaultSuffix(suffixes[saving.Kind()]); });
    const QString file = saving.Ask(withSuffix(lastRecording(recorder), suffixes[0]));
    if (file.isEmpty()) {
        return {};
    }
    if (const QString refused = refusal(file, recorder, language); !refused.isEmpty()) {
        return refused;
    }
    const QString ending = QFileInfo(file).suffix().toLower();
    const bool known = std::ranges::find(suffixes, ending) != std::end(suffixes);
    const QString why = WritePicture(chart, file, known ? ending : suffixes[saving.Kind()]);
    return why.isEmpty() ? file : cannotSave(file, FileErrorText(why, language), language);
}

QString WritePicture(XYChart& chart, const QString& file, const QString& kind)
{
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
