#include "ui/main/frmFind.h"

#include "base/modAPI.h"
#include "session/modFindText.h"
#include "texts/modFunctions.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/Named.h"
#include "ui/widgets/QtText.h"
#include "ui/widgets/WrappedLabel.h"

#include <QHBoxLayout>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTimer>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

namespace {

constexpr int kStep_ms = 25;

} // namespace

frmFind::frmFind(QWidget& owner, std::int32_t language, const modPComm::PortDevices& devices,
                 std::vector<FindCandidate> candidates)
    : QDialog(&owner), m_language(language), m_ports(devices), m_candidates(std::move(candidates)),
      m_timer(new QTimer(this)), lblFindStep(Named<WrappedLabel>("lblFindStep", this)),
      lblFound(Named<QLabel>("lblFound", this)), lstFound(Named<QListWidget>("lstFound", this)),
      lblFindNote(Named<WrappedLabel>("lblFindNote", this)), txtFindSteps(Named<QPlainTextEdit>("txtFindSteps", this)),
      cmdFindStop(Named<QPushButton>("cmdFindStop", this)), cmdFindUse(Named<QPushButton>("cmdFindUse", this)),
      cmdFindClose(Named<QPushButton>("cmdFindClose", this))
{
    setObjectName(QStringLiteral("frmFind"));
    buildForm();
    LocaliseForm(*this, m_language);
    connect(m_timer, &QTimer::timeout, this, [this] { Guarded([this] { step(); }); });
    connect(cmdFindStop, &QPushButton::clicked, this, [this] { Guarded([this] { cmdFindStop_Click(); }); });
    connect(cmdFindUse, &QPushButton::clicked, this, [this] { Guarded([this] { cmdFindUse_Click(); }); });
    connect(cmdFindClose, &QPushButton::clicked, this, &QDialog::reject);
    connect(lstFound, &QListWidget::itemActivated, this, [this] { Guarded([this] { cmdFindUse_Click(); }); });
    connect(lstFound, &QListWidget::currentRowChanged, this, [this] { Guarded([this] { showChoice(); }); });
    begin();
}

void frmFind::buildForm()
{
    SetTextIds(this, TextId::TitleFind);
    SetTextIds(cmdFindUse, TextId::ButtonFindUse);
    SetTextIds(cmdFindClose, TextId::ButtonClose);
    lblFound->setBuddy(lstFound);
    lblFindNote->hide();
    txtFindSteps->setReadOnly(true);
    txtFindSteps->setTabChangesFocus(true);
    txtFindSteps->setAccessibleName(Text(TextId::ToolTipFind, m_language));
    cmdFindUse->setDefault(true);
    for (QPushButton* button : {cmdFindStop, cmdFindClose}) {
        button->setAutoDefault(false);
    }
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cmdFindStop);
    buttons->addStretch(1);
    buttons->addWidget(cmdFindUse);
    buttons->addWidget(cmdFindClose);
    auto* column = new QVBoxLayout(this);
    column->addWidget(lblFindStep);
    column->addWidget(lblFound);
    column->addWidget(lstFound, 1);
    column->addWidget(lblFindNote);
    column->addWidget(txtFindSteps, 1);
    column->addLayout(buttons);
    resize(QSize(36, 22) * fontMetrics().height());
}

void frmFind::begin()
{
    lstFound->clear();
    lblFindNote->hide();
    txtFindSteps->clear();
    m_finder.emplace(m_ports, m_candidates, [this](const FindStep& step) { showStep(step); });
    cmdFindStop->setText(Text(TextId::ButtonStop, m_language));
    showFound();
    showChoice();
    step();
    m_timer->start(kStep_ms);
}

void frmFind::step()
{
    const bool isOver = m_finder->Step(modAPI::UpTime_s());
    showFound();
    if (isOver) {
        end(false);
    }
}

void frmFind::showStep(const FindStep& step)
{
    const QString text = FromUtf8(modFindText::StepText(step, m_language));
    if (!modFindText::IsOutcome(step)) {
        ShowText(*lblFindStep, text);
    } else if (!text.isEmpty()) {
        txtFindSteps->appendPlainText(text);
    }
}

void frmFind::showFound()
{
    const std::vector<FoundSensor>& found = m_finder->Found();
    for (auto i = static_cast<std::size_t>(lstFound->count()); i < found.size(); ++i) {
        lstFound->addItem(FromUtf8(modFindText::FoundText(found[i], m_language)));
        txtFindSteps->appendPlainText(FromUtf8(modFindText::FoundText(found[i], m_language)));
        const int chosen = lstFound->currentRow();
        if (chosen < 0 || (found[i].hasNumber && !found[static_cast<std::size_t>(chosen)].hasNumber)) {
            lstFound->setCurrentRow(static_cast<int>(i)); // one click takes it
        }
        showChoice();
    }
    ShowText(*lblFound, Text(TextId::FindCount, m_language).arg(found.size()));
}

/// A device without a number has one only for this search, so the program could not come back to it.
void frmFind::showChoice()
{
    const std::vector<FoundSensor>& found = m_finder->Found();
    const int row = lstFound->currentRow();
    const FoundSensor* chosen = row < 0 ? nullptr : &found.at(static_cast<std::size_t>(row));
    const bool isUsable = chosen != nullptr && chosen->hasNumber;
    const bool isMeasuring =
        std::ranges::any_of(found, [](const FoundSensor& sensor) { return sensor.format.has_value(); });
    cmdFindUse->setEnabled(isUsable);
    lblFindNote->setVisible(isMeasuring || (chosen != nullptr && !isUsable));
    if (chosen != nullptr && !isUsable) {
        const std::string_view text = modFunctions::GetText(TextId::FindNoNumber, m_language);
        ShowText(*lblFindNote, FromUtf8(modFunctions::Filled(text, {chosen->name, std::to_string(chosen->port)})));
    } else if (isMeasuring) {
        ShowText(*lblFindNote, Text(TextId::NoteFindMeasuring, m_language));
    }
}

void frmFind::end(bool isStopped)
{
    m_timer->stop();
    ShowText(*lblFindStep, FromUtf8(modFindText::ResultText(m_finder->Found().size(), isStopped, m_language)));
    cmdFindStop->setText(Text(TextId::TitleFind, m_language));
}

/// Stops the search; after its end, begins another one.
void frmFind::cmdFindStop_Click()
{
    if (m_finder->IsOver()) {
        begin();
        return;
    }
    m_finder->Cancel();
    end(true);
}

void frmFind::cmdFindUse_Click()
{
    const int row = lstFound->currentRow();
    if (row < 0 || !cmdFindUse->isEnabled()) {
        return;
    }
    m_finder->Cancel();
    m_timer->stop();
    m_chosen = m_finder->Found().at(static_cast<std::size_t>(row));
    accept();
}
