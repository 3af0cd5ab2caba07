// SPDX-License-Identifier: GPL-3.0-or-later
#include "imagewarningviewcontroller.h"

#include <QLabel>
#include <QVBoxLayout>

namespace qb {

ImageWarningViewController::ImageWarningViewController(QWidget* anchor,
                                                       std::optional<QString> warningText)
    : PopoverPanel(anchor)
{
    setObjectName(QStringLiteral("imageWarningView"));
    setWindowTitle(QStringLiteral("Warnings about the images"));
    auto* layout = new QVBoxLayout(this);
    m_warningTextField = new QLabel(this);
    m_warningTextField->setObjectName(QStringLiteral("warningTextField"));
    m_warningTextField->setWordWrap(true);
    m_warningTextField->setMinimumWidth(280);
    m_warningTextField->setTextInteractionFlags(Qt::TextSelectableByMouse);
    if (warningText)
        m_warningTextField->setText(*warningText);
    layout->addWidget(m_warningTextField);
}

} // namespace qb
