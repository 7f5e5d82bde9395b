// The boxes that the settings window opens: files, description, questions.
#pragma once

#include "session/clsTransfer.h"

#include <QString>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <system_error>

class Help;
class QMessageBox;
class QWidget;

namespace modGlobals {
struct Settings;
}

/// Tests replace them with their own. Paths are the system's bytes. An empty path, or `QString()` as a description,
/// means that the user has cancelled.
struct RVQDialogs {
    enum class ChangedAnswer : std::uint8_t { Cancel, KeepMine, TakeOther };
    /// `Send` opens the review.
    enum class UnsentAnswer : std::uint8_t { KeepEditing, Discard, Send };

    std::function<std::string(const std::string& folder)> FileToLoad;
    std::function<std::string(const std::string& proposal)> FileToSave;
    std::function<QString(const QString& proposal)> Description;
    std::function<bool(const QString& question)> Overwrite;
    std::function<ChangedAnswer(const QString& question)> Changed;
    std::function<FailureAnswer(const QString& question, const QString& details)> Failure;
    std::function<UnsentAnswer(const QString& question, bool canSend)> Unsent;
    std::function<bool(const QString& question)> WithoutBackup;
    std::function<void(const std::string& sheet)> OpenSheet;
};

/// The real boxes over a window. `openQuestion` points to the open question, if there is one.
RVQDialogs RVQBoxes(QWidget& window, const modGlobals::Settings& settings, const Help& help,
                    QMessageBox*& openQuestion);

/// A transfer's question about a value, with what has failed and what each answer does.
FailureAnswer AskAboutFailure(const RVQDialogs& boxes, TextId reasonTextId, const TransferFailure& failure,
                              std::int32_t language);
/// A transfer's question whether to write although the values before cannot be kept in this file.
bool AskAboutBackup(const RVQDialogs& boxes, const std::filesystem::path& file, std::error_code why,
                    std::int32_t language);

/// What a transfer is doing, and how far it is.
QString ProgressText(const TransferProgress& progress, std::int32_t language);
