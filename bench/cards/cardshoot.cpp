// SPDX-License-Identifier: GPL-3.0-or-later
// Makes a session shot with barcode cards to try card mode on: the school
// morning the tests shoot, a CSV of its pupils and a rule row that writes
// their names as titles. With --frames N, N frames of a larger session
// instead, a card every tenth frame, for the benchmarks.
// Usage: qb_cards_shoot FOLDER [--frames N]
#include "cardimages.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QGuiApplication>

#include <cstdio>

using namespace qb::testing;

namespace {

bool write(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

std::vector<Shot> largeShoot(int frames)
{
    std::vector<Shot> shots;
    for (int i = 0; i < frames; ++i) {
        Shot shot;
        if (i % 10 == 0)
            shot.card.texts = {QString::number(2000 + i / 10)};
        shot.time = QTime(8, 0).addSecs(i * 5).toString("HH:mm:ss");
        shots.push_back(shot);
    }
    return shots;
}

} // namespace

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    if (arguments.size() < 2) {
        std::fprintf(stderr, "usage: qb_cards_shoot FOLDER [--frames N]\n");
        return 2;
    }
    const QString folder = QDir(arguments[1]).absolutePath();
    const int frames = arguments.indexOf("--frames") > 0
                           ? arguments.value(arguments.indexOf("--frames") + 1).toInt()
                           : 0;
    QDir().mkpath(folder + "/shoot");
    QByteArray rows = "Number,Name,Class\n"
                      "1234,Ana Lindqvist,4B\n1235,Björn Ek,4B\n1236,Chen Wei,4B\n"
                      "1237,Dana Ruiz,4B\n1238,Emil Berg,4B\n1239,Farah Haddad,4B\n";
    for (int i = 0; i < frames / 10; ++i)
        rows += QByteArray::number(2000 + i) + ",Pupil " + QByteArray::number(i) + ",5A\n";
    const bool made =
        write(folder + "/pupils.csv", rows) &&
        write(folder + "/rows.json", R"([{"keyName": "Name", "destTag": "XMP-dc:Title",
    "actions": {"mappers": []}}]
)") && !shoot(folder + "/shoot", frames > 0 ? largeShoot(frames) : schoolShoot()).isEmpty();
    if (!made) {
        std::fprintf(stderr, "the session could not be made in %s\n", qPrintable(folder));
        return 1;
    }
    return 0;
}
