#include "ui/main/frmTextWindow.h"

#include "store/modGlobals.h"
#include "ui/widgets/LineLabel.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/WindowPlace.h"

#include <QFontInfo>
#include <QShortcut>

#include <algorithm>

namespace {

constexpr double kTwipsPerInch = 1440.0;
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
    : QWidget(&owner, Qt::Window), lblValue(new LineLabel(this)), lblValueAge(new LineLabel(this, Qt::ElideRight)),
      lblTest(new LineLabel(this)), m_size_pt(kStart_pt)
{
    setObjectName(QStringLiteral("frmTextWindow"));
    setAttribute(Qt::WA_DeleteOnClose);
    SetTextIds(this, TextId::TitleLargeDisplay);
    lblValue->setObjectName(QStringLiteral("lblValue"));
    lblValueAge->setObjectName(QStringLiteral("lblValueAge"));
    lblTest->setObjectName(QStringLiteral("lblTest"));
    lblTest->hide();
    LocaliseForm(*this, settings.Language);
    lblValue->setAccessibleName(windowTitle());
    connect(new QShortcut(QKeySequence(Qt::Key_Escape), this), &QShortcut::activated, this, &QWidget::close);
    resize(pixels(2000), pixels(1000));
    new WindowPlace(*this, settings.IniFile);
}

void frmTextWindow::ShowValue(const QString& text)
{
    lblTest->setFont(lblValue->font());
    lblTest->setText(text);
    if (lblTest->sizeHint().width() + pixels(kAllowance_twips) > width()) {
        fit(text);
    }
    ShowText(*lblValue, text);
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
