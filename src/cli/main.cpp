// SPDX-License-Identifier: GPL-3.0-or-later
#include "command.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("quillbrook-cli"));
    QCoreApplication::setOrganizationName(QStringLiteral("Quillbrook"));
    QCoreApplication::setApplicationVersion(QStringLiteral(QB_VERSION));

    QTextStream out(stdout);
    QTextStream err(stderr);
    qb::cli::Streams streams{out, err};
    return static_cast<int>(qb::cli::run(QCoreApplication::arguments(), streams));
}
