#include "ui/recorder/Export.h"

#include "base/IsoTime.h"
#include "session/clsSession.h"
#include "session/modHistoryExport.h"
#include "store/modGlobals.h"
#include "texts/modFunctions.h"
#include "ui/chart/ChartPanel.h"
#include "ui/recorder/ExportPicture.h"
#include "ui/recorder/LoadProgress.h"
#include "ui/widgets/FileErrors.h"
#include "ui/widgets/FileFilter.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"

#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>
#include <array>
#include <filesystem>
#include <functional>
#include <iterator>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

namespace {

constexpr std::array<const char*, 3> kPictureSuffixes{"png", "svg", "pdf"};

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

/// A dialog for a file to be written.
struct SaveDialog {
    QFileDialog dialog;
    QStringList suffixes; ///< of the kinds

    SaveDialog(QWidget& owner, const QString& title, const QStringList& kinds, const QStringList& suffixesOfKinds)
        : dialog(&owner, title), suffixes(suffixesOfKinds)
    {
        dialog.setAcceptMode(QFileDialog::AcceptSave);
        dialog.setNameFilters(kinds);
        dialog.setDefaultSuffix(suffixes.constFirst()); // set before the dialog asks whether to overwrite
        QObject::connect(&dialog, &QFileDialog::filterSelected, &dialog, [this] { dialog.setDefaultSuffix(suffix()); });
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
    /// The suffix that decides how a file is written: its own if it is a picture's, else that of the chosen kind.
    QString SuffixFor(const QString& file) const
    {
        const QString own = QFileInfo(file).suffix().toLower();
        return std::ranges::find(kPictureSuffixes, own) != kPictureSuffixes.end() ? own : suffix();
    }

private:
    QString suffix() const { return suffixes[static_cast<qsizetype>(Kind())]; }
};

/// Kinds of files for a `SaveDialog`, with their suffixes.
struct Kinds {
    QStringList names, suffixes;

    void AddTables(const std::vector<TableKind>& tables, std::int32_t language)
    {
        for (const TableKind& kind : tables) {
            names += kindText(kind, language);
            suffixes += QStringLiteral("csv");
        }
    }
    void AddPictures()
    {
        for (const char* suffix : kPictureSuffixes) {
            suffixes += QLatin1String(suffix);
            names += QStringLiteral("%1 (*.%2)").arg(suffixes.back().toUpper(), suffixes.back());
        }
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

/// Writes a table whose rows `convert` makes; returns the outcome in words. `whenEmpty` says that there is none.
QString writeTable(QWidget& owner, const QString& table, const QString& whenEmpty, std::int32_t language,
                   const std::function<modCsvExport::Exported(const modCsvExport::Target&)>& convert)
{
    QSaveFile file(table);
    if (!file.open(QIODevice::WriteOnly)) {
        return cannotSave(table, FileErrorText(file.errorString(), language), language);
    }
    LoadProgress progress(owner, language);
    const auto write = [&file](std::string_view piece) {
        const auto size = static_cast<qint64>(piece.size());
        return file.write(piece.data(), size) == size;
    };
    const modCsvExport::Exported exported =
        convert({.write = write, .goOn = [&progress](double done) { return progress.GoOn(done); }});
    if (exported.finished && exported.rows == 0) {
        return whenEmpty;
    }
    if (!exported.finished && file.error() == QFileDevice::NoError) {
        return {}; // cancelled
    }
    if (!exported.finished || !CommitFile(file)) {
        return cannotSave(table, FileErrorText(file.errorString(), language), language);
    }
    return Text(TextId::ExportDone, language).arg(exported.rows).arg(exported.unreadable);
}

/// Writes the chart; returns the file, or why it failed.
QString savePicture(XYChart& chart, const QString& file, const QString& suffix, std::int32_t language,
                    const QString& heading = {})
{
    const QString why = WritePicture(chart, file, suffix, heading);
    return why.isEmpty() ? file : cannotSave(file, FileErrorText(why, language), language);
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
    const std::vector<TableKind> tables = tableKinds(language);
    Kinds kinds;
    kinds.AddTables(tables, language);
    SaveDialog saving(owner, title, kinds.names, kinds.suffixes);
    const QString table = saving.Ask(withSuffix(recording, QStringLiteral("csv")));
    if (table.isEmpty()) {
        return {};
    }
    const QString refused = refusal(table, recorder, language);
    return refused.isEmpty() ? WriteTable(owner, recording, table, tables[saving.Kind()].format, language) : refused;
}

QString WriteTable(QWidget& owner, const QString& recording, const QString& table, const modCsvExport::Format& format,
                   std::int32_t language)
{
    std::error_code unknown;
    if (std::filesystem::equivalent(pathOf(recording), pathOf(table), unknown)) {
        // A recording must not be replaced by its own table.
        return cannotSave(table, Text(TextId::ExportOntoItself, language), language);
    }
    const auto convert = [&](const modCsvExport::Target& target) {
        return modCsvExport::ExportCsv(pathOf(recording), format, Text(TextId::ExportColumns, language).toStdString(),
                                       target);
    };
    try {
        return writeTable(owner, table, Text(TextId::ExportNoLine, language).arg(recording), language, convert);
    } catch (const std::system_error& failure) {
        return Text(TextId::FailureNotRead, language).arg(recording, FileErrorText(failure.code(), language));
    }
}

QString ExportVisible(QWidget& owner, ChartPanel& chart, const clsSession& session, std::int32_t language)
{
    const clsHistory* shown = &session.Shown();
    const PlaceRange range = chart.ShownRange();
    const std::vector<TableKind> tables = tableKinds(language);
    Kinds kinds;
    kinds.AddTables(tables, language);
    kinds.AddPictures();
    SaveDialog saving(owner, titleOf(TextId::MenuExportVisible, language), kinds.names, kinds.suffixes);
    const QString file = saving.Ask(proposalFor(session, range, kinds.suffixes[0]));
    if (file.isEmpty()) {
        return {};
    }
    if (shown != &session.Shown()) {
        return Text(TextId::ExportGone, language); // another recording, or a measurement has begun
    }
    if (QString refused = refusal(file, session.Recorder(), language); !refused.isEmpty()) {
        return refused;
    }
    const QString suffix = saving.SuffixFor(file);
    if (suffix != QLatin1String("csv")) {
        const Standstill standstill(chart, range);
        return savePicture(chart, file, suffix, language, HeadingOf(chart, session, language));
    }
    return WriteVisible(owner, range, session, file, tables[saving.Kind()].format, language);
}

QString WriteVisible(QWidget& owner, const PlaceRange& range, const clsSession& session, const QString& table,
                     const modCsvExport::Format& format, std::int32_t language)
{
    const clsHistory& history = session.Shown();
    return writeTable(
        owner, table, Text(TextId::ExportNoValue, language), language, [&](const modCsvExport::Target& target) {
            // Meanwhile a measurement may begin by itself, which puts away the recording that was shown.
            const auto goOn = [&](double done) { return target.goOn(done) && &session.Shown() == &history; };
            return modHistoryExport::ExportCsv(history, range, format,
                                               Text(TextId::ExportColumns, language).toStdString(),
                                               {.write = target.write, .goOn = goOn});
        });
}

QString ExportChart(QWidget& owner, XYChart& chart, const clsRecorder& recorder, std::int32_t language)
{
    Kinds kinds;
    kinds.AddPictures();
    SaveDialog saving(owner, titleOf(TextId::MenuExportChart, language), kinds.names, kinds.suffixes);
    const QString file = saving.Ask(withSuffix(lastRecording(recorder), kinds.suffixes[0]));
    if (file.isEmpty()) {
        return {};
    }
    const QString refused = refusal(file, recorder, language);
    return refused.isEmpty() ? savePicture(chart, file, saving.SuffixFor(file), language) : refused;
}
