#include "ui/main/frmSplash.h"

#include "port/modPComm.h"
#include "port/modPortScan.h"
#include "sensor/clsRVQ.h"
#include "session/modCandidates.h"
#include "session/modPortMemory.h"
#include "texts/modFunctions.h"
#include "ui/help/Help.h"
#include "ui/main/frmFind.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/Heading.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/PortList.h"
#include "ui/widgets/QtText.h"
#include "ui/widgets/WrappedLabel.h"

#include <QComboBox>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>

#include <utility>

namespace {

QLabel* captionLabel(QWidget* parent, const char* name, TextId id)
{
    auto* label = new QLabel(parent);
    label->setObjectName(QLatin1String(name));
    SetTextIds(label, id);
    return label;
}

} // namespace

frmSplash::frmSplash(modGlobals::Settings& settings, const modPComm::PortDevices& devices, Help& help)
    : m_settings(settings), m_devices(devices), m_help(help)
{
    setObjectName(QStringLiteral("frmSplash"));
    SetTextIds(this, TextId::TitleSplash);
    auto* column = new QVBoxLayout(this);
    column->setSpacing(fontMetrics().height());
    column->setContentsMargins(QMargins(2, 1, 2, 1) * fontMetrics().height());
    column->addLayout(BuildHeading(*this, "lblPlatform"));
    column->addLayout(buildChoices());
    column->addStretch(1);
    column->addLayout(buildButtons());

    cmbLanguage->addItems({FromUtf8(modFunctions::NeutralText(TextId::LanguageNameGerman)),
                           FromUtf8(modFunctions::NeutralText(TextId::LanguageNameEnglish))});
    cmbLanguage->setCurrentIndex(settings.Language / LanguageEnglish);
    cmbComPort->Fill(devices, settings.Comport);
    m_settings.Baudrate = FillBaudrates(*cmbBaudrate, settings.Baudrate);
    localise();
    connect(cmbComPort, &QComboBox::currentIndexChanged, this, [this] { Guarded([this] { warnOfPort(); }); });
    connect(cmbLanguage, &QComboBox::activated, this,
            [this](int index) { Guarded([&] { cmbLanguage_Click(index); }); });
    cmdOK->setDefault(true);
    cmdOK->setFocus();
}

void frmSplash::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape) {
        event->accept(); // a stray key must not end the program
        return;
    }
    QDialog::keyPressEvent(event);
}

QLayout* frmSplash::buildChoices()
{
    cmbLanguage = new QComboBox(this);
    cmbComPort = new PortList(this);
    cmbBaudrate = new QComboBox(this);
    auto* grid = new QGridLayout;
    grid->setColumnStretch(1, 1);
    grid->setHorizontalSpacing(fontMetrics().height());
    grid->addWidget(captionLabel(this, "lblSelectLanguage", TextId::CaptionSelectLanguage), grid->rowCount(), 0, 1, 2);
    addChoice(*grid, "lblLanguage", *cmbLanguage, "cmbLanguage", TextId::CaptionLanguage);
    grid->setRowMinimumHeight(grid->rowCount(), fontMetrics().height() / 2);
    grid->addWidget(captionLabel(this, "lblSelectInterface", TextId::CaptionSelectInterface), grid->rowCount(), 0, 1,
                    2);
    addChoice(*grid, "lblComPort", *cmbComPort, "cmbComPort", TextId::CaptionPort);
    addChoice(*grid, "lblBaudrate", *cmbBaudrate, "cmbBaudrate", TextId::CaptionBaudrate);
    cmdFind = addButton("cmdFind", TextId::ButtonSplashFind, &frmSplash::cmdFind_Click);
    SetTextIds(cmdFind, TextId::ButtonSplashFind, TextId::ToolTipFind);
    cmdFind->setAutoDefault(false);
    grid->addWidget(cmdFind, grid->rowCount(), 1);
    lblPortWarning = new WrappedLabel(this);
    lblPortWarning->setObjectName(QStringLiteral("lblPortWarning"));
    grid->addWidget(lblPortWarning, grid->rowCount(), 0, 1, 2);
    return grid;
}

void frmSplash::addChoice(QGridLayout& grid, const char* label, QComboBox& box, const char* list, TextId captionId)
{
    const int row = grid.rowCount();
    QLabel* caption = captionLabel(this, label, captionId);
    box.setObjectName(QLatin1String(list));
    caption->setBuddy(&box);
    grid.addWidget(caption, row, 0);
    grid.addWidget(&box, row, 1);
}

QLayout* frmSplash::buildButtons()
{
    cmdOK = addButton("cmdOK", TextId::ButtonConnect, &frmSplash::cmdOK_Click);
    cmdExit = addButton("cmdExit", TextId::ButtonExit, &frmSplash::cmdExit_Click);
    cmdHelp = addButton("cmdHelp", TextId::ButtonSplashHelp, &frmSplash::cmdHelp_Click);
    auto* row = new QHBoxLayout;
    row->addWidget(cmdHelp);
    row->addStretch(1);
    row->addWidget(cmdOK);
    row->addWidget(cmdExit);
    return row;
}

QPushButton* frmSplash::addButton(const char* name, TextId captionId, void (frmSplash::*clicked)())
{
    auto* button = new QPushButton(this);
    button->setObjectName(QLatin1String(name));
    SetTextIds(button, captionId);
    connect(button, &QPushButton::clicked, this, [this, clicked] { Guarded([&] { (this->*clicked)(); }); });
    return button;
}

void frmSplash::localise()
{
    LocaliseForm(*this, m_settings.Language);
    cmbComPort->Localise(m_settings.Language);
    m_warnings.clear();
    warnOfPort();
}

/// The number that is chosen may lead to another device than last time.
void frmSplash::warnOfPort()
{
    if (auto seen = modPortScan::Look(); seen != m_seen) {
        m_seen = std::move(seen);
        m_warnings.clear();
    }
    const auto [known, isNew] = m_warnings.try_emplace(cmbComPort->Port());
    if (isNew) {
        known->second =
            FromUtf8(modPortMemory::Warning(known->first, m_devices, m_settings.Devices, m_settings.Language));
    }
    lblPortWarning->setText(known->second);
    lblPortWarning->setVisible(!known->second.isEmpty());
}

void frmSplash::cmbLanguage_Click(int index)
{
    m_settings.Language = index * LanguageEnglish;
    m_help.SetHelpFile();
    LocaliseOpenWindows(m_settings.Language);
    localise();
}

void frmSplash::cmdOK_Click()
{
    m_settings.Baudrate = RateOfIndex(cmbBaudrate->currentIndex());
    m_settings.Comport = cmbComPort->Port();
    modPortMemory::Remember(m_settings.Comport, m_devices, m_settings.Devices);
    modGlobals::SaveGlobalSettings(m_settings);
    accept();
}

/// What was chosen is connected to at once.
void frmSplash::cmdFind_Click()
{
    modPComm::PortDevices searched = m_devices; // with numbers that are given for the search alone
    frmFind window(*this, m_settings.Language, searched, modCandidates::Known(searched, 0));
    if (window.exec() != QDialog::Accepted) {
        return;
    }
    cmbComPort->Fill(m_devices, window.Chosen()->port);
    if (window.Chosen()->rate != 0) {
        FillBaudrates(*cmbBaudrate, window.Chosen()->rate);
    }
    cmdOK_Click();
}

void frmSplash::cmdExit_Click()
{
    reject();
}

void frmSplash::cmdHelp_Click()
{
    m_help.ShowHelpTopic(*this, "Splash");
}
