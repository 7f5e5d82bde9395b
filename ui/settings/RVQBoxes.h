// The boxes that the settings window opens: files, description, questions.
#pragma once

#include "session/clsTransfer.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <string>

class QMessageBox;
class QWidget;

namespace modGlobals {
struct Settings;
}

/// A test puts its own in their place. Paths are the system's bytes, an empty one means that the user has cancelled;
/// `QString()` as a description likewise.
struct RVQDialogs {
    enum class ChangedAnswer : std::uint8_t { Cancel, KeepMine, TakeOther };

    std::function<std::string(const std::string& folder)> FileToLoad;
    std::function<std::string(const std::string& proposal)> FileToSave;
    std::function<QString(const QString& proposal)> Description;
    std::function<bool(const QString& question)> Overwrite;
    std::function<ChangedAnswer(const QString& question)> Changed;
    std::function<FailureAnswer(const QString& question)> Failure;
    std::function<void(const std::string& sheet)> OpenSheet;
};

/// The real boxes over a window. `openQuestion` points to the question that is open, if one is.
RVQDialogs RVQBoxes(QWidget& window, const modGlobals::Settings& settings, QMessageBox*& openQuestion);
