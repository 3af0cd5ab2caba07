// SPDX-License-Identifier: GPL-3.0-or-later
#include "imagekeypopup.h"

#include <QLineEdit>

namespace qb {

QComboBox* makeImageKeyPopUp(QWidget* parent)
{
    auto* popUp = new QComboBox(parent);
    popUp->setObjectName(QStringLiteral("imageKeyPopUp"));
    popUp->setAccessibleName(QStringLiteral("Key compared with"));
    // Read by its current item on Linux; the description says what it is.
    popUp->setAccessibleDescription(popUp->accessibleName());
    popUp->setToolTip(QStringLiteral("What of each image the key column is compared with: its "
                                     "file name, or the value of a tag it carries, such as a "
                                     "job number or a camera\u2019s serial number."));
    popUp->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    return popUp;
}

void showImageKey(QComboBox& popUp, const std::optional<QString>& tag)
{
    const QSignalBlocker quiet(&popUp);
    popUp.clear();
    popUp.addItem(QStringLiteral("image name"), QString());
    if (tag)
        popUp.addItem(QStringLiteral("image\u2019s %1").arg(*tag), *tag);
    popUp.addItem(QStringLiteral("image\u2019s <tag>\u2026"));
    popUp.setCurrentIndex(tag ? 1 : 0);
}

QInputDialog* makeKeyTagDialog(QWidget* window, const QString& current)
{
    auto* dialog = new QInputDialog(window);
    dialog->setObjectName(QStringLiteral("keyTagDialog"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowModality(Qt::WindowModal);
    dialog->setWindowTitle(QStringLiteral("Key Tag"));
    dialog->setLabelText(QStringLiteral("The tag whose value in each image the key column is "
                                        "compared with, such as EXIF:SerialNumber or "
                                        "XMP-photoshop:TransmissionReference:"));
    dialog->setTextValue(current);
    if (auto* field = dialog->findChild<QLineEdit*>())
        field->setAccessibleName(QStringLiteral("Key tag"));
    return dialog;
}

Error notATagName(const QString& typed)
{
    Error error;
    error.domain = QStringLiteral("QuillbrookErrorDomain");
    error.errorDescription = QStringLiteral("\u201c%1\u201d is not a tag name.").arg(typed);
    error.failureReason = QStringLiteral("A tag name is letters, digits, '_' and '-', with its "
                                         "groups before it and a colon after each.");
    error.recoverySuggestion = QStringLiteral("Type a name such as EXIF:SerialNumber.");
    return error;
}

} // namespace qb
