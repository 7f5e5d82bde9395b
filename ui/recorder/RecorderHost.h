// What the recorder window needs of the main window.
#pragma once

#include "session/modPlayback.h"

#include <QString>

class RecorderHost {
public:
    virtual ~RecorderHost() = default;

    /// A continuous measurement runs, or the sensor is waited for: nothing can be played.
    virtual bool IsMeasuring() const = 0;
    /// The connected sensor's set, for unit and output format of what is played.
    virtual const ParameterSet& Parameters() const = 0;
    /// Panel 2: the file, with its tool tip.
    virtual void ShowFile(const QString& text, const QString& toolTip) = 0;
    /// The same for a file that is being recorded.
    void ShowRecordedFile(const QString& path) { ShowFile(QStringLiteral("REC: %1 ").arg(path), path); }
    /// Panel 1: a message that stays long enough to be read; an empty one clears the panel.
    virtual void ShowMessage(const QString& message) = 0;
    /// A new series for what is played, on an automatic value axis.
    virtual void BeginPlayback() = 0;
    /// One measurement that is played.
    virtual void ShowRecord(const Measurement& record) = 0;
    /// Puts the time axis where the recording is and draws it, with the texts of its last measurement.
    virtual void EndPlayback(const modPlayback::Loaded& loaded) = 0;
};
