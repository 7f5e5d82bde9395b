#include "ui/recorder/frmRecorder.h"

#include "session/clsSession.h"
#include "store/modGlobals.h"
#include "store/modRecent.h"
#include "ui/recorder/PlanPanel.h"
#include "ui/recorder/Playing.h"
#include "ui/recorder/ProgressPanel.h"
#include "ui/widgets/FileErrors.h"
#include "ui/widgets/FileFilter.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/LineLabel.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"
#include "ui/widgets/WindowPlace.h"

#include <QCloseEvent>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

#include <stdexcept>

namespace {

constexpr double kWidth = 26.0; // of the window at least, in line heights

void setChanged(QLabel* label, const QString& text, const QString& whole)
{
    const QString toolTip = PlainToolTip(whole);
    if (label->text() != text || label->toolTip() != toolTip) {
        label->setText(text);
        label->setToolTip(toolTip);
    }
}

QString pathOf(const std::string& file)
{
    return QFile::decodeName(file.c_str());
}

enum class Symbol : std::uint8_t { Record, Play, Stop };

/// The symbol found on every tape recorder, in the colours of the button's text.
QIcon symbolOf(Symbol symbol, const QWidget& button, int size)
{
    QIcon icon;
    for (const auto& [mode, group] :
         {std::pair(QIcon::Normal, QPalette::Active), std::pair(QIcon::Disabled, QPalette::Disabled)}) {
        const QColor ink = button.palette().color(group, QPalette::ButtonText);
        QPixmap picture(QSize(size, size) * button.devicePixelRatioF());
        picture.setDevicePixelRatio(button.devicePixelRatioF());
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(ink);
        const QRectF area(size * 0.1, size * 0.1, size * 0.8, size * 0.8);
        switch (symbol) {
        case Symbol::Record:
            if (mode == QIcon::Normal) {
                DrawRecordMark(painter, area);
            } else {
                painter.drawEllipse(area);
            }
            break;
        case Symbol::Play:
            painter.drawPolygon(QPolygonF({area.topLeft(), {area.right(), area.center().y()}, area.bottomLeft()}));
            break;
        case Symbol::Stop:
            painter.drawRect(area);
            break;
        }
        painter.end();
        icon.addPixmap(picture, mode);
    }
    return icon;
}

} // namespace

std::error_code BeginRecording(clsSession& session, const QString& name)
{
    try {
        session.StartRecording(QFile::encodeName(name).toStdString());
    } catch (const std::overflow_error&) {
        return std::make_error_code(std::errc::value_too_large); // all names are taken
    } catch (const std::system_error& failure) {
        return failure.code();
    }
    return {};
}

QString NotStartedText(const std::error_code& why, std::int32_t language)
{
    return Text(TextId::RecorderNotStarted, language).arg(FileErrorText(why, language));
}

frmRecorder::frmRecorder(QWidget& owner, modGlobals::Settings& settings, clsSession& session)
    : QDialog(&owner), m_settings(settings), m_session(session), m_recorder(session.Recorder()),
      lblMark(new QLabel(this)), lblState(new QLabel(this)), lblFile(new LineLabel(this, Qt::ElideMiddle)),
      pnlProgress(new ProgressPanel(this)), pnlPlan(new PlanPanel(this, settings))
{
    setObjectName(QStringLiteral("frmRecorder"));
    SetTextIds(this, TextId::TitleRecorder);
    ChooseFiles = [this] { return askForFiles(); };
    ShowMessage = [](const QString&) {};
    lblState->setObjectName(QStringLiteral("lblState"));
    lblState->setWordWrap(true);
    lblState->setTextFormat(Qt::PlainText);
    lblState->setMinimumHeight(2 * fontMetrics().height()); // the longer texts need two lines
    lblState->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    QFont bold = lblState->font();
    bold.setBold(true);
    lblState->setFont(bold);
    lblFile->setObjectName(QStringLiteral("lblFile"));
    lblMark->setObjectName(QStringLiteral("lblMark"));
    lblMark->setFixedSize(fontMetrics().height(), fontMetrics().height());
    auto* state = new QHBoxLayout;
    state->addWidget(lblMark, 0, Qt::AlignTop);
    state->addWidget(lblState, 1);
    auto* column = new QVBoxLayout(this);
    column->addStrut(static_cast<int>(kWidth * fontMetrics().height()));
    column->addLayout(state);
    column->addWidget(lblFile);
    column->addWidget(pnlProgress);
    column->addStretch(1);
    column->addWidget(pnlPlan);
    column->addLayout(buildButtons());
    pnlPlan->Refused = [this](const QString& why) { say(why); };
    pnlPlan->Rename = [this](const QString& name) { rename(name); };
    m_recorder.IsOpen = true;
    new WindowPlace(*this, m_settings.IniFile);
    localise();
    drawSymbols();
    connect(cmdRec, &QPushButton::clicked, this, [this] { Guarded([this] { cmdRec_Click(); }); });
    connect(cmdPlay, &QPushButton::clicked, this, [this] { Guarded([this] { cmdPlay_Click(); }); });
    connect(cmdStop, &QPushButton::clicked, this, [this] { Guarded([this] { cmdStop_Click(); }); });
    m_session.Listen(*this);
}

frmRecorder::~frmRecorder()
{
    m_session.Leave(*this);
}

QPushButton* frmRecorder::addButton(const char* name, TextId tag, TextId toolTip)
{
    auto* button = new QPushButton(this);
    button->setObjectName(QLatin1String(name));
    button->setAutoDefault(false); // Enter must not start a recording
    SetTextIds(button, tag, toolTip);
    return button;
}

QLayout* frmRecorder::buildButtons()
{
    cmdRec = addButton("cmdRec", TextId::ButtonRecord, TextId::ToolTipRecord);
    cmdPlay = addButton("cmdPlay", TextId::ButtonPlay, TextId::ToolTipPlay);
    cmdStop = addButton("cmdStop", TextId::ButtonStop, TextId::ToolTipStop);
    auto* row = new QHBoxLayout;
    for (QPushButton* button : {cmdRec, cmdPlay, cmdStop}) {
        row->addWidget(button, 1);
    }
    return row;
}

void frmRecorder::drawSymbols() const
{
    const int size = fontMetrics().ascent();
    cmdRec->setIcon(symbolOf(Symbol::Record, *cmdRec, size));
    cmdPlay->setIcon(symbolOf(Symbol::Play, *cmdPlay, size));
    cmdStop->setIcon(symbolOf(Symbol::Stop, *cmdStop, size));
    for (QPushButton* button : {cmdRec, cmdPlay, cmdStop}) {
        button->setIconSize(QSize(size, size));
    }
}

void frmRecorder::localise()
{
    LocaliseForm(*this, m_settings.Language);
    pnlProgress->Localise(m_settings.Language);
    pnlPlan->Localise();
    ShowState();
}

void frmRecorder::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        Guarded([this] { localise(); });
    } else if (event->type() == QEvent::PaletteChange) {
        drawSymbols();
    }
    QDialog::changeEvent(event);
}

/// Figures that change twenty times a second cannot be read.
void frmRecorder::Ticked()
{
    constexpr std::int32_t kTicks = 500 / clsMeasurementLoop::kInterval_ms;
    showRule();
    if (m_recorder.Mode != m_shownMode || ++m_ticks % kTicks == 0) {
        ShowState();
    }
}

void frmRecorder::say(const QString& word)
{
    pnlProgress->Say(word);
    pnlProgress->Show(m_recorder, m_settings.Language);
}

void frmRecorder::ShowState()
{
    m_shownMode = m_recorder.Mode;
    showRule();
    pnlProgress->Show(m_recorder, m_settings.Language);
    const bool runs = m_recorder.Mode == RecorderRecording;
    if (runs == lblMark->pixmap(Qt::ReturnByValue).isNull()) {
        const int size = lblMark->width();
        lblMark->setPixmap(runs ? symbolOf(Symbol::Record, *cmdRec, size).pixmap(size, size) : QPixmap());
    }
    const QString mark = runs ? text(TextId::RecordMark) : QString();
    lblMark->setToolTip(mark);
    lblMark->setAccessibleName(mark);
    const QString state = stateText();
    setChanged(lblState, state, state); // the system's own words can be long
    const QString file = hasFile() ? pathOf(m_recorder.FileName) : QString();
    setChanged(lblFile, QFileInfo(file).fileName(), file);
}

/// Whether the text above refers to an existing file.
bool frmRecorder::hasFile() const
{
    return m_recorder.LastMode() == RecorderPlaying || m_recorder.Mode == RecorderRecording ||
           (m_recorder.Lines() > 0 && !m_startFailure);
}

void frmRecorder::showRule()
{
    const bool idle = m_recorder.Mode == RecorderIdle && !m_choosing;
    cmdRec->setEnabled(idle);
    cmdPlay->setEnabled(idle && !m_session.IsBusy());
    cmdStop->setEnabled(m_recorder.Mode == RecorderRecording);
    pnlPlan->ShowRule(idle, m_recorder.CanRename());
}

QString frmRecorder::stateText() const
{
    if (m_recorder.Mode == RecorderRecording) {
        return TextsOf(m_recorder, m_settings.Language).state;
    }
    if (m_recorder.Mode == RecorderPlaying) {
        return text(TextId::StatusLoading);
    }
    return newsText();
}

QString frmRecorder::newsText() const
{
    if (m_startFailure) {
        return NotStartedText(m_startFailure, m_settings.Language);
    }
    if (m_recorder.LastMode() == RecorderRecording) {
        return recordedText();
    }
    return m_loaded ? LoadedText(*m_loaded, m_settings.Language) : text(TextId::RecorderReady);
}

QString frmRecorder::recordedText() const
{
    if (m_recorder.Failure()) {
        return text(TextId::RecorderEnded).arg(FileErrorText(m_recorder.Failure(), m_settings.Language));
    }
    if (m_recorder.IsWriting()) {
        return text(TextId::RecorderWriting);
    }
    if (m_recorder.Lines() > 0) {
        return text(TextId::RecorderSaved).arg(m_recorder.Lines());
    }
    return m_recorder.WaitsForTemperature() ? text(TextId::RecorderNoTemperature) : text(TextId::RecorderNoValue);
}

void frmRecorder::StartOrStop()
{
    (m_recorder.Mode == RecorderRecording ? cmdStop : cmdRec)->click();
}

void frmRecorder::cmdRec_Click()
{
    ShowMessage({});
    m_startFailure = BeginRecording(m_session, pnlPlan->Name());
    if (m_startFailure) {
        NoteFault(newsText().toUtf8().constData());
        ShowState();
        return;
    }
    ShowState();
    cmdStop->setFocus();
}

void frmRecorder::cmdStop_Click()
{
    m_recorder.Stop();
    pnlProgress->Say({}); // what it said was about the recording
    ShowState();
    cmdRec->setFocus();
}

void frmRecorder::rename(const QString& name)
{
    const std::filesystem::path before = m_recorder.Parts().front();
    const std::error_code error = m_recorder.Rename(QFile::encodeName(name).toStdString());
    modRecent::Rename(m_settings.IniFile, before, m_recorder.Parts().front());
    if (error) {
        say(text(TextId::RecorderNotRenamed).arg(FileErrorText(error, m_settings.Language)));
    } else {
        pnlPlan->ClearName();
        pnlProgress->Say({});
    }
    ShowState();
}

void frmRecorder::cmdPlay_Click()
{
    struct Stopped {
        frmRecorder& window;
        ~Stopped()
        {
            window.m_choosing = false;
            window.m_recorder.Stop();
            window.ShowState();
        }
    } const stoppedInEveryCase{*this};
    m_choosing = true;
    showRule();
    const QStringList files = ChooseFiles();
    // A measurement may have begun by itself while the file was chosen; a playback would run into it.
    PlayRecording(*this, m_session, m_settings, files, ShowMessage);
}

void frmRecorder::PlaybackBegins()
{
    m_startFailure.clear();
    ShowState();
}

void frmRecorder::PlaybackEnds(const std::filesystem::path& /*file*/, const modPlayback::Loaded& loaded)
{
    m_loaded = loaded;
}

QStringList frmRecorder::askForFiles()
{
    const QString preset = m_recorder.FileName.empty() ? QFile::decodeName(m_recorder.NearestFolder().c_str())
                                                       : pathOf(m_recorder.FileName);
    return QFileDialog::getOpenFileNames(this, windowTitle(), preset,
                                         FileFilter(text(TextId::FileTypesRecording), QStringLiteral("*.rec")));
}

/// While something runs, the operator cannot close the window; it says why.
bool frmRecorder::mayClose()
{
    if (m_recorder.Mode == RecorderRecording) {
        say(text(TextId::RecorderStays));
    }
    return m_recorder.Mode == RecorderIdle && !m_choosing;
}

void frmRecorder::reject()
{
    if (mayClose()) {
        QDialog::reject();
    }
}

void frmRecorder::closeEvent(QCloseEvent* event)
{
    if (event->spontaneous()) {
        // Deliberate: a window closed by its frame leaves `IsOpen` set; while something runs it does not close.
        event->setAccepted(mayClose());
        return;
    }
    if (m_choosing) {
        setAttribute(Qt::WA_DeleteOnClose, false); // a slot of this window still runs; the main window deletes it
    }
    m_recorder.Stop();
    m_recorder.IsOpen = false;
    event->accept();
}

QString frmRecorder::text(TextId id) const
{
    return Text(id, m_settings.Language);
}
