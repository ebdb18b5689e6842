#include "app/qt/dialogs/CertificateChooserDialog.h"

#include <array>

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include "app/qt/Texts.h"
#include "app/qt/dialogs/ModalQuestion.h"

namespace tidemark::qt {

namespace {

constexpr const char* table = "Dialogs";
/// What the rows' source calls its columns, in the order in which they are shown.
constexpr std::array columns{"label", "issr"};
constexpr int widthInCharacters = 70;

} // namespace

CertificateChooserDialog::CertificateChooserDialog(QWidget* parent)
    : QDialog(parent), table_(new QTableWidget(0, static_cast<int>(columns.size())))
{
    setWindowTitle(text(table, "CHOOSER_TITLE"));
    table_->setAccessibleName(windowTitle());
    table_->setHorizontalHeaderLabels({text(table, "CHOOSER_LABEL"), text(table, "CHOOSER_ISSUER")});
    table_->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    table_->verticalHeader()->hide();
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::SingleSelection);
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->setTabKeyNavigation(false);
    table_->setMinimumWidth(fontMetrics().averageCharWidth() * widthInCharacters);
    auto* buttons = new QDialogButtonBox;
    choose_ = buttons->addButton(text(table, "CHOOSER_CHOOSE"), QDialogButtonBox::AcceptRole);
    buttons->addButton(text("TidemarkResource", "CANCEL"), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(table_, &QTableWidget::cellDoubleClicked, this, &QDialog::accept);
    connect(table_, &QTableWidget::itemSelectionChanged, this, &CertificateChooserDialog::showState);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(table_);
    layout->addWidget(buttons);
    showState();
}

std::optional<std::size_t> CertificateChooserDialog::runModal(const BXSyncCertificateManager& rows)
{
    fill(rows);
    const bool isChosen = ModalQuestion::ask(*this) == Accepted;
    const auto selected = table_->selectionModel()->selectedRows();
    if (!isChosen || selected.isEmpty()) return std::nullopt;
    return static_cast<std::size_t>(selected.first().row());
}

void CertificateChooserDialog::fill(const BXSyncCertificateManager& rows)
{
    const int count = static_cast<int>(rows.numberOfRowsInTableView());
    table_->setRowCount(count);
    for (int row = 0; row < count; ++row)
        for (std::size_t column = 0; column < columns.size(); ++column)
            table_->setItem(
                row, static_cast<int>(column),
                new QTableWidgetItem(fromUtf8(rows.tableView(columns[column], static_cast<std::size_t>(row)))));
    table_->setFocus();
}

void CertificateChooserDialog::showState()
{
    choose_->setEnabled(table_->selectionModel()->hasSelection());
}

} // namespace tidemark::qt
