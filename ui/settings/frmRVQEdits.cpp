// What the settings window knows of its fields: which are edited and not sent or saved yet, how edits are taken back,
// what stands at a field, and what became of the last write.
#include "sensor/clsRVQ.h"
#include "session/clsWriteKeeper.h"
#include "session/modReportText.h"
#include "store/clsConfigLibrary.h"
#include "store/modGlobals.h"
#include "ui/settings/frmRVQ.h"
#include "ui/widgets/FileErrors.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/LineLabel.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/NumberEdit.h"
#include "ui/widgets/QtText.h"
#include "ui/widgets/ScrollFrames.h"
#include "ui/widgets/UndoBar.h"
#include "ui/widgets/WrappedLabel.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>
#include <QSignalBlocker>

#include <algorithm>
#include <utility>

namespace {

constexpr std::size_t kNamedFields = 8;
constexpr int kReportRows = 4;

bool isNumber(const ParameterDef& row)
{
    return row.control == ControlKind::Number;
}

/// Whether two contents of a field mean different values. Text that is no value is only equal to itself.
bool differs(const ParameterDef& row, const ShownSettings& one, const ShownSettings& other)
{
    if (!isNumber(row)) {
        return one.choices[row] != other.choices[row];
    }
    if (one.texts[row] == other.texts[row]) {
        return false;
    }
    const auto value = StoredValue(row, one.texts[row]);
    return !value || value != StoredValue(row, other.texts[row]);
}

/// What the fields say, with the values of `set` where a text is no value. Unlike a copy that is sent or saved, it
/// holds pairs that are too close.
ParameterSet asTyped(ParameterSet set, const ShownSettings& values)
{
    for (const ParameterDef& row : ParameterTable()) {
        if (!IsShown(row, values.serial)) {
            continue;
        }
        const auto value = isNumber(row) ? StoredValue(row, values.texts[row]) : values.choices[row];
        set.*row.value = value.value_or(set.*row.value);
    }
    if (values.serial) {
        set.NodeAddress = -1;
    }
    return set;
}

/// What the sensor measures now, if it does.
std::optional<std::int32_t> distanceNow(const clsRVQ& device)
{
    const Measurement now = device.LastMeasurement();
    const bool measures = device.CommStatus() == DialogueMeasuring && KindOf(now) == MeasurementKind::Distance;
    return measures && now.value_mm != 0 ? std::optional(now.value_mm) : std::nullopt;
}

/// Whether the sensor has got the value, whatever it has made of it.
bool isSent(ValueOutcome outcome)
{
    using enum ValueOutcome;
    return outcome == Taken || outcome == Rounded || outcome == Ignored || outcome == Unknown;
}

/// Whether the field says so, too.
bool isMarked(ValueOutcome outcome)
{
    using enum ValueOutcome;
    return outcome == Rounded || outcome == Ignored || outcome == Refused || outcome == Unanswered ||
           outcome == NotSent;
}

} // namespace

void frmRVQ::connectEdits()
{
    m_history.Show = [this](const FieldHistory::Content& shown, bool isFilled) { showContent(shown, isFilled); };
    const auto onEdit = [this](const ParameterDef& row) {
        return [this, &row] {
            Guarded([&] {
                m_notes[row].outcome.reset();
                edited();
            });
        };
    };
    for (const ParameterDef& row : ParameterTable()) {
        if (row.control == ControlKind::Number) {
            BoxOf(row)->Check = [this, &row](const std::string& typed) { return checked(row, typed); };
            BoxOf(row)->Words = [this](TextId id) { return text(id); };
            connect(BoxOf(row), &QLineEdit::textChanged, this, onEdit(row));
            connect(BoxOf(row), &QLineEdit::editingFinished, this, [this] { m_history.EndTyping(); });
        } else if (row.control == ControlKind::Check) {
            connect(CheckOf(row), &QCheckBox::clicked, this, onEdit(row));
        } else if (row.control == ControlKind::List) {
            connect(ListOf(row), &QComboBox::activated, this, onEdit(row));
        }
    }
    const auto onKey = [this](QKeySequence key, void (FieldHistory::*act)()) {
        connect(new QShortcut(key, this), &QShortcut::activated, this, [this, act] {
            Guarded([&] {
                if (!m_transfer.IsBusy() && !m_context.device.Wait().Running) {
                    (m_history.*act)();
                }
            });
        });
    };
    onKey(Qt::CTRL | Qt::Key_Z, &FieldHistory::Undo);
    onKey(Qt::CTRL | Qt::Key_Y, &FieldHistory::Redo);
    onKey(Qt::CTRL | Qt::SHIFT | Qt::Key_Z, &FieldHistory::Redo);
}

void frmRVQ::edited()
{
    m_history.Edited(content());
    applyRule();
}

FieldHistory::Content frmRVQ::content() const
{
    return {m_line, m_settled, shown()};
}

void frmRVQ::showValues(const ShownSettings& values)
{
    m_serial = values.serial;
    for (const ParameterDef& row : ParameterTable()) {
        const QSignalBlocker silent(control[row]);
        if (row.control == ControlKind::Number) {
            BoxOf(row)->ShowText(values.texts[row]);
        } else if (row.control == ControlKind::Check) {
            CheckOf(row)->setChecked(values.choices[row] == 1);
        } else if (row.control == ControlKind::List) {
            ListOf(row)->setCurrentIndex(values.choices[row]);
        }
    }
    m_shownChoices = values.choices;
}

/// Shows what undo or redo leads to, and scrolls to it. The focus stays: leaving a box would check it, which would be
/// an edit.
void frmRVQ::showContent(const FieldHistory::Content& content, bool isFilled)
{
    const ShownSettings before = shown();
    showValues(content.shown);
    if (isFilled) {
        m_line = content.line;
        m_settled = content.filled;
        m_notes = {};
        cmbConfig->setCurrentIndex(m_line);
        const Configuration& entry = m_context.library.Entry(static_cast<std::size_t>(m_line));
        showSource(m_line == kDeviceLine ? text(TextId::DeviceEntry) : QFile::decodeName(entry.FileName.c_str()));
    }
    for (const ParameterDef& row : ParameterTable()) {
        if (differs(row, before, content.shown)) {
            m_notes[row].outcome.reset();
            scrSettings->ensureWidgetVisible(control[row]);
        }
    }
    applyRule();
}

/// The fields whose values were neither sent nor saved.
std::vector<const ParameterDef*> frmRVQ::edits() const
{
    std::vector<const ParameterDef*> found;
    const ShownSettings now = shown();
    for (const ParameterDef* row : RowsByControl()) {
        if (differs(*row, now, m_settled)) {
            found.push_back(row);
        }
    }
    return found;
}

/// The shown value of a field was sent or saved.
void frmRVQ::settle(const ParameterDef& row)
{
    const ShownSettings now = shown();
    m_settled.texts[row] = now.texts[row];
    m_settled.choices[row] = now.choices[row];
}

/// Asks when there are edits. Sending them takes a window of its own: `then` runs when it has closed and no edit is
/// left.
bool frmRVQ::mayDiscardEdits(std::function<void()> then)
{
    const std::vector<const ParameterDef*> edited = edits();
    if (edited.empty() || m_unloading) {
        return true;
    }
    QStringList names;
    for (std::size_t i = 0; i < std::min(edited.size(), kNamedFields); ++i) {
        names += text(edited[i]->labelId).trimmed();
    }
    if (edited.size() > kNamedFields) {
        names += text(TextId::ListMore).arg(edited.size() - kNamedFields);
    }
    const bool canSend = cmdReview->isEnabled();
    switch (Boxes.Unsent(text(TextId::QuestionUnsent).arg(names.join(QStringLiteral(", "))), canSend)) {
    case UnsentAnswer::KeepEditing:
        break;
    case UnsentAnswer::Discard:
        return true;
    case UnsentAnswer::Send:
        cmdReview_Click();
        m_afterSending = std::move(then);
        return edits().empty();
    }
    return false;
}

bool frmRVQ::MayClose(std::function<void()> closeAgain)
{
    return !isVisible() || m_transfer.IsBusy() || mayDiscardEdits(std::move(closeAgain));
}

/// The user has chosen a line of the list.
void frmRVQ::chooseConfiguration(int line)
{
    cmbConfig->setCurrentIndex(m_line); // as long as its values are shown
    if (!mayDiscardEdits([this, line] { chooseConfiguration(line); })) {
        return;
    }
    const FieldHistory::Content before = content();
    cmbConfig_Click(line);
    m_history.Chosen(before, content());
}

/// The text of a box when it is left. A number that is moved to a limit says so until it is edited.
std::string frmRVQ::checked(const ParameterDef& row, const std::string& typed)
{
    const std::string result = CheckedText(row, typed, m_decimalSeparator);
    const BeyondLimit beyond = modChecks::LimitOf(row, typed);
    if (beyond != BeyondLimit::No) {
        m_notes[row].beyond = beyond;
        m_notes[row].typed = typed;
        m_notes[row].shown = result;
        BoxOf(row)->Explain(notesOf(row).join(u'\n'));
    }
    return result;
}

void frmRVQ::warnOf(const ShownSettings& values)
{
    for (const ParameterDef& row : ParameterTable()) {
        Note& note = m_notes[row];
        note.warnings.clear();
        if (values.texts[row] != note.shown) {
            note.beyond = BeyondLimit::No;
        }
    }
    const ParameterSet typed = asTyped(selected().Parameters, values);
    for (Warning& warning :
         modChecks::Check(typed, distanceNow(m_context.device), m_context.device.Parameters().Offset)) {
        m_notes[*warning.row].warnings.push_back(std::move(warning));
    }
}

/// What stands at a field, the most recent first.
QStringList frmRVQ::notesOf(const ParameterDef& row) const
{
    const Note& note = m_notes[row];
    QStringList lines;
    if (note.beyond != BeyondLimit::No) {
        const bool isUpper = note.beyond == BeyondLimit::Upper;
        lines += text(isUpper ? TextId::NoteUpperLimit : TextId::NoteLowerLimit)
                     .arg(FromBytes(note.typed.substr(0, 24)), FromUtf8(WithUnit(row, note.shown)));
    }
    if (note.outcome) {
        lines += outcomeText(*note.outcome);
    }
    for (const Warning& warning : note.warnings) {
        QString line = text(warning.textId);
        for (const std::string& arg : warning.args) {
            line = line.arg(FromUtf8(arg));
        }
        lines += line;
    }
    return lines;
}

/// A sign beside each field with a note, and the first of all notes in words.
void frmRVQ::showNotes()
{
    QStringList all;
    for (const ParameterDef* row : RowsByControl()) {
        const QString notes = notesOf(*row).join(u'\n');
        noteMark[*row]->setVisible(!notes.isEmpty());
        noteMark[*row]->setToolTip(PlainToolTip(notes));
        noteMark[*row]->setAccessibleName(text(TextId::AccessibleNote));
        noteMark[*row]->setAccessibleDescription(notes);
        control[*row]->setAccessibleDescription(notes);
        for (const QString& line : notesOf(*row)) {
            const QString named = text(TextId::CaptionNote).arg(text(row->labelId).trimmed(), line);
            const bool isMoved = m_notes[*row].beyond != BeyondLimit::No && line == notesOf(*row).front();
            all.insert(isMoved ? 0 : all.size(), named);
        }
    }
    ShowText(*lblNote, all.isEmpty() ? QString() : all.front());
    lblNote->setVisible(!all.isEmpty());
    lblNote->setToolTip(PlainToolTip(all.join(u'\n')));
}

void frmRVQ::followWrites()
{
    const clsRVQ& device = m_context.device;
    if (m_context.writes == nullptr) {
        return;
    }
    const bool isUsable = device.CommStatus() != DialogueNone && !device.Wait().Running && !m_transfer.IsBusy();
    fraUndo->Follow(*m_context.writes, device.Identity().SerialNo, isUsable, m_context.settings.Language);
    const WriteReport* last = m_context.writes->Last();
    if (last != nullptr && last->time != m_notedTime && !m_transfer.IsBusy()) {
        takeReport(*last); // another window has written
    }
    if (isSaidByBar() != m_isSaidByBar) {
        showReport();
    }
}

/// When the last write ended that the keeper knows of; a write that sent nothing is none.
std::optional<double> frmRVQ::timeOfNoted() const
{
    const WriteReport* last = m_context.writes == nullptr ? nullptr : m_context.writes->Last();
    return last == nullptr ? std::nullopt : std::optional(last->time);
}

/// Shows what became of a write. What the sensor has got is no edit any more, and what it has got back follows.
void frmRVQ::takeReport(const WriteReport& report)
{
    if (report.kind != WriteKind::Send || !m_transfer.IsBusy()) {
        m_notValid.clear();
    }
    m_notedTime = timeOfNoted();
    m_report = report;
    ShownSettings now = shown();
    const bool isUndone = report.kind == WriteKind::Undo && m_line == kDeviceLine && m_serial == IsSerial(report.after);
    const ShownSettings after = ShownOf(report.after, m_decimalSeparator),
                        before = ShownOf(report.before, m_decimalSeparator);
    std::vector<const ParameterDef*> followed;
    for (const ValueReport& value : report.values) {
        const ParameterDef& row = *value.row;
        if (isUndone && report.isReadBack && !differs(row, now, before)) {
            now.texts[row] = after.texts[row];
            now.choices[row] = after.choices[row];
            followed.push_back(&row);
        }
        m_notes[row].outcome = isMarked(value.outcome) ? std::optional(value) : std::nullopt;
    }
    showValues(now);
    const ParameterSet typed = asTyped(report.after, now);
    for (const ValueReport& value : report.values) {
        if (isSent(value.outcome) && typed.*value.row->value == value.wanted) {
            settle(*value.row);
        }
    }
    for (const ParameterDef* row : followed) {
        settle(*row); // also when the sensor has rounded it
    }
    m_history.Edited(content());
    m_history.EndTyping();
    showReport();
    applyRule();
}

/// Whether the bar shows the first sentence of the report.
bool frmRVQ::isSaidByBar() const
{
    if (!m_report || m_context.writes == nullptr || fraUndo->isHidden()) {
        return false;
    }
    const WriteReport* undoable = m_context.writes->Undoable(m_context.device.Identity().SerialNo);
    return undoable != nullptr && undoable->time == m_report->time;
}

void frmRVQ::showReport()
{
    m_isSaidByBar = isSaidByBar();
    QStringList lines;
    if (m_report) {
        lines += FromUtf8(modReportText::Summary(*m_report, m_context.settings.Language, m_decimalSeparator));
        lines += m_notValid;
        for (const std::string& line :
             modReportText::Lines(*m_report, m_decimalSeparator, m_context.settings.Language)) {
            lines += FromUtf8(line);
        }
    }
    if (const std::error_code why =
            m_context.writes != nullptr ? m_context.writes->PassportFailure() : std::error_code();
        m_report && why) {
        lines += text(TextId::PassportNotWritten).arg(FileErrorText(why, m_context.settings.Language));
    }
    lines.removeAll(QString());
    lblReport->setAccessibleDescription(lines.join(u'\n'));
    QString whole = lines.join(u'\n').toHtmlEscaped(); // as rich text, so that it is wrapped
    lblReport->setToolTip(whole.replace(u'\n', QStringLiteral("<br>")));
    if (m_isSaidByBar) {
        lines.removeFirst();
    }
    lblReport->ShowLines(lines, kReportRows, text(TextId::ListMore));
    lblReport->setVisible(!lines.isEmpty());
}

QString frmRVQ::outcomeText(const ValueReport& value) const
{
    const QString now = value.readBack ? valueText(*value.row, *value.readBack) : QString();
    switch (value.outcome) {
    case ValueOutcome::Rounded:
        return text(TextId::OutcomeRounded).arg(now);
    case ValueOutcome::Ignored:
        return text(TextId::OutcomeIgnored).arg(now);
    case ValueOutcome::Refused:
        return text(TextId::OutcomeRefused);
    case ValueOutcome::Unanswered:
        return text(TextId::OutcomeUnanswered);
    case ValueOutcome::NotSent:
        return text(TextId::OutcomeNotSent);
    default:
        return {};
    }
}

/// A stored value as its control shows it.
QString frmRVQ::valueText(const ParameterDef& row, std::int32_t value) const
{
    return FromUtf8(isNumber(row) ? WithUnit(row, NumberText(row, value, m_decimalSeparator))
                                  : ValueName(row, value, m_context.settings.Language));
}
