// What the main window does for the view: the View menu and the tool bar, the left column that can be folded away, what
// is taken along from the chart, and recordings that are dropped on the window.
#include "session/clsSession.h"
#include "store/modGlobals.h"
#include "store/modRecent.h"
#include "ui/chart/ChartPanel.h"
#include "ui/chart/StatisticsPanel.h"
#include "ui/chart/frmMark.h"
#include "ui/main/MeasurementPanel.h"
#include "ui/main/MessagePanel.h"
#include "ui/main/ToolBar.h"
#include "ui/main/UndoRun.h"
#include "ui/main/frmMain.h"
#include "ui/recorder/Export.h"
#include "ui/recorder/ExportPicture.h"
#include "ui/recorder/Playing.h"
#include "ui/recorder/frmRecorder.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"
#include "ui/widgets/UndoBar.h"
#include "ui/widgets/WindowPlace.h"

#include <QAbstractItemView>
#include <QAbstractSpinBox>
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDir>
#include <QDragEnterEvent>
#include <QFile>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QTimer>
#include <QToolButton>

#include <algorithm>
#include <utility>

namespace {

constexpr char kFolded[] = "frmMain.LeftColumnFolded"; // in "RVQ.ini"

/// Whether a key without Ctrl or Alt means something in a control: lists look for the line that begins with a letter.
bool usesKey(const QWidget* control, const QKeyEvent& key)
{
    const bool isPlain = (key.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) == 0;
    const bool isTyped = (key.key() >= Qt::Key_A && key.key() <= Qt::Key_Z) || key.key() == Qt::Key_Home;
    return isPlain && isTyped &&
           (qobject_cast<const QComboBox*>(control) != nullptr ||
            qobject_cast<const QAbstractItemView*>(control) != nullptr ||
            qobject_cast<const QAbstractSpinBox*>(control) != nullptr ||
            qobject_cast<const QLineEdit*>(control) != nullptr);
}

/// What Ctrl+C does in a part of the window that has something of its own to copy; null elsewhere.
QAction* copyActionOf(const QWidget* control)
{
    for (; control != nullptr && !control->isWindow(); control = control->parentWidget()) {
        for (QAction* action : control->actions()) {
            if (action->shortcuts().contains(QKeySequence::Copy) && action->isEnabled()) {
                return action;
            }
        }
    }
    return nullptr;
}

bool isRecording(const QString& file)
{
    return QFileInfo(file).suffix().compare(QLatin1String("rec"), Qt::CaseInsensitive) == 0;
}

} // namespace

void frmMain::connectView()
{
    setAcceptDrops(true);
    const auto act = [this](QAction* action, const std::function<void(bool)>& body) {
        connect(action, &QAction::triggered, this, [this, body](bool on) {
            Guarded([&] { body(on); });
            followView();
        });
    };
    act(mnuViewFreeze, [this](bool freeze) { picGraph->Freeze(freeze); });
    act(mnuViewFit, [this](bool) { picGraph->Fit(); });
    act(mnuViewBack, [this](bool) { picGraph->Back(); });
    act(mnuViewForward, [this](bool) { picGraph->Forward(); });
    act(mnuViewCursorA, [this](bool) { showNews(picGraph->ToggleCursor(0)); });
    act(mnuViewCursorB, [this](bool) { showNews(picGraph->ToggleCursor(1)); });
    for (std::size_t i = 0; i < kViewSpans.size(); ++i) {
        act(mnuViewSpan[i], [this, i](bool) { picGraph->Span(kViewSpans[i].span_ms); });
    }
    act(mnuViewMark, [this](bool) { showNews(AskForMark(*this, m_session, *picGraph, m_settings.Language)); });
    act(mnuViewJump, [this](bool) { showNews(picGraph->ShowLargestJump()); });
    act(mnuViewLargeDisplay, [this](bool) { fraMeasurement->ShowLargeDisplay(); });
    act(mnuViewPanel, [this](bool shown) { fold(!shown); });
    connect(fraUndo, &UndoBar::undone, this, [this] { Guarded([this] { cmdUndo_Click(); }); });
    connectAction(tlbRecord, &frmMain::tlbRecord_Click);
    connectAction(mnuFileExportVisible, &frmMain::mnuFileExportVisible_Click);
    connectAction(mnuFileCopyChart, &frmMain::mnuFileCopyChart_Click);
    connect(cmdPanel, &QToolButton::clicked, mnuViewPanel, &QAction::trigger);
    connect(picGraph, &ChartPanel::Looked, this, [this] { Guarded([this] { followView(); }); });
    connect(mnuFileRecent, &QMenu::aboutToShow, this, [this] { Guarded([this] { fillRecent(); }); });
    connectAction(mnuFileRecentClear, &frmMain::mnuFileRecentClear_Click);
    fold(KeptChoice(kFolded, false, m_settings.IniFile));
    followView();
    followRecorder();
}

/// Each command can be used when it can do something.
void frmMain::followView()
{
    const clsHistory* history = picGraph->Source();
    const bool hasValues = history != nullptr && !history->IsEmpty();
    const bool frozen = picGraph->IsFrozen();
    for (QAction* action : {mnuViewFreeze, mnuViewFit, mnuViewCursorA, mnuViewCursorB, mnuFileCopyChart}) {
        action->setEnabled(hasValues);
    }
    mnuViewFreeze->setChecked(frozen);
    mnuViewBack->setEnabled(picGraph->CanGoBack());
    mnuViewForward->setEnabled(picGraph->CanGoForward());
    mnuViewCursorA->setChecked(picGraph->HasCursor(0));
    mnuViewCursorB->setChecked(picGraph->HasCursor(1));
    mnuViewMark->setEnabled(hasValues);
    mnuViewJump->setEnabled(hasValues);
    for (std::size_t i = 0; i < kViewSpans.size(); ++i) {
        mnuViewSpan[i]->setChecked(kViewSpans[i].span_ms == picGraph->FollowedSpan_ms());
    }
    mnuFileExportVisible->setEnabled(hasValues && history->CountIn(picGraph->ShownRange()) > 0);
}

/// What became of the last write, and the bar with the way back. A wait for the sensor disables its button.
void frmMain::followWrites()
{
    const clsRVQ& device = m_session.Device();
    const bool isUsable = device.CommStatus() != DialogueNone && !device.Wait().Running;
    fraUndo->Follow(m_session.Writes(), device.Identity().SerialNo, isUsable, m_settings.Language);
    const WriteReport* last = m_session.Writes().Last();
    if (last != nullptr && std::exchange(m_toldWrite, last->time) != last->time) {
        pnlMessages->ShowReport(*last);
    }
}

void frmMain::cmdUndo_Click()
{
    m_undoRun->Undo();
}

/// The button for recording follows the rules of the recorder's window.
void frmMain::followRecorder()
{
    const std::int32_t mode = m_session.Recorder().Mode;
    tlbRecord->setEnabled(mode != RecorderPlaying);
    tlbRecord->setChecked(mode == RecorderRecording);
    tlbMain->Show(fraMeasurement->StartAction(), fraMeasurement->IsRunning() ? Symbol::Stop : Symbol::Start);
}

void frmMain::tlbRecord_Click()
{
    clsRecorder& recorder = m_session.Recorder();
    if (m_recorderWindow != nullptr) {
        m_recorderWindow->StartOrStop(); // with the name that may stand there
    } else if (recorder.Mode == RecorderRecording) {
        recorder.Stop();
    } else if (recorder.Mode == RecorderIdle) {
        if (const std::error_code why = BeginRecording(m_session, {})) {
            pnlMessages->ShowFailure(NotStartedText(why, m_settings.Language));
        }
    }
    followRecorder();
}

void frmMain::fold(bool folded)
{
    scrLeft->setVisible(!folded);
    cmdPanel->setArrowType(folded ? Qt::RightArrow : Qt::LeftArrow);
    mnuViewPanel->setChecked(!folded);
    fraMeasurement->KeysToActions(folded);
    if (folded != KeptChoice(kFolded, false, m_settings.IniFile)) {
        KeepChoice(kFolded, folded, m_settings.IniFile);
    }
}

void frmMain::mnuFileRecentClear_Click()
{
    if (const std::error_code why = modRecent::Clear(m_settings.IniFile)) {
        pnlMessages->ShowFailure(unkeptText(why));
    }
}

void frmMain::mnuFileExportVisible_Click()
{
    showNews(ExportVisible(*this, *picGraph, m_session, m_settings.Language));
}

/// One copy for every program: it pastes the picture or the text, as it can.
void frmMain::mnuFileCopyChart_Click()
{
    auto* copied = new QMimeData; // the clipboard owns it
    copied->setImageData(PictureOf(*picGraph));
    if (const QString text = fraStatistics->AsText(); !text.isEmpty()) {
        copied->setText(text);
    }
    QApplication::clipboard()->setMimeData(copied);
}

bool frmMain::event(QEvent* event)
{
    if (event->type() == QEvent::ShortcutOverride) {
        auto* key = static_cast<QKeyEvent*>(event);
        if (usesKey(focusWidget(), *key) ||
            (key->matches(QKeySequence::Copy) && copyActionOf(focusWidget()) != nullptr)) {
            event->accept(); // the control gets the key, not the menu
            return true;
        }
    }
    return QMainWindow::event(event);
}

/// Two actions with one key would be ambiguous: Ctrl+C belongs to the part of the window that has the focus.
void frmMain::keyPressEvent(QKeyEvent* event)
{
    QAction* copy = event->matches(QKeySequence::Copy) ? copyActionOf(focusWidget()) : nullptr;
    if (copy != nullptr) {
        copy->trigger();
    } else {
        QMainWindow::keyPressEvent(event);
    }
}

void frmMain::resizeEvent(QResizeEvent* event)
{
    QMainWindow::resizeEvent(event);
    fraMeasurement->FitNumber(size());
}

/// Takes anything that comes as files, so that it can say why a file cannot be played.
void frmMain::dragEnterEvent(QDragEnterEvent* event)
{
    if (event->mimeData()->hasUrls() && m_inputBlock == nullptr) {
        event->acceptProposedAction();
    }
}

/// The program that the files come from waits until this returns, so they are opened afterwards.
void frmMain::dropEvent(QDropEvent* event)
{
    event->acceptProposedAction();
    QTimer::singleShot(0, this, [this, files = event->mimeData()->urls()] { Guarded([&] { openDropped(files); }); });
}

void frmMain::openDropped(const QList<QUrl>& files)
{
    QStringList recordings;
    for (const QUrl& file : files) {
        if (!file.isLocalFile()) {
            pnlMessages->ShowMessage(text(TextId::DropNoFile));
            return;
        }
        recordings += file.toLocalFile();
    }
    const auto other = std::ranges::find_if_not(recordings, isRecording);
    if (other != recordings.end()) {
        pnlMessages->ShowMessage(text(TextId::DropNoRecording).arg(QFileInfo(*other).fileName()));
        return;
    }
    play(recordings);
}

void frmMain::play(const QStringList& files)
{
    PlayRecording(*this, m_session, m_settings, files,
                  [this](const QString& message) { pnlMessages->ShowMessage(message); });
}

/// The disk is asked only when the menu opens: a recording may have gone meanwhile, or its disk may be back.
void frmMain::fillRecent()
{
    mnuFileRecent->clear();
    for (const std::filesystem::path& file : modRecent::Load(m_settings.IniFile)) {
        const QString name = QFile::decodeName(file.c_str());
        QAction* item = mnuFileRecent->addAction(QFileInfo(name).fileName().replace(u'&', QStringLiteral("&&")));
        item->setToolTip(PlainToolTip(QDir::toNativeSeparators(name)));
        item->setEnabled(QFileInfo::exists(name));
        connect(item, &QAction::triggered, this, [this, name] { Guarded([&] { play({name}); }); });
    }
    mnuFileRecent->addSeparator();
    mnuFileRecent->addAction(mnuFileRecentClear);
    mnuFileRecentClear->setEnabled(mnuFileRecent->actions().size() > 2);
}
