// SPDX-License-Identifier: GPL-3.0-or-later
#include "writereviewdialogs.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

namespace qb {

namespace {

QTableWidget* makeTable(const QString& name, const QStringList& headers, QWidget* parent)
{
    auto* table = new QTableWidget(0, int(headers.size()), parent);
    table->setObjectName(name);
    table->setHorizontalHeaderLabels(headers);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->verticalHeader()->hide();
    table->horizontalHeader()->setStretchLastSection(true);
    return table;
}

void addRow(QTableWidget& table, const QStringList& cells, const QString& toolTip = {})
{
    const int row = table.rowCount();
    table.insertRow(row);
    for (int column = 0; column < cells.size(); ++column) {
        auto* item = new QTableWidgetItem(cells[column]);
        item->setToolTip(column == 0 && !toolTip.isEmpty() ? toolTip : cells[column]);
        table.setItem(row, column, item);
    }
}

} // namespace

PreviewDialog::PreviewDialog(WritePreview preview, QWidget* parent)
    : QDialog(parent)
    , m_preview(std::move(preview))
{
    setObjectName(QStringLiteral("previewDialog"));
    setWindowTitle(QStringLiteral("Preview"));
    setAccessibleName(QStringLiteral("Preview of the write"));
    auto* layout = new QVBoxLayout(this);
    m_changesOnly = new QCheckBox(QStringLiteral("Show changes only"), this);
    m_changesOnly->setObjectName(QStringLiteral("changesOnlyBox"));
    m_changesOnly->setAccessibleName(m_changesOnly->text());
    m_table = makeTable(QStringLiteral("previewTable"),
                        {QStringLiteral("Image"), QStringLiteral("Field"),
                         QStringLiteral("Current Value"), QStringLiteral("New Value")},
                        this);
    m_table->setAccessibleName(QStringLiteral("What the write would change"));
    layout->addWidget(m_changesOnly);
    layout->addWidget(m_table, 1);
    if (!m_preview.unmatched.isEmpty()) {
        const qsizetype count = m_preview.unmatched.size();
        auto* unmatched = new QLabel(
            count == 1
                ? QStringLiteral("1 image matched no row and stays as it is.")
                : QStringLiteral("%1 images matched no row and stay as they are.").arg(count),
            this);
        unmatched->setObjectName(QStringLiteral("unmatchedLabel"));
        unmatched->setToolTip(m_preview.unmatched.join(QLatin1Char('\n')));
        layout->addWidget(unmatched);
    }
    auto* buttons = new QDialogButtonBox(this);
    QPushButton* assign =
        buttons->addButton(QStringLiteral("Assign Metadata"), QDialogButtonBox::AcceptRole);
    assign->setObjectName(QStringLiteral("previewAssignButton"));
    assign->setDefault(true);
    buttons->addButton(QDialogButtonBox::Cancel)
        ->setObjectName(QStringLiteral("previewCancelButton"));
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_changesOnly, &QCheckBox::toggled, this, &PreviewDialog::fill);
    fill();
    resize(760, 420);
}

void PreviewDialog::fill()
{
    m_table->setRowCount(0);
    const bool changesOnly = m_changesOnly->isChecked();
    for (const PreviewImage& image : m_preview.images) {
        for (const PreviewField& field : image.fields) {
            if (changesOnly && !field.changes)
                continue;
            addRow(*m_table,
                   {QFileInfo(image.path).fileName(), tagDisplayName(field.tag),
                    previewText(field.current),
                    field.changes ? previewText(field.next) : QStringLiteral("(unchanged)")},
                   image.path);
        }
    }
    m_table->resizeColumnsToContents();
}

FailedFilesDialog::FailedFilesDialog(const Error& error, const FileOutcomes& outcomes,
                                     QWidget* parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("failedFilesDialog"));
    setWindowTitle(QStringLiteral("Quillbrook"));
    auto* layout = new QVBoxLayout(this);
    const OutcomeCounts counts = countOutcomes(outcomes);
    auto* title =
        new QLabel(QStringLiteral("<b>%1</b>").arg(error.errorDescription.toHtmlEscaped()), this);
    title->setObjectName(QStringLiteral("failedFilesTitle"));
    auto* summary = new QLabel(QStringLiteral("%1 of %2 files failed; %3.")
                                   .arg(counts.failed)
                                   .arg(outcomes.size())
                                   .arg(outcomeCountsText(counts)),
                               this);
    summary->setObjectName(QStringLiteral("failedFilesSummary"));
    m_table = makeTable(QStringLiteral("failedFilesTable"),
                        {QStringLiteral("File"), QStringLiteral("Reason")}, this);
    m_table->setAccessibleName(QStringLiteral("Files that failed"));
    // The files the write didn't get to are listed under the failed ones,
    // each with why: a stop, or another program still writing it.
    for (const FileOutcomeKind kind :
         {FileOutcomeKind::failed, FileOutcomeKind::notWritten, FileOutcomeKind::leftOut}) {
        for (const FileOutcome& outcome : outcomes) {
            if (outcome.kind != kind)
                continue;
            const QString reason =
                kind == FileOutcomeKind::failed
                    ? outcome.message
                    : QStringLiteral("%1: %2").arg(fileOutcomeKindName(kind), outcome.message);
            addRow(*m_table, {QFileInfo(outcome.path).fileName(), reason}, outcome.path);
        }
    }
    m_table->resizeColumnsToContents();
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    layout->addWidget(title);
    layout->addWidget(summary);
    layout->addWidget(m_table, 1);
    layout->addWidget(buttons);
    resize(620, 320);
}

} // namespace qb
