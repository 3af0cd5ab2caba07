// SPDX-License-Identifier: GPL-3.0-or-later
#include "../widgets/guiapplication.h"

#include "app/errorpresenter.h"

#include <QMessageBox>

#include <gtest/gtest.h>

using namespace qb;

TEST(PresentError, ShowsDescriptionReasonAndSuggestion)
{
    qb::testing::ensureGuiApplication();
    QWidget window;
    Error error;
    error.errorDescription = "Exiftool could not be launched.";
    error.failureReason = "No such file: /opt/exiftool";
    error.recoverySuggestion = "Install exiftool.";
    QMessageBox* box = presentError(&window, error);
    EXPECT_EQ(box->text(), "Exiftool could not be launched.");
    EXPECT_EQ(box->informativeText(), "No such file: /opt/exiftool\nInstall exiftool.");
    EXPECT_EQ(box->windowModality(), Qt::WindowModal);
    box->close();
}
