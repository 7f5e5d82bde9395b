#include "ui/recorder/Playing.h"

#include "session/clsSession.h"
#include "store/modGlobals.h"
#include "store/modRecent.h"
#include "store/modRecordParts.h"
#include "ui/recorder/LoadProgress.h"
#include "ui/widgets/FileErrors.h"
#include "ui/widgets/Localise.h"

#include <QFile>

#include <filesystem>
#include <vector>

namespace {

constexpr char kPlayError[] = "Error in LoadData";

/// One file stands for its recording, several for themselves.
std::vector<RecordPart> partsOf(const QStringList& files)
{
    std::vector<std::filesystem::path> paths;
    for (const QString& file : files) {
        paths.emplace_back(QFile::encodeName(file).toStdString());
    }
    return paths.size() == 1 ? modRecordParts::PartsOf(paths.front()) : modRecordParts::InOrder(paths);
}

} // namespace

bool PlayRecording(QWidget& owner, clsSession& session, const modGlobals::Settings& settings, const QStringList& files,
                   const std::function<void(const QString&)>& showMessage)
{
    if (files.isEmpty() || session.Recorder().Mode == RecorderPlaying) {
        return false;
    }
    const bool records = session.Recorder().Mode == RecorderRecording;
    if (records || session.IsBusy()) {
        showMessage(Text(records ? TextId::PlayNotWhileRecording : TextId::RecorderNotLoaded, settings.Language));
        return false;
    }
    showMessage({});
    const std::vector<RecordPart> parts = partsOf(files);
    LoadProgress progress(owner, settings.Language);
    const modPlayback::Loaded loaded = session.Play(parts, [&progress](double read) { return progress.GoOn(read); });
    if (loaded.outcome != modPlayback::Outcome::Complete) {
        showMessage(QString::fromLatin1(kPlayError));
    }
    if (loaded.lines > 0) {
        modRecent::Add(settings.IniFile, parts.front().file);
    }
    return true;
}

QString LoadedText(const modPlayback::Loaded& loaded, std::int32_t language)
{
    const auto text = [language](TextId id) { return Text(id, language); };
    switch (loaded.outcome) {
    case modPlayback::Outcome::Unreadable:
        if (loaded.failure) {
            return text(TextId::RecorderNotReadable).arg(FileErrorText(loaded.failure, language));
        }
        if (loaded.files > 1) {
            return text(TextId::PlayedPartUnreadable).arg(loaded.unreadable + 1).arg(loaded.line);
        }
        return text(TextId::RecorderLineUnreadable).arg(loaded.line);
    case modPlayback::Outcome::Cancelled:
        return text(TextId::RecorderLoadCancelled).arg(loaded.lines);
    case modPlayback::Outcome::Complete:
        break;
    }
    return text(TextId::RecorderLoaded).arg(loaded.lines);
}
