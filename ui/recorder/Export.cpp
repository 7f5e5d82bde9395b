#include "ui/recorder/Export.h"

#include "base/IsoTime.h"
#include "session/clsSession.h"
#include "session/modAccountText.h"
#include "session/modHistoryExport.h"
#include "store/modGlobals.h"
#include "texts/modFunctions.h"
#include "ui/chart/ChartPanel.h"
#include "ui/chart/ChartPicture.h"
#include "ui/recorder/LoadProgress.h"
#include "ui/widgets/FileErrors.h"
#include "ui/widgets/FileFilter.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"

#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QFontInfo>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QSaveFile>
#include <QSvgGenerator>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <iterator>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

namespace {

constexpr double kUnitsPerInch = 96.0;
constexpr double kPointsPerInch = 72.0;
constexpr int kPdfResolution = 1200; // dots per inch
constexpr int kPngScale = 2;
constexpr int kHeadingMargin = 8; // units
constexpr std::array<const char*, 3> kPictureSuffixes{"png", "svg", "pdf"};
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
    if (recorder.IsInUse(pathOf(file))) {
        return cannotSave(file, Text(TextId::ExportFileInUse, language), language);
    }
    // The operator's own recordings are not replaced by what was made of one.
    return QFileInfo(file).suffix().compare(QLatin1String("rec"), Qt::CaseInsensitive) == 0
               ? cannotSave(file, Text(TextId::ExportOntoRecording, language), language)
               : QString();
}

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

/// While it lives, the chart shows what was seen when the command was given, though it may have followed new values
/// while the operator chose a file.
class Standstill {
public:
    Standstill(XYChart& chart, const PlaceRange& seen) : m_chart(chart), m_before(chart.Look()) { m_chart.Look(seen); }
    ~Standstill() { m_chart.Look(m_before); }
    Standstill(const Standstill&) = delete;
    Standstill& operator=(const Standstill&) = delete;

private:
    XYChart& m_chart;
    const std::optional<PlaceRange> m_before;
};

/// "2026-11-20 14:03:05.250", or only its last part on the same day.
QString timeText(double time, bool withDay)
{
    const QString iso = FromUtf8(IsoText(time));
    return withDay ? QString(iso).replace(u'T', u' ') : iso.section(u'T', 1);
}

/// A length in the chart's unit, to a tenth of a millimetre at least.
QString lengthText(double millimetres, const UnitDef& unit)
{
    QString number = QString::number(millimetres / unit.millimetres, 'f', unit.decimals + 1);
    return number.replace(u'.', QLatin1Char(DecimalSeparator())) + u' ' + FromUtf8(unit.name);
}

/// The names of the recording and of the time at which the range begins.
QFileInfo proposalFor(const clsSession& session, const PlaceRange& range, const QString& suffix)
{
    const QFileInfo recording(lastRecording(session.Recorder()));
    const double begin = session.Shown().Times().TimeOf(range.begin);
    const QString time = FromUtf8(IsoText(begin)).remove(u'-').remove(u':').section(u'.', 0, 0).replace(u'T', u'-');
    const QString name = recording.completeBaseName();
    return QFileInfo(recording.absolutePath() + u'/' + (name.isEmpty() ? QStringLiteral("chart") : name) + u'_' + time +
                     u'.' + suffix);
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

QString ExportVisible(QWidget& owner, ChartPanel& chart, const clsSession& session, std::int32_t language)
{
    const PlaceRange range = chart.ShownRange();
    std::vector<TableKind> tables = tableKinds(language);
    QStringList names, suffixes;
    for (const TableKind& kind : tables) {
        names += kindText(kind, language);
        suffixes += QStringLiteral("csv");
    }
    for (const char* suffix : kPictureSuffixes) {
        suffixes += QLatin1String(suffix);
        names += QStringLiteral("%1 (*.%2)").arg(suffixes.back().toUpper(), suffixes.back());
    }
    SaveDialog saving(owner, titleOf(TextId::MenuExportVisible, language), names, suffixes[0]);
    const auto kind = [&] { return static_cast<qsizetype>(saving.Kind()); };
    QObject::connect(&saving.dialog, &QFileDialog::filterSelected, &saving.dialog,
                     [&] { saving.dialog.setDefaultSuffix(suffixes[kind()]); });
    const QString file = saving.Ask(proposalFor(session, range, suffixes[0]));
    if (file.isEmpty()) {
        return {};
    }
    if (QString refused = refusal(file, session.Recorder(), language); !refused.isEmpty()) {
        return refused;
    }
    const QString ending = QFileInfo(file).suffix().toLower();
    const bool isPicture = std::ranges::find(kPictureSuffixes, ending) != std::end(kPictureSuffixes);
    if (isPicture || suffixes[kind()] != QLatin1String("csv")) {
        const Standstill standstill(chart, range);
        const QString why =
            WritePicture(chart, file, isPicture ? ending : suffixes[kind()], HeadingOf(chart, session, language));
        return why.isEmpty() ? file : cannotSave(file, FileErrorText(why, language), language);
    }
    return WriteVisible(owner, range, session, file, tables[saving.Kind()].format, language);
}

QString WriteVisible(QWidget& owner, const PlaceRange& range, const clsSession& session, const QString& table,
                     const modCsvExport::Format& format, std::int32_t language)
{
    QSaveFile file(table);
    if (!file.open(QIODevice::WriteOnly)) {
        return cannotSave(table, FileErrorText(file.errorString(), language), language);
    }
    LoadProgress progress(owner, language);
    const clsHistory& history = session.Shown();
    const auto write = [&file](std::string_view piece) {
        const auto size = static_cast<qint64>(piece.size());
        return file.write(piece.data(), size) == size;
    };
    // Meanwhile a measurement may begin by itself, which puts away the recording that was shown.
    const auto goOn = [&](double done) { return progress.GoOn(done) && &session.Shown() == &history; };
    const modCsvExport::Exported exported = modHistoryExport::ExportCsv(
        history, range, format, Text(TextId::ExportColumns, language).toStdString(), {.write = write, .goOn = goOn});
    if (exported.finished && exported.rows == 0) {
        return Text(TextId::ExportNoValue, language);
    }
    if (!exported.finished && file.error() == QFileDevice::NoError) {
        return {}; // cancelled
    }
    if (!exported.finished || !file.commit()) {
        return cannotSave(table, FileErrorText(file.errorString(), language), language);
    }
    return Text(TextId::ExportDone, language).arg(exported.rows).arg(exported.unreadable);
}

QString HeadingOf(const XYChart& chart, const clsSession& session, std::int32_t language)
{
    const clsHistory& history = session.Shown();
    const PlaceRange range = chart.ShownRange();
    const double begin = history.Times().TimeOf(range.begin), end = history.Times().TimeOf(range.end);
    const Statistics statistics = history.StatisticsOf(range);
    const char separator = DecimalSeparator();
    AccountFigures share;
    share.received = statistics.values;
    share.valid = statistics.valid;
    QStringList lines{
        QStringLiteral("%1   %2 – %3")
            .arg(chart.SeriesLabel(), timeText(begin, true), timeText(end, std::floor(begin) != std::floor(end))),
        Text(TextId::ExportHeading, language)
            .arg(statistics.values)
            .arg(FromUtf8(modAccountText::ValidShare(share, separator)))};
    if (statistics.valid > 0) {
        const UnitDef& unit = UnitOf(session.ShownUnit());
        lines.back() +=
            QStringLiteral(", ") + Text(TextId::ExportHeadingFigures, language)
                                       .arg(lengthText(statistics.minimum, unit), lengthText(statistics.maximum, unit),
                                            lengthText(statistics.mean, unit), lengthText(statistics.deviation, unit),
                                            FromUtf8(modAccountText::Rate(statistics.rate_perSecond, separator)));
    }
    return lines.join(u'\n');
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
                                                         : PictureOf(chart, heading).save(&target, "PNG"));
    if (written && target.error() == QFileDevice::NoError && target.commit()) {
        return {};
    }
    target.cancelWriting();
    return target.errorString();
}
