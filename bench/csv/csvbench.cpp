// SPDX-License-Identifier: GPL-3.0-or-later
// Reads one CSV file through CSVReader::readFile and reports the time taken,
// the shape of the result and the peak memory of the process.
#include "csv/csvreader.h"

#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstring>

namespace {

int usage()
{
    std::fprintf(stderr, "usage: qb_csv_bench FILE [--crlf] [--presample] [--text]\n"
                         "  --crlf       rows end in CR LF\n"
                         "  --presample  read the whole file before parsing\n"
                         "  --text       read the file into a string first, as the data source "
                         "does\n");
    return 2;
}

long peakResidentKiB()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2)
        return usage();
    const QString path = QString::fromLocal8Bit(argv[1]);
    qb::CSVReader::Configuration config;
    config.headerStrategy = qb::Strategy::Header::firstLine;
    bool viaText = false;
    for (int i = 2; i < argc; ++i) {
        if (std::strcmp(argv[i], "--crlf") == 0)
            config.delimiters.row = qb::Delimiter::Row(u"\r\n");
        else if (std::strcmp(argv[i], "--presample") == 0)
            config.presample = true;
        else if (std::strcmp(argv[i], "--text") == 0)
            viaText = true;
        else
            return usage();
    }

    const auto start = std::chrono::steady_clock::now();
    std::expected<qb::CSVReader::FileView, qb::CSVError> view;
    if (viaText) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            std::fprintf(stderr, "cannot open %s\n", argv[1]);
            return 1;
        }
        view = qb::CSVReader::readFile(QString::fromUtf8(file.readAll()), config);
    } else {
        view = qb::CSVReader::readFile(QUrl::fromLocalFile(path), config);
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    if (!view) {
        std::fprintf(stderr, "%s\n", view.error().what());
        return 1;
    }

    const double fileMiB = QFileInfo(path).size() / 1048576.0;
    const double peakMiB = peakResidentKiB() / 1024.0;
    std::printf("rows: %lld\n", static_cast<long long>(view->rowCount()));
    std::printf("columns: %lld\n", static_cast<long long>(view->headers().size()));
    std::printf("seconds: %.3f\n", elapsed.count());
    std::printf("file MiB: %.1f\n", fileMiB);
    std::printf("peak MiB: %.1f\n", peakMiB);
    std::printf("peak / file: %.2f\n", peakMiB / fileMiB);
    return 0;
}
