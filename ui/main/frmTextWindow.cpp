#include "ui/main/frmTextWindow.h"

#include "store/modGlobals.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/LineLabel.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/Named.h"
#include "ui/widgets/WindowPlace.h"

#include <QAction>
#include <QEvent>
#include <QFontInfo>
#include <QMouseEvent>
#include <QScreen>
#include <QShortcut>

#include <algorithm>

namespace {

constexpr double kTwipsPerInch = 1440.0;
constexpr char kOnTop[] = "frmTextWindow.OnTop"; // in "RVQ.ini"
constexpr double kShareOfScreen = 0.6;           // of each side, until the operator has chosen a size
constexpr int kMargins_twips = 360;
constexpr int kLeft_twips = 120;
constexpr int kAllowance_twips = 240;
constexpr double kStart_pt = 8.0;
constexpr double kCoarse_pt = 26.0;
constexpr double kLargest_pt = 2000.0;
constexpr char kTemplate[] = "#####,# ##";
constexpr char kAgeTemplate[] = "000 min 000";
constexpr int kShareOfAge = 5; // of the window's height

} // namespace

frmTextWindow::frmTextWindow(QWidget& owner, const modGlobals::Settings& settings)
    : QWidget(&owner, Qt::Window), m_settings(settings),
      mnuLargeFullScreen(addItem("mnuLargeFullScreen", Qt::Key_F11, &frmTextWindow::fullScreen)),
      mnuLargeOnTop(addItem("mnuLargeOnTop", Qt::CTRL | Qt::Key_T, &frmTextWindow::stayOnTop)),
      lblValue(new LineLabel(this)), lblState(new LineLabel(this)), lblValueAge(new LineLabel(this, Qt::ElideRight)),
      lblTest(new LineLabel(this)), m_size_pt(kStart_pt)
{
    setObjectName(QStringLiteral("frmTextWindow"));
    setAttribute(Qt::WA_DeleteOnClose);
    SetTextIds(this, TextId::TitleLargeDisplay);
    lblValue->setObjectName(QStringLiteral("lblValue"));
    lblState->setObjectName(QStringLiteral("lblState"));
    lblValueAge->setObjectName(QStringLiteral("lblValueAge"));
    lblTest->setObjectName(QStringLiteral("lblTest"));
    lblTest->hide();
    LocaliseForm(*this, settings.Language);
    localise();
    connect(new QShortcut(QKeySequence(Qt::Key_Escape), this), &QShortcut::activated, this, [this] { leave(); });
    resize(screen()->availableSize() * kShareOfScreen);
    new WindowPlace(*this, settings.IniFile);
    setWindowState(windowState() & ~Qt::WindowFullScreen); // it opens as a window, whatever it was when it closed
    mnuLargeOnTop->setChecked(KeptChoice(kOnTop, false, settings.IniFile));
    setWindowFlag(Qt::WindowStaysOnTopHint, mnuLargeOnTop->isChecked());
}

/// The window's menu, under the right mouse button, holds what its keys do.
QAction* frmTextWindow::addItem(const char* name, const QKeySequence& key, void (frmTextWindow::*act)(bool))
{
    setContextMenuPolicy(Qt::ActionsContextMenu);
    auto* item = Named<QAction>(name, this);
    item->setShortcut(key);
    item->setCheckable(true);
    addAction(item);
    connect(item, &QAction::triggered, this, [this, act](bool on) { Guarded([&] { (this->*act)(on); }); });
    return item;
}

void frmTextWindow::localise()
{
    mnuLargeFullScreen->setText(Text(TextId::MenuLargeFullScreen, m_settings.Language));
    mnuLargeOnTop->setText(Text(TextId::MenuLargeOnTop, m_settings.Language));
    lblValue->setAccessibleName(windowTitle());
}

void frmTextWindow::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        Guarded([this] { localise(); });
    } else if (event->type() == QEvent::WindowStateChange) {
        mnuLargeFullScreen->setChecked(isFullScreen());
    }
    QWidget::changeEvent(event);
}

void frmTextWindow::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) {
        fullScreen(!isFullScreen());
    }
}

void frmTextWindow::fullScreen(bool full)
{
    setWindowState(full ? windowState() | Qt::WindowFullScreen : windowState() & ~Qt::WindowFullScreen);
}

/// Another flag hides the window, and it may lose its place.
void frmTextWindow::stayOnTop(bool onTop)
{
    const QRect place = geometry();
    const bool full = isFullScreen();
    setWindowFlag(Qt::WindowStaysOnTopHint, onTop);
    if (!full) {
        setGeometry(place);
    }
    show();
    KeepChoice(kOnTop, onTop, m_settings.IniFile);
}

/// Escape leaves the full screen first, then the window.
void frmTextWindow::leave()
{
    if (isFullScreen()) {
        fullScreen(false);
    } else {
        close();
    }
}

void frmTextWindow::ShowValue(const QString& text)
{
    lblTest->setFont(lblValue->font());
    lblTest->setText(text);
    if (lblTest->sizeHint().width() + pixels(kAllowance_twips) > width()) {
        fit(text);
    }
    ShowText(*lblValue, text);
    lblState->setVisible(text.isEmpty());
}

void frmTextWindow::ShowState(const QString& words)
{
    if (words != lblState->text()) {
        lblState->setText(words);
        fitState();
    }
    lblState->setVisible(lblValue->text().isEmpty());
}

/// As large as the window allows, but with air around it: it is no value.
void frmTextWindow::fitState()
{
    constexpr double kShare = 0.8;
    QFont letters = font();
    letters.setPixelSize(std::max(heightOfValue() / 2, 1));
    const int wanted = QFontMetrics(letters).horizontalAdvance(lblState->text());
    const auto room = static_cast<int>(width() * kShare);
    if (wanted > room) {
        letters.setPixelSize(std::max(letters.pixelSize() * room / wanted, QFontInfo(font()).pixelSize()));
    }
    lblState->setFont(letters);
    lblState->setGeometry(pixels(kLeft_twips), 0, width() - pixels(kLeft_twips), heightOfValue());
}

void frmTextWindow::ShowNote(const QString& note, bool stale)
{
    lblValue->ShowStale(stale);
    if (note == lblValueAge->text()) {
        return;
    }
    lblValueAge->setText(note);
    lblValue->setAccessibleDescription(note);
    place();
}

void frmTextWindow::resizeEvent(QResizeEvent*)
{
    fit(lblValue->text());
    fitState();
    place();
}

/// The age keeps its room whether it is shown or not, so that nothing jumps.
void frmTextWindow::place()
{
    const int left = pixels(kLeft_twips);
    lblValue->setGeometry(left, 0, width() - left, heightOfValue());
    const int usual = QFontInfo(font()).pixelSize();
    QFont small = lblValueAge->font();
    small.setPixelSize(std::max(usual, heightOfAge() * 3 / 4));
    const QFontMetrics metrics(small);
    const int wanted = std::max(metrics.horizontalAdvance(QLatin1String(kAgeTemplate)),
                                metrics.horizontalAdvance(lblValueAge->text()));
    const int room = width() - pixels(kMargins_twips);
    if (wanted > room) {
        small.setPixelSize(std::max(usual, small.pixelSize() * room / wanted));
    }
    lblValueAge->setFont(small);
    lblValueAge->setGeometry(left, heightOfValue(), width() - left, heightOfAge());
}

int frmTextWindow::heightOfAge() const
{
    return std::max(fontMetrics().height(), height() / kShareOfAge);
}

/// Without a text a template is measured, so that the first digits do not change the size.
void frmTextWindow::fit(const QString& text)
{
    lblTest->setText(text.isEmpty() ? QLatin1String(kTemplate) : text);
    const int room = width() - pixels(kMargins_twips);
    if (room > 0) {
        m_size_pt = fitFont(room, kStart_pt);
        QFont fitted = lblValue->font();
        fitted.setPointSizeF(m_size_pt);
        lblValue->setFont(fitted);
    }
}

/// The largest size at which the text is narrower than the target and no higher than the window.
/// Deliberate: the steps are coarser for large letters.
double frmTextWindow::fitFont(int targetWidth, double startSize_pt)
{
    double fitting = startSize_pt;
    double size = startSize_pt;
    QFont font = lblTest->font();
    do {
        fitting = size;
        size += size < kCoarse_pt ? 2.0 : 6.0;
        font.setPointSizeF(size);
        lblTest->setFont(font);
    } while (lblTest->sizeHint().width() < targetWidth && lblTest->sizeHint().height() <= heightOfValue() &&
             size < kLargest_pt);
    return fitting;
}

int frmTextWindow::pixels(int twips) const
{
    return qRound(twips * logicalDpiX() / kTwipsPerInch);
}
