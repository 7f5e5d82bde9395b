#include "ui/settings/frmSheet.h"

#include "base/modFiles.h"
#include "store/modGlobals.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"

#include <QFile>
#include <QFontDatabase>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPrintDialog>
#include <QPrinter>
#include <QProcess>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

constexpr int kTabColumns = 8;
constexpr char kDesktopViewer[] = "xdg-open";

} // namespace

frmSheet::frmSheet(QWidget& owner, const modGlobals::Settings& settings, const std::filesystem::path& file)
    : QDialog(&owner), txtSheet(new QPlainTextEdit(this))
{
    setObjectName(QStringLiteral("frmSheet"));
    SetTextIds(this, TextId::TitleSheet);
    txtSheet->setObjectName(QStringLiteral("txtSheet"));
    txtSheet->setReadOnly(true);
    txtSheet->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    txtSheet->setTabStopDistance(txtSheet->fontMetrics().horizontalAdvance(u'0') * kTabColumns);
    txtSheet->setPlainText(FromBytes(modFiles::ReadWhole(file).value_or(std::string())));
    auto* cmdPrint = new QPushButton(this);
    cmdPrint->setObjectName(QStringLiteral("cmdPrint"));
    SetTextIds(cmdPrint, TextId::ButtonPrint);
    auto* cmdClose = new QPushButton(this);
    cmdClose->setObjectName(QStringLiteral("cmdClose"));
    SetTextIds(cmdClose, TextId::ButtonClose);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cmdPrint);
    buttons->addWidget(cmdClose);
    auto* column = new QVBoxLayout(this);
    column->addWidget(txtSheet, 1);
    column->addLayout(buttons);
    resize(txtSheet->fontMetrics().horizontalAdvance(u'0') * 80, fontMetrics().height() * 36);
    LocaliseForm(*this, settings.Language);
    txtSheet->setAccessibleName(windowTitle());
    connect(cmdPrint, &QPushButton::clicked, this, [this] { Guarded([this] { cmdPrint_Click(); }); });
    connect(cmdClose, &QPushButton::clicked, this, &QDialog::accept);
}

void frmSheet::Open(QWidget& owner, const modGlobals::Settings& settings, const std::filesystem::path& file)
{
    // Without a parent: the viewer outlives this window and the program.
    auto* viewer = new QProcess;
    const auto showHere = [owner = QPointer<QWidget>(&owner), &settings, file] {
        Guarded([&] {
            if (owner != nullptr) {
                auto* sheet = new frmSheet(*owner, settings, file);
                sheet->setAttribute(Qt::WA_DeleteOnClose);
                sheet->show();
            }
        });
    };
    connect(viewer, &QProcess::errorOccurred, viewer, [viewer, showHere](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) {
            viewer->deleteLater();
            showHere();
        }
    });
    connect(viewer, &QProcess::finished, viewer, [viewer, showHere](int exitCode, QProcess::ExitStatus status) {
        viewer->deleteLater();
        if (exitCode != 0 || status != QProcess::NormalExit) {
            showHere();
        }
    });
    viewer->setStandardOutputFile(QProcess::nullDevice());
    viewer->setStandardErrorFile(QProcess::nullDevice());
    // The only program that is ever started. It gets a list of arguments, not a command line, because the name holds a
    // "$".
    viewer->start(QLatin1String(kDesktopViewer), {QFile::decodeName(file.c_str())});
}

void frmSheet::cmdPrint_Click()
{
    QPrinter printer;
    QPrintDialog dialog(&printer, this);
    if (dialog.exec() == QDialog::Accepted) {
        txtSheet->print(&printer);
    }
}
