#include "ui/settings/FieldHistory.h"

#include <algorithm>
#include <utility>

class FieldHistory::Step : public QUndoCommand {
public:
    Step(FieldHistory& history, Content before, Content after, bool isFilled)
        : m_history(history), m_before(std::move(before)), m_after(std::move(after)), m_isFilled(isFilled)
    {}

    int id() const override { return m_isFilled ? -1 : 0; }
    void undo() override { m_history.show(m_before, m_isFilled); }
    void redo() override
    {
        if (std::exchange(m_isDone, true)) { // not when it is added: the fields show it already
            m_history.show(m_after, m_isFilled);
        }
    }
    bool mergeWith(const QUndoCommand* later) override
    {
        const auto& step = static_cast<const Step&>(*later);
        if (!step.Joins) {
            return false;
        }
        m_after = step.m_after;
        if (m_after.shown.texts == m_before.shown.texts) {
            setObsolete(true);
            m_history.EndTyping(); // what is typed next must not join the step before this one
        }
        return true;
    }
    bool Joins = false; ///< the step before it

private:
    FieldHistory& m_history;
    Content m_before, m_after;
    bool m_isFilled;
    bool m_isDone = false;
};

void FieldHistory::Start(const Content& content)
{
    m_steps.clear();
    m_now = content;
    EndTyping();
}

void FieldHistory::Edited(const Content& now)
{
    const bool hasChanged = now.shown.texts != m_now.shown.texts || now.shown.choices != m_now.shown.choices;
    if (!hasChanged) {
        return;
    }
    const ParameterDef* box = onlyBoxThatDiffers(now.shown);
    auto* step = new Step(*this, m_now, now, false);
    step->Joins = box != nullptr && box == m_typedIn;
    m_now = now;
    m_typedIn = box;
    m_steps.push(step);
}

void FieldHistory::Chosen(const Content& before, const Content& now)
{
    auto* step = new Step(*this, before, now, true);
    m_now = now;
    EndTyping();
    m_steps.push(step);
}

void FieldHistory::Undo()
{
    EndTyping();
    m_steps.undo();
}

void FieldHistory::Redo()
{
    EndTyping();
    m_steps.redo();
}

void FieldHistory::show(const Content& content, bool isFilled)
{
    m_now.shown = content.shown;
    if (isFilled) {
        m_now = content;
    }
    Show(m_now, isFilled);
}

/// Null when a list or a check box has changed, or more than one box.
const ParameterDef* FieldHistory::onlyBoxThatDiffers(const ShownSettings& now) const
{
    if (now.choices != m_now.shown.choices) {
        return nullptr;
    }
    const auto differs = [&](const ParameterDef& row) { return now.texts[row] != m_now.shown.texts[row]; };
    const auto rows = ParameterTable();
    return std::ranges::count_if(rows, differs) == 1 ? &*std::ranges::find_if(rows, differs) : nullptr;
}
