#include "ui/chart/StatisticsPanel.h"

#include "base/Days.h"
#include "session/modAccountText.h"
#include "session/modReadingText.h"
#include "ui/chart/ChartPanel.h"
#include "ui/chart/FigureLabel.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/Named.h"
#include "ui/widgets/QtText.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace {

constexpr qint64 kPause_ms = 250; // numbers that change faster cannot be read
constexpr double kNameSize = 0.85;
constexpr std::array<std::size_t, 5> kColumns{12, 6, 4, 3, 2}; // each divides the twelve numbers
constexpr int kGapsBehind = 3;                                 // a number

const QString kNothing = QStringLiteral("–");

} // namespace

StatisticsPanel::StatisticsPanel(QWidget* parent) : QFrame(parent)
{
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    setContextMenuPolicy(Qt::ActionsContextMenu);
    mnuStatCopyAll = Named<QAction>("mnuStatCopyAll", this);
    addAction(mnuStatCopyAll);
    connect(mnuStatCopyAll, &QAction::triggered, this,
            [this] { Guarded([this] { QApplication::clipboard()->setText(AsText()); }); });
    lblPointer = Named<LineLabel>("lblPointer", this, Qt::ElideRight);
    lblStatScope = Named<LineLabel>("lblStatScope", this, Qt::ElideRight);
    lblPointer->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    lblStatCount = addFigure("lblStatCount", TextId::CaptionStatCount, TextId::ToolTipStatCount);
    lblStatValid = addFigure("lblStatValid", TextId::CaptionStatValid, TextId::ToolTipStatValid);
    lblStatMinimum = addFigure("lblStatMinimum", TextId::CaptionStatMinimum, TextId::ToolTipStatMinimum);
    lblStatMaximum = addFigure("lblStatMaximum", TextId::CaptionStatMaximum, TextId::ToolTipStatMaximum);
    lblStatMean = addFigure("lblStatMean", TextId::CaptionStatMean, TextId::ToolTipStatMean);
    lblStatDeviation = addFigure("lblStatDeviation", TextId::CaptionStatDeviation, TextId::ToolTipStatDeviation);
    lblStatPeak = addFigure("lblStatPeak", TextId::CaptionStatPeak, TextId::ToolTipStatPeak);
    lblStatDrift = addFigure("lblStatDrift", TextId::CaptionStatDrift, TextId::ToolTipStatDrift);
    lblStatRate = addFigure("lblStatRate", TextId::CaptionStatRate, TextId::ToolTipStatRate);
    lblCursorTime = addFigure("lblCursorTime", TextId::CaptionCursorTime, TextId::ToolTipCursorTime);
    lblCursorDistance = addFigure("lblCursorDistance", TextId::CaptionCursorDistance, TextId::ToolTipCursorDistance);
    lblCursorSpeed = addFigure("lblCursorSpeed", TextId::CaptionCursorSpeed, TextId::ToolTipCursorSpeed);
    m_figures.front().number->setFocusPolicy(Qt::StrongFocus);
}

/// All numbers are one stop of the tab key; arrow keys go from one to the next.
FigureLabel* StatisticsPanel::addFigure(const char* name, TextId caption, TextId toolTip)
{
    auto* words = new QLabel(this);
    words->setObjectName(QLatin1String(name) + QLatin1String("Caption"));
    QFont small = words->font();
    small.setPointSizeF(small.pointSizeF() * kNameSize);
    words->setFont(small);
    auto* number = Named<FigureLabel>(name, this);
    SetTextIds(words, caption, toolTip);
    SetTextIds(number, TextId::None, toolTip);
    auto* copy = Named<QAction>("mnuStatCopy", number);
    copy->setShortcut(QKeySequence::Copy);
    copy->setShortcutContext(Qt::WidgetShortcut);
    number->addAction(copy);
    number->addAction(mnuStatCopyAll);
    connect(copy, &QAction::triggered, number, [number] { QApplication::clipboard()->setText(number->text()); });
    connect(number, &FigureLabel::left, this, [this, number](int by) { go(number, by); });
    connect(number, &FigureLabel::focused, this, [this, number] {
        for (const Figure& figure : m_figures) {
            figure.number->setFocusPolicy(figure.number == number ? Qt::StrongFocus : Qt::ClickFocus);
        }
    });
    m_figures.push_back({words, number, caption});
    return number;
}

void StatisticsPanel::go(FigureLabel* from, int by)
{
    const auto at = std::ranges::find(m_figures, from, &Figure::number);
    const auto to = std::distance(m_figures.begin(), at) + by;
    if (to >= 0 && to < std::ssize(m_figures)) {
        m_figures[static_cast<std::size_t>(to)].number->setFocus(Qt::TabFocusReason);
    }
}

void StatisticsPanel::Follow(ChartPanel& chart)
{
    m_chart = &chart;
    connect(&chart, &ChartPanel::Looked, this, [this] { Guarded([this] { lookAgain(); }); });
    connect(&chart, &ChartPanel::Pointed, this,
            [this] { Guarded([this] { ShowText(*lblPointer, m_chart->ReadingText(m_chart->Reader().Pointed())); }); });
    showAll();
}

void StatisticsPanel::Localise(std::int32_t language)
{
    m_language = language;
    setAccessibleName(Text(TextId::FrameStatistics, language));
    lblPointer->setAccessibleName(Text(TextId::AccessiblePointer, language));
    mnuStatCopyAll->setText(Text(TextId::MenuStatCopyAll, language));
    for (const Figure& figure : m_figures) {
        figure.number->actions().front()->setText(Text(TextId::MenuStatCopy, language));
        figure.name->setText(Text(figure.caption, language));
    }
    m_shown = {};
    if (m_chart != nullptr) {
        showAll();
    }
    keepRoom();
}

/// Only what changes by itself may wait.
void StatisticsPanel::lookAgain()
{
    const clsHistory* history = m_chart->Source();
    const Source now{history, history != nullptr ? history->Version() : 0, m_chart->ShownUnit(),
                     m_chart->RangeOfStatistics()};
    if (now == m_shown) {
        showCursors();
        return;
    }
    const bool follows = !m_chart->IsFrozen();
    const bool isSameView = now.history == m_shown.history && now.unit == m_shown.unit && follows == m_follows &&
                            (follows || now.range == m_shown.range);
    if (isSameView && m_sinceShown.isValid() && m_sinceShown.elapsed() < kPause_ms) {
        return;
    }
    showAll();
}

void StatisticsPanel::showAll()
{
    const clsHistory* history = m_chart->Source();
    m_shown = {history, history != nullptr ? history->Version() : 0, m_chart->ShownUnit(),
               m_chart->RangeOfStatistics()};
    m_follows = !m_chart->IsFrozen();
    m_sinceShown.start();
    const Statistics figures = history != nullptr ? history->StatisticsOf(m_shown.range) : Statistics();
    showStatistics(figures);
    showCursors();
    showScope(figures.isThinned);
}

void StatisticsPanel::showStatistics(const Statistics& figures)
{
    const char separator = DecimalSeparator();
    const std::int32_t unit = m_shown.unit;
    const auto length = [&](double mm, int moreDecimals, std::int64_t leastValid) {
        return figures.valid < leastValid ? kNothing
                                          : FromUtf8(modReadingText::Length(mm, unit, moreDecimals, separator));
    };
    show(*lblStatCount, QString::number(figures.values));
    show(*lblStatValid, FromUtf8(modReadingText::Share(figures.valid, figures.values, separator)));
    show(*lblStatMinimum, length(figures.minimum, 0, 1));
    show(*lblStatMaximum, length(figures.maximum, 0, 1));
    show(*lblStatMean, length(figures.mean, 1, 1));
    show(*lblStatDeviation, length(figures.deviation, 1, 2));
    show(*lblStatPeak, length(figures.maximum - figures.minimum, 0, 1));
    show(*lblStatDrift, !figures.hasDrift
                            ? kNothing
                            : FromUtf8(modReadingText::LengthPer(figures.drift_perMinute, "min", unit, separator)));
    show(*lblStatRate,
         figures.rate_perSecond == 0.0 ? kNothing : FromUtf8(modAccountText::Rate(figures.rate_perSecond, separator)));
}

void StatisticsPanel::showCursors()
{
    const auto a = m_chart->Reader().OfCursor(0), b = m_chart->Reader().OfCursor(1);
    if (!a || !b) {
        for (FigureLabel* label : {lblCursorTime, lblCursorDistance, lblCursorSpeed}) {
            show(*label, kNothing);
        }
        return;
    }
    const char separator = DecimalSeparator();
    const std::int32_t unit = m_chart->ShownUnit();
    const double days = b->place - a->place;
    const double mm = static_cast<double>(*b->value_mm) - *a->value_mm;
    show(*lblCursorTime, FromUtf8(modReadingText::Difference(days, separator)));
    show(*lblCursorDistance, FromUtf8(modReadingText::Length(mm, unit, 0, separator)));
    show(*lblCursorSpeed,
         days == 0.0 ? kNothing
                     : FromUtf8(modReadingText::LengthPer(mm / (days * kSecondsPerDay), "s", unit, separator)));
}

void StatisticsPanel::showScope(bool isThinned)
{
    const bool isBetween = m_chart->HasCursor(0) && m_chart->HasCursor(1);
    const QString scope = Text(isBetween ? TextId::ScopeCursors : TextId::ScopeVisible, m_language);
    const QString text = isThinned ? Text(TextId::ScopeThinned, m_language).arg(scope) : scope;
    if (text != lblStatScope->text()) {
        lblStatScope->setText(text);
        place(width(), true);
    }
}

void StatisticsPanel::show(FigureLabel& label, const QString& text)
{
    const auto figure = std::ranges::find(m_figures, &label, &Figure::number);
    const QString name = figure->name->text() + u' ' + text;
    if (label.accessibleName() != name) {
        label.setText(text);
        label.setAccessibleName(name);
    }
}

QString StatisticsPanel::AsText() const
{
    QString text = lblStatScope->text() + u'\n';
    for (const Figure& figure : m_figures) {
        if (figure.number->text() != kNothing) {
            text += figure.name->text() + u'\t' + figure.number->text() + u'\n';
        }
    }
    return text;
}

/// The widths of the names and of the numbers, if they stand in so many columns.
std::vector<StatisticsPanel::Column> StatisticsPanel::columnsOf(std::size_t count) const
{
    std::vector<Column> columns(count);
    for (std::size_t i = 0; i < m_figures.size(); ++i) {
        Column& column = columns[i % count];
        column.name = std::max(column.name, m_figures[i].name->sizeHint().width());
        column.number = std::max(column.number, m_figures[i].width);
    }
    return columns;
}

/// As many columns as the width has room for; none if it has no room for two.
std::vector<StatisticsPanel::Column> StatisticsPanel::columnsIn(int width, int gap) const
{
    for (const std::size_t count : kColumns) {
        std::vector<Column> columns = columnsOf(count);
        int wanted = -kGapsBehind * gap;
        for (const Column& column : columns) {
            wanted += column.name + column.number + (1 + kGapsBehind) * gap;
        }
        if (wanted <= width) {
            return columns;
        }
    }
    return {};
}

/// Places the numbers in columns, or in a narrow window one behind the other; returns the height.
int StatisticsPanel::place(int width, bool moves) const
{
    const int line = fontMetrics().height(), gap = line / 3;
    const int room = std::max(width - 2 * gap, 0);
    const int scope = std::min(fontMetrics().horizontalAdvance(lblStatScope->text()) + 1, room * 3 / 5);
    if (moves) {
        lblStatScope->setGeometry(gap, gap, scope, line);
        lblPointer->setGeometry(2 * gap + scope, gap, std::max(room - scope - gap, 0), line);
    }
    const std::vector<Column> columns = columnsIn(room, gap);
    int left = gap, top = gap + line + gap / 2;
    for (std::size_t i = 0; i < m_figures.size(); ++i) {
        const Figure& figure = m_figures[i];
        const Column column =
            columns.empty() ? Column{figure.name->sizeHint().width(), figure.width} : columns[i % columns.size()];
        const int whole = column.name + gap + column.number;
        if (left > gap && (columns.empty() ? left + whole > width : i % columns.size() == 0)) {
            left = gap;
            top += line;
        }
        if (moves) {
            const int lower = fontMetrics().ascent() - figure.name->fontMetrics().ascent(); // on one base line
            figure.name->setGeometry(left, top + lower, column.name, figure.name->sizeHint().height());
            figure.number->setGeometry(left + column.name + gap, top, column.number, line);
        }
        left += whole + kGapsBehind * gap;
    }
    return top + line;
}

/// The room that a number has needed once stays, so nothing moves with a new number.
void StatisticsPanel::keepRoom()
{
    bool isWider = false;
    for (Figure& figure : m_figures) {
        const int width = std::max(figure.width, figure.number->sizeHint().width());
        isWider = std::exchange(figure.width, width) != width || isWider;
    }
    place(width(), true);
    if (isWider) {
        updateGeometry();
    }
}

bool StatisticsPanel::event(QEvent* event)
{
    if (event->type() == QEvent::LayoutRequest) {
        keepRoom();
    } else if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        for (Figure& figure : m_figures) {
            figure.width = 0;
        }
        keepRoom();
    }
    return QFrame::event(event);
}

void StatisticsPanel::resizeEvent(QResizeEvent* event)
{
    place(width(), true);
    QFrame::resizeEvent(event);
}

int StatisticsPanel::heightForWidth(int width) const
{
    return place(width, false);
}

QSize StatisticsPanel::sizeHint() const
{
    const int width = fontMetrics().averageCharWidth() * 60;
    return {width, heightForWidth(width)};
}

QSize StatisticsPanel::minimumSizeHint() const
{
    int widest = 0;
    for (const Figure& figure : m_figures) {
        widest = std::max(widest, figure.name->sizeHint().width() + figure.width + fontMetrics().height());
    }
    return {widest, heightForWidth(std::max(width(), widest))};
}
