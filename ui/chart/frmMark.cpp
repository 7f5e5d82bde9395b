#include "ui/chart/frmMark.h"

#include "base/Days.h"
#include "session/clsSession.h"
#include "ui/chart/ChartPanel.h"
#include "ui/chart/PlaceText.h"
#include "ui/widgets/FileErrors.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"

#include <QCursor>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <tuple>

namespace {

QString homeText(const clsSession& session, double place, std::int32_t language)
{
    const auto recording = session.RecordingAt(place);
    if (!recording) {
        return Text(TextId::MarkStays, language);
    }
    return Text(TextId::MarkGoesWith, language).arg(FromUtf8(recording->filename().string()));
}

QString outcomeText(const MarkOutcome& outcome, std::int32_t language)
{
    const QString sidecar = FromUtf8(outcome.sidecar.filename().string());
    switch (outcome.home) {
    case MarkHome::Gone:
        return Text(TextId::MarkRecordingGone, language);
    case MarkHome::Foreign:
        return Text(TextId::MarkForeign, language).arg(sidecar);
    case MarkHome::Unreadable:
        return Text(TextId::MarkUnreadable, language).arg(sidecar);
    case MarkHome::Unwritten:
        return Text(TextId::MarkUnwritten, language).arg(sidecar, FileErrorText(outcome.why, language));
    case MarkHome::None:
        return Text(TextId::MarkTooMany, language);
    case MarkHome::Sidecar:
    case MarkHome::Session:
        break;
    }
    return {};
}

} // namespace

frmMark::frmMark(QWidget& owner, bool isNew, const QString& when, const QString& home, std::int32_t language)
    : QDialog(&owner), lblWhen(new QLabel(when, this)), lblHome(new QLabel(home, this)), txtMark(new QLineEdit(this))
{
    setObjectName(QStringLiteral("frmMark"));
    SetTextIds(this, isNew ? TextId::TitleNewMark : TextId::TitleMark);
    lblWhen->setObjectName(QStringLiteral("lblMarkTime"));
    lblHome->setObjectName(QStringLiteral("lblMarkHome"));
    lblHome->setWordWrap(true);
    txtMark->setObjectName(QStringLiteral("txtMark"));
    txtMark->setMaxLength(static_cast<int>(clsMarks::kLongestText));
    SetTextIds(txtMark, TextId::None, TextId::ToolTipMark);
    txtMark->setMinimumWidth(fontMetrics().averageCharWidth() * 48);
    auto* buttons = new QDialogButtonBox(this);
    for (const auto& [name, tag, role] : {std::tuple("cmdOK", TextId::ButtonOk, QDialogButtonBox::AcceptRole),
                                          {"cmdCancel", TextId::ButtonCancel, QDialogButtonBox::RejectRole}}) {
        auto* button = new QPushButton(this);
        button->setObjectName(QLatin1String(name));
        SetTextIds(button, tag);
        buttons->addButton(button, role);
    }
    auto* column = new QVBoxLayout(this);
    for (QWidget* row : std::initializer_list<QWidget*>{lblWhen, txtMark, lblHome, buttons}) {
        column->addWidget(row);
    }
    LocaliseForm(*this, language);
    txtMark->setAccessibleName(Text(TextId::AccessibleMark, language).arg(when));
    txtMark->setFocus();
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

QString frmMark::MarkText() const
{
    return txtMark->text();
}

void frmMark::MarkText(const QString& text)
{
    txtMark->setText(text);
    txtMark->selectAll();
}

std::optional<double> PlaceOfNewMark(const clsHistory& shown, const ChartPanel& chart)
{
    if (shown.IsEmpty()) {
        return std::nullopt;
    }
    const ChartReader& reader = chart.Reader();
    if (reader.IsByKeys() && reader.Pointed()) {
        return reader.Pointed()->place;
    }
    const QPointF pointer = chart.mapFromGlobal(QCursor::pos());
    if (chart.underMouse() && chart.PlotArea().contains(pointer)) {
        return chart.PlaceAt(pointer.x());
    }
    if (const auto& cursor = reader.Cursors().at(static_cast<std::size_t>(reader.Chosen().value_or(0)))) {
        return cursor;
    }
    constexpr double kTolerance = 0.5 / kMsPerDay;
    const PlaceRange seen = chart.ShownRange(), all = shown.Range();
    if (all.end >= seen.begin - kTolerance && all.end <= seen.end + kTolerance) {
        return all.end;
    }
    return std::clamp((seen.begin + seen.end) / 2.0, all.begin, all.end);
}

QString AskForMark(QWidget& owner, clsSession& session, const ChartPanel& chart, std::int32_t language)
{
    const clsHistory* shown = &session.Shown();
    const auto place = PlaceOfNewMark(*shown, chart);
    if (!place) {
        return Text(TextId::MarkNowhere, language);
    }
    frmMark window(owner, true, PlaceText(*shown, *place), homeText(session, *place, language), language);
    if (window.exec() != QDialog::Accepted) {
        return {};
    }
    if (shown != &session.Shown()) {
        return Text(TextId::MarkGone, language);
    }
    return outcomeText(session.SetMark(*place, window.MarkText().toStdString()), language);
}

QString EditMark(QWidget& owner, clsSession& session, std::size_t mark, std::int32_t language)
{
    const clsSession::Mark before = session.Marks()[mark];
    const std::uint64_t version = session.MarksVersion();
    frmMark window(owner, false, PlaceText(session.Shown(), before.place), homeText(session, before.place, language),
                   language);
    window.MarkText(FromUtf8(before.text));
    if (window.exec() != QDialog::Accepted) {
        return {};
    }
    if (version != session.MarksVersion()) {
        return Text(TextId::MarkGone, language);
    }
    return outcomeText(session.ChangeMark(mark, window.MarkText().toStdString()), language);
}

QString RemoveMark(clsSession& session, std::size_t mark, std::int32_t language)
{
    return outcomeText(session.RemoveMark(mark), language);
}
