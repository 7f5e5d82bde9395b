#include "ui/console/frmConsole.h"

#include "store/modGlobals.h"
#include "ui/console/ConsoleText.h"
#include "ui/widgets/FileErrors.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"
#include "ui/widgets/WindowPlace.h"

#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QMessageBox>
#include <QPushButton>
#include <QSaveFile>
#include <QStandardPaths>

namespace {

QColor colorOf(ConsoleColour colour)
{
    return colour == ConsoleBrightRed ? QColor(255, 85, 85) : QColor(192, 192, 192);
}

} // namespace

frmConsole::frmConsole(const modGlobals::Settings& settings)
    : QWidget(nullptr, Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowMinMaxButtonsHint),
      m_settings(settings), txtConsole(new ConsoleText(this, kRows, kColumns)), cmdCopy(new QPushButton(this)),
      cmdSave(new QPushButton(this))
{
    setObjectName(QStringLiteral("frmConsole"));
    txtConsole->setObjectName(QStringLiteral("txtConsole"));
    cmdCopy->setObjectName(QStringLiteral("cmdCopy"));
    cmdSave->setObjectName(QStringLiteral("cmdSave"));
    SetTextIds(cmdCopy, TextId::ButtonCopyConsole, TextId::ToolTipCopyConsole);
    SetTextIds(cmdSave, TextId::ButtonSaveConsole, TextId::ToolTipSaveConsole);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cmdCopy);
    buttons->addWidget(cmdSave);
    auto* column = new QVBoxLayout(this);
    column->addWidget(txtConsole, 1);
    column->addLayout(buttons);
    resize(txtConsole->fontMetrics().horizontalAdvance(u'0') * 90, fontMetrics().height() * 30);
    new WindowPlace(*this, m_settings.IniFile);
    connect(cmdCopy, &QPushButton::clicked, this, [this] { Guarded([this] { cmdCopy_Click(); }); });
    connect(cmdSave, &QPushButton::clicked, this, [this] { Guarded([this] { cmdSave_Click(); }); });
    localise();
}

void frmConsole::Open(const std::string& title)
{
    txtConsole->Clear();
    setWindowTitle(FromBytes(title));
    show();
}

void frmConsole::Write(std::string_view text, ConsoleColour colour)
{
    txtConsole->Append(FromBytes(text), colorOf(colour));
}

void frmConsole::Close()
{
    hide();
    for (auto* help : findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        if (help->isWindow()) {
            help->close();
        }
    }
}

void frmConsole::closeEvent(QCloseEvent* event)
{
    event->setAccepted(!event->spontaneous());
}

void frmConsole::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        localise();
    }
    QWidget::changeEvent(event);
}

void frmConsole::localise()
{
    LocaliseForm(*this, m_settings.Language);
    txtConsole->setAccessibleName(Text(TextId::AccessibleConsole, m_settings.Language));
}

void frmConsole::cmdCopy_Click()
{
    if (txtConsole->textCursor().hasSelection()) {
        txtConsole->copy();
    } else {
        QApplication::clipboard()->setText(txtConsole->WholeText());
    }
}

void frmConsole::cmdSave_Click()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    const QString name = QFileDialog::getSaveFileName(this, Text(TextId::TitleSaveConsole, m_settings.Language),
                                                      folder + QStringLiteral("/console.txt"));
    if (name.isEmpty()) {
        return;
    }
    const QByteArray bytes = txtConsole->WholeText().toUtf8();
    QSaveFile file(name);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !CommitFile(file)) {
        const QString why = FileErrorText(file.errorString(), m_settings.Language);
        QMessageBox box(QMessageBox::Warning, windowTitle(),
                        Text(TextId::FailureNotSaved, m_settings.Language).arg(name, why), QMessageBox::Ok, this);
        box.setTextFormat(Qt::PlainText);
        box.exec();
    }
}

void LateConsole::Open(const std::string& title)
{
    if (m_window == nullptr) {
        m_window = std::make_unique<frmConsole>(m_settings);
    }
    m_window->Open(title);
}

void LateConsole::Write(std::string_view text, ConsoleColour colour)
{
    if (m_window != nullptr) {
        m_window->Write(text, colour);
    }
}

void LateConsole::Close()
{
    if (m_window != nullptr) {
        m_window->Close();
    }
}
