// The edits in the settings window, all fields together: undo and redo. What is typed into one box is one step, and so
// is a change to the values of another configuration.
#pragma once

#include "sensor/Fields.h"

#include <QUndoStack>

#include <functional>

class FieldHistory {
public:
    struct Content {
        int line = 0;           ///< of the list of configurations
        ShownSettings filled{}; ///< what the fields were filled with, as they have shown it
        ShownSettings shown{};  ///< what they show
    };

    /// Shows a content; `isFilled`: the line of the list and what was filled, too.
    std::function<void(const Content& content, bool isFilled)> Show;

    /// Nothing before this content comes back.
    void Start(const Content& content);
    /// The user has changed fields. Changes of one box are joined until `EndTyping`.
    void Edited(const Content& now);
    /// Another configuration was chosen, and the fields are filled with it.
    void Chosen(const Content& before, const Content& now);
    void EndTyping() { m_typedIn = nullptr; }

    /// Do nothing when there is nothing to undo or redo.
    void Undo();
    void Redo();

private:
    class Step;

    void show(const Content& content, bool isFilled);
    const ParameterDef* onlyBoxThatDiffers(const ShownSettings& now) const;

    QUndoStack m_steps;
    Content m_now;
    const ParameterDef* m_typedIn = nullptr;
};
