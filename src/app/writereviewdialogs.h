// SPDX-License-Identifier: GPL-3.0-or-later
// The window's looks at a write: before it, what it would change; after a
// failed one, which files failed and why.
#pragma once

#include "exif/fileoutcomes.h"
#include "extensions/error.h"
#include "writing/writepreview.h"

#include <QDialog>

class QCheckBox;
class QTableWidget;

namespace qb {

// A table of image, field, current value and new value, filterable to the
// changes only. Accepting it means "go on and write".
class PreviewDialog : public QDialog {
    Q_OBJECT

public:
    PreviewDialog(WritePreview preview, QWidget* parent = nullptr);

    QTableWidget* table() const { return m_table; }
    QCheckBox* changesOnlyBox() const { return m_changesOnly; }

private:
    void fill();

    WritePreview m_preview;
    QTableWidget* m_table;
    QCheckBox* m_changesOnly;
};

// The error of a failed write above the list of its failed files, each
// with exiftool's reason for it.
class FailedFilesDialog : public QDialog {
    Q_OBJECT

public:
    FailedFilesDialog(const Error& error, const FileOutcomes& outcomes, QWidget* parent = nullptr);

    QTableWidget* table() const { return m_table; }

private:
    QTableWidget* m_table;
};

} // namespace qb
