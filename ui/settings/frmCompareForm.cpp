// The controls of the comparison and their places.
#include "ui/settings/frmCompare.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/Named.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

namespace {

QLabel* wrapped(const char* name, QWidget* parent)
{
    auto* label = Named<QLabel>(name, parent);
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->hide();
    return label;
}

} // namespace

void frmCompare::buildForm()
{
    SetTextIds(this, TextId::TitleCompare);
    auto* rows = new QVBoxLayout(this);
    rows->addLayout(buildChoice());
    rows->addLayout(buildFilter());
    buildTable();
    rows->addWidget(tblCompare, 1);
    lblReport = wrapped("lblReport", this);
    lblStatus = wrapped("lblStatus", this);
    rows->addWidget(lblReport);
    rows->addWidget(lblStatus);
    rows->addLayout(buildProgress());
    rows->addLayout(buildButtons());
    resize(QSize(52, 36) * fontMetrics().height()); // fits 800 x 600
}

QLayout* frmCompare::buildChoice()
{
    auto* row = new QHBoxLayout;
    const auto add = [&](const char* labelName, TextId caption, const char* name, TextId toolTip) {
        auto* label = Named<QLabel>(labelName, this);
        SetTextIds(label, caption);
        auto* list = Named<QComboBox>(name, this);
        SetTextIds(list, TextId::None, toolTip);
        list->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
        list->setMinimumContentsLength(16);
        list->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        label->setBuddy(list);
        row->addWidget(label);
        row->addWidget(list, 1);
        return list;
    };
    cmbLeft = add("lblLeft", TextId::CaptionCompareLeft, "cmbLeft", TextId::ToolTipCompareLeft);
    cmbRight = add("lblRight", TextId::CaptionCompareRight, "cmbRight", TextId::ToolTipCompareRight);
    m_lists = {cmbLeft, cmbRight};
    return row;
}

QLayout* frmCompare::buildFilter()
{
    auto* row = new QHBoxLayout;
    chkOnlyDifferences = Named<QCheckBox>("chkOnlyDifferences", this);
    SetTextIds(chkOnlyDifferences, TextId::CaptionOnlyDifferences);
    chkOnlyDifferences->setChecked(true);
    auto* caption = Named<QLabel>("lblSearch", this);
    SetTextIds(caption, TextId::CaptionCompareSearch);
    txtSearch = Named<QLineEdit>("txtSearch", this);
    SetTextIds(txtSearch, TextId::None, TextId::ToolTipCompareSearch);
    txtSearch->setClearButtonEnabled(true);
    caption->setBuddy(txtSearch);
    lblSummary = Named<QLabel>("lblSummary", this);
    row->addWidget(chkOnlyDifferences);
    row->addSpacing(fontMetrics().height());
    row->addWidget(caption);
    row->addWidget(txtSearch, 1);
    row->addSpacing(fontMetrics().height());
    row->addWidget(lblSummary);
    return row;
}

void frmCompare::buildTable()
{
    tblCompare = Named<QTableView>("tblCompare", this);
    tblCompare->setModel(m_model);
    tblCompare->setSelectionBehavior(QAbstractItemView::SelectRows);
    tblCompare->setAlternatingRowColors(true);
    tblCompare->setShowGrid(false);
    tblCompare->setWordWrap(false);
    tblCompare->setTabKeyNavigation(false);
    tblCompare->verticalHeader()->hide();
    tblCompare->verticalHeader()->setDefaultSectionSize(fontMetrics().height() * 3 / 2);
    QHeaderView* header = tblCompare->horizontalHeader();
    header->setHighlightSections(false);
    header->setSectionResizeMode(QHeaderView::ResizeToContents);
    header->setSectionResizeMode(CompareModel::ColumnName, QHeaderView::Stretch);
    header->setMaximumSectionSize(fontMetrics().height() * 12); // a set may have a long name
    tblCompare->setMinimumHeight(fontMetrics().height() * 8);
}

QLayout* frmCompare::buildProgress()
{
    auto* row = new QHBoxLayout;
    lblProgress = Named<QLabel>("lblProgress", this);
    prgTransfer = Named<QProgressBar>("prgTransfer", this);
    prgTransfer->setTextVisible(false);
    cmdCancel = Named<QPushButton>("cmdCancel", this);
    SetTextIds(cmdCancel, TextId::ButtonCompareCancel, TextId::ToolTipCompareCancel);
    row->addWidget(lblProgress);
    row->addWidget(prgTransfer, 1);
    row->addWidget(cmdCancel);
    return row;
}

QLayout* frmCompare::buildButtons()
{
    auto* row = new QHBoxLayout;
    const auto add = [&](const char* name, TextId caption, TextId toolTip = TextId::None) {
        auto* button = Named<QPushButton>(name, this);
        SetTextIds(button, caption, toolTip);
        row->addWidget(button);
        return button;
    };
    cmdSendChosen = add("cmdSendChosen", TextId::None, TextId::ToolTipSendChosen);
    row->addStretch(1);
    cmdCopy = add("cmdCopy", TextId::ButtonCompareCopy, TextId::ToolTipCompareCopy);
    cmdPrint = add("cmdPrint", TextId::ButtonPrint, TextId::ToolTipComparePrint);
    cmdSave = add("cmdSave", TextId::ButtonCompareSave, TextId::ToolTipCompareSave);
    cmdHelp = add("cmdHelp", TextId::ButtonHelp);
    cmdClose = add("cmdClose", TextId::ButtonClose);
    for (auto* button : findChildren<QPushButton*>()) {
        button->setAutoDefault(false);
    }
    cmdSendChosen->setDefault(true);
    return row;
}
