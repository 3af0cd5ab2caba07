// SPDX-License-Identifier: GPL-3.0-or-later
#include "matchingstylepopup.h"

#include "sources/filenamedatasource.h"
#include "sources/matchfindings.h"

namespace qb {

QComboBox* makeMatchingStylePopUp(QWidget* parent, bool withPath, bool withCards)
{
    auto* popUp = new QComboBox(parent);
    popUp->setObjectName(QStringLiteral("matchingStylePopUp"));
    popUp->setAccessibleName(QStringLiteral("File name matching"));
    // Read by its current item on Linux; the description says what it is.
    popUp->setAccessibleDescription(popUp->accessibleName());
    for (FileNameDataSource::MatchingStyle style : allMatchingStyles)
        popUp->addItem(matchingStyleTitle(style), int(style));
    if (withPath)
        popUp->addItem(matchingStyleTitle(MatchingStyle::path), int(MatchingStyle::path));
    if (withCards)
        popUp->addItem(QStringLiteral("by barcode cards"), cardsMatchingItem);
    selectMatchingStyle(*popUp, int(FileNameDataSource::MatchingStyle::prefix));
    return popUp;
}

void selectMatchingStyle(QComboBox& popUp, qint64 raw)
{
    const int index = popUp.findData(int(raw));
    if (index >= 0)
        popUp.setCurrentIndex(index);
}

int selectedMatchingStyle(const QComboBox& popUp)
{
    return popUp.currentIndex() < 0 ? -1 : popUp.currentData().toInt();
}

} // namespace qb
