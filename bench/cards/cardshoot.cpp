// SPDX-License-Identifier: GPL-3.0-or-later
// Makes a session shot with barcode cards to try card mode on: the school
// morning the tests shoot, a CSV of its pupils and a rule row that writes
// their names as titles. With --frames N, N frames of a larger session
// instead, 5 s apart, a card every tenth frame (or every K), each of a pupil
// of its own, for the benchmarks; --size gives the frames' size.
// Usage: qb_cards_shoot FOLDER [--frames N [--every K]] [--size WxH]
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

std::vector<Shot> largeShoot(int frames, int every)
{
    std::vector<Shot> shots;
    for (int i = 0; i < frames; ++i) {
        Shot shot;
        shot.grain = 10;
        if (i % every == 0)
            shot.card.texts = {QString::number(2000 + i / every)};
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
    const auto option = [&](const char* name, const QString& fallback) {
        const qsizetype at = arguments.indexOf(QLatin1String(name));
        return at > 0 ? arguments.value(at + 1) : fallback;
    };
    const int frames = option("--frames", "0").toInt();
    const int every = std::max(1, option("--every", "10").toInt());
    const QStringList size = option("--size", "900x600").split('x');
    QDir().mkpath(folder + "/shoot");
    QByteArray rows = "Number,Name,Class\n"
                      "1234,Ana Lindqvist,4B\n1235,Björn Ek,4B\n1236,Chen Wei,4B\n"
                      "1237,Dana Ruiz,4B\n1238,Emil Berg,4B\n1239,Farah Haddad,4B\n";
    for (int i = 0; i < (frames + every - 1) / every; ++i)
        rows += QByteArray::number(2000 + i) + ",Pupil " + QByteArray::number(i) + ",5A\n";
    const bool made =
        write(folder + "/pupils.csv", rows) &&
        write(folder + "/rows.json", R"([{"keyName": "Name", "destTag": "XMP-dc:Title",
    "actions": {"mappers": []}}]
)") &&
        !shoot(folder + "/shoot", frames > 0 ? largeShoot(frames, every) : schoolShoot(), 0,
               size.value(0).toInt(), size.value(1).toInt())
             .isEmpty();
    if (!made) {
        std::fprintf(stderr, "the session could not be made in %s\n", qPrintable(folder));
        return 1;
    }
    return 0;
}
