// SPDX-License-Identifier: GPL-3.0-or-later
#include "errorpresenter.h"

#include <QMessageBox>

namespace qb {

QMessageBox* presentError(QWidget* window, const Error& error)
{
    auto* box = new QMessageBox(window);
    box->setObjectName(QStringLiteral("errorAlert"));
    box->setIcon(QMessageBox::Warning);
    box->setWindowTitle(QStringLiteral("Quillbrook"));
    const QString description = error.errorDescription.isEmpty()
                                    ? QStringLiteral("The operation couldn\u2019t be completed.")
                                    : error.errorDescription;
    box->setText(description);
    QStringList details;
    for (const QString& part : {error.failureReason, error.recoverySuggestion})
        if (!part.isEmpty() && part != description)
            details << part;
    box->setInformativeText(details.join(QLatin1Char('\n')));
    box->setStandardButtons(QMessageBox::Ok);
    // Paths in the reason read badly when the box wraps them narrowly.
    box->setStyleSheet(QStringLiteral(
        "QLabel#qt_msgbox_label, QLabel#qt_msgbox_informativelabel { min-width: 340px; }"));
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(window ? Qt::WindowModal : Qt::ApplicationModal);
    box->open();
    return box;
}

} // namespace qb
