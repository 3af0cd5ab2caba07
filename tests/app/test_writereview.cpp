// SPDX-License-Identifier: GPL-3.0-or-later
#include "../widgets/guiapplication.h"

#include "app/writereviewdialogs.h"

#include <QCheckBox>
#include <QLabel>
#include <QTableWidget>

#include <gtest/gtest.h>

using namespace qb;

namespace {

QStringList rowTexts(const QTableWidget& table, int row)
{
    QStringList cells;
    for (int column = 0; column < table.columnCount(); ++column)
        cells << table.item(row, column)->text();
    return cells;
}

} // namespace

TEST(PreviewDialog, ListsEveryFieldAndFiltersToTheChanges)
{
    qb::testing::ensureGuiApplication();
    WritePreview preview;
    preview.images.push_back(
        {"/s/A1.jpg",
         {{"IPTC:City", DynamicValue(), DynamicValue("Malm\u00f6"), true},
          {"XMP-dc:Title", DynamicValue("Same"), DynamicValue("Same"), false}}});
    preview.unmatched = {"/s/C3.jpg"};
    PreviewDialog dialog(preview);
    QTableWidget& table = *dialog.table();
    ASSERT_EQ(table.rowCount(), 2);
    EXPECT_EQ(rowTexts(table, 0), QStringList({"A1.jpg", "City", "(absent)", "Malm\u00f6"}));
    EXPECT_EQ(rowTexts(table, 1), QStringList({"A1.jpg", "Title", "Same", "(unchanged)"}));
    dialog.changesOnlyBox()->click();
    ASSERT_EQ(table.rowCount(), 1);
    EXPECT_EQ(table.item(0, 1)->text(), "City");
    EXPECT_EQ(dialog.findChild<QLabel*>("unmatchedLabel")->text(),
              "1 image matched no row and stays as it is.");
}

TEST(FailedFilesDialog, NamesEachFailedFileWithItsReason)
{
    qb::testing::ensureGuiApplication();
    Error error;
    error.errorDescription = "exiftool could not write the metadata.";
    const FileOutcomes outcomes{
        {"/s/a.jpg", FileOutcomeKind::written, {}},
        {"/s/d.jpg", FileOutcomeKind::leftOut, leftOutReason::stillBeingWritten()},
        {"/s/b.jpg", FileOutcomeKind::failed, "Corrupted JPEG image"},
        {"/s/e.jpg", FileOutcomeKind::notWritten, "the write was stopped first"},
        {"/s/c.jpg", FileOutcomeKind::failed, "File not found"}};
    FailedFilesDialog dialog(error, outcomes);
    ASSERT_EQ(dialog.table()->rowCount(), 4);
    EXPECT_EQ(rowTexts(*dialog.table(), 0), QStringList({"b.jpg", "Corrupted JPEG image"}));
    EXPECT_EQ(rowTexts(*dialog.table(), 1), QStringList({"c.jpg", "File not found"}));
    EXPECT_EQ(rowTexts(*dialog.table(), 2),
              QStringList({"e.jpg", "not written: the write was stopped first"}));
    EXPECT_EQ(rowTexts(*dialog.table(), 3),
              QStringList({"d.jpg", "left out: still being written"}));
    EXPECT_EQ(dialog.findChild<QLabel*>("failedFilesSummary")->text(),
              "2 of 5 files failed; 1 written, 0 unchanged, 2 failed, 1 not written, 1 left "
              "out.");
}
