// SPDX-License-Identifier: GPL-3.0-or-later
// mapImages over 10,000 image URLs against a 10,000-row table, timed both
// through the source's indexed lookup and through the plain walk of the
// whole table for every image. Both must give identical results.
#include "mapping/metadataassignment.h"
#include "sources/filenamedatasource.h"

#include <benchmark/benchmark.h>

#include <QCoreApplication>

using namespace qb;
using Style = FileNameDataSource::MatchingStyle;

namespace {

constexpr int rowCount = 10'000;
constexpr int imageCount = 10'000;

MetadataTable makeTable()
{
    MetadataTable table;
    for (int r = 0; r < rowCount; ++r) {
        const QString key =
            QStringLiteral("SHOOT%1_%2").arg(r % 97).arg(r, 5, 10, QLatin1Char('0'));
        table[key] = {{"Title", QStringLiteral("Look %1").arg(r)},
                      {"Keywords", QStringLiteral("studio;red;%1").arg(r)},
                      {"Photographer", QStringLiteral("Ana")}};
    }
    return table;
}

QList<QUrl> makeImages()
{
    // A third of the names equal a key, the rest extend one, and some match
    // no row at all, so that every style has work and misses.
    QList<QUrl> urls;
    for (int i = 0; i < imageCount; ++i) {
        const int r = (i * 7) % (rowCount + 500);
        const QString key =
            QStringLiteral("SHOOT%1_%2").arg(r % 97).arg(r, 5, 10, QLatin1Char('0'));
        const QString name = i % 3 == 0 ? key : key + QStringLiteral("_v%1").arg(i % 3);
        urls << QUrl::fromLocalFile(QStringLiteral("/Volumes/Capture/Day1/") + name +
                                    QStringLiteral(".CR3"));
    }
    return urls;
}

std::vector<MetadataMapping> makeMappings()
{
    return {{"Title", "XMP:Title"},
            {"Keywords", "XMP:Subject", {std::make_shared<ArrayMapper>(QStringLiteral(";"))}},
            {"Photographer",
             "EXIF:Artist",
             {std::make_shared<StringCaseMapper>(StringCaseMapper::Transformation::uppercase)}}};
}

// The source as it would be without the index: every image walks the table.
class PlainWalkSource : public FileNameDataSource {
public:
    using FileNameDataSource::FileNameDataSource;
    std::vector<MetadataRow> metadataForImages(const QList<QUrl>& urls) const override
    {
        return MetadataSource::metadataForImages(urls);
    }
};

template <class Source>
void runMapImages(benchmark::State& state)
{
    const Style style = static_cast<Style>(state.range(0));
    Source source(makeTable());
    source.setMatchingStyle(style);
    const URLListProvider provider(makeImages());
    const auto mappings = makeMappings();
    std::size_t mapped = 0;
    for (auto _ : state) {
        const ExifImages images = mapImages(provider, source, mappings);
        mapped = images.size();
        benchmark::DoNotOptimize(images);
    }
    state.counters["mapped"] = double(mapped);
}

void indexed(benchmark::State& state)
{
    runMapImages<FileNameDataSource>(state);
}
void plainWalk(benchmark::State& state)
{
    runMapImages<PlainWalkSource>(state);
}

bool sameResults(Style style)
{
    FileNameDataSource fast(makeTable());
    PlainWalkSource plain(makeTable());
    fast.setMatchingStyle(style);
    plain.setMatchingStyle(style);
    const URLListProvider provider(makeImages());
    const ExifImages a = mapImages(provider, fast, makeMappings());
    const ExifImages b = mapImages(provider, plain, makeMappings());
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (a[i]->metadata != b[i]->metadata)
            return false;
    }
    return true;
}

} // namespace

BENCHMARK(indexed)
    ->Arg(int(Style::prefix))
    ->Arg(int(Style::equals))
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);
BENCHMARK(plainWalk)
    ->Arg(int(Style::prefix))
    ->Arg(int(Style::equals))
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    for (Style style : {Style::prefix, Style::equals}) {
        const bool same = sameResults(style);
        std::printf("identical results, style %d: %s\n", int(style), same ? "yes" : "NO");
        if (!same)
            return 1;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
