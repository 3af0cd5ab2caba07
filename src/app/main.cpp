// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/appdelegate.h"

#include "preferences/preferences.h"

#include "extensions/notificationcenter.h"

#include <QApplication>
#include <QCommandLineParser>

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Quillbrook"));
    QApplication::setApplicationName(QStringLiteral("Quillbrook"));
    QApplication::setApplicationVersion(QStringLiteral(QB_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("org.quillbrook.Quillbrook"));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Assigns metadata to images from tabular data."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("documents"),
                                 QStringLiteral("Mappings documents (.qbmap) to open."),
                                 QStringLiteral("[DOCUMENT...]"));
    parser.process(app);

    qb::Preferences preferences;
    qb::NotificationCenter center;
    qb::AppDelegate delegate(preferences, center);
    delegate.applicationDidFinishLaunching();
    delegate.listenForInterruptions();
    delegate.openStartupDocuments(parser.positionalArguments());
    return app.exec();
}
