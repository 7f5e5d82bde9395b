#include "ui/recorder/PlanPanel.h"

#include "session/clsRecorder.h"
#include "store/modGlobals.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/Localise.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QValidator>

#include <array>

namespace {

constexpr QLatin1String kNotInNames("/ \\ : * ? \" < > |");
constexpr std::array kKinds{TextId::NewFileNever, TextId::NewFileHourly, TextId::NewFileDaily, TextId::NewFileBySize};

bool isName(const QString& text)
{
    return clsRecordFile::IsName(QFile::encodeName(text).toStdString());
}

/// Takes no character that a file name cannot hold.
class NameValidator : public QValidator {
public:
    using QValidator::QValidator;
    State validate(QString& text, int& /*position*/) const override
    {
        // A blank or a dot at the end may be followed by something.
        return text.isEmpty() || isName(text) ? Acceptable : isName(text + u'x') ? Intermediate : Invalid;
    }
};

} // namespace

PlanPanel::PlanPanel(QWidget* parent, modGlobals::Settings& settings)
    : QWidget(parent), m_settings(settings), lblName(new QLabel(this)), txtName(new QLineEdit(this)),
      cmdRename(new QPushButton(this)), lblNewFile(new QLabel(this)), cmbNewFile(new QComboBox(this)),
      txtFileSize(new QSpinBox(this)), chkEveryValue(new QCheckBox(this))
{
    for (const auto& [control, name, tag, toolTip] :
         {std::tuple<QWidget*, const char*, TextId, TextId>(lblName, "lblName", TextId::CaptionRecordName,
                                                            TextId::None),
          {txtName, "txtName", TextId::None, TextId::ToolTipRecordName},
          {cmdRename, "cmdRename", TextId::ButtonRename, TextId::ToolTipRename},
          {lblNewFile, "lblNewFile", TextId::CaptionNewFile, TextId::None},
          {cmbNewFile, "cmbNewFile", TextId::None, TextId::ToolTipNewFile},
          {txtFileSize, "txtFileSize", TextId::None, TextId::ToolTipFileSize},
          {chkEveryValue, "chkEveryValue", TextId::CheckEveryValue, TextId::ToolTipEveryValue}}) {
        control->setObjectName(QLatin1String(name));
        SetTextIds(control, tag, toolTip);
    }
    lblName->setBuddy(txtName);
    lblNewFile->setBuddy(cmbNewFile);
    cmdRename->setAutoDefault(false);
    txtName->setValidator(new NameValidator(txtName));
    for (const TextId kind : kKinds) {
        cmbNewFile->addItem(Text(kind, m_settings.Language));
    }
    txtFileSize->setRange(1, modGlobals::kLargestFileSize);
    txtFileSize->setSuffix(QStringLiteral(" MiB"));
    cmbNewFile->setCurrentIndex(m_settings.NewFile);
    txtFileSize->setValue(m_settings.FileSize);
    chkEveryValue->setChecked(m_settings.EveryValue);

    for (QWidget* control : std::initializer_list<QWidget*>{cmbNewFile, txtFileSize, chkEveryValue}) {
        control->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed); // never narrower than its text
    }
    auto* files = new QHBoxLayout;
    files->addWidget(cmbNewFile);
    files->addWidget(txtFileSize);
    files->addStretch(1);
    files->addWidget(chkEveryValue);
    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->addWidget(lblName, 0, 0);
    grid->addWidget(txtName, 0, 1);
    grid->addWidget(cmdRename, 0, 2);
    grid->addWidget(lblNewFile, 1, 0);
    grid->addLayout(files, 1, 1, 1, 2);
    grid->setColumnStretch(1, 1);

    connect(txtName, &QLineEdit::inputRejected, this, [this] { Guarded([this] { refuse(); }); });
    connect(txtName, &QLineEdit::textChanged, this, [this] { ShowRule(m_isIdle, m_canRename); });
    connect(cmdRename, &QPushButton::clicked, this, [this] { Guarded([this] { Rename(Name()); }); });
    connect(cmbNewFile, &QComboBox::activated, this, [this] { keep(); });
    connect(txtFileSize, &QSpinBox::valueChanged, this, [this] { keep(); });
    connect(chkEveryValue, &QCheckBox::clicked, this, [this] { keep(); });
}

QString PlanPanel::Name() const
{
    QString name = txtName->text();
    while (!name.isEmpty() && !isName(name)) {
        name.chop(1); // blanks and dots at the end
    }
    return name;
}

void PlanPanel::ClearName()
{
    txtName->clear();
}

void PlanPanel::keep()
{
    m_settings.EveryValue = chkEveryValue->isChecked();
    m_settings.NewFile = cmbNewFile->currentIndex();
    m_settings.FileSize = txtFileSize->value();
    ShowRule(m_isIdle, m_canRename);
}

void PlanPanel::refuse()
{
    const bool isLong = txtName->text().size() + 1 >= static_cast<qsizetype>(clsRecordFile::kLongestName) / 2;
    Refused(isLong ? Text(TextId::FileErrorNameTooLong, m_settings.Language)
                   : Text(TextId::RecorderBadName, m_settings.Language).arg(kNotInNames));
}

void PlanPanel::ShowRule(bool isIdle, bool canRename)
{
    m_isIdle = isIdle;
    m_canRename = canRename;
    txtName->setEnabled(isIdle);
    cmdRename->setEnabled(isIdle && canRename && !Name().isEmpty());
    cmbNewFile->setEnabled(isIdle);
    txtFileSize->setEnabled(isIdle && cmbNewFile->currentIndex() == PartsBySize);
}

void PlanPanel::Localise()
{
    for (std::size_t kind = 0; kind < kKinds.size(); ++kind) {
        cmbNewFile->setItemText(static_cast<int>(kind), Text(kKinds.at(kind), m_settings.Language));
    }
    txtFileSize->setAccessibleName(Text(TextId::ToolTipFileSize, m_settings.Language));
    txtName->setPlaceholderText(QStringLiteral("SAVE0001 …"));
}
